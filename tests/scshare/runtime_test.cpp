// Memory, strings, comparisons, formatting and character sets: the rules for null, the departures
// from the C library that callers depend on, and the bounds of what is read and written. Relies on
// the sanitizers to see an output buffer that is too small.
#include <gtest/gtest.h>
#include <mmskit/runtime.h>
#include <mmskit/version.h>

#include <cfloat>
#include <cstring>
#include <string>
#include <tuple>

#include "scshare/common/src/owned.h"
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
    fail_each_allocation([] {
        void* block = fnSC_Realloc_Local(nullptr, 0);
        fnSC_Free(&block);
    });
    void* empty = fnSC_Malloc_Local(0);  // a live block that holds nothing
    EXPECT_NE(empty, nullptr);
    fnSC_Free(&empty);
    EXPECT_EQ(mmskit::allocate(uint64_t{UINT32_MAX} + 1), nullptr);
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
        {"strnicmp_ends_at_its_count", strnicmp5, "aBYde", "abyde!", 0},
        {"stricmp_has_one_length", fnSC_STRICMP, "ab", "AB+", -1},
        {"stricmp_has_one_length", fnSC_STRICMP, "AB+", "ab", -1},
        {"stricmp_of_a_capital", fnSC_STRICMP, "Zab{", "zAb}", 0},
        {"classic_second_null", fnSCRTL_stricmp, "", nullptr, 1},
        {"classic_first_null", classic2, nullptr, "", -1},
        {"begins_in_this_order", fnSC_STRBEGINS, "image", "im", 1},
        {"begins_in_this_order", fnSC_STRBEGINS, "im", "image", 0},
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
    char s[20] = "A Multipart [x]";
    EXPECT_EQ(fnSC_STRISTR(s, "mULTIPART"), s + 2);
    EXPECT_EQ(fnSC_STRISTR(s, "mULTIPARTS"), nullptr);
    EXPECT_EQ(fnSC_STRLOWER(s), 0);
    EXPECT_STREQ(s, "a multipart [x]");
    EXPECT_EQ(fnSC_STRSTR(s, "part"), s + 7);
    EXPECT_EQ(fnSC_STRCHR(s, 't'), s + 5);
    EXPECT_EQ(fnSC_STRRCHR(s, 't'), s + 10);
    EXPECT_EQ(fnSC_MEMCHR(s, 't', 5), nullptr);
    EXPECT_EQ(fnSC_MEMCMP(s, "a mUL", 3), 0);
    EXPECT_STREQ(fnSC_STRCAT(s + 15, "!"), "!");
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
    for (const int32_t radix : {1, 37})
        EXPECT_STREQ(fnSCRTL_itoa(5, out, radix), "");
    EXPECT_STREQ(fnSCRTL_itoa(35, out, 36), "z");
    EXPECT_STREQ(fnSCRTL_itoa(35, out, 10), "35");
    EXPECT_EQ(strlen(fnSCRTL_ftoa(-DBL_MAX, out, INT32_MAX)), sizeof out - 1);
    EXPECT_EQ(fnSCRTL_snprintf(out, 4, "%d-%s", 12, "abc"), 6);
    EXPECT_EQ(fnSCRTL_snprintf(out, 0, "%d", 99), 2);
    EXPECT_STREQ(out, "12-");
}

// The decoded text in hex, or "(null)", which must leave the length alone.
std::string decoded(int32_t charset, std::string_view input) {
    const NoLeak check;
    const Guarded in(input);
    auto length = static_cast<uint32_t>(input.size());
    char* result = fnCharSet_DecodeString2Local(charset, in.data(), &length);
    EXPECT_EQ(length, result != nullptr ? strlen(result) : input.size());
    std::string shown = result != nullptr ? hex(result) : "(null)";
    fnCharSet_CharSetFreeStringBuf(result);
    return shown;
}

constexpr struct Case {
    const char* rule;
    int32_t charset;
    const char *in, *out;  // out null: no result
} cases[] = {
    {"embedded_zero_shortens", 106, "C3 A9 00 62", "C3 A9"},
    {"unknown_charset_passes_through", 17, "E9 80", "E9 80"},
    {"latin1_byte_is_code_point", 4, "7F 80 E9 FF", "7F C2 80 C3 A9 C3 BF"},
    {"ucs2_big_mark", 1000, "FE FF 00 41 20 AC D8 00", "41 E2 82 AC ED A0 80"},
    {"ucs2_little_mark", 1000, "FF FE 41 00 AC 20", "41 E2 82 AC"},
    {"utf16_half_a_mark_is_none", 1015, "FF 41 FF FE 41 00", "EF BD 81 41"},
    {"ucs2_needs_mark", 1000, "00 41 00 42", nullptr},
    {"ucs2_missing_byte_is_zero_big", 1000, "FE FF 00 41 42", "41 E4 88 80"},
    {"big_endian_cyrillic_lead_byte_is_low", 1000, "FE FF 03 FF 04 10 07 FF", "CF BF C0 90 CF BF"},
    {"utf16_little_pair", 1015, "FF FE 3D D8 00 DE", "F0 9F 98 80"},
    {"utf16_inner_marks_vanish_and_turn", 1015, "00 41 FE FF 00 42 FF FE 43 00", "41 42 43"},
    {"unpaired_low_is_replaced", 1015, "DC 00 DC 00 00 41", "EF BF BD EF BF BD 41"},
    {"unpaired_high_is_replaced", 1015, "D8 00 D8 00 DC 00", "EF BF BD F0 90 80 80"},
    {"five_bytes_from_20000_six_from_40000", 1015, "D8 3F DF FF D8 40 DC 00 D8 C0 DC 00",
     "F0 9F BF BF F8 80 A0 80 80 FC 80 81 80 80 80"},
};

TEST(Charset, DecodesByMibNumber) {
    for (const Case& c : cases) {
        EXPECT_EQ(decoded(c.charset, bytes(c.in)), c.out != nullptr ? hex(bytes(c.out)) : "(null)")
            << c.rule;
        fail_each_allocation([&c] { decoded(c.charset, bytes(c.in)); });
    }
    // Every unit at its longest: what is written fills the result's room, three signs a byte here.
    const std::string longest = bytes("FE FF") + std::string(4000, '\x99');
    EXPECT_EQ(decoded(4, longest).size(), 3U * 2 * 4002);
    EXPECT_EQ(decoded(1000, longest).size(), 3U * 3 * 2000);
    EXPECT_EQ(decoded(1015, longest).size(), 3U * 3 * 2000);
}

TEST(Charset, ConvertersCountUnitsAndTerminate) {
    uint8_t out[16];
    const auto written = [&out](int32_t n) { return hex(out, static_cast<size_t>(n) + 1); };
    const uint8_t in[] = {0x00, 0x41, 0x04, 0x10};
    const uint16_t units[] = {0x410, 0xD800};
    const uint32_t last = UINT32_MAX;
    // The byte after an odd count is read too.
    EXPECT_EQ(written(BigEndianUCS2toUTF8(in, 3, out)), "41 C0 90 00 ");
    EXPECT_EQ(written(LitEndianUCS2toUTF8(in + 1, 1, out)), "C1 81 00 ");
    EXPECT_EQ(written(UCS2toUTF8(units, 2, out)), "D0 90 ED A0 80 00 ");
    EXPECT_EQ(written(UCS4toUTF8(&last, 1, out)), "FD BF BF BF BF BF 00 ");
}

TEST(Charset, utf8_lead_alone_decides) {
    // A four-byte lead takes three, the 80 left over leads a pair, cut leads are skipped.
    const Guarded in(bytes("41 D0 90 E2 C3 A9 F0 9F 98 80 41 E2 C3"));
    uint16_t units[16];
    ASSERT_EQ(UTF8toUCS2(in.data(), in.length(), units), 5);
    EXPECT_EQ((std::u16string{units, units + 6}),
              (std::u16string{0x41, 0x410, 0x20E9, 0x07D8, 0x01, 0}));
}

TEST(Runtime, the_version_is_the_headers) {
    const std::string parts =
        print("%d.%d.%d", MMSKIT_VERSION_MAJOR, MMSKIT_VERSION_MINOR, MMSKIT_VERSION_PATCH);
    EXPECT_EQ(fnMMS_GetVersion(), parts);
}

}  // namespace
