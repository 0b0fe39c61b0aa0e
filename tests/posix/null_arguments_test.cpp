// What a host hands over may be null wherever it is a pointer: the call then gives its failure
// result, changes nothing and keeps nothing.
#include <gtest/gtest.h>
#include <mmskit/mmskit.h>

#include <sstream>
#include <string>
#include <tuple>
#include <utility>

#include "Composer/src/composer_internal.h"
#include "Parser/src/smil_internal.h"
#include "Push/src/push_internal.h"
#include "tests/support/faults.h"

namespace {

template <typename Result, typename... Wanted>
Result nothing(Wanted...) {
    return Result();
}

// What is good for an argument as long as another is null: one, nothing to be called, zeros, which
// are an empty text and a record of nulls, a pointer to them, and a list of two.
template <typename T>
struct Good {
    static T value() { return T(1); }
};
template <typename Result, typename... Wanted>
struct Good<Result (*)(Wanted...)> {
    static auto value() { return nothing<Result, Wanted...>; }
};
template <typename T>
struct Good<T*> {
    static T* value() {
        alignas(16) static char room[2000];
        return reinterpret_cast<T*>(room);
    }
};
template <typename T>
struct Good<T**> {
    static T** value() {
        static T* to;
        to = Good<T*>::value();
        return &to;
    }
};
template <>
struct Good<tSCList*> {
    static tSCList* value() {
        static int data[2];
        static tSCListNode nodes[2];
        static tSCList list;
        nodes[0] = {&data[0], &nodes[1], nullptr};
        nodes[1] = {&data[1], nullptr, &nodes[0]};
        list = {&nodes[0], &nodes[1], 2, 0};
        return &list;
    }
};

// Calls `f` once for each pointer among its arguments, with that one null.
template <typename Result, typename... Wanted>
void fails_without(const std::string& name, int failure, Result (*f)(Wanted...),
                   std::tuple<Wanted...> whole = {Good<Wanted>::value()...}) {
    const auto without = [&]<size_t i>(std::integral_constant<size_t, i>) {
        auto arguments = whole;
        if constexpr (std::is_pointer_v<std::tuple_element_t<i, std::tuple<Wanted...>>>) {
            SCOPED_TRACE(name + ", argument " + std::to_string(i + 1));
            std::get<i>(arguments) = nullptr;
            if constexpr (std::is_void_v<Result>)
                std::apply(f, arguments);
            else if constexpr (std::is_pointer_v<Result>)
                EXPECT_EQ(std::apply(f, arguments), nullptr);
            else
                EXPECT_EQ(std::apply(f, arguments), static_cast<Result>(failure));
        }
    };
    [&]<size_t... i>(std::index_sequence<i...>) {
        (without(std::integral_constant<size_t, i>{}), ...);
    }
    (std::index_sequence_for<Wanted...>{});
}

template <typename... Functions>
void each_fails(int failure, const char* names, Functions... functions) {
    std::istringstream in(names);
    std::string name;
    ((in >> name, fails_without(name, failure, functions)), ...);
}

#define ALL_FAIL(failure, ...) each_fails(failure, #__VA_ARGS__, __VA_ARGS__)
#define FAILS(failure, f, ...) fails_without(#f, failure, f, {__VA_ARGS__})

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
    ALL_FAIL(-1, fnSC_STRCMP, fnSC_STRICMP, fnSC_STRNCMP, fnSC_STRNICMP, fnSCFS_URL_ZM);
    ALL_FAIL(0, fnSC_STRLEN, fnSC_STRLCPY, fnSC_STRLCAT, fnSC_STRSTR, fnSC_STRISTR, fnSC_STRCHR,
             fnSC_STRRCHR, fnSC_STRBEGINS, fnSC_STRLOWER, fnSC_STRDUP, fnSC_ATOI, fnSCRTL_itoa,
             fnSCRTL_ftoa, fnSC_MEMSTR, fnSCFS_StrToLong, UCS2toUTF8, UTF8toUCS2, UTF16toUCS4,
             UCS4toUTF8, BigEndianUCS2toUTF8, LitEndianUCS2toUTF8, fnCharSet_DecodeString2Local);
    EXPECT_STREQ(out, "abc");
    EXPECT_EQ(fnSCRTL_snprintf(out, 4, nullptr) + fnSCRTL_snprintf(nullptr, 4, nullptr), -2);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(fnSCRTL_snprintf(nullptr, 4, "%d", 12), 2);
}

TEST(NullArguments, lists) {
    const testing_support::NoLeak check;
    ALL_FAIL(0, fnSCList_Init, fnSCList_BeginIter, fnSCList_EndIter, fnSCList_NextIter,
             fnSCList_PrevIter, fnSCList_IsValid, fnSCList_GetData, fnSCList_AddTail,
             fnSCList_AddFront, fnSCList_AddBefore, fnSCList_AddAfter, fnSCList_Remove,
             fnSCList_RemoveFront, fnSCList_RemoveTail, fnSCList_Find, fnSCList_CompareFind,
             fnSCFS_List_Find_Node, fnSCList_Find_ByNum, fnSCList_Swap, fnSCList_Reverse,
             fnSCList_Sort);
    fnSCList_Clear(nullptr, nullptr);
    ALL_FAIL(-1, fnSCList_GetCount, fnSCFS_List_getPos, fnSCFS_List_MoveToHead);
    EXPECT_EQ(fnSCList_IsEmpty(nullptr), 1);
    tSCList list{};
    int datum = 0;
    tSCListNode* node = fnSCList_AddTail(&list, &datum);
    fnSCList_Move(nullptr, node, nullptr);
    fnSCList_Move(&list, nullptr, nullptr);
    EXPECT_EQ(fnSCList_GetCount(&list), 1);
    EXPECT_EQ(fnSCList_Delete_ByNum(&list, 0, nullptr), 1);
    fnSCList_AddTail(&list, &datum);
    fnSCList_Clear_ByType(&list, nullptr, 0);
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
    FAILS(0, fnSCFS_RmDir, "/");
    FAILS(0, fnSCFS_DelAllFiles, "/nowhere");
    FAILS(0, fnSCFS_File_CreateDir, "/nowhere/f");
    FAILS(0, fnSCFS_getBak_FileName, "abc");
    FAILS(0, fnSCFS_Write_Buffer_To_File, "/nowhere/f", &buffer);
    FAILS(0, fnSCFS_Append_Buffer_To_File, "/nowhere/f", &buffer);
    FAILS(0, fnSCFS_Load_File_To_Buffer, "/nowhere/f", &buffer);
    FAILS(0, fnSCFS_Load_File_To_List, "/nowhere/f", &list, reader);
    FAILS(0, fnSCFS_Load_File_To_ListEx, "/nowhere/f", &list, reader, fnSC_Free);
    FAILS(0, fnSCFS_Save_List_To_File, "/nowhere/f", &list, writer);
    FAILS(0, fnSCFS_Save_List_To_FileEx, "/nowhere/f", &list, writer, 16);
    FAILS(0, fnSCFS_Append_List_To_File, "/nowhere/f", &list, writer);
    ALL_FAIL(-1, fnSCFS_File_Write, fnSCFS_File_Read, fnSCFS_File_Seek, parse_date_str);
    ALL_FAIL(0, fnSCFS_MkDir, fnSCFS_DaysInMonth, fnSCFS_InitTimeStructure, fnSCFS_CopyTime,
             fnSCFS_LocalTime, fnSCFS_TimeAdd, GETRAND, JULIANTOSECONDS, GETJULIANDATE,
             date_to_httpDate, fnSCFS_Init_Buffer, fnSCFS_Buffer_IsEnd, fnSCFS_Buffer_ReadString,
             fnSCFS_Buffer_ReadLong, fnSCFS_Buffer_ReadMem, fnSCFS_Buffer_ReadDateTime,
             fnSCFS_INI_Read, fnSCFS_INI_FreeNode, fnSCFS_CallBackOper, fnSCFS_File_Close,
             fnSCFS_Buffer_WriteString, fnSCFS_Buffer_WriteMem, fnSCFS_INI_Compare);
    FAILS(0, fnSCFS_Load_INI_To_List, "/nowhere/f", &list);
    FAILS(0, fnSCFS_INI_Write, "/nowhere/f", &list, "key", nullptr);
    FAILS(0, fnSCFS_INI_WriteRAM, nullptr, "key", nullptr);
    auto* const none = Good<tSCFS_FileBuffer*>::value();
    EXPECT_EQ(fnSCFS_Write_Buffer_To_File("abc", none) + fnSCFS_Load_File_To_Buffer("abc", none),
              0);
    EXPECT_STREQ(out, "abc");
    fnSCList_Clear(&list, fnSCFS_INI_FreeNode);
    fnSC_Free(&buffer.pData);
}

TEST(NullArguments, messages) {
    const testing_support::NoLeak check;
    EXPECT_EQ(fnCPS_NewMms(), CPS_OK);
    ALL_FAIL(CPS_BAD_ARGUMENT, fnCPS_AddImage, fnCPS_AddVideo, fnCPS_AddAudio, fnCPS_AddText,
             fnCPS_AddAttachment, fnCPS_GetCurImage, fnCPS_GetCurVideo, fnCPS_GetCurAudio,
             fnCPS_GetCurText, fnCPS_GetAttachment);
    ALL_FAIL(0, fnCPS_GetCurBgColor, fnCPS_GetCurForeColor, fnCPS_GetMmsContentPdu,
             CPSInitSlideStruct, CPSClearSlideStruct, CPSCopySlideStruct, CPSInitAttachment,
             CPSClearAttachment);
    char text[] = "x";
    for (const int absent : {0, 1, 2}) {
        char* texts[] = {text, text, text};
        texts[absent] = nullptr;
        auto* const data = reinterpret_cast<uint8_t*>(texts[0]);
        const CPSMediaInfo media = {data, texts[1], texts[2], 0, 0, 1, {}};
        const CPSAttachmentInfo attachment = {data, texts[1], texts[2], 1};
        EXPECT_EQ(fnCPS_AddImage(&media), CPS_BAD_ARGUMENT) << absent;
        EXPECT_EQ(fnCPS_AddAttachment(&attachment), CPS_BAD_ARGUMENT) << absent;
    }
    EXPECT_EQ(fnCPS_AddText(Good<CPSTextInfo*>::value()), CPS_BAD_ARGUMENT);
    fnCPS_Quit();
    ALL_FAIL(-1, SmilIsTag, SmilIsAttr, fnPAR_IsPlayedMedia);
    ALL_FAIL(0, SmilInitInput, SmilGetChar, SmilParseTag, SmilFreeTagStruct, SmilGetWord,
             SmilAddPar, SmilAddText, SmilAddImg, SmilAddAudio, SmilAddVideo, SmilAddAttachment,
             SmilAddRegion, SmilGetElementById, SmilGetTextDataById, SmilGetImgDataById,
             SmilGetAudioDataById, SmilGetVideoDataById, fnPAR_GetCurParBgColor,
             fnPAR_GetCurParForeColor, fnPAR_GetCurParText, fnPAR_GetCurParImg,
             fnPAR_GetCurParAudio, fnPAR_GetCurParVideo, fnPAR_GetAttachment, SmilParserSmilMMS,
             fnPAR_DrmType);
}

TEST(NullArguments, encoders_and_push) {
    const testing_support::NoLeak check;
    ALL_FAIL(0, fnMMS_MakeSendMessagePdu, fnMMS_MakeFWDMessagePdu, fnMMS_MakeNotifyRespPdu,
             fnMMS_MakeAcknowledgePdu, fnMMS_MakeReadReportPdu, fnMMS_MakeReadRecIndPdu,
             fnMMSPush_DecodeSic, fnMMSPush_DecodeSlc, ParseCharTime, fnMMSPush_DecodeXmlSic,
             fnMMSPush_DecodeXmlSl);
    const auto of_no_text = [](void (*encode)(uint8_t**, const char*)) {
        uint8_t room[20];
        uint8_t* at = room;
        encode(&at, nullptr);
        return testing_support::hex(room, static_cast<size_t>(at - room));
    };
    for (const auto encode : {EncodeString, EncodeTIDString, EncodeTextString, EncodeEncodedString})
        EXPECT_EQ(of_no_text(encode), "00 ");
    EXPECT_EQ(of_no_text([](uint8_t** at, const char* text) { EncodeAddressString(at, text); }),
              testing_support::hex(std::string("/TYPE=PLMN") + '\0'));
    ALL_FAIL(1, removeXmlUnusedTag);  // the length that was given
    EXPECT_EQ(SmilParserSmilMMS(Good<tMMS_ContentUnion*>::value()), 0);
    ALL_FAIL(166, getXmlEncodingCharset);
}

}  // namespace
