// File buffers at their boundaries and with hostile members, and what saving and loading do on the
// handset layer.
#include <gtest/gtest.h>
#include <mmskit/storage.h>

#include <array>
#include <limits>
#include <string>
#include <utility>

#include "tests/support/faults.h"

namespace {

using namespace testing_support;

constexpr int32_t least = std::numeric_limits<int32_t>::min();
constexpr int32_t most = std::numeric_limits<int32_t>::max();

// A buffer over an area that ends at an unmapped page.
struct Area {
    explicit Area(size_t size) : guarded(std::string(size, 'x')) {
        buffer.pData = guarded.data();
        fnSCFS_Init_Buffer(&buffer, guarded.length());
    }
    std::string content() const { return hex(guarded.data(), guarded.size()); }
    Guarded guarded;
    tSCFS_FileBuffer buffer{};
};

std::string read(tSCFS_FileBuffer& buffer) {
    char* owned = fnSCFS_Buffer_ReadString(&buffer);
    std::string out = text(owned);
    fnSC_Free(&owned);
    return out;
}

TEST(FileBuffer, line_feed_string_is_a_line_tag) {
    Area area(30);
    tSCFS_FileBuffer& b = area.buffer;
    fnSCFS_Buffer_WriteString(&b, "ab", 2);
    fnSCFS_Buffer_WriteString(&b, "\n", 1);
    fnSCFS_Buffer_WriteInteger(&b, least);
    constexpr long large = sizeof(long) > 4 ? long{most} + 1 : most;
    fnSCFS_Buffer_WriteLong(&b, large);
    fnSCFS_Buffer_WriteMem(&b, "\0\n", 2);
    EXPECT_EQ(area.content(), hex(bytes("'ab' 00 0A '-2147483648' 00 '" + std::to_string(large) +
                                        "' 00 00 0A 00")));
    b = {b.pData, -1, b.iPosition};
    EXPECT_EQ(read(b), "ab");
    EXPECT_EQ(fnSCFS_Buffer_ReadInteger(&b), least);
    EXPECT_EQ(fnSCFS_Buffer_ReadInteger(&b), most);
    char out[4] = "xxx";
    EXPECT_EQ(fnSCFS_Buffer_IsEnd(&b), 0);
    EXPECT_EQ(fnSCFS_Buffer_ReadMem(&b, out, 4), 3);
    EXPECT_EQ(hex(out, 4), hex(bytes("00 0A 00 00")));
    EXPECT_EQ(fnSCFS_Buffer_IsEnd(&b), 1);
    EXPECT_EQ(read(b), "");
    fnSCFS_Init_Buffer(&b, area.guarded.length());
    fnSCFS_Buffer_WriteDateTime(&b, 2024, 2, 29, 12, 30, 59, 3);
    b.iPosition = -1;
    EXPECT_EQ(read(b), "2024:2:29:12:30:59:3");
}

TEST(FileBuffer, closed_for_good) {
    // Two lengths, and position and limit afterwards, in an area of 8 bytes.
    const int32_t cases[][4] = {
        {8, 0, 8, 7}, {9, 1, -1, -1}, {3, 4, 8, 7}, {3, 5, 3, 3}, {8, 1, 8, 7}};
    for (const auto& [first, second, position, limit] : cases) {
        Area area(8);
        fnSCFS_Buffer_WriteString(&area.buffer, "abcdefghi", first);
        if (second != 0) fnSCFS_Buffer_WriteMem(&area.buffer, "ABCDEFGHI", second);
        fnSCFS_Buffer_WriteInteger(&area.buffer, 1);
        EXPECT_EQ(std::pair(area.buffer.iPosition, area.buffer.iLimit), std::pair(position, limit))
            << first << " then " << second;
    }
}

TEST(FileBuffer, NothingLeavesTheArea) {
    for (const int32_t position : {least, -2, -1, 0, 6, 7, 8, 9, most}) {
        for (const int32_t limit : {least, -2, -1, 0, 6, 7}) {
            Area area(8);
            tSCFS_FileBuffer& b = area.buffer;
            char out[4];
            tSCFS_FileBuffer nowhere{nullptr, position, limit};
            fnSCFS_Buffer_WriteString(&nowhere, "a", 1);
            EXPECT_EQ(read(nowhere), "");
            b = {b.pData, position, limit};
            for (const int32_t length : {most, least, 0, 1, 7})
                fnSCFS_Buffer_WriteString(&b, "abcdefg", length);
            b = {b.pData, position, limit};
            EXPECT_LE(fnSCFS_Buffer_ReadMem(&b, out, 4), 4);
            b = {b.pData, position, limit};
            int turns = 0;
            for (; fnSCFS_Buffer_IsEnd(&b) == 0 && turns < 20; ++turns)
                (void)read(b);
            EXPECT_LT(turns, 20) << position << " of " << limit;
        }
    }
}

TEST(FileBuffer, doubled_colon_is_no_separator) {
    const std::pair<const char*, std::array<uint32_t, 7>> cases[] = {
        {"2024:2:29:12:30:59:3", {2024, 2, 29, 12, 30, 59, 3}},
        {"65537:2:3:4:5:-1:70000", {1, 2, 3, 4, 5, 65535, 4464}},
        {"1::2:3:4:5:6", {1, 2, 3, 4, 5, 6, 0}},
        {"1::2:3:4:5:6:7", {1, 2, 3, 4, 5, 6, 7}},
        {"1:2:3:4:5::::6:7", {1, 2, 3, 4, 5, 6, 7}},
        {":2:3:4:5:6:7", {0, 2, 3, 4, 5, 6, 7}},
        {"::2:3:4:5:6::", {0, 2, 3, 4, 5, 6, 0}},
        {"1:2:3:4:5:6:7:8", {1, 2, 3, 4, 5, 6, 0}},
        {"1:2:3:4:5:00000000000000000000000000006:7", {1, 2, 3, 4, 5, 6, 0}},
        {"", {9, 9, 9, 9, 9, 9, 9}}};
    for (const auto& [text, fields] : cases) {
        Area area(60);
        fnSCFS_Buffer_WriteString(&area.buffer, text, fnSC_STRLEN(text));
        area.buffer.iPosition = -1;
        tSCFS_DateTime date{9, 9, 9, 9, 9, 9, 9};
        EXPECT_EQ(fnSCFS_Buffer_ReadDateTime(&area.buffer, &date), *text != '\0');
        EXPECT_EQ(hex(&date, sizeof date), hex(&fields, sizeof fields)) << text;
    }
}

int notices;

TEST(IniList, HandsetLoadsNothingAndReportsFailureAfterTelling) {
    const NoLeak check;
    notices = 0;
    fnSCFS_SetCardSynFileFunc([](const char*, int32_t) { ++notices; });
    tSCList list;
    fnSCFS_INI_List_Init("set.ini", &list);
    EXPECT_EQ(fnSCFS_INI_Write("set.ini", &list, "a", "1"), 0);
    EXPECT_EQ(notices, 1);
    char value[8] = "kept";
    EXPECT_EQ(fnSCFS_INI_Read("set.ini", &list, "b", value), 0);
    EXPECT_STREQ(value, "kept");
    fnSCFS_Load_INI_To_List("set.ini", &list);
    EXPECT_EQ(list.iCount, 0);
    fnSCFS_SetCardSynFileFunc(nullptr);
}

}  // namespace
