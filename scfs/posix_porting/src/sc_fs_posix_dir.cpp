// The POSIX file layer: directories.
#include <dirent.h>

#include <climits>
#include <cstring>

#include "posix_file.h"
#include "scfs/common/src/scfs_internal.h"

namespace mmskit {
namespace {

constexpr mode_t new_folder_mode = 0700;

// Deletes one entry of an open folder unless it is a folder itself.
bool delete_entry(int folder, const char* name) {
    struct stat status;
    if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return errno == ENOENT;
    if (S_ISDIR(status.st_mode)) return true;
    return ::unlinkat(folder, name, 0) == 0 || errno == ENOENT;
}

// Deletes what it can; false when anything stays that should not.
bool delete_entries(DIR* entries) {
    bool all = true;
    for (;;) {
        errno = 0;
        const dirent* entry = ::readdir(entries);
        if (entry == nullptr) return errno == 0 && all;
        all = delete_entry(::dirfd(entries), entry->d_name) && all;
    }
}

}  // namespace
}  // namespace mmskit

extern "C" {

int32_t fnSCFS_MkDir(const char* path) {
    return path != nullptr && ::mkdir(path, mmskit::new_folder_mode) == 0 ? 1 : 0;
}

int32_t fnSCFS_RmDir(const char* path) {
    return path != nullptr && ::rmdir(path) == 0 ? 1 : 0;
}

int32_t fnSCFS_DelAllFiles(const char* path) {
    if (path == nullptr) return 0;
    // A link would lead the deleting into somebody else's folder.
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    mmskit::Fd folder(mmskit::retry([&] { return ::open(path, flags); }));
    if (!folder.is_open()) return 0;
    DIR* entries = ::fdopendir(folder.get());
    if (entries == nullptr) return 0;  // unreachable: the C library's own memory
    folder.release();
    const bool deleted = mmskit::delete_entries(entries);
    ::closedir(entries);
    return deleted ? 1 : 0;
}

const char* fnSCFS_File_CreateDir(const char* path) {
    char part[PATH_MAX];
    const size_t length = path != nullptr ? strnlen(path, sizeof part) : 0;
    if (length == 0 || length == sizeof part) return nullptr;
    std::memcpy(part, path, length + 1);
    // What stands already is no failure; only what stands at the end counts.
    for (char* slash = std::strchr(part + 1, '/'); slash != nullptr;
         slash = std::strchr(slash + 1, '/')) {
        *slash = '\0';
        (void)::mkdir(part, mmskit::new_folder_mode);
        *slash = '/';
    }
    (void)::mkdir(part, mmskit::new_folder_mode);
    struct stat status;
    return ::stat(part, &status) == 0 && S_ISDIR(status.st_mode) ? path : nullptr;
}

}  // extern "C"
