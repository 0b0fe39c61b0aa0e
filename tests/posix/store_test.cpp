// Record files and INI stores on real files: what is saved is what is loaded, with more content
// than a buffer's first size, and a failure leaves the file as it was.
#include <gtest/gtest.h>
#include <mmskit/storage.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "tests/support/faults.h"

namespace {

using namespace testing_support;
namespace fs = std::filesystem;

class StoreFile : public testing::Test {
  protected:
    StoreFile() { fs::create_directory(folder_); }
    ~StoreFile() override {
        fnSCList_Clear(&list_, fnSCFS_INI_FreeNode);
        fs::remove_all(folder_);
    }
    const char* path() const { return path_.c_str(); }
    static void put_file(const std::string& name, std::string_view content) {
        std::ofstream(name, std::ios::binary) << content;
    }
    void reload() { fnSCFS_Load_INI_To_List(path(), &list_); }

    NoLeak check_;
    std::string folder_ = testing::TempDir() + "mmskit-store" + std::to_string(getpid());
    std::string path_ = folder_ + "/s.ini";
    tSCList list_{};
};

TEST_F(StoreFile, NothingIsDroppedWhereTheFirstRoomEnds) {
    for (size_t size = 9970; size < 10005; ++size) {
        fs::remove(path_);
        fnSCFS_INI_WriteRAM(&list_, "a", std::string(size, 'v').c_str());
        for (const char* key : {"b", "c", "d"})
            fnSCFS_INI_WriteRAM(&list_, key, "");
        ASSERT_EQ(fnSCFS_Write_INI_To_File(path(), &list_), 1);
        ASSERT_EQ(fs::file_size(path_), size + 4 + 3 * 4) << size;
    }
}

TEST_F(StoreFile, FixedCapacityThatIsTooSmallLeavesTheFile) {
    const tSCFS_RecordWriter write = [](tSCFS_FileBuffer* buffer, void* record) {
        fnSCFS_Buffer_WriteLine(buffer, static_cast<const char*>(record), 3);
    };
    static tSCList texts;
    const tSCFS_RecordReader read = [](tSCFS_FileBuffer* buffer) -> void* {
        char* text = fnSCFS_Buffer_ReadString(buffer);
        if (texts.iCount != 1) return text;
        EXPECT_STREQ(static_cast<char*>(texts.pTail->pData), "one") << "the reader may look";
        fnSCList_AddTail(&texts, text);  // or add itself
        return nullptr;
    };
    for (const char* each : {"one", "two"})
        fnSCList_AddTail(&texts, const_cast<char*>(each));
    EXPECT_EQ(fnSCFS_Save_List_To_FileEx(path(), &texts, write, 10), 1);
    EXPECT_EQ(fnSCFS_Append_List_To_File(path(), &texts, write), 1);
    for (const int32_t capacity : {-1, 0, 1, 9})
        EXPECT_EQ(fnSCFS_Save_List_To_FileEx(path(), &texts, write, capacity), 0);
    fnSCList_Clear(&texts, nullptr);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(fnSCFS_Load_File_To_ListEx(path(), &texts, read, fnSC_Free), 1);
    EXPECT_EQ(texts.iCount, 4);
    fnSCList_Clear(&texts, fnSC_Free);
    const Guarded area(std::string(19, '\0'));
    tSCFS_FileBuffer buffer{area.data(), -1, 18};
    EXPECT_EQ(fnSCFS_Load_File_To_Buffer(path(), &buffer), 0) << "20 bytes into 19";
    fnSCFS_Buffer_WriteString(&buffer, std::string(19, 'v').c_str(), 19);
    EXPECT_EQ(fnSCFS_Write_Buffer_To_File(path(), &buffer), 1);
    EXPECT_EQ(file_bytes(path_), std::string(19, 'v')) << "no byte beyond the limit";
}

TEST_F(StoreFile, AFolderInTheWayStays) {
    uint8_t room[9];
    tSCFS_FileBuffer buffer{room, -1, 8};
    for (const std::string& folder : {path_, path_ + ".bak", path_ + ".~new"}) {
        fs::create_directory(folder);
        put_file(folder + "/inside", "x");
        if (folder == path_) put_file(path_ + ".bak", "backup");
        EXPECT_EQ(fnSCFS_Load_File_To_Buffer(path(), &buffer), folder.ends_with("new"));
        EXPECT_EQ(fnSCFS_INI_Write(path(), &list_, "a", "1"), folder.ends_with("bak"));
        EXPECT_EQ(file_bytes(folder + "/inside"), "x");
        fs::remove_all(folder);
        fs::remove(path_ + ".bak");
    }
}

// A list whose loading failed may not take the file's place, however much memory there is again.
TEST_F(StoreFile, MemoryThatRunsOutChangesNoFile) {
    const std::string old = repeated(bytes("'a' 00 '1' 00 0A"), 20);
    const std::string large(30000, 'v');
    fail_each_allocation([&] {
        put_file(path_, old);
        fnSCFS_INI_List_Init(path(), &list_);
        const bool loaded = list_.iCount == 20;
        const bool written = fnSCFS_INI_Write(path(), &list_, "b", large.c_str()) == 1;
        EXPECT_TRUE(loaded || !written);
        EXPECT_EQ(file_bytes(path_).size(), old.size() + (written ? large.size() + 4 : 0));
        fnSCList_Clear(&list_, fnSCFS_INI_FreeNode);
    });
    fail_each_allocation([&] {  // of a reload, whose list may be as it was
        put_file(path_, old);
        reload();
        reload();
        if (fnSCFS_INI_Write(path(), &list_, "b", "") == 1)
            EXPECT_EQ(file_bytes(path_), old + bytes("'b' 00 00 0A"));
        else
            EXPECT_EQ(file_bytes(path_), old);
        fnSCList_Clear(&list_, fnSCFS_INI_FreeNode);
    });
}

// One text a record.
void* read_text(tSCFS_FileBuffer* buffer) {
    const int32_t before = buffer->iPosition;
    char* text = fnSCFS_Buffer_ReadString(buffer);
    if (text == nullptr) buffer->iPosition = before;
    return text;
}
void write_text(tSCFS_FileBuffer* buffer, void* record) {
    fnSCFS_Buffer_WriteLine(buffer, static_cast<const char*>(record),
                            fnSC_STRLEN(static_cast<char*>(record)));
}

TEST_F(StoreFile, EachLoaderPutsTheBackupBackFirst) {
    const std::string whole = bytes("'a' 00 '1' 00 0A"), backup = path_ + ".bak";
    const Guarded area(whole);
    tSCFS_FileBuffer buffer{};
    const struct {
        std::function<void()> load;
        tSCListFreeFunc free;
        int32_t records;
    } loaders[] = {
        {[&] { reload(); }, fnSCFS_INI_FreeNode, 1},
        {[&] { fnSCFS_Load_File_To_List(path(), &list_, read_text); }, fnSC_Free, 2},
        {[&] { fnSCFS_Load_File_To_ListEx(path(), &list_, read_text, fnSC_Free); }, fnSC_Free, 2},
        {[&] {
             buffer = {area.data(), -1, area.length() - 1};
             EXPECT_EQ(fnSCFS_Load_File_To_Buffer(path(), &buffer), 1);
         },
         fnSC_Free, 0}};
    for (const auto& [load, free, records] : loaders) {
        put_file(path_, "half");
        put_file(backup, whole);
        load();
        EXPECT_EQ(list_.iCount, records);
        EXPECT_EQ(file_bytes(path_) + std::to_string(fs::exists(backup)), whole + "0") << records;
        fnSCList_Clear(&list_, free);
    }
    const char* const names[][2] = {{"", "(null)"}, {"ab", "(null)"}, {"abc", "abc.bak"}};
    for (const auto& [name, expected] : names) {
        char* made = fnSCFS_getBak_FileName(name);
        EXPECT_EQ(text(made), expected);
        fnSC_Free(&made);
    }
    const char* shorter = "/sys/devices/system/cpu/online";  // than its size says
    if (fnSCFS_getFileSize(shorter) > 1000) {
        std::string room(5000, ' ');
        buffer = {reinterpret_cast<uint8_t*>(room.data()), -1, 4999};
        EXPECT_EQ(fnSCFS_Load_File_To_Buffer(shorter, &buffer), 0);
    }
}

TEST_F(StoreFile, ARecordListThatWasNotLoadedIsNotSaved) {
    const std::string old = repeated(bytes("'a' 00 0A"), 9);
    fail_each_allocation([&] {
        put_file(path_, old);
        const bool loaded = fnSCFS_Load_File_To_ListEx(path(), &list_, read_text, fnSC_Free) == 1;
        const bool saved = fnSCFS_Save_List_To_File(path(), &list_, write_text) == 1;
        const bool saved_fixed = fnSCFS_Save_List_To_FileEx(path(), &list_, write_text, 500) == 1;
        EXPECT_TRUE(loaded || (!saved && !saved_fixed));
        EXPECT_EQ(file_bytes(path_), old);
        fnSCList_Clear(&list_, fnSC_Free);
    });
}

TEST_F(StoreFile, AMarkedListIsSavedAgainOnceItIsLoadedClearedOrNew) {
    const auto fail_to_load = [this] {
        fs::resize_file(path_, 200'000);  // zeros are more entries than a store may have
        reload();
        EXPECT_EQ(fnSCFS_INI_WriteRAM(&list_, "a", "1"), 1) << "in memory all is well";
        EXPECT_EQ(fnSCFS_Write_INI_To_File(path(), &list_), 0);
        EXPECT_EQ(fs::file_size(path_), 200'000);
    };
    const auto saves = [this] { return fnSCFS_INI_Write(path(), &list_, "b", "2"); };
    fs::remove(path_);
    reload();
    EXPECT_EQ(saves(), 1) << "no file is no failure";
    fail_to_load();
    fnSCList_Clear(&list_, fnSCFS_INI_FreeNode);
    EXPECT_EQ(saves(), 1);
    fail_to_load();
    fs::resize_file(path_, 0);
    reload();
    EXPECT_EQ(saves(), 1);
    fail_to_load();
    fnSCList_Clear_ByType(
        &list_, [](void* entry, uint32_t) { fnSCFS_INI_FreeNode(entry); }, 0);
    fnSCList_Init(&list_);
    EXPECT_EQ(saves(), 1);
    EXPECT_EQ(file_bytes(path_), bytes("'b' 00 '2' 00 0A"));
}

// A file of zeros is an entry for each three of them.
TEST_F(StoreFile, MoreEntriesThanAStoreMayHaveAreRefusedWithTheFileAsItWas) {
    constexpr size_t most = 65536;
    for (const size_t count : {most, most + 1}) {
        std::ofstream(path_, std::ios::binary) << repeated(bytes("'k' 00 'v' 00 0A"), count);
        reload();
        EXPECT_EQ(list_.iCount, count == most ? static_cast<int32_t>(most) : 0);
        EXPECT_EQ(fnSCFS_INI_WriteRAM(&list_, "new", "1"), count == most ? 0 : 1);
        EXPECT_EQ(fnSCFS_Write_INI_To_File(path(), &list_), count == most ? 1 : 0);
        EXPECT_EQ(fs::file_size(path_), count * 5);
    }
}

}  // namespace
