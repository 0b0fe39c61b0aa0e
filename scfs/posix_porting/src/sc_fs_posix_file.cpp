// The POSIX file layer: opening files, sizes, and reading and writing in place. A link or FIFO
// that another user left where a file is written is never followed.
#include <climits>
#include <cstdio>
#include <cstring>

#include "posix_file.h"
#include "scfs/common/src/scfs_internal.h"

namespace mmskit {
namespace {

// The folder's path of a path whose name begins at `name`.
Fd open_folder(const char* path, const char* name) {
    char folder[PATH_MAX] = ".";
    size_t length = static_cast<size_t>(name - path);
    if (length > 1) --length;  // the slash before the name, unless it is the root itself
    if (length >= sizeof folder) {
        errno = ENAMETOOLONG;
        return Fd();
    }
    if (length != 0) {
        std::memcpy(folder, path, length);
        folder[length] = '\0';
    }
    return Fd(retry([&] { return ::open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
}

FILE* stream_of(Fd fd, const char* mode) {
    FILE* stream = fd.is_open() ? ::fdopen(fd.get(), mode) : nullptr;
    if (stream != nullptr) fd.release();
    return stream;
}

}  // namespace

Place::Place(const char* path) {
    errno = EINVAL;
    if (path == nullptr) return;
    const char* slash = std::strrchr(path, '/');
    name_ = slash != nullptr ? slash + 1 : path;
    if (*name_ != '\0') folder_ = open_folder(path, name_);
}

bool Place::sync() const {
    // EINVAL: the file system has no such thing for a folder.
    return retry([this] { return ::fsync(folder_.get()); }) == 0 || errno == EINVAL;
}

Presence presence_of(const char* path) {
    struct stat status;
    if (path == nullptr) return Presence::absent;
    if (::stat(path, &status) == 0)
        return S_ISREG(status.st_mode) ? Presence::file : Presence::no_file;
    return errno == ENOENT || errno == ENOTDIR ? Presence::absent : Presence::unknown;
}

Fd open_regular(const char* path, int flags, struct stat& status) {
    if (path == nullptr) {
        errno = EINVAL;
        return Fd();
    }
    // O_NONBLOCK keeps the opening from waiting and means nothing to a regular file.
    const int all_flags = flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    Fd fd(retry([&] { return ::open(path, all_flags, new_file_mode); }));
    if (fd.is_open() && (::fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode))) {
        fd = Fd();
        errno = EINVAL;
    }
    return fd;
}

Fd create_fresh(int folder, const char* name) {
    const auto create = [&] {
        constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
        return Fd(retry([&] { return ::openat(folder, name, flags, new_file_mode); }));
    };
    Fd fd = create();
    // Once only: whoever puts something there again in between is not raced against.
    if (!fd.is_open() && errno == EEXIST && ::unlinkat(folder, name, 0) == 0) fd = create();
    return fd;
}

bool write_all(int fd, const void* data, size_t size) {
    const auto* from = static_cast<const char*>(data);
    while (size != 0) {
        const ssize_t written = retry([&] { return ::write(fd, from, size); });
        if (written <= 0) return false;
        from += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

ssize_t read_all(int fd, void* data, size_t size) {
    auto* to = static_cast<char*>(data);
    size_t done = 0;
    while (done < size) {
        const ssize_t got = retry([&] { return ::read(fd, to + done, size - done); });
        if (got < 0) return -1;
        if (got == 0) break;
        done += static_cast<size_t>(got);
    }
    return static_cast<ssize_t>(done);
}

}  // namespace mmskit

extern "C" {

int32_t fnSCFS_isFileExisted(const char* path) {
    return mmskit::presence_of(path) == mmskit::Presence::file ? 1 : 0;
}

int32_t fnSCFS_getFileSize(const char* path) {
    struct stat status;
    if (path == nullptr || ::stat(path, &status) != 0 || !S_ISREG(status.st_mode)) return -1;
    return status.st_size > INT32_MAX ? -1 : static_cast<int32_t>(status.st_size);
}

tSCFS_File* fnSCFS_File_Open(const char* path, int32_t mode) {
    using namespace mmskit;
    struct stat status;
    if (path == nullptr) return nullptr;
    if (mode == 0) return new_file_handle(stream_of(open_regular(path, O_RDONLY, status), "rb"));
    if (mode == 1) return new_file_handle(stream_of(create_fresh(AT_FDCWD, path), "wb"));
    return nullptr;
}

int32_t fnSCFS_ReadFromFile(void* data, int32_t length, const char* name) {
    return fnSCFS_ReadFromFileAtPos(data, length, 0, name);
}

int32_t fnSCFS_ReadFromFileAtPos(void* data, int32_t length, int32_t position, const char* name) {
    if (data == nullptr || length < 0 || position < 0) return -1;
    struct stat status;
    const mmskit::Fd fd = mmskit::open_regular(name, O_RDONLY, status);
    if (!fd.is_open() || ::lseek(fd.get(), position, SEEK_SET) != position) return -1;
    return static_cast<int32_t>(mmskit::read_all(fd.get(), data, static_cast<size_t>(length)));
}

int32_t fnSCFS_WriteToFileAtPos(const void* data, int32_t length, int32_t position,
                                const char* name) {
    if (data == nullptr || length < 0 || position < 0) return -1;
    struct stat status;
    mmskit::Fd fd = mmskit::open_regular(name, O_WRONLY | O_CREAT | O_NOFOLLOW, status);
    if (!fd.is_open() || ::lseek(fd.get(), position, SEEK_SET) != position) return -1;
    const bool written = mmskit::write_all(fd.get(), data, static_cast<size_t>(length)) &&
                         mmskit::retry([&] { return ::fsync(fd.get()); }) == 0;
    return fd.close() && written ? length : -1;
}

}  // extern "C"
