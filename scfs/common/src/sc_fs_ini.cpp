// INI stores: a list of keys and values in memory, and its file: key, zero byte, value, zero byte,
// line feed for each entry. Relies on the record files for saving and loading whole lists.
#include <algorithm>
#include <cstring>
#include <utility>

#include "scfs/common/src/record_file.h"
#include "scshare/common/src/limits.h"

namespace mmskit {
namespace {

const char* text_or_empty(const char* text) {
    return text != nullptr ? text : "";
}

// As bytes, not as strings: a key or value that is a single line feed would be taken for a line
// tag, lose its zero byte and shift every entry after it.
void write_text(tSCFS_FileBuffer* buffer, const char* text) {
    const size_t length = std::strlen(text_or_empty(text));
    // No area takes what a length cannot say: it closes the buffer like any other that is too long.
    fnSCFS_Buffer_WriteMem(buffer, text_or_empty(text),
                           static_cast<int32_t>(std::min<size_t>(length, INT32_MAX)));
}

void write_entry(tSCFS_FileBuffer* buffer, void* record) {
    const auto* entry = static_cast<const tSCFS_INI_Entry*>(record);
    write_text(buffer, entry->pKey);
    write_text(buffer, entry->pValue);
    fnSCFS_Buffer_WriteLineTag(buffer);
}

struct FreeEntry {
    void operator()(tSCFS_INI_Entry* entry) const { fnSCFS_INI_FreeNode(&entry); }
};
using OwnedEntry = Owned<tSCFS_INI_Entry, FreeEntry>;

// Takes both texts; null, with all released, when one is missing or memory is out.
tSCFS_INI_Entry* new_entry(OwnedText key, OwnedText value) {
    if (!key || !value) return nullptr;
    auto* entry = new_record<tSCFS_INI_Entry>();
    if (entry != nullptr) *entry = {key.release(), value.release()};
    return entry;
}

bool append(tSCList* list, tSCFS_INI_Entry* made) {
    OwnedEntry entry(made);
    if (!entry || fnSCList_AddTail(list, entry.get()) == nullptr) return false;
    (void)entry.release();
    return true;
}

bool read_entries(tSCFS_FileBuffer& buffer, tSCList* list) {
    for (uint32_t left = limits::ini_entries; fnSCFS_Buffer_IsEnd(&buffer) == 0; --left) {
        if (left == 0) return false;
        OwnedText key(fnSCFS_Buffer_ReadString(&buffer));
        OwnedText value(fnSCFS_Buffer_ReadString(&buffer));
        if (!append(list, new_entry(std::move(key), std::move(value)))) {
            return false;
        }
    }
    return true;
}

// The list is emptied first, but for want of memory to begin with. False when entries are missing.
bool load_entries(const char* file, tSCList* list) {
    const bool recovered = file != nullptr && recover_file(file);
    RecordArea area;
    if (!area.open_for(file)) return false;
    fnSCList_Clear(list, fnSCFS_INI_FreeNode);
    if (recovered && read_file(file, area.buffer) && read_entries(area.buffer, list)) return true;
    fnSCList_Clear(list, fnSCFS_INI_FreeNode);
    return false;
}

tSCFS_INI_Entry* find_entry(const tSCList* list, const char* key) {
    const tSCListNode* node = fnSCList_CompareFind(list, &key, fnSCFS_INI_Compare);
    return node != nullptr ? static_cast<tSCFS_INI_Entry*>(node->pData) : nullptr;
}

// The key text that a record, or a variable with just a key, begins with.
const char* key_of(const void* holder) {
    const char* key = nullptr;
    if (holder != nullptr) std::memcpy(&key, holder, sizeof key);
    return text_or_empty(key);
}

}  // namespace
}  // namespace mmskit

extern "C" {

void fnSCFS_INI_List_Init(const char* file, tSCList* list) {
    fnSCList_Init(list);
    fnSCFS_Load_INI_To_List(file, list);
}

void fnSCFS_Load_INI_To_List(const char* file, tSCList* list) {
    if (list == nullptr) return;
    const bool loaded = mmskit::load_entries(file, list);
    mmskit::note_loading(*list, file, loaded);
}

void fnSCFS_INI_FreeNode(void* ppEntry) {
    if (ppEntry == nullptr) return;
    void* held = nullptr;
    std::memcpy(&held, ppEntry, sizeof held);
    auto* entry = static_cast<tSCFS_INI_Entry*>(held);
    if (entry == nullptr) return;
    fnSC_Free(&entry->pKey);
    fnSC_Free(&entry->pValue);
    fnSC_Free(ppEntry);
}

int32_t fnSCFS_INI_Compare(void* a, void* b) {
    return std::strcmp(mmskit::key_of(a), mmskit::key_of(b));
}

int32_t fnSCFS_INI_Read(const char* file, tSCList* list, const char* key, char* destination) {
    if (file == nullptr || list == nullptr || key == nullptr || destination == nullptr) return 0;
    const tSCFS_INI_Entry* entry = mmskit::find_entry(list, key);
    if (entry == nullptr) return 0;
    const char* value = mmskit::text_or_empty(entry->pValue);
    std::memmove(destination, value, std::strlen(value) + 1);
    return 1;
}

int32_t fnSCFS_INI_WriteRAM(tSCList* list, const char* key, const char* value) {
    if (list == nullptr || key == nullptr) return 0;
    mmskit::OwnedText copy(fnSC_MEMSTRCOPY(value));
    if (tSCFS_INI_Entry* entry = mmskit::find_entry(list, key)) {
        mmskit::replace_owned(entry->pValue, copy.release());
        return entry->pValue != nullptr;
    }
    if (list->iCount >= static_cast<int32_t>(mmskit::limits::ini_entries)) return 0;
    return mmskit::append(
        list, mmskit::new_entry(mmskit::OwnedText(mmskit::copy_text(key)), std::move(copy)));
}

int32_t fnSCFS_INI_Write(const char* file, tSCList* list, const char* key, const char* value) {
    if (file == nullptr || fnSCFS_INI_WriteRAM(list, key, value) == 0) return 0;
    return fnSCFS_Write_INI_To_File(file, list);
}

int32_t fnSCFS_Write_INI_To_File(const char* file, tSCList* list) {
    return mmskit::save_list(file, list, mmskit::write_entry, fnSCFS_WriteToFile);
}

}  // extern "C"
