// The POSIX file layer: whole files. New content goes to a temporary file beside the target, is
// forced to disk and takes the target's name at once, so that a file is the old one or the new one
// whatever breaks. The temporary's name is fixed: what a killed run left is replaced by the next.
#include <climits>
#include <cstdio>
#include <cstring>

#include "posix_file.h"
#include "scfs/common/src/scfs_internal.h"

namespace mmskit {
namespace {

// What a file is to hold: all of `source` (none when it is closed), then `tail`.
struct Content {
    Fd source{};
    const void* tail = nullptr;
    size_t tail_size = 0;
    mode_t mode = new_file_mode;

    void take_mode(const struct stat& status) { mode = status.st_mode & 0777; }
};

// A file beside its target that replaces it, or is gone at the end of the scope.
class Temporary {
  public:
    explicit Temporary(const Place& place) : place_(place) {
        const int length = std::snprintf(name_, sizeof name_, "%s.~new", place.name());
        if (static_cast<size_t>(length) < sizeof name_) fd_ = create_fresh(place.folder(), name_);
        there_ = fd_.is_open();
    }
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;
    ~Temporary() {
        if (there_) ::unlinkat(place_.folder(), name_, 0);
    }

    bool fill(const Content& content) {
        if (!there_) return false;
        // Not every file system keeps a mode, and none is a reason to lose content.
        if (content.mode != new_file_mode) (void)::fchmod(fd_.get(), content.mode);
        return copy(content.source) && write_all(fd_.get(), content.tail, content.tail_size);
    }

    bool take_place() {
        const bool synced = retry([this] { return ::fsync(fd_.get()); }) == 0;
        if (!fd_.close() || !synced) return false;
        if (::renameat(place_.folder(), name_, place_.folder(), place_.name()) != 0) return false;
        there_ = false;
        return place_.sync();
    }

  private:
    bool copy(const Fd& source) {
        char block[16384];
        ssize_t got = 0;
        while (source.is_open() && (got = read_all(source.get(), block, sizeof block)) > 0)
            if (!write_all(fd_.get(), block, static_cast<size_t>(got))) return false;
        return got == 0;
    }

    const Place& place_;
    Fd fd_;
    bool there_ = false;
    char name_[NAME_MAX + 1];
};

bool replace_file(const Place& place, const Content& content) {
    Temporary temporary(place);
    return temporary.fill(content) && temporary.take_place();
}

// Makes the content the whole file and tells the host; the tail's size when done, else -1.
int32_t save(const char* name, const Place& place, const Content& content) {
    if (!replace_file(place, content)) return -1;
    notify_card_sync(name);
    return static_cast<int32_t>(content.tail_size);
}

bool nothing_there() {
    return errno == ENOENT || errno == ENOTDIR;
}

bool same_file(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool same_entry(const Place& a, const Place& b) {
    struct stat folder_a {};
    struct stat folder_b {};
    return std::strcmp(a.name(), b.name()) == 0 && ::fstat(a.folder(), &folder_a) == 0 &&
           ::fstat(b.folder(), &folder_b) == 0 && same_file(folder_a, folder_b);
}

// Two names of one file: renaming one to the other does nothing and succeeds, and leaves both.
bool drop_second_name(const Place& from, const Place& to) {
    struct stat source {};
    struct stat target {};
    if (::fstatat(from.folder(), from.name(), &source, AT_SYMLINK_NOFOLLOW) != 0 ||
        ::fstatat(to.folder(), to.name(), &target, AT_SYMLINK_NOFOLLOW) != 0 ||
        !same_file(source, target) || same_entry(from, to))
        return true;
    return ::unlinkat(from.folder(), from.name(), 0) == 0;
}

}  // namespace
}  // namespace mmskit

extern "C" {

int32_t fnSCFS_WriteToFile(const void* data, int32_t length, const char* name) {
    const mmskit::Place place(name);
    if (data == nullptr || length < 0 || !place.found()) return -1;
    mmskit::Content content{.tail = data, .tail_size = static_cast<size_t>(length)};
    struct stat old;
    if (::fstatat(place.folder(), place.name(), &old, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISREG(old.st_mode) && old.st_uid == ::geteuid())
        content.take_mode(old);
    return mmskit::save(name, place, content);
}

int32_t fnSCFS_AppendToFile(const void* data, int32_t length, const char* name) {
    const mmskit::Place place(name);
    if (data == nullptr || length < 0 || !place.found()) return -1;
    mmskit::Content content{.tail = data, .tail_size = static_cast<size_t>(length)};
    struct stat old;
    content.source = mmskit::open_regular(name, O_RDONLY, old);
    if (content.source.is_open()) {
        content.take_mode(old);
    } else if (errno != ENOENT) {
        return -1;
    }
    return mmskit::save(name, place, content);
}

int32_t fnSCFS_CopyFile(const char* source, const char* target) {
    const mmskit::Place place(target);
    if (!place.found()) return 0;
    mmskit::Content content;
    struct stat status;
    content.source = mmskit::open_regular(source, O_RDONLY, status);
    if (!content.source.is_open()) return 0;
    content.take_mode(status);
    return mmskit::replace_file(place, content) ? 1 : 0;
}

int32_t fnSCFS_MoveFile(const char* source, const char* target) {
    const mmskit::Place from(source);
    const mmskit::Place to(target);
    if (!from.found() || !to.found()) return 0;
    if (::renameat(from.folder(), from.name(), to.folder(), to.name()) == 0)
        return mmskit::drop_second_name(from, to) && to.sync() && from.sync() ? 1 : 0;
    if (errno != EXDEV || fnSCFS_CopyFile(source, target) == 0) return 0;
    return fnSCFS_DeleteFile(source);
}

int32_t fnSCFS_DeleteFile(const char* path) {
    const mmskit::Place place(path);
    if (!place.found()) return mmskit::nothing_there() ? 1 : 0;
    if (::unlinkat(place.folder(), place.name(), 0) != 0) return mmskit::nothing_there() ? 1 : 0;
    return place.sync() ? 1 : 0;
}

}  // extern "C"
