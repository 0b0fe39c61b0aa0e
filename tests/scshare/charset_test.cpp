// Character sets: every conversion by table, on inputs that end at an unmapped page. Relies on the
// sanitizers to see an output buffer that is too small.
#include <gtest/gtest.h>
#include <mmskit/runtime.h>

#include <cstring>
#include <string>

#include "tests/support/faults.h"

namespace {

using namespace testing_support;

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
    {"empty_input_is_refused", 106, "", nullptr},
    {"unknown_charset_passes_through", 17, "E9 80", "E9 80"},
    {"latin1_byte_is_code_point", 4, "7F 80 E9 FF", "7F C2 80 C3 A9 C3 BF"},
    {"ucs2_big_mark", 1000, "FE FF 00 41 20 AC D8 00", "41 E2 82 AC ED A0 80"},
    {"ucs2_little_mark", 1000, "FF FE 41 00 AC 20", "41 E2 82 AC"},
    {"ucs2_needs_mark", 1000, "00 41 00 42", nullptr},
    {"ucs2_missing_byte_is_zero_big", 1000, "FE FF 00 41 42", "41 E4 88 80"},
    {"ucs2_missing_byte_is_zero_little", 1000, "FF FE 41 00 42", "41 42"},
    {"big_endian_cyrillic_lead_byte_is_low", 1000, "FE FF 03 FF 04 10 07 FF", "CF BF C0 90 CF BF"},
    {"little_endian_cyrillic_lead_byte_is_low", 1000, "FF FE 10 04 00 08", "C0 90 E0 A0 80"},
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
    EXPECT_EQ(fnCharSet_DecodeString2Local(106, nullptr, nullptr), nullptr);
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

}  // namespace
