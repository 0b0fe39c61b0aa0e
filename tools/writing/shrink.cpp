#include "writing/shrink.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>

#include "ground/safe_text.h"

namespace mmskit_tool {
namespace {

namespace fs = std::filesystem;

// ---- libvips' commands --------------------------------------------------------------------------

class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::error_code error;
        std::string pattern = (fs::temp_directory_path(error) / "mmskit-XXXXXX").string();
        if (error || ::mkdtemp(pattern.data()) == nullptr)
            throw Failure("no folder for pictures can be made: " +
                          std::string(std::strerror(errno)));
        path_ = pattern;
    }
    ~TemporaryFolder() {
        std::error_code error;
        fs::remove_all(path_, error);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    [[nodiscard]] std::string file(const std::string& name) const { return path_ / name; }

  private:
    fs::path path_;
};

// What the program prints goes into the file. False when it did not end well.
bool run_program(std::vector<std::string> words, const std::string& output) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t files;
    if (posix_spawn_file_actions_init(&files) != 0) throw std::bad_alloc();
    int error = posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, output.c_str(),
                                                 O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (error == 0)
        error = posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    if (error == 0)
        error = posix_spawnp(&child, arguments[0], &files, nullptr, arguments.data(), ::environ);
    (void)posix_spawn_file_actions_destroy(&files);
    if (error == ENOENT)
        throw Failure("--max-size: pictures are shrunk by libvips, whose command " + words[0] +
                      " is not there; the Debian package libvips-tools brings it");
    if (error != 0) throw Failure(words[0] + ": " + std::strerror(error));
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

std::vector<uint8_t> bytes_in(const std::string& file) {
    std::error_code error;
    return fs::exists(file, error) ? read_input(file) : std::vector<uint8_t>();
}

uint32_t side(const TemporaryFolder& folder, const char* field) {
    const std::string output = folder.file("side");
    if (!run_program({"vipsheader", "-f", field, folder.file("in")}, output)) return 0;
    uint32_t value = 0;
    (void)(std::ifstream(output) >> value);
    return value;
}

// ---- A picture ----------------------------------------------------------------------------------

struct Step {
    uint32_t shorter_side;  // pixels
    int quality;            // of JPEG; 0: PNG
};

constexpr int good_quality = 80;
constexpr int low_quality = 60;

class Picture {
  public:
    Picture(std::string& name, std::string& type, std::vector<uint8_t>& data)
        : name_(name), type_(type), data_(data), original_(data) {}

    [[nodiscard]] std::size_t size() const { return data_.size(); }

    // Makes it smaller; false when it cannot be.
    bool shrink(const ShrinkLimits& limits) {
        if (!measured_) measure(limits);
        while (next_ < steps_.size()) {
            const Step step = steps_[next_++];
            std::vector<uint8_t> smaller = made(step, limits.keep_metadata);
            if (smaller.empty() || smaller.size() >= data_.size()) continue;
            data_ = std::move(smaller);
            set_type(step.quality == 0 ? "image/png" : "image/jpeg");
            return true;
        }
        return false;
    }

  private:
    void measure(const ShrinkLimits& limits) {
        measured_ = true;
        write_file(folder_.file("in"), original_);
        width_ = side(folder_, "width");
        height_ = side(folder_, "height");
        const uint32_t shorter = std::min(width_, height_);
        if (shorter == 0) {
            warn(name_ + ": libvips cannot read this picture");
            return;
        }
        constexpr std::array sides{2048U, 1536U, 1200U, 960U, 768U};
        std::vector<uint32_t> tried{shorter};
        for (const uint32_t each : sides)
            if (each < shorter && each > limits.smallest_side) tried.push_back(each);
        if (limits.smallest_side < shorter) tried.push_back(limits.smallest_side);
        // A photograph as PNG is small enough at no size.
        const bool png =
            type_ == "image/png" && made({tried.back(), 0}, false).size() <= limits.message;
        for (const uint32_t each : tried)
            if (png) steps_.push_back({each, 0});
        for (const uint32_t each : tried)
            steps_.push_back({each, good_quality});
        steps_.push_back({tried.back(), low_quality});
    }

    // Of the original, so that losses do not add up; empty when it cannot be made.
    [[nodiscard]] std::vector<uint8_t> made(const Step& step, bool keep_metadata) const {
        const uint64_t shorter = std::min(width_, height_);
        const uint64_t longer = std::max(width_, height_);
        const uint64_t box = (longer * step.shorter_side + shorter - 1) / shorter;
        std::string output = folder_.file(step.quality == 0 ? "out.png" : "out.jpg");
        const std::string written = output;
        std::string options = keep_metadata ? "" : ",strip";
        options += step.quality == 0
                       ? ",compression=6"
                       : ",background=255,optimize-coding,Q=" + std::to_string(step.quality);
        output += '[' + options.substr(1) + ']';
        const std::string size = std::to_string(box) + 'x' + std::to_string(box) + '>';
        if (!run_program({"vipsthumbnail", folder_.file("in"), "--size", size, "--eprofile", "srgb",
                          "-o", output},
                         "/dev/null"))
            return {};
        return bytes_in(written);
    }

    // The name says the type, for receivers that go by it.
    void set_type(const std::string& type) {
        if (type == type_) return;
        type_ = type;
        const std::size_t dot = name_.rfind('.');
        if (dot != std::string::npos && dot != 0) name_.resize(dot);
        name_ += ".jpg";
    }

    std::string& name_;
    std::string& type_;
    std::vector<uint8_t>& data_;
    std::vector<uint8_t> original_;
    TemporaryFolder folder_;
    uint32_t width_ = 0, height_ = 0;
    std::vector<Step> steps_;
    std::size_t next_ = 0;
    bool measured_ = false;
};

bool can_be_shrunk(const std::string& type) {
    constexpr std::array<std::string_view, 6> types{"image/jpeg", "image/png",  "image/webp",
                                                    "image/heic", "image/heif", "image/avif"};
    return std::find(types.begin(), types.end(), type) != types.end();
}

using Pictures = std::vector<std::unique_ptr<Picture>>;

Pictures pictures_of(MessagePlan& plan) {
    Pictures out;
    const auto add = [&out](auto& part) {
        if (can_be_shrunk(part.type))
            out.push_back(std::make_unique<Picture>(part.name, part.type, part.data));
    };
    for (PlannedSlide& slide : plan.slides)
        if (slide.image) add(*slide.image);
    for (PlannedAttachment& attachment : plan.attachments)
        add(attachment);
    return out;
}

// ---- What does not fit --------------------------------------------------------------------------

std::string sizes_of_parts(const MessagePlan& plan) {
    std::string out;
    const auto add = [&out](const std::string& name, std::size_t size) {
        out += (out.empty() ? "" : ", ") + visible(name) + ' ' + std::to_string(size);
    };
    for (std::size_t i = 0; i < plan.slides.size(); ++i) {
        const PlannedSlide& slide = plan.slides[i];
        if (slide.text) add("text of slide " + std::to_string(i + 1), slide.text->text.size());
        for (const auto* medium : {&slide.image, &slide.audio, &slide.video})
            if (*medium) add((*medium)->name, (*medium)->data.size());
    }
    for (const PlannedAttachment& attachment : plan.attachments)
        add(attachment.name, attachment.data.size());
    return out;
}

}  // namespace

uint64_t parse_size(std::string_view word) {
    constexpr uint64_t kilobyte = 1024;
    const char unit = word.empty() ? '\0' : word.back();
    const uint64_t factor = unit == 'K' || unit == 'k'   ? kilobyte
                            : unit == 'M' || unit == 'm' ? kilobyte * kilobyte
                                                         : 1;
    if (factor != 1) word.remove_suffix(1);
    uint32_t value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc() || end != word.data() + word.size() || value == 0)
        throw Failure("a size such as 300K is expected");
    return value * factor;
}

void shrink_to_fit(MessagePlan& plan, const ShrinkLimits& limits,
                   const std::function<uint64_t(const MessagePlan&)>& size_of) {
    uint64_t size = size_of(plan);
    if (size <= limits.message) return;
    Pictures pictures = pictures_of(plan);
    while (size > limits.message && !pictures.empty()) {
        const auto largest = std::max_element(
            pictures.begin(), pictures.end(),
            [](const auto& one, const auto& other) { return one->size() < other->size(); });
        if ((*largest)->shrink(limits)) {
            size = size_of(plan);
        } else {
            pictures.erase(largest);
        }
    }
    if (size <= limits.message) return;
    throw Failure("the message has " + std::to_string(size) + " bytes, which is more than " +
                  std::to_string(limits.message) +
                  ", and its pictures cannot be made smaller: " + sizes_of_parts(plan));
}

}  // namespace mmskit_tool
