// Record files and INI stores: what was read from any file and saved is read again.
#include "fuzz/harness.h"

namespace {

using namespace fuzz;

struct List : tSCList {
    explicit List(tSCListFreeFunc function) : tSCList{}, release(function) {}
    ~List() { fnSCList_Clear(this, release); }
    List(const List&) = delete;
    List& operator=(const List&) = delete;
    tSCListFreeFunc release;
};

// Reloading takes a line feed that one of the texts begins with.
bool loses_line_feeds(const std::string& texts) {
    return ('\0' + texts).find(std::string("\0\n", 2)) != std::string::npos;
}

// ---- Record files ------------------------------------------------------------------------------

void* read_record(tSCFS_FileBuffer* buffer) {
    const int32_t before = buffer->iPosition;
    char* text = fnSCFS_Buffer_ReadString(buffer);
    if (text == nullptr) buffer->iPosition = before;
    return text;
}
void write_record(tSCFS_FileBuffer* buffer, void* record) {
    const char* text = static_cast<const char*>(record);
    fnSCFS_Buffer_WriteLine(buffer, text, fnSC_STRLEN(text));
}

std::string records(const tSCList& list) {
    std::string all;
    for (auto* node = fnSCList_BeginIter(&list); node != nullptr; node = fnSCList_NextIter(node))
        all += static_cast<const char*>(node->pData) + std::string(1, '\0');
    return all;
}

void run_records(Bytes bytes) {
    const std::string path = put_file("records", bytes);
    const char* file = path.c_str();
    List list(fnSC_Free), again(fnSC_Free);
    const int32_t loaded = fnSCFS_Load_File_To_ListEx(file, &list, read_record, fnSC_Free);
    tell(uint64_t(loaded));
    tell(records(list));
    if (loses_line_feeds(records(list))) return;
    const int32_t saved = fnSCFS_Save_List_To_File(file, &list, write_record);
    hold(saved == loaded, "a list that was loaded is saved, and no other");
    if (saved == 0) return;
    hold(fnSCFS_Load_File_To_ListEx(file, &again, read_record, fnSC_Free) == 1 &&
             records(again) == records(list),
         "loaded, saved, loaded");
}

// ---- INI stores --------------------------------------------------------------------------------

std::string entries(const tSCList& list) {
    std::string all;
    for (auto* node = fnSCList_BeginIter(&list); node != nullptr; node = fnSCList_NextIter(node)) {
        const auto* entry = static_cast<const tSCFS_INI_Entry*>(node->pData);
        for (const char* text : {entry->pKey, entry->pValue}) {
            hold(text != nullptr, "an entry without a text");
            all += (text != nullptr ? text : "\n") + std::string(1, '\0');
        }
    }
    return all;
}

// The first part is a file; the rest changes what it gave.
void run_ini(Bytes bytes) {
    Input input{bytes};
    const std::string path = put_file("ini", input.take(input.byte()));
    const char* file = path.c_str();
    List list(fnSCFS_INI_FreeNode), again(fnSCFS_INI_FreeNode);
    fnSCFS_INI_List_Init(file, &list);
    tell(entries(list));
    while (!input.rest.empty()) {
        const std::string key = input.text(), value = input.text();
        const int32_t done = fnSCFS_INI_WriteRAM(&list, key.c_str(), value.c_str());
        hold(done == 1, "not set");
        std::string read(256, '\0');
        hold(fnSCFS_INI_Read(file, &list, key.c_str(), read.data()) == 1 && read.c_str() == value,
             "another value than was set");
    }
    if (loses_line_feeds(entries(list))) return;
    hold(fnSCFS_Write_INI_To_File(file, &list) == 1, "not saved");
    fnSCFS_INI_List_Init(file, &again);
    hold(entries(again) == entries(list), "loaded, saved, loaded");
}

constexpr Target targets[] = {{"records", run_records}, {"ini", run_ini}};

}  // namespace

const std::span<const Target> fuzz::storage_targets = targets;
