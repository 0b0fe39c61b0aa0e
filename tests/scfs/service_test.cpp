// The services: the handset layer's fixed results, work on an open stream, timers, and the small
// helpers with their deliberate corners.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "scfs/common/src/scfs_internal.h"
#include "tests/support/faults.h"

namespace {

using namespace testing_support;

class Services : public testing::Test {
  protected:
    NoLeak check_;
    ~Services() override { mmskit::reset_services(); }
};

TEST_F(Services, HandsetResultsAreFixed) {
    char data[4] = "abc";
    const char* name = "/dev/zero";
    EXPECT_EQ(fnSCFS_File_Open(name, 0), nullptr);
    const std::vector<int32_t> results = {
        fnSCFS_isFileExisted(name),           fnSCFS_MkDir("dir"),
        fnSCFS_getFileSize("/proc/self/exe"), fnSCFS_CopyFile(name, "copy"),
        fnSCFS_MoveFile("none", "moved"),     fnSCFS_DeleteFile("/"),
        fnSCFS_DelAllFiles("none"),           fnSCFS_RmDir("/"),
        fnSCFS_SetTimer(nullptr, 5, 1),       fnSCFS_WriteToFileAtPos(data, 3, 0, "/dev/null"),
        fnSCFS_ReadFromFile(data, 3, name),   fnSCFS_ReadFromFileAtPos(data, 3, 0, name)};
    EXPECT_EQ(results, (std::vector<int32_t>{0, 0, 0, 0, 0, 1, 1, 1, 1, -1, -1, -1}));
    fnSCFS_CancelTimer(1);
    fnSCFS_ReleaseTimerList();
    EXPECT_EQ(fnSCFS_TimerCallback(1), 0U);
    EXPECT_EQ(fnSCFS_File_CreateDir(name), name);
    EXPECT_STREQ(data, "abc");
}

std::string told;

TEST_F(Services, append_notifies_without_arguments) {
    told.clear();
    EXPECT_EQ(fnSCFS_AppendToFile("d", 1, nullptr), -1);  // with nobody to tell
    fnSCFS_SetCardSynFileFunc([](const char* name, int32_t what) {
        told += (name != nullptr ? name : "-") + std::to_string(what);
    });
    EXPECT_EQ(fnSCFS_WriteToFile("d", 1, "a"), -1);
    EXPECT_EQ(fnSCFS_WriteToFile(nullptr, 1, "b"), -1);
    EXPECT_EQ(fnSCFS_AppendToFile("d", 1, "c") + fnSCFS_AppendToFile(nullptr, 1, "d"), -2);
    EXPECT_EQ(fnSCFS_AppendToFile("d", 1, nullptr), -1);
    EXPECT_EQ(told, "a2b2d2-2");
}

TEST_F(Services, write_multiplies_count_twice) {
    tSCFS_File* file = mmskit::new_file_handle(std::tmpfile());
    EXPECT_EQ(fnSCFS_File_Write("abcdef", 6, 1, file), 1);
    EXPECT_EQ(fnSCFS_File_Write("12345678", 2, 2, file), 2);
    EXPECT_EQ(fnSCFS_File_Write("", UINT32_MAX, UINT32_MAX, file), -1);
    const std::tuple<int32_t, int32_t, uint32_t, uint32_t, int32_t, const char*> reads[] = {
        {0, 1, 2, 2, 4, "bcde"},  {2, 1, 3, 1, 3, "123"}, {9, -1, 1, 1, 1, "3"},
        {1, -4, 9, 1, 4, "5678"}, {2, 0, 1, 1, -1, ""},   {0, 0, 0, 5, 0, ""}};
    for (const auto& [origin, offset, size, count, result, bytes_read] : reads) {
        char data[20] = {};
        EXPECT_EQ(fnSCFS_File_Seek(file, origin, offset), 0);
        EXPECT_EQ(fnSCFS_File_Read(data, size, count, file), result) << bytes_read;
        EXPECT_STREQ(data, bytes_read);
    }
    fnSCFS_File_Close(file);
    tSCFS_File* full = mmskit::new_file_handle(std::fopen("/dev/full", "w"));
    EXPECT_EQ(fnSCFS_File_Write(std::string(9999, 'a').data(), 9999, 1, full), -1);
    fnSCFS_File_Write("a", 1, 1, full);
    EXPECT_FALSE(mmskit::close_file_handle(full));
    auto* own = static_cast<tSCFS_File*>(std::calloc(1, sizeof(tSCFS_File)));
    EXPECT_EQ(fnSCFS_File_Write("a", 1, 1, own), -1);
    fnSCFS_File_Close(own);
}

TEST_F(Services, FullPathIsNeverCut) {
    char* path = fnSCFS_SetFullPath("/a/longer/path");
    EXPECT_EQ(std::string(fnSCFS_SetFullPath(path + 2), 1024),
              "/longer/path" + std::string(1012, '\0'));
    EXPECT_STREQ(fnSCFS_SetFullPath(std::string(1024, 'p').c_str()), "");
    EXPECT_STREQ(fnSCFS_SetFullPath(nullptr), "");
}

TEST_F(Services, StateAndLists) {
    tSCList* timers = &mmskit::scfs_state.timers;
    for (const uint32_t param : {40U, 99U}) {
        auto* timer = static_cast<tSCFS_Timer*>(fnSC_Malloc_Local(sizeof(tSCFS_Timer)));
        *timer = {[](uint32_t p) { return p + 1; }, param, 2};
        fnSCList_AddTail(timers, timer);
    }
    fnSCList_AddFront(timers, timers)->pData = nullptr;
    EXPECT_EQ(fnSCFS_TimerCallback(2) + fnSCFS_TimerCallback(3), 41U);
    EXPECT_EQ(fnSCList_GetCount(timers), 2);
    void* last = timers->pTail->pData;
    EXPECT_EQ(fnSCFS_List_MoveToHead(timers, last), 0);
    EXPECT_EQ(fnSCFS_List_getPos(timers, last), 0);
    auto* timer = static_cast<tSCFS_Timer*>(last);
    EXPECT_EQ(fnSCFS_TimerCallback(2), 100U);
    timer->pfnCallback = nullptr;
    EXPECT_EQ(fnSCFS_TimerCallback(2), static_cast<uint32_t>(reinterpret_cast<uintptr_t>(timer)));
    tSCFS_Operation operation{};
    EXPECT_EQ(fnSCFS_CallBackOper(&operation), &operation);
    operation.pfnCallback = [](void* param) { return param; };
    EXPECT_EQ(fnSCFS_CallBackOper(&operation), nullptr);
    EXPECT_EQ(fnSCFS_List_MoveToHead(timers, &told), -1);
    fnSCFS_printLog_param("src/mms.c", 11);
    fnSCFS_printLog_param("c:\\src\\mms.c", 12);
    EXPECT_STREQ(mmskit::scfs_state.log_file, "\\mms.c");
}

TEST_F(Services, str_to_long_takes_any_character) {
    EXPECT_EQ(fnSCFS_StrToLong("4294967297-\xFF"), 277);
    uint8_t random[100] = {};
    fnSCFS_getPseudoRandom(random + 1, 98);
    EXPECT_TRUE(random[0] + random[99] == 0 && random[1] + random[50] + random[98] != 0);
}

TEST_F(Services, UrlDecoding) {
    const char* const cases[][3] = {
        {"plain", "a%41b%6a%6A%09%ff%", "aAbjj\t\xFF%"},
        {"url_zero_stays_encoded", "a%00b%0041", "a%00b%0041"},
        {"url_invalid_escape_becomes_ff", "%zz1%4g%%41", "\xFF\x31\xFF\xFF\x31"},
        {"two_characters_are_needed", "a%4", "a%4"},
        {"decoded_percent_is_not_looked_at_again", "%2541", "%41"}};
    for (const auto& [rule, encoded, result] : cases) {
        const Guarded text(std::string(encoded) + '\0');
        EXPECT_EQ(fnSCFS_URL_ZM(text.chars()), 0);
        EXPECT_STREQ(text.chars(), result) << rule;
    }
}

}  // namespace
