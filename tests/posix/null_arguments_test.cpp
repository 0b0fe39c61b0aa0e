// What a host hands over may be null wherever it is a pointer: the call then gives its failure
// result, changes nothing and keeps nothing.
#include <gtest/gtest.h>
#include <mmskit/mmskit.h>

#include <string>
#include <tuple>
#include <utility>

#include "tests/support/faults.h"

namespace {

// Calls `f` once for each pointer among its arguments, with that one null.
template <typename Result, typename... Wanted, typename... Given>
void fails_without(const char* name, Result failure, Result (*f)(Wanted...), Given... given) {
    const std::tuple<Wanted...> whole{given...};
    const auto without = [&]<size_t i>(std::integral_constant<size_t, i>) {
        auto arguments = whole;
        if constexpr (std::is_pointer_v<std::tuple_element_t<i, std::tuple<Wanted...>>>) {
            std::get<i>(arguments) = nullptr;
            EXPECT_EQ(std::apply(f, arguments), failure) << name << ", argument " << i;
        }
    };
    [&]<size_t... i>(std::index_sequence<i...>) {
        (without(std::integral_constant<size_t, i>{}), ...);
    }
    (std::index_sequence_for<Wanted...>{});
}

template <typename... Wanted, typename... Given>
void nothing_without(const char* name, void (*f)(Wanted...), Given... given) {
    fails_without(
        name, 0,
        +[](void (*g)(Wanted...), Wanted... arguments) {
            return g != nullptr ? g(arguments...), 0 : 0;
        },
        f, given...);
}

#define FAILS(failure, f, ...) fails_without(#f, failure, f, __VA_ARGS__)
#define NOTHING(f, ...) nothing_without(#f, f, __VA_ARGS__)

constexpr char* no_text = nullptr;
constexpr tSCListNode* no_node = nullptr;

TEST(NullArguments, texts) {
    const testing_support::NoLeak check;
    char out[16] = "abc";
    for (const auto copy : {fnSC_STRCPY, fnSC_STRCAT}) {
        EXPECT_EQ(copy(nullptr, "x"), nullptr);
        EXPECT_EQ(copy(out, nullptr), out);
    }
    for (const auto copy : {fnSC_STRNCPY, fnSC_STRNCAT}) {
        EXPECT_EQ(copy(nullptr, "x", 1), nullptr);
        EXPECT_EQ(copy(out, nullptr, 1), out);
    }
    FAILS(0, fnSC_STRLEN, "x");
    FAILS(0, fnSC_STRLCPY, out, "x", 2U);
    FAILS(0, fnSC_STRLCAT, out, "x", 4U);
    for (const auto compare : {fnSC_STRCMP, fnSC_STRICMP})
        FAILS(-1, compare, "a", "a");
    for (const auto compare : {fnSC_STRNCMP, fnSC_STRNICMP})
        FAILS(-1, compare, "a", "a", 1U);
    FAILS(no_text, fnSC_STRSTR, "a", "a");
    FAILS(no_text, fnSC_STRISTR, "a", "a");
    FAILS(no_text, fnSC_STRCHR, "a", 'a');
    FAILS(no_text, fnSC_STRRCHR, "a", 'a');
    FAILS(0, fnSC_STRBEGINS, "a", "a");
    FAILS(0, fnSC_STRLOWER, out);
    FAILS(no_text, fnSC_STRDUP, "a");
    FAILS(0, fnSC_ATOI, "1");
    FAILS(no_text, fnSCRTL_itoa, 1, out, 10);
    FAILS(no_text, fnSCRTL_ftoa, 1.0, out, 1);
    EXPECT_STREQ(out, "abc");
    EXPECT_EQ(fnSCRTL_snprintf(out, 4, nullptr), -1);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(fnSCRTL_snprintf(nullptr, 4, "%d", 12), 2);
    FAILS(0, fnSCFS_StrToLong, "1");
    FAILS(-1, fnSCFS_URL_ZM, out);
}

TEST(NullArguments, lists) {
    const testing_support::NoLeak check;
    tSCList list{};
    int datum = 0;
    const auto same = [](void* a, void* b) -> int32_t { return a != b; };
    const tSCListCompareFunc compare = same;
    fnSCList_AddTail(&list, &datum);
    tSCListNode* node = fnSCList_AddTail(&list, &datum);
    NOTHING(fnSCList_Init, &list);
    FAILS(1, fnSCList_IsEmpty, &list);
    FAILS(-1, fnSCList_GetCount, &list);
    FAILS(no_node, fnSCList_BeginIter, &list);
    FAILS(no_node, fnSCList_EndIter, &list);
    FAILS(no_node, fnSCList_NextIter, node);
    FAILS(no_node, fnSCList_PrevIter, node);
    FAILS(0, fnSCList_IsValid, node);
    FAILS(static_cast<void*>(nullptr), fnSCList_GetData, node);
    FAILS(no_node, fnSCList_AddTail, &list, &datum);
    FAILS(no_node, fnSCList_AddFront, &list, &datum);
    FAILS(no_node, fnSCList_AddBefore, &list, node, &datum);
    FAILS(no_node, fnSCList_AddAfter, &list, node, &datum);
    NOTHING(fnSCList_Remove, &list, node);
    FAILS(static_cast<void*>(nullptr), fnSCList_RemoveFront, &list);
    FAILS(static_cast<void*>(nullptr), fnSCList_RemoveTail, &list);
    FAILS(no_node, fnSCList_Find, &list, &datum);
    FAILS(no_node, fnSCList_CompareFind, &list, &datum, compare);
    FAILS(no_node, fnSCList_Find_ByNum, &list, 0);
    NOTHING(fnSCList_Swap, node, node);
    EXPECT_EQ(fnSCList_Reverse(nullptr), nullptr);
    FAILS(static_cast<tSCList*>(nullptr), fnSCList_Sort, &list, compare);
    FAILS(-1, fnSCFS_List_getPos, &list, &datum);
    FAILS(-1, fnSCFS_List_MoveToHead, &list, &datum);
    fnSCList_Move(nullptr, node, nullptr);
    fnSCList_Move(&list, nullptr, nullptr);
    EXPECT_EQ(fnSCList_GetCount(&list), 2);
    EXPECT_EQ(fnSCList_Delete_ByNum(&list, 0, nullptr), 1);
    fnSCList_Clear(&list, nullptr);
    EXPECT_EQ(fnSCList_GetCount(&list), 0);
}

TEST(NullArguments, files_and_records) {
    const testing_support::NoLeak check;
    char out[16] = "abc";
    tSCList list{};
    tSCFS_FileBuffer buffer{};
    fnSCFS_Init_Buffer(&buffer, 16);
    const tSCFS_RecordReader reader = [](tSCFS_FileBuffer*) -> void* { return nullptr; };
    const tSCFS_RecordWriter writer = [](tSCFS_FileBuffer*, void*) {};
    FAILS(-1, fnSCFS_WriteToFile, "x", 1, "/nowhere/f");
    FAILS(-1, fnSCFS_AppendToFile, "x", 1, "/nowhere/f");
    FAILS(-1, fnSCFS_WriteToFileAtPos, "x", 1, 0, "/nowhere/f");
    FAILS(-1, fnSCFS_ReadFromFile, out, 1, "/dev/zero");
    FAILS(-1, fnSCFS_ReadFromFileAtPos, out, 1, 0, "/dev/zero");
    FAILS(0, fnSCFS_CopyFile, "/nowhere/f", "/nowhere/g");
    FAILS(0, fnSCFS_MoveFile, "/nowhere/f", "/nowhere/g");
    FAILS(0, fnSCFS_isFileExisted, "/");
    FAILS(-1, fnSCFS_getFileSize, "/dev/null");
    FAILS(0, fnSCFS_MkDir, "/");
    FAILS(0, fnSCFS_RmDir, "/");
    FAILS(0, fnSCFS_DelAllFiles, "/nowhere");
    FAILS(static_cast<const char*>(nullptr), fnSCFS_File_CreateDir, "/nowhere/f");
    FAILS(no_text, fnSCFS_getBak_FileName, "f");
    FAILS(0, fnSCFS_Write_Buffer_To_File, "/nowhere/f", &buffer);
    FAILS(0, fnSCFS_Append_Buffer_To_File, "/nowhere/f", &buffer);
    FAILS(0, fnSCFS_Load_File_To_Buffer, "/nowhere/f", &buffer);
    FAILS(0, fnSCFS_Load_File_To_List, "/nowhere/f", &list, reader);
    FAILS(0, fnSCFS_Save_List_To_File, "/nowhere/f", &list, writer);
    FAILS(0, fnSCFS_Save_List_To_FileEx, "/nowhere/f", &list, writer, 16);
    FAILS(0, fnSCFS_Append_List_To_File, "/nowhere/f", &list, writer);
    tSCFS_DateTime date{};
    FAILS(0, fnSCFS_DaysInMonth, &date);
    FAILS(static_cast<tSCFS_DateTime*>(nullptr), fnSCFS_InitTimeStructure, &date);
    FAILS(static_cast<tSCFS_DateTime*>(nullptr), fnSCFS_CopyTime, &date, 1U, 1U, 1U, 1U, 1U, 1U,
          1U);
    EXPECT_STREQ(out, "abc");
    fnSC_Free(&buffer.pData);
}

TEST(NullArguments, encoders) {
    const testing_support::NoLeak check;
    constexpr uint8_t* no_pdu = nullptr;
    uint32_t length = 0;
    const tMMS_SendReq request{};
    const tMMS_ForwardReq forward{};
    tMMS_ReadRecInd report{};
    FAILS(no_pdu, fnMMS_MakeSendMessagePdu, &request, &length);
    FAILS(no_pdu, fnMMS_MakeFWDMessagePdu, &forward, &length);
    FAILS(no_pdu, fnMMS_MakeNotifyRespPdu, "t", 1, 129, &length);
    FAILS(no_pdu, fnMMS_MakeAcknowledgePdu, "t", 1, &length);
    FAILS(no_pdu, fnMMS_MakeReadReportPdu, "t", "a", "s", &length);
    EXPECT_EQ(fnMMS_MakeReadRecIndPdu(&report, &length), nullptr) << "without an address";
    FAILS(no_pdu, fnMMS_MakeReadRecIndPdu, &report, &length);
}

}  // namespace
