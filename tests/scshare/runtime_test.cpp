// Memory, strings, comparisons and formatting: the rules for null, the departures from the C
// library that callers depend on, and the bounds of what is written.
#include <gtest/gtest.h>
#include <mmskit/runtime.h>

#include <cfloat>
#include <cstring>
#include <string>
#include <tuple>

#include "tests/support/faults.h"

namespace {

using namespace testing_support;

// What an owned result says; the result is freed.
std::string taken(char* s) {
    std::string out = text(s);
    fnSC_Free(&s);
    EXPECT_EQ(s, nullptr);
    return out;
}

TEST(Memory, BlocksAreZeroedKeptAndFreedByAddress) {
    const NoLeak check;
    constexpr uint32_t size = 5000;
    auto* p = static_cast<char*>(fnSC_Malloc_Local(size));
    EXPECT_EQ(std::string(p, size), std::string(size, '\0'));
    fnSC_MEMSET(p, 'U', size);
    p = static_cast<char*>(fnSC_Realloc_Local(p, size + 1));
    p[size] = '\0';
    EXPECT_EQ(taken(p), std::string(size, 'U'));
    EXPECT_NE(taken(static_cast<char*>(fnSC_Malloc_Local(0))), text(nullptr));
    fnSC_Free(nullptr);
}

TEST(Memory, memstr_misses_match_at_end) {
    const std::tuple<std::string, const char*, int> cases[] = {
        // -1: not found
        {"abc", "bc", -1}, {"abcd", "bc", 1}, {"abc", "", 0},
        {"", "", -1},      {"a", "abc", -1},  {bytes("'x' 00 'abc' 00"), "abc", 2}};
    for (const auto& [data, needle, at] : cases) {
        const Guarded buf(data);
        EXPECT_EQ(fnSC_MEMSTR(buf.chars(), needle, buf.length()),
                  at < 0 ? nullptr : buf.chars() + at);
    }
}

TEST(Strings, Comparisons) {
    using Compare = int32_t (*)(const char*, const char*);
    const Compare strncmp3 = [](auto a, auto b) { return fnSC_STRNCMP(a, b, 3); };
    const Compare strnicmp5 = [](auto a, auto b) { return fnSC_STRNICMP(a, b, 5); };
    const Compare classic2 = [](auto a, auto b) { return fnSCRTL_strnicmp(a, b, 2); };
    const std::tuple<const char*, Compare, const char*, const char*, int32_t> cases[] = {
        {"strncmp_only_asks_whether_both_exist", strncmp3, "abc", "xyz", 0},
        {"stricmp_ignores_non_letter_difference", fnSC_STRICMP, "ab-", "AB+", 0},
        {"stricmp_letter_in_first_counts", fnSC_STRICMP, "aba", "ab1", -1},
        {"strnicmp_folds_only_b_to_y", strnicmp5, "Apple", "apple", -1},
        {"strnicmp_folds_only_b_to_y", strnicmp5, "zEBRY", "Zebry", 1},
        {"strnicmp_first_short", strnicmp5, "abcd", "abcd", -1},
        {"strnicmp_second_short", strnicmp5, "abcd\xE9", "abcd", 1},
        {"strnicmp_signed", strnicmp5, "abcd\xE9", "abcde", -1},
        {"classic_folds_a_to_z", fnSCRTL_stricmp, "AZaz", "azAZ", 0},
        {"classic_unsigned_difference", fnSCRTL_stricmp, "\xE9", "A", 0xE9 - 'a'},
        {"classic_first_null", fnSCRTL_stricmp, nullptr, nullptr, -1},
        {"classic_second_null", classic2, "", nullptr, 1},
        {"classic_bound", classic2, "abX", "ABy", 0},
        {"begins_in_this_order", fnSC_STRBEGINS, "image", "im", 1},
    };
    for (const auto& [rule, compare, a, b, result] : cases)
        EXPECT_EQ(compare(a, b), result) << rule << ' ' << text(a) << ' ' << text(b);
}

TEST(Strings, CopiesStayInsideTheirBounds) {
    const Guarded room("######");
    const std::string_view all(room.chars(), room.size());
    fnSC_STRNCPY(room.chars(), "abcdefgh", 6);
    EXPECT_EQ(hex(all), hex("abcdef"));
    fnSC_STRLCPY(room.chars(), "uvwxyz", 6);
    EXPECT_EQ(hex(all), hex(bytes("'uvwxy' 00")));
    fnSC_STRLCPY(room.chars() + 1, Guarded(bytes("'b' 00")).chars(), 5);
    fnSC_STRLCPY(room.chars() + 1, "zz", 0);
    EXPECT_EQ(hex(all), hex(bytes("'ub' 00000000")));
    EXPECT_STREQ(fnSC_STRNCAT(room.chars(), "cdefgh", 1), "ubc");
    fnSC_STRCPY(room.chars(), "xy");
    EXPECT_STREQ(fnSC_STRNCAT(room.chars(), room.chars(), UINT32_MAX), "xyxy");
}

TEST(Strings, strlcat_refuses_four_to_seven) {
    char d[16] = "ab";
    for (const uint32_t n : {4U, 7U})
        EXPECT_EQ(fnSC_STRLCAT(d, "c", n), -1);
    EXPECT_STREQ(d, "ab");
    for (const uint32_t n : {3U, 8U})
        EXPECT_EQ(fnSC_STRLCAT(d, "cdefg", n), 0);
    EXPECT_STREQ(d, "abcdefgcdefg");
}

TEST(Strings, SearchesAndNewTexts) {
    char s[] = "A Multipart [x]";
    EXPECT_EQ(fnSC_STRISTR(s, "mULTIPART"), s + 2);
    EXPECT_EQ(fnSC_STRLOWER(s), 0);
    EXPECT_STREQ(s, "a multipart [x]");
    EXPECT_EQ(taken(fnSC_STRDUP(nullptr)), text(nullptr));
    fail_each_allocation([] {
        char d[8] = "ab";
        EXPECT_STREQ(d, fnSC_STRNCAT(d, "c", 1) == nullptr ? "ab" : "abc");
        taken(fnSC_MEMSTRCOPY("x"));
        fnSC_STRISTR("haystack", "STACK");
    });
}

TEST(Formatting, NumbersAndBounds) {
    char out[376];
    EXPECT_EQ(fnSC_ATOI("99999999999999999999"), INT32_MAX);
    EXPECT_STREQ(fnSCRTL_itoa(INT32_MIN, out, 10), "-2147483648");
    EXPECT_STREQ(fnSCRTL_itoa(-1, out, 2), std::string(32, '1').c_str());
    EXPECT_EQ(strlen(fnSCRTL_ftoa(-DBL_MAX, out, INT32_MAX)), sizeof out - 1);
    EXPECT_EQ(fnSCRTL_snprintf(out, 4, "%d-%s", 12, "abc"), 6);
    EXPECT_EQ(fnSCRTL_snprintf(out, 0, "%d", 99), 2);
    EXPECT_STREQ(out, "12-");
}

}  // namespace
