// Services that are the same on every file layer: work on open streams, the path buffer, the
// card-sync callback, timer dispatch, the log position and small helpers. Holds the module's state.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "scfs/common/src/scfs_internal.h"
#include "scshare/common/src/owned.h"

namespace mmskit {

ServiceState scfs_state;

void reset_services() {
    fnSCList_Clear(&scfs_state.timers, fnSC_Free);
    fnSC_Free(&scfs_state.log_file);
    scfs_state = {};
}

void notify_card_sync(const char* name) {
    constexpr int32_t file_written = 2;
    if (scfs_state.card_sync != nullptr) scfs_state.card_sync(name, file_written);
}

tSCFS_File* new_file_handle(FILE* stream) {
    if (stream == nullptr) return nullptr;
    auto* file = static_cast<tSCFS_File*>(std::malloc(sizeof(tSCFS_File)));
    if (file != nullptr)  // unreachable: the C library's own memory
        file->stream = stream;
    else
        std::fclose(stream);  // unreachable: the C library's own memory
    return file;
}

bool close_file_handle(tSCFS_File* file) {
    if (file == nullptr) return true;
    const bool closed = file->stream == nullptr || std::fclose(file->stream) == 0;
    file->stream = nullptr;
    std::free(file);
    return closed;
}

namespace {

bool is_open(const tSCFS_File* file) {
    return file != nullptr && file->stream != nullptr;
}

int hex_digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

// The first timer with this identifier; entries without data are dropped on the way.
const tSCFS_Timer* find_timer(tSCList& timers, int32_t id) {
    tSCListNode* node = timers.pHead;
    while (node != nullptr) {
        tSCListNode* next = node->pNext;
        const auto* timer = static_cast<const tSCFS_Timer*>(node->pData);
        if (timer == nullptr) {
            fnSCList_Remove(&timers, node);
        } else if (timer->iTimerId == id) {
            return timer;
        }
        node = next;
    }
    return nullptr;
}

}  // namespace
}  // namespace mmskit

extern "C" {

// ---- Open files ---------------------------------------------------------------------------------

int32_t fnSCFS_File_Write(const void* data, uint32_t size, uint32_t count, tSCFS_File* file) {
    if (data == nullptr || !mmskit::is_open(file)) return -1;
    // QUIRK write_multiplies_count_twice: an item is size * count bytes and `count` of them are
    // written. Callers pass a count of 1, for which this is the plain length.
    const uint64_t item = uint64_t{size} * count;
    size_t total = 0;
    if (__builtin_mul_overflow(item, uint64_t{count}, &total)) return -1;
    const size_t written = std::fwrite(data, static_cast<size_t>(item), count, file->stream);
    return item != 0 && written == 0 ? -1 : static_cast<int32_t>(written);
}

int32_t fnSCFS_File_Read(void* data, uint32_t size, uint32_t count, tSCFS_File* file) {
    if (data == nullptr || !mmskit::is_open(file)) return -1;
    // More than the result can count is left for the next call.
    const uint64_t wanted = std::min<uint64_t>(uint64_t{size} * count, INT32_MAX);
    const size_t got = std::fread(data, 1, static_cast<size_t>(wanted), file->stream);
    return size != 0 && got == 0 ? -1 : static_cast<int32_t>(got);
}

int32_t fnSCFS_File_Seek(tSCFS_File* file, int32_t origin, int32_t offset) {
    if (!mmskit::is_open(file)) return -1;
    const int whence = origin == 0 ? SEEK_SET : origin == 1 ? SEEK_END : SEEK_CUR;
    return std::fseek(file->stream, offset, whence);
}

void fnSCFS_File_Close(tSCFS_File* file) {
    (void)mmskit::close_file_handle(file);
}

void fnSCFS_SetCardSynFileFunc(tSCFS_CardSynFileFunc callback) {
    mmskit::scfs_state.card_sync = callback;
}

char* fnSCFS_SetFullPath(const char* path) {
    char* full = mmskit::scfs_state.full_path;
    constexpr size_t room = sizeof mmskit::scfs_state.full_path;
    size_t length = path != nullptr ? strnlen(path, room) : 0;
    // A path that was cut would name another file; an empty one names none.
    if (length == room) length = 0;
    if (length != 0) std::memmove(full, path, length);  // it may be a piece of the last result
    std::memset(full + length, 0, room - length);
    return full;
}

// ---- Timers, operations, log --------------------------------------------------------------------

uint32_t fnSCFS_TimerCallback(int32_t timerId) {
    const tSCFS_Timer* timer = mmskit::find_timer(mmskit::scfs_state.timers, timerId);
    if (timer == nullptr) return 0;
    if (timer->pfnCallback != nullptr) return timer->pfnCallback(timer->uParam);
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(timer));
}

void* fnSCFS_CallBackOper(tSCFS_Operation* operation) {
    if (operation == nullptr || operation->pfnCallback == nullptr) return operation;
    return operation->pfnCallback(operation->pParam);
}

void fnSCFS_printLog_param(const char* file, int32_t line) {
    const char* base = fnSC_STRRCHR(file, '\\');
    mmskit::replace_owned(mmskit::scfs_state.log_file,
                          mmskit::copy_text(base != nullptr ? base : file));
    mmskit::scfs_state.log_line = line;
}

void fnSCFS_printLog(const char*, ...) {}

// ---- Small helpers ------------------------------------------------------------------------------

int32_t fnSCFS_List_getPos(tSCList* list, void* data) {
    int32_t position = 0;
    for (const tSCListNode* node = fnSCList_BeginIter(list); node != nullptr; node = node->pNext) {
        if (node->pData == data) return position;
        ++position;
    }
    return -1;
}

int32_t fnSCFS_List_MoveToHead(tSCList* list, void* data) {
    tSCListNode* node = fnSCList_Find(list, data);
    if (node == nullptr) return -1;
    // The node moves with its datum: nothing is allocated, so the datum cannot get lost.
    fnSCList_Move(list, node, list->pHead);
    return 0;
}

int32_t fnSCFS_StrToLong(const char* text) {
    if (text == nullptr) return 0;
    uint32_t value = 0;
    // QUIRK str_to_long_takes_any_character: each counts its distance from "0", so "1a" is 59.
    for (; *text != '\0'; ++text)
        value = value * 10 + (static_cast<unsigned char>(*text) - uint32_t{'0'});
    return static_cast<int32_t>(value);
}

int32_t fnSCFS_URL_ZM(char* text) {
    if (text == nullptr) return -1;
    const char* in = text;
    char* out = text;
    while (*in != '\0') {
        const char c = *in++;
        if (c != '%' || in[0] == '\0' || in[1] == '\0') {
            *out++ = c;
            continue;
        }
        const int high = mmskit::hex_digit(in[0]);
        const int low = mmskit::hex_digit(in[1]);
        if (high == 0 && low == 0) {
            // QUIRK url_zero_stays_encoded: a NUL would cut the text, so "%00" is left as it is.
            *out++ = c;
            continue;
        }
        // QUIRK url_invalid_escape_becomes_ff: the two characters go with it, so that a broken
        // address fails as a whole and is never read as another one.
        const bool valid = high >= 0 && low >= 0;
        *out++ = static_cast<char>(valid ? high * 16 + low : 0xFF);
        in += 2;
    }
    *out = '\0';
    return 0;
}

}  // extern "C"
