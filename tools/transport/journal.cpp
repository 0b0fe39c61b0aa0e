#include "transport/journal.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <sstream>

#include "ground/file_io.h"
#include "ground/safe_text.h"

namespace mmskit_transport {
namespace {

using mmskit_tool::Failure;
using mmskit_tool::visible;

constexpr const char* first_line = "mmskit journal 1\n";
constexpr std::size_t largest = std::size_t{1} << 20;  // some 5,000 attempts

[[noreturn]] void fail(const std::string& path, int error) {
    throw Failure(visible(path) + ": " + std::strerror(error));
}

class Descriptor {
  public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() {
        if (fd_ >= 0) (void)::close(fd_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    [[nodiscard]] int get() const { return fd_; }

  private:
    int fd_;
};

// A new name is on disk when its folder is.
void sync_folder_of(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const Descriptor fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some file systems cannot sync a folder; there is then nothing that could be done.
    if (fd.get() < 0 || (::fsync(fd.get()) != 0 && errno != EINVAL)) fail(folder, errno);
}

std::string read_whole(int fd, const std::string& path) {
    std::string text;
    std::array<char, 65536> block{};
    for (;;) {
        const ssize_t got = ::read(fd, block.data(), block.size());
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) fail(path, errno);
        if (got == 0) return text;
        text.append(block.data(), static_cast<std::size_t>(got));
        if (text.size() > largest) throw Failure(visible(path) + ": too large for a journal");
    }
}

// A value stays one word: everything but plain characters is %XX.
std::string escaped(const std::string& value) {
    constexpr const char* hex = "0123456789ABCDEF";
    std::string out;
    for (const char c : value) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte > ' ' && byte < 0x7F && byte != '%') {
            out += c;
        } else {
            (out += '%') += hex[byte >> 4];
            out += hex[byte & 15];
        }
    }
    return out;
}

int hex_digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

std::string unescaped(const std::string& word) {
    std::string out;
    for (std::size_t i = 0; i < word.size(); ++i) {
        const int high = i + 2 < word.size() ? hex_digit(word[i + 1]) : -1;
        const int low = high >= 0 ? hex_digit(word[i + 2]) : -1;
        if (word[i] == '%' && low >= 0) {
            out += static_cast<char>(high * 16 + low);
            i += 2;
        } else {
            out += word[i];
        }
    }
    return out;
}

std::string line_of(const Event& event) {
    std::string line = event.when + ' ' + event.state;
    for (const auto& [name, value] : event.facts)
        line += ' ' + name + '=' + escaped(value);
    return line + '\n';
}

Event event_of(const std::string& line) {
    Event event;
    std::istringstream words(line);
    words >> event.when >> event.state;
    for (std::string word; words >> word;) {
        const std::size_t equals = std::min(word.find('='), word.size() - 1);
        event.facts.emplace_back(word.substr(0, equals), unescaped(word.substr(equals + 1)));
    }
    return event;
}

std::string now() {
    const std::time_t time = std::time(nullptr);
    std::tm parts{};
    std::array<char, 32> text{};
    (void)std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", gmtime_r(&time, &parts));
    return text.data();
}

}  // namespace

std::string Event::fact(const std::string& name) const {
    for (const auto& [key, value] : facts)
        if (key == name) return value;
    return {};
}

Journal::Journal(std::string path) : path_(std::move(path)) {
    const Descriptor guard(
        ::open(path_.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (guard.get() < 0) fail(path_, errno);
    if (::flock(guard.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK) fail(path_, errno);
        throw Failure(visible(path_) + ": another mmskit is at work with this message");
    }
    std::string text = read_whole(guard.get(), path_);
    // What a kill left of a line never counted.
    const std::size_t whole = text.rfind('\n') + 1;  // npos + 1 is 0
    const std::string rest = text.substr(whole);
    text.resize(whole);
    const bool ours =
        text.empty() ? std::string(first_line).starts_with(rest) : text.starts_with(first_line);
    if (!ours) throw Failure(visible(path_) + ": this is no journal of mmskit");
    if (!rest.empty() && ::ftruncate(guard.get(), static_cast<off_t>(whole)) != 0)
        fail(path_, errno);
    std::istringstream lines(text);
    std::string line;
    (void)std::getline(lines, line);
    while (std::getline(lines, line))
        events_.push_back(event_of(line));
    fresh_ = text.empty();
    fd_ = ::fcntl(guard.get(), F_DUPFD_CLOEXEC, 0);  // of the same open file: the lock stays
    if (fd_ < 0) fail(path_, errno);
}

Journal::~Journal() {
    (void)::close(fd_);
}

const Event* Journal::last_with(const std::string& name, const std::string& value) const {
    const auto found = std::find_if(events_.rbegin(), events_.rend(),
                                    [&](const Event& event) { return event.fact(name) == value; });
    return found == events_.rend() ? nullptr : &*found;
}

void Journal::append(const std::string& text) {
    const off_t before = ::lseek(fd_, 0, SEEK_END);
    if (before >= 0 && mmskit_tool::write_all(fd_, text.data(), text.size()) && ::fsync(fd_) == 0)
        return;
    const int error = errno;
    // Half a line would spoil the next one. Where it cannot be taken back, that is told.
    if (before >= 0 && ::ftruncate(fd_, before) != 0) fail(path_, errno);
    fail(path_, error);
}

void Journal::record(const std::string& state, const Facts& facts) {
    Event event{now(), state, facts};
    append((fresh_ ? first_line : "") + line_of(event));
    if (fresh_) sync_folder_of(path_);
    fresh_ = false;
    events_.push_back(std::move(event));
}

void make_folder_durably(const std::string& folder) {
    std::string path = folder;
    while (path.size() > 1 && path.ends_with('/'))
        path.pop_back();
    if (::mkdir(path.c_str(), 0777) == 0) return sync_folder_of(path);
    const std::size_t slash = path.rfind('/');
    if (errno == ENOENT && slash != std::string::npos && slash != 0) {
        make_folder_durably(path.substr(0, slash));
        if (::mkdir(path.c_str(), 0777) == 0) return sync_folder_of(path);
    }
    if (errno != EEXIST) fail(path, errno);
}

void store_durably(const std::string& file, const void* data, std::size_t size) {
    const std::string temporary = file + ".part";
    const Descriptor out(
        ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0666));
    if (out.get() < 0) fail(temporary, errno);
    if (!mmskit_tool::write_all(out.get(), data, size) || ::fsync(out.get()) != 0 ||
        ::rename(temporary.c_str(), file.c_str()) != 0) {
        const int error = errno;
        (void)::unlink(temporary.c_str());
        fail(file, error);
    }
    sync_folder_of(file);
}

}  // namespace mmskit_transport
