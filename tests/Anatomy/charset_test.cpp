// Character sets to UTF-8, encoded words, base64 and quoted-printable.
#include "Anatomy/src/charset.h"

#include <gtest/gtest.h>

#include "Anatomy/src/decode.h"

using namespace mmskit_anatomy;

namespace {

Bytes bytes_of(std::string_view text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

// A literal with zeros in it.
template <std::size_t size>
constexpr std::string_view lit(const char (&text)[size]) {
    return {text, size - 1};
}

struct CharsetCase {
    const char* rule;
    uint32_t declared;
    const char* name;
    std::string_view bytes;
    const char *utf8, *used;
    bool as_declared = true;
    bool damaged = false;
};

const CharsetCase charset_cases[] = {
    {"declared_utf8", 106, "", "Gr\xC3\xBC\xC3\x9Ft", "Grüßt", "utf-8"},
    {"mark_is_no_text", 106, "", "\xEF\xBB\xBFhi", "hi", "utf-8"},
    {"ascii_with_utf8_is_utf8", 3, "", "Gr\xC3\xBC", "Grü", "utf-8", false},
    {"ascii_with_latin1_is_windows", 3, "", "Gr\xFCn", "Grün", "windows-1252", false},
    {"utf8_that_is_latin1", 106, "", "Gr\xFC\xDFt", "Grüßt", "windows-1252", false},
    {"utf8_cut_in_a_character", 106, "", "Gr\xC3\xBC\xC3", "Grü", "utf-8", true, true},
    {"one_octet_at_the_end_is_no_cut", 106, "", "caf\xE9", "café", "windows-1252", false},
    {"overlong_is_no_utf8", 106, "", "\xC0\xAF", "À¯", "windows-1252", false},
    {"surrogate_is_no_utf8", 106, "", "\xED\xA0\x80", "í\xC2\xA0€", "windows-1252", false},
    {"nothing_declared_utf8", 0, "", "\xE4\xBD\xA0", "你", "utf-8", false},
    {"nothing_declared_windows", 0, "", "5 \x80", "5 €", "windows-1252", false},
    {"windows_without_a_character", 0, "", "\x81", "\xC2\x81", "windows-1252", false},
    {"latin1_keeps_controls", 4, "", "\x80\xE9", "\xC2\x80é", "iso-8859-1"},
    {"unknown_number", 9999, "", "Gr\xC3\xBC", "Grü", "utf-8", false},
    {"name_in_any_case", 0, "Windows-1251", "\xC4\xE0", "Да", "windows-1251"},
    {"name_in_quotes", 0, "\"KOI8-R\"", "\xC4\xC1", "да", "koi8-r"},
    {"name_as_digits", 0, "2251", "\xC4\xE0", "Да", "windows-1251"},
    {"alias", 0, "cp1250", "\xA3\xF3", "Łó", "windows-1250"},
    {"programs_alias", 0, "csUTF8", "\xC3\xBC", "ü", "utf-8"},
    {"iso_8859_2", 5, "", "\xA3\xF3\x64\xBC", "Łódź", "iso-8859-2"},
    {"iso_8859_15", 111, "", "\xA4", "€", "iso-8859-15"},
    {"shift_jis_keeps_backslash", 17, "", "\\~\x82\xB1", "\\~こ", "shift_jis"},
    {"shift_jis_of_windows", 17, "", "\x87\x40", "①", "shift_jis"},
    {"euc_jp", 18, "", "\xA4\xB3", "こ", "euc-jp"},
    {"euc_kr", 38, "", "\xB0\xA1", "가", "euc-kr"},
    {"euc_kr_of_windows", 38, "", "\xB0\xA1\x8C\x63", "가똠", "euc-kr"},
    {"gbk", 113, "", "\xC4\xE3", "你", "gbk"},
    {"gb2312_that_is_gbk", 2025, "", "\xC4\xE3\x81\x40", "你丂", "gb2312"},
    {"gb18030", 114, "", "\x81\x30\x81\x30", "\xC2\x80", "gb18030"},
    {"big5", 2026, "", "\xA7\x41", "你", "big5"},
    {"big5_contradicted", 2026, "", "Gr\xC3\xBC\xC3\x9Fte!", "Grüßte!", "utf-8", false},
    {"multibyte_cut", 113, "", "\xC4\xE3\xC4", "你", "gbk", true, true},
    {"tis_620", 2259, "", "\xCA\xC7", "สว", "tis-620"},
    {"koi8_u", 2088, "", "\xA4", "є", "koi8-u"},
    {"iso_2022_jp", 39, "", "\x1B$B$3\x1B(B", "こ", "iso-2022-jp"},
    {"iso_2022_is_not_guessed_away", 39, "", "a\xFF", "a\xEF\xBF\xBD", "iso-2022-jp", true, true},
    {"utf16_big_mark", 1015, "", lit("\xFE\xFF\0A"), "A", "utf-16"},
    {"utf16_little_mark", 1015, "", lit("\xFF\xFEZ\0"), "Z", "utf-16"},
    {"utf16be_by_number", 1013, "", lit("\x04\x1F"), "П", "utf-16be"},
    {"utf16le_by_number", 1014, "", lit("\x1F\x04"), "П", "utf-16le"},
    {"utf16_whole_pair", 1013, "", lit("\xD8\x3D\xDE\0"), "😀", "utf-16be"},
    {"utf16_lone_low", 1013, "", lit("\xDE\0\0A"), "\uFFFDA", "utf-16be", true, true},
    {"utf16_half_unit", 1013, "", lit("\0A\x20"), "A", "utf-16be", true, true},
    {"ucs2_plain_big", 1000, "", lit("\0H\0i"), "Hi", "ucs-2"},
    {"ucs2_plain_little", 1000, "", lit("H\0i\0"), "Hi", "ucs-2"},
    {"utf16_polish_little", 1015, "", lit("\x41\x01\xF3\0d\0\x7A\x01"), "Łódź", "utf-16"},
    {"utf16_cyrillic_little", 1015, "", lit("\x1F\x04\x40\x04\x38\x04"), "При", "utf-16"},
    {"utf16_chinese_big", 1015, "", lit("\x4F\x60\x59\x7D"), "你好", "utf-16"},
    {"utf16_chinese_little", 1015, "", lit("\x60\x4F\x7D\x59"), "你好", "utf-16"},
    {"utf16_kana_little", 1015, "", lit("\x53\x30\x93\x30"), "こん", "utf-16"},
    {"utf16_hangul_little", 1015, "", lit("\x48\xC5\x55\xB1"), "안녕", "utf-16"},
    {"utf16_arabic_little", 1015, "", lit("\x33\x06\x44\x06"), "سل", "utf-16"},
    {"utf32_big", 1017, "", lit("\0\x01\xF6\0"), "😀", "utf-32"},
    {"utf7", 1012, "", "Gr+APw-", "Grü", "utf-7"},
};

TEST(Charset, texts_come_out_in_utf8) {
    for (const CharsetCase& row : charset_cases) {
        SCOPED_TRACE(row.rule);
        const Text text = to_utf8(bytes_of(row.bytes), row.declared, row.name);
        EXPECT_EQ(text.utf8, row.utf8);
        EXPECT_EQ(text.used, row.used);
        EXPECT_EQ(text.as_declared, row.as_declared);
        EXPECT_EQ(text.damaged, row.damaged);
    }
}

TEST(Charset, names_and_numbers_agree) {
    for (uint32_t mib = 1; mib < 2400; ++mib) {
        const std::string_view name = charset_name(mib);
        if (name.empty()) continue;
        EXPECT_EQ(charset_number(name), mib) << name;
    }
    // By the IANA's list.
    for (const auto& [name, mib] :
         {std::pair("us-ascii", 3U), std::pair("iso-8859-10", 13U), std::pair("shift_jis", 17U),
          std::pair("iso-2022-cn", 104U), std::pair("utf-8", 106U), std::pair("iso-8859-13", 109U),
          std::pair("gbk", 113U), std::pair("iso-10646-ucs-basic", 1002U),
          std::pair("unicode-1-1", 1010U), std::pair("utf-7", 1012U), std::pair("utf-16", 1015U),
          std::pair("gb2312", 2025U), std::pair("big5", 2026U), std::pair("ibm855", 2046U),
          std::pair("koi7-switched", 2105U), std::pair("koi8-r", 2084U),
          std::pair("windows-1258", 2258U), std::pair("tis-620", 2259U)})
        EXPECT_EQ(charset_number(name), mib) << name;
    EXPECT_EQ(charset_number("no such set"), 0U);
    EXPECT_EQ(charset_number(""), 0U);
    for (std::string deep = "cscsutf8"; deep.size() < 10'000'000; deep = deep + deep)
        EXPECT_EQ(charset_number(deep), 0U) << "one prefix is taken away";
}

const struct {
    const char *rule, *text, *decoded;
} words_cases[] = {
    {"b_word", "=?utf-8?B?R3LDvMOfZQ==?=", "Grüße"},
    {"q_word", "=?iso-8859-1?q?M=FCller?=", "Müller"},
    {"q_underscore_is_a_blank", "=?us-ascii?Q?a_b=5F?=", "a b_"},
    {"blank_between_words_goes", "=?utf-8?Q?a?=\r\n =?iso-8859-1?Q?=E9?=", "aé"},
    {"words_split_inside_a_character", "=?utf-8?B?w7w=?= =?utf-8?Q?=C3?= =?utf-8?Q?=9F?=", "üß"},
    {"blank_before_text_stays", "=?utf-8?Q?a?= b =?utf-8?Q?c?=", "a b c"},
    {"language", "=?us-ascii*en?Q?hi?=", "hi"},
    {"name_and_address", "=?utf-8?B?Wm/Dqw==?= <z@mail.example>", "Zoë <z@mail.example>"},
    {"koi8", "=?koi8-r?B?8NLJ18XU?=", "Привет"},
    {"unknown_set_stays", "=?x-none?Q?a?=", "=?x-none?Q?a?="},
    {"unknown_encoding_stays", "=?utf-8?X?a?=", "=?utf-8?X?a?="},
    {"not_ended_stays", "=?utf-8?Q?abc", "=?utf-8?Q?abc"},
    {"bad_escape_stays", "=?utf-8?Q?=G1?=", "=?utf-8?Q?=G1?="},
    {"equals_and_question", "a =? b", "a =? b"},
};

TEST(Charset, encoded_words_are_decoded) {
    for (const auto& row : words_cases) {
        SCOPED_TRACE(row.rule);
        std::string text = row.text;
        EXPECT_EQ(decode_words(text), std::string_view(row.text) != row.decoded);
        EXPECT_EQ(text, row.decoded);
    }
}

const struct {
    const char* rule;
    Decoded (*decode)(Bytes, std::size_t);
    const char *text, *decoded;
    bool whole;
    std::size_t used;
} decode_cases[] = {
    {"base64", decode_base64, "aGVsbG8=", "hello", true, 8},
    {"base64_without_padding", decode_base64, "aGVsbG8", "hello", true, 7},
    {"base64_of_one_octet", decode_base64, "aA==\n", "h", true, 5},
    {"base64_padding_has_two_signs", decode_base64, "aA===", "h", false, 4},
    {"base64_lines", decode_base64, "aGVs\r\nbG8=\r\n", "hello", true, 12},
    {"base64_stops_at_other_signs", decode_base64, "aGVs!bG8=", "hel", false, 4},
    {"base64_of_six_bits", decode_base64, "aGVsb", "hel", false, 5},
    {"base64_empty", decode_base64, "", "", true, 0},
    {"quoted_printable", decode_quoted_printable, "Gr=C3=bc", "Grü", true, 8},
    {"soft_line_end", decode_quoted_printable, "a=\r\nb=\nc=", "abc", true, 9},
    {"soft_line_end_with_blanks", decode_quoted_printable, "a= \t\r\nb", "ab", true, 7},
    {"blanks_before_a_line_end_go", decode_quoted_printable, "a \t\r\nb c ", "a\r\nb c", true, 9},
    {"no_escape_stays", decode_quoted_printable, "1=x", "1=x", false, 3},
};

TEST(Decode, texts_become_bytes) {
    for (const auto& row : decode_cases) {
        SCOPED_TRACE(row.rule);
        const Decoded decoded = row.decode(bytes_of(row.text), 100);
        EXPECT_EQ(std::string(decoded.bytes.begin(), decoded.bytes.end()), row.decoded);
        EXPECT_EQ(decoded.whole, row.whole);
        EXPECT_EQ(decoded.used, row.used);
    }
}

TEST(Decode, the_limit_holds) {
    for (const auto& row : decode_cases) {
        const Decoded decoded = row.decode(bytes_of(row.text), 2);
        EXPECT_LE(decoded.bytes.size(), 2U) << row.rule;
        EXPECT_EQ(decoded.limited, std::string_view(row.decoded).size() > 2) << row.rule;
    }
}

}  // namespace
