// Descriptors and places of the POSIX file layer. Every system call is made through its libc
// symbol, so that tests can fail each one; calls that a signal broke off are made again. Nothing
// outside scfs/posix_porting includes this.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <utility>

#pragma GCC visibility push(hidden)

namespace mmskit {

inline constexpr mode_t new_file_mode = 0600;  // settings and messages are their owner's business

template <typename Call>
auto retry(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

// Owns one descriptor, which may be none.
class Fd {
  public:
    Fd() = default;
    explicit Fd(int fd) : fd_(fd) {}
    Fd(Fd&& other) noexcept : fd_(other.release()) {}
    Fd& operator=(Fd&& other) noexcept {
        const Fd before(std::exchange(fd_, other.release()));
        return *this;
    }
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;
    ~Fd() { (void)close(); }

    bool is_open() const { return fd_ >= 0; }
    int get() const { return fd_; }
    int release() { return std::exchange(fd_, -1); }

    // False when what was written may not have arrived. The descriptor is gone in any case: after
    // a failed close its number may already be another file's, so it is never closed again.
    bool close() { return fd_ < 0 || ::close(release()) == 0; }

  private:
    int fd_ = -1;
};

// The folder of a path, held open so that it can be synchronized, and the name in it. Not found
// (errno says why) for null, an empty name or a folder that cannot be read. Borrows the path.
class Place {
  public:
    explicit Place(const char* path);
    bool found() const { return folder_.is_open(); }
    int folder() const { return folder_.get(); }
    const char* name() const { return name_; }

    // Makes the folder's entries as they stand last through a power cut.
    bool sync() const;

  private:
    Fd folder_;
    const char* name_ = nullptr;
};

// Opens a regular file and tells its status; anything else is refused with EINVAL, without
// waiting for the other end of a FIFO. None, and errno, on failure.
Fd open_regular(const char* path, int flags, struct stat& status);

// Creates a file that was not there before, open for writing. What stands at that name, another
// user's link or FIFO too, is removed and not followed; a directory stays, and is a failure.
Fd create_fresh(int folder, const char* name);

// Writes, or reads up to the end of the file, `size` bytes from the current place on.
bool write_all(int fd, const void* data, size_t size);
ssize_t read_all(int fd, void* data, size_t size);

}  // namespace mmskit

#pragma GCC visibility pop
