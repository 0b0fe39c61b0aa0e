// Record files: lists saved as strings, with a backup beside the file while it is rewritten. A
// backup that exists is always complete and always wins: it appears by one move of the complete
// file, and goes only when the file is complete again. So whenever a save is cut off, the next
// load or save moves the backup back and finds the list of before; from the moment the backup is
// deleted, the new one.
#include "scfs/common/src/record_file.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "scfs/common/src/scfs_internal.h"
#include "scshare/common/src/list_node.h"

namespace mmskit {
namespace {

constexpr int64_t extra_room = 10000;  // bytes beyond what the file holds now
constexpr size_t shortest_name = 3;    // of a file that gets a backup, in bytes
constexpr char backup_suffix[] = ".bak";

bool has_backup_name(const char* name) {
    return std::strlen(name) >= shortest_name;
}

bool exists(const char* path) {
    return fnSCFS_isFileExisted(path) != 0;
}

// False when a backup is, or may be, still there afterwards. The look tells, not the result of the
// move: one that was reported as failed may have been done.
bool restore(const char* name, const char* backup) {
    if (exists(backup)) fnSCFS_MoveFile(backup, name);
    const Presence left = presence_of(backup);
    return left == Presence::absent || left == Presence::no_file;
}

int64_t size_with_room(const char* name) {
    return std::max(fnSCFS_getFileSize(name), 0) + extra_room;
}

// One rewrite of a file under the protection of its backup. Only files are moved: a folder or
// device under the file's name stays where it is, and the write is what refuses it.
class ProtectedRewrite {
  public:
    ProtectedRewrite(const char* name, const char* backup) : name_(name), backup_(backup) {}

    // Leaves the file as it is and a copy of it as the backup; a file that is not there needs none.
    // An old backup is not deleted but restored: it may be the only complete copy.
    [[nodiscard]] bool begin() {
        if (!restore(name_, backup_)) return false;
        if (!exists(name_)) return true;
        fnSCFS_MoveFile(name_, backup_);
        const bool copied = fnSCFS_CopyFile(backup_, name_) == 1;
        has_backup_ = exists(backup_);
        if (has_backup_ && !copied) roll_back();
        return has_backup_ && copied;
    }

    [[nodiscard]] bool commit() const { return !has_backup_ || fnSCFS_DeleteFile(backup_) == 1; }

    // Without a backup nothing is deleted: the file layer writes a file whole or not at all, and a
    // deletion of the backup that was reported as failed may have been done.
    void roll_back() const {
        if (has_backup_) (void)restore(name_, backup_);
    }

  private:
    const char* name_;
    const char* backup_;
    bool has_backup_ = false;
};

int32_t used_size(const tSCFS_FileBuffer& buffer) {
    return std::max(std::min(buffer.iPosition, buffer.iLimit), -1) + 1;
}

bool store_buffer(const char* name, const tSCFS_FileBuffer* buffer, StoreBytes store) {
    if (name == nullptr || buffer == nullptr || buffer->pData == nullptr) return false;
    const int32_t size = used_size(*buffer);
    if (!has_backup_name(name)) return store(buffer->pData, size, name) == size;
    const OwnedText backup(fnSCFS_getBak_FileName(name));
    if (!backup) return false;
    ProtectedRewrite rewrite(name, backup.get());
    if (!rewrite.begin()) return false;
    if (store(buffer->pData, size, name) == size && rewrite.commit()) return true;
    rewrite.roll_back();
    return false;
}

// A record's node is made before the record, so that no record is without one when memory is out,
// and beside the list, at which the reader may look or to which it may add. A reader that consumes
// nothing would be called for ever: it ends the list.
bool read_records(tSCFS_FileBuffer& buffer, tSCList* list, tSCFS_RecordReader reader) {
    while (fnSCFS_Buffer_IsEnd(&buffer) == 0) {
        tSCList next{};
        if (fnSCList_AddTail(&next, &next) == nullptr) return false;
        const int32_t before = buffer.iPosition;
        next.pHead->pData = reader(&buffer);
        if (next.pHead->pData != nullptr) {
            append_node(*list, next);
        } else {
            fnSCList_RemoveTail(&next);
        }
        if (buffer.iPosition <= before) return false;
    }
    return true;
}

}  // namespace

bool RecordArea::open(int32_t capacity, int32_t most) {
    most_ = most;
    return capacity >= 0 && enlarge(capacity, -1);
}

bool RecordArea::enlarge(int32_t capacity, int32_t kept_position) {
    OwnedBytes fresh(static_cast<uint8_t*>(allocate(static_cast<uint64_t>(capacity) + 1)));
    if (!fresh) return false;
    if (kept_position >= 0) {
        std::memcpy(fresh.get(), area_.get(), static_cast<size_t>(kept_position) + 1);
    }
    area_ = std::move(fresh);
    capacity_ = capacity;
    buffer = {area_.get(), kept_position, capacity};
    return true;
}

bool RecordArea::open_for(const char* file) {
    return open(static_cast<int32_t>(std::min<int64_t>(size_with_room(file), INT32_MAX)),
                INT32_MAX);
}

bool RecordArea::open_fixed(int32_t capacity) {
    return open(capacity, capacity);
}

bool RecordArea::overflowed() const {
    return buffer.iLimit != capacity_ || buffer.iPosition >= capacity_;
}

bool RecordArea::grow(int32_t kept_position) {
    if (capacity_ == most_) return false;
    const int64_t bigger = std::min<int64_t>(int64_t{capacity_} * 2, most_);
    return enlarge(static_cast<int32_t>(bigger), kept_position);
}

bool RecordArea::write(tSCFS_RecordWriter writer, void* record) {
    const int32_t before = buffer.iPosition;
    for (;;) {
        writer(&buffer, record);
        if (!overflowed()) return true;
        if (!grow(before)) return false;
    }
}

bool save_list(const char* name, const tSCList* list, tSCFS_RecordWriter writer, StoreBytes store,
               const int32_t* capacity) {
    if (name == nullptr || list == nullptr || writer == nullptr) return false;
    if (store == fnSCFS_WriteToFile && list->uReserved == load_failed_mark) return false;
    RecordArea area;
    if (!(capacity != nullptr ? area.open_fixed(*capacity) : area.open_for(name))) return false;
    for (const tSCListNode* node = list->pHead; node != nullptr; node = node->pNext) {
        if (!area.write(writer, node->pData)) return false;
    }
    return store_buffer(name, &area.buffer, store);
}

bool recover_file(const char* name) {
    if (!has_backup_name(name)) return true;
    const OwnedText backup(fnSCFS_getBak_FileName(name));
    return backup && restore(name, backup.get());
}

// The read tells how long the file is, the size only that nothing is missing. A read that fills
// the room of a file of unknown size may have stopped anywhere.
bool read_file(const char* name, tSCFS_FileBuffer& buffer) {
    const int32_t size = fnSCFS_getFileSize(name);
    const int64_t room =
        std::min<int64_t>(std::max(size, 0) + extra_room, int64_t{buffer.iLimit} + 1);
    if (room < size) return false;
    const int32_t got = fnSCFS_ReadFromFile(buffer.pData, static_cast<int32_t>(room), name);
    if (got < 0 || got < size || (size < 0 && got == room)) return false;
    buffer.iPosition = -1;
    buffer.iLimit = got - 1;
    return true;
}

void note_loading(tSCList& list, const char* name, bool loaded) {
    const bool complete =
        loaded || name == nullptr || (recover_file(name) && presence_of(name) == Presence::absent);
    list.uReserved = complete ? 0 : load_failed_mark;
}

}  // namespace mmskit

extern "C" {

char* fnSCFS_getBak_FileName(const char* name) {
    if (name == nullptr || !mmskit::has_backup_name(name)) return nullptr;
    const size_t length = std::strlen(name);
    auto* backup =
        static_cast<char*>(mmskit::allocate(uint64_t{length} + sizeof mmskit::backup_suffix));
    if (backup == nullptr) return nullptr;
    std::memcpy(backup, name, length);
    std::memcpy(backup + length, mmskit::backup_suffix, sizeof mmskit::backup_suffix);
    return backup;
}

int32_t fnSCFS_Write_Buffer_To_File(const char* name, tSCFS_FileBuffer* buffer) {
    return mmskit::store_buffer(name, buffer, fnSCFS_WriteToFile);
}

int32_t fnSCFS_Append_Buffer_To_File(const char* name, tSCFS_FileBuffer* buffer) {
    return mmskit::store_buffer(name, buffer, fnSCFS_AppendToFile);
}

int32_t fnSCFS_Load_File_To_Buffer(const char* name, tSCFS_FileBuffer* buffer) {
    if (name == nullptr || buffer == nullptr || buffer->pData == nullptr) return 0;
    return mmskit::recover_file(name) && mmskit::read_file(name, *buffer);
}

int32_t fnSCFS_Load_File_To_List(const char* name, tSCList* list, tSCFS_RecordReader reader) {
    if (name == nullptr || list == nullptr || reader == nullptr) return 0;
    mmskit::RecordArea area;
    const bool loaded = mmskit::recover_file(name) && area.open_for(name) &&
                        mmskit::read_file(name, area.buffer) &&
                        mmskit::read_records(area.buffer, list, reader);
    if (loaded) list->uReserved = 0;
    return loaded;
}

int32_t fnSCFS_Load_File_To_ListEx(const char* name, tSCList* list, tSCFS_RecordReader reader,
                                   tSCListFreeFunc free) {
    if (name == nullptr || list == nullptr || reader == nullptr) return 0;
    fnSCList_Clear(list, free);
    const int32_t loaded = fnSCFS_Load_File_To_List(name, list, reader);
    if (loaded == 0) fnSCList_Clear(list, free);
    mmskit::note_loading(*list, name, loaded != 0);
    return loaded;
}

int32_t fnSCFS_Save_List_To_File(const char* name, tSCList* list, tSCFS_RecordWriter writer) {
    return mmskit::save_list(name, list, writer, fnSCFS_WriteToFile);
}

int32_t fnSCFS_Save_List_To_FileEx(const char* name, tSCList* list, tSCFS_RecordWriter writer,
                                   int32_t capacity) {
    return mmskit::save_list(name, list, writer, fnSCFS_WriteToFile, &capacity);
}

int32_t fnSCFS_Append_List_To_File(const char* name, tSCList* list, tSCFS_RecordWriter writer) {
    return mmskit::save_list(name, list, writer, fnSCFS_AppendToFile);
}

tSCListNode* fnSCFS_List_Find_Node(const tSCList* list, void* key, tSCListCompareFunc compare) {
    return fnSCList_CompareFind(list, key, compare);
}

}  // extern "C"
