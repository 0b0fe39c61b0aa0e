// Files and standard output over POSIX calls. An extracted file is written under a temporary name
// that no message can choose (it begins with a dot) and then linked to its own, which fails when
// that is taken; so a file is never replaced, followed through a symbolic link or left half.
#include "ground/file_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <limits>
#include <set>
#include <utility>

#include "ground/safe_text.h"

namespace mmskit_tool {
namespace {

class Descriptor {
  public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() {
        if (fd_ > STDERR_FILENO) (void)::close(fd_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    [[nodiscard]] int get() const { return fd_; }
    // A file system may report a full disk only here.
    [[nodiscard]] bool close() {
        const int fd = fd_;
        fd_ = -1;
        return ::close(fd) == 0;
    }

  private:
    int fd_;
};

constexpr std::size_t grown = 65'536;  // bytes of a piece

[[noreturn]] void fail(const std::string& name, int error) {
    throw Failure(visible(name) + ": " + std::strerror(error));
}

}  // namespace

bool write_all(int fd, const void* data, std::size_t size) {
    const char* next = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t written = ::write(fd, next, size);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return false;
        next += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

std::string input_name(const std::string& file) {
    return file == "-" ? "standard input" : file;
}

std::vector<uint8_t> read_input(const std::string& file) {
    constexpr std::size_t limit = std::numeric_limits<int32_t>::max();
    constexpr std::size_t chunk = 65536;
    const std::string name = input_name(file);
    const Descriptor in(file == "-" ? STDIN_FILENO : ::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (in.get() < 0) fail(name, errno);

    std::vector<uint8_t> bytes;
    uint8_t buffer[chunk];
    struct stat status {};
    const bool sized = ::fstat(in.get(), &status) == 0 && S_ISREG(status.st_mode);
    const auto expected = sized ? static_cast<std::size_t>(status.st_size) : 0;
    const auto refuse_above_limit = [&](std::size_t size) {
        if (size > limit) throw Failure(visible(name) + ": larger than 2147483647 bytes");
    };
    refuse_above_limit(expected);
    bytes.reserve(expected);
    for (;;) {
        const ssize_t got = ::read(in.get(), buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) fail(name, errno);
        if (got == 0) return bytes;
        refuse_above_limit(bytes.size() + static_cast<std::size_t>(got));
        bytes.insert(bytes.end(), buffer, buffer + got);
    }
}

void write_output(std::string_view text) {
    if (!write_all(STDOUT_FILENO, text.data(), text.size())) fail("standard output", errno);
}

void write_grown_output(std::string& text) {
    if (text.size() < grown) return;
    write_output(text);
    text.clear();
}

void complain(const std::string& text) {
    (void)std::fprintf(stderr, "mmskit: %s\n", text.c_str());
}

void warn(const std::string& text) {
    static std::set<std::string> told;
    if (!told.insert(text).second) return;
    (void)std::fprintf(stderr, "mmskit: warning: %s\n", visible(text).c_str());
}

namespace {

// The file that a name leads to, so that a symbolic link is kept and its target replaced. A link
// that leads nowhere is refused: whoever made it meant another place than this one.
std::string link_target(const std::string& file) {
    std::error_code error;
    if (!std::filesystem::is_symlink(file, error)) return file;
    std::string target = std::filesystem::canonical(file, error).string();
    if (error) throw Failure(visible(file) + ": a symbolic link that leads to no file");
    return target;
}

// A new file in the folder (path with its "/", or empty) under a short name of its own, so that any
// name that the file system takes can be replaced. Nothing that is there is followed.
std::string new_temporary(const std::string& folder, mode_t mode, int& fd) {
    static uint32_t number = 0;
    for (;;) {
        std::string name = folder + ".mmskit-" + std::to_string(::getpid()) + '-' +
                           std::to_string(number++) + ".part";
        fd = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
        if (fd >= 0 || errno != EEXIST) return name;
    }
}

}  // namespace

OutputFile::OutputFile(const std::string& file)
    : name_(file == "-" ? "standard output" : file), fd_(STDOUT_FILENO) {
    if (file == "-") return;
    struct stat status {};
    const bool there = ::stat(file.c_str(), &status) == 0;
    if (there && S_ISDIR(status.st_mode)) fail(file, EISDIR);
    if (there && !S_ISREG(status.st_mode)) {
        // A device or a pipe is written to, not replaced.
        fd_ = ::open(file.c_str(), O_WRONLY | O_CLOEXEC);
    } else {
        target_ = link_target(file);
        const mode_t mode = there ? status.st_mode & 0777U : 0666U;
        temporary_ = new_temporary(target_.substr(0, target_.rfind('/') + 1), mode, fd_);
    }
    if (fd_ >= 0) return;
    temporary_.clear();
    fail(file, errno);
}

OutputFile::~OutputFile() {
    if (fd_ > STDERR_FILENO) (void)::close(fd_);
    remove_temporary(this);
}

void OutputFile::remove_temporary(void* file) {
    const std::string& temporary = static_cast<OutputFile*>(file)->temporary_;
    if (!temporary.empty()) (void)::unlink(temporary.c_str());
}

void OutputFile::write(std::string_view piece) {
    if (!write_all(fd_, piece.data(), piece.size())) fail(name_, errno);
}

void OutputFile::write_grown(std::string& text) {
    if (text.size() < grown) return;
    write(text);
    text.clear();
}

void OutputFile::publish() {
    const int fd = std::exchange(fd_, -1);
    // A file system may report a full disk only when the file is closed.
    if (fd > STDERR_FILENO && ::close(fd) != 0) fail(name_, errno);
    if (!temporary_.empty() && ::rename(temporary_.c_str(), target_.c_str()) != 0)
        fail(name_, errno);
    temporary_.clear();
}

void write_file(const std::string& file, std::span<const uint8_t> data) {
    OutputFile out(file);
    out.write({reinterpret_cast<const char*>(data.data()), data.size()});
    out.publish();
}

OutputFolder::OutputFolder(const std::string& path) : path_(path), fd_(-1) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (error) fail(path, error.value());
    fd_ = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd_ < 0) fail(path, errno);
    if (!path_.ends_with('/')) path_ += '/';
}

OutputFolder::~OutputFolder() {
    (void)::close(fd_);
}

std::string OutputFolder::write_temporary(std::span<const uint8_t> data) {
    const mode_t mode = 0666;
    for (;;) {
        std::string name = ".mmskit-" + std::to_string(::getpid()) + '-' +
                           std::to_string(temporaries_++) + ".part";
        const int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
        Descriptor out(::openat(fd_, name.c_str(), flags, mode));
        if (out.get() < 0 && errno == EEXIST) continue;
        if (out.get() < 0) fail(path_, errno);
        if (write_all(out.get(), data.data(), data.size()) && out.close()) return name;
        const int error = errno;
        (void)::unlinkat(fd_, name.c_str(), 0);
        fail(path_, error);
    }
}

// False when the name is taken.
bool OutputFolder::publish(const std::string& temporary, const std::string& name) {
#ifdef RENAME_NOREPLACE
    if (::renameat2(fd_, temporary.c_str(), fd_, name.c_str(), RENAME_NOREPLACE) == 0) return true;
    if (errno == EEXIST) return false;
#endif
    // Not every file system knows the call above; a link is refused just as well.
    if (::linkat(fd_, temporary.c_str(), fd_, name.c_str(), 0) == 0) {
        (void)::unlinkat(fd_, temporary.c_str(), 0);
        return true;
    }
    if (errno == EEXIST) return false;
    const int error = errno;
    (void)::unlinkat(fd_, temporary.c_str(), 0);
    fail(path_ + name, error);
}

std::string OutputFolder::publish_numbered(const std::string& temporary,
                                           const std::string& safe_name) {
    const NumberedName parts = numbered_name(safe_name);
    uint32_t& number = next_number_.try_emplace(parts.stem + parts.extension, 2).first->second;
    for (;;) {
        std::string name = parts.with(number++);
        if (publish(temporary, name)) return name;
    }
}

std::string OutputFolder::write_new(const std::string& safe_name, std::span<const uint8_t> data) {
    const std::string temporary = write_temporary(data);
    // A name that was taken stays taken: a message may call thousands of parts by one.
    if (!taken_.contains(safe_name)) {
        if (publish(temporary, safe_name)) return path_ + safe_name;
        taken_.insert(safe_name);
    }
    return path_ + publish_numbered(temporary, safe_name);
}

}  // namespace mmskit_tool
