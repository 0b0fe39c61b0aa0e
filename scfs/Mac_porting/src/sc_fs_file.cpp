// The handset file layer: there are no files to reach. Each call has one fixed result, which the
// callers above are built against: a file never exists, opening always fails, deleting always
// succeeds, and a whole-file write only tells the host, which keeps the card in step itself.
#include "scfs/common/src/scfs_internal.h"

mmskit::Presence mmskit::presence_of(const char*) {
    return Presence::absent;
}

extern "C" {

int32_t fnSCFS_isFileExisted(const char*) {
    return 0;
}

int32_t fnSCFS_MkDir(const char*) {
    return 0;
}

tSCFS_File* fnSCFS_File_Open(const char*, int32_t) {
    return nullptr;
}

int32_t fnSCFS_getFileSize(const char*) {
    return 0;
}

int32_t fnSCFS_CopyFile(const char*, const char*) {
    return 0;
}

int32_t fnSCFS_MoveFile(const char*, const char*) {
    return 0;
}

int32_t fnSCFS_DeleteFile(const char*) {
    return 1;
}

int32_t fnSCFS_DelAllFiles(const char*) {
    return 1;
}

int32_t fnSCFS_RmDir(const char*) {
    return 1;
}

int32_t fnSCFS_WriteToFileAtPos(const void*, int32_t, int32_t, const char*) {
    return -1;
}

int32_t fnSCFS_ReadFromFileAtPos(void*, int32_t, int32_t, const char*) {
    return -1;
}

int32_t fnSCFS_ReadFromFile(void*, int32_t, const char*) {
    return -1;
}

int32_t fnSCFS_WriteToFile(const void*, int32_t, const char* name) {
    mmskit::notify_card_sync(name);
    return -1;
}

int32_t fnSCFS_AppendToFile(const void* data, int32_t, const char* name) {
    // QUIRK append_notifies_without_arguments: the reverse of writing, where the host is told in
    // every case; with both arguments present it is not told here.
    if (data == nullptr || name == nullptr) mmskit::notify_card_sync(name);
    return -1;
}

const char* fnSCFS_File_CreateDir(const char* path) {
    return path;
}

}  // extern "C"
