// Character sets by IANA MIBenum: the names that messages use for them, and what iconv calls them.
#include <algorithm>
#include <array>
#include <iterator>

#include "Anatomy/src/charset.h"
#include "Anatomy/src/charset_table.h"
#include "Anatomy/src/letters.h"

namespace mmskit_anatomy {
namespace {

// Names are separated by a blank. Of several iconv names the first that takes all the bytes is
// used: a later one is an extension that phones send under the name of the first. An empty iconv
// name means that the conversion is done here, or that there is none.
// clang-format off
constexpr CharsetRow rows[] = {
    {3, "us-ascii", "ascii ansi_x3.4-1968 iso646-us 646 cp367 ibm367 us iso-ir-6", ""},
    {4, "iso-8859-1", "latin1 latin-1 iso8859-1 iso_8859-1 l1 cp819 ibm819 iso88591", "ISO-8859-1"},
    {5, "iso-8859-2", "latin2 latin-2 iso8859-2 iso_8859-2 l2", "ISO-8859-2"},
    {6, "iso-8859-3", "latin3 iso8859-3 iso_8859-3 l3", "ISO-8859-3"},
    {7, "iso-8859-4", "latin4 iso8859-4 iso_8859-4 l4", "ISO-8859-4"},
    {8, "iso-8859-5", "cyrillic iso8859-5 iso_8859-5", "ISO-8859-5"},
    {9, "iso-8859-6", "arabic iso8859-6 iso_8859-6 asmo-708 ecma-114", "ISO-8859-6"},
    {10, "iso-8859-7", "greek iso8859-7 iso_8859-7 elot_928 ecma-118", "ISO-8859-7"},
    {11, "iso-8859-8", "hebrew iso8859-8 iso_8859-8", "ISO-8859-8"},
    {12, "iso-8859-9", "latin5 iso8859-9 iso_8859-9 l5", "ISO-8859-9"},
    {13, "iso-8859-10", "latin6 iso8859-10 iso_8859-10 l6", "ISO-8859-10"},
    {15, "jis_x0201", "x0201", ""},
    {16, "jis_encoding", "", "ISO-2022-JP"},
    {17, "shift_jis", "sjis shift-jis ms_kanji x-sjis", "SHIFT_JIS CP932"},
    {18, "euc-jp", "eucjp x-euc-jp ujis", "EUC-JP EUC-JP-MS"},
    {36, "ks_c_5601-1987", "ks_c_5601 ksc5601 ks_c_5601-1989 ksc_5601 korean", "UHC"},
    {37, "iso-2022-kr", "csiso2022kr", "ISO-2022-KR"},
    {38, "euc-kr", "euckr", "UHC"},
    {39, "iso-2022-jp", "csiso2022jp", "ISO-2022-JP ISO-2022-JP-3"},
    {40, "iso-2022-jp-2", "csiso2022jp2", "ISO-2022-JP-2"},
    {57, "gb_2312-80", "chinese csgb2312 iso-ir-58", "GBK"},
    {81, "iso-8859-6-e", "", "ISO-8859-6"},
    {82, "iso-8859-6-i", "", "ISO-8859-6"},
    {84, "iso-8859-8-e", "", "ISO-8859-8"},
    {85, "iso-8859-8-i", "logical", "ISO-8859-8"},
    {104, "iso-2022-cn", "", "ISO-2022-CN"},
    {105, "iso-2022-cn-ext", "", "ISO-2022-CN-EXT"},
    {106, "utf-8", "utf8 unicode-1-1-utf-8", ""},
    {109, "iso-8859-13", "iso8859-13 iso_8859-13 latin7", "ISO-8859-13"},
    {110, "iso-8859-14", "iso8859-14 iso_8859-14 latin8 l8", "ISO-8859-14"},
    {111, "iso-8859-15", "iso8859-15 iso_8859-15 latin-9 latin9", "ISO-8859-15"},
    {112, "iso-8859-16", "iso8859-16 iso_8859-16 latin10 l10", "ISO-8859-16"},
    {113, "gbk", "cp936 ms936 windows-936 x-gbk", "GBK GB18030"},
    {114, "gb18030", "gb-18030 gb_18030", "GB18030"},
    {1000, "ucs-2", "ucs2 iso-10646-ucs-2 csunicode", ""},
    {1001, "ucs-4", "ucs4 iso-10646-ucs-4 csucs4", ""},
    {1002, "iso-10646-ucs-basic", "", ""},
    {1010, "unicode-1-1", "", ""},
    {1011, "scsu", "", ""},
    {1012, "utf-7", "unicode-1-1-utf-7 utf7", "UTF-7"},
    {1013, "utf-16be", "utf16be utf-16-be ucs-2be ucs2be", ""},
    {1014, "utf-16le", "utf16le utf-16-le ucs-2le ucs2le", ""},
    {1015, "utf-16", "utf16 unicode", ""},
    {1016, "cesu-8", "", ""},
    {1017, "utf-32", "utf32", ""},
    {1018, "utf-32be", "utf32be ucs-4be", ""},
    {1019, "utf-32le", "utf32le ucs-4le", ""},
    {2004, "hp-roman8", "roman8 r8", "HP-ROMAN8"},
    {2009, "ibm850", "cp850 850", "CP850"},
    {2010, "ibm852", "cp852 852", "CP852"},
    {2011, "ibm437", "cp437 437", "CP437"},
    {2013, "ibm862", "cp862 862", "CP862"},
    {2024, "windows-31j", "cp932 ms932 windows-932 cswindows31j", "CP932"},
    {2025, "gb2312", "csgb2312 euc-cn euccn gb_2312", "GBK GB18030"},
    {2026, "big5", "big-5 csbig5 cp950 windows-950 x-big5", "BIG5 CP950 BIG5-HKSCS"},
    {2027, "macintosh", "mac macroman x-mac-roman", "MACINTOSH"},
    {2028, "ibm037", "cp037", "CP037"},
    {2030, "ibm273", "cp273", "IBM273"},
    {2043, "ibm424", "cp424", "CP424"},
    {2046, "ibm855", "cp855 855", "CP855"},
    {2047, "ibm857", "cp857 857", "CP857"},
    {2048, "ibm860", "cp860 860", "CP860"},
    {2049, "ibm861", "cp861 861", "CP861"},
    {2050, "ibm863", "cp863 863", "CP863"},
    {2051, "ibm864", "cp864", "CP864"},
    {2052, "ibm865", "cp865 865", "CP865"},
    {2053, "ibm868", "cp868", "CP868"},
    {2054, "ibm869", "cp869 869", "CP869"},
    {2063, "ibm1026", "cp1026", "CP1026"},
    {2084, "koi8-r", "koi8r koi8 cskoi8r", "KOI8-R"},
    {2085, "hz-gb-2312", "hz", ""},
    {2086, "ibm866", "cp866 866", "CP866"},
    {2087, "ibm775", "cp775", "CP775"},
    {2088, "koi8-u", "koi8u", "KOI8-U KOI8-RU"},
    {2089, "ibm00858", "cp858 cp00858 ccsid00858", "CP858"},
    {2101, "big5-hkscs", "big5hkscs", "BIG5-HKSCS"},
    {2105, "koi7-switched", "", ""},
    {2107, "tscii", "", "TSCII"},
    {2109, "windows-874", "cp874 x-windows-874", "CP874"},
    {2250, "windows-1250", "cp1250 x-cp1250", "CP1250"},
    {2251, "windows-1251", "cp1251 x-cp1251", "CP1251"},
    {2252, "windows-1252", "cp1252 x-cp1252 ansi", ""},
    {2253, "windows-1253", "cp1253", "CP1253"},
    {2254, "windows-1254", "cp1254", "CP1254"},
    {2255, "windows-1255", "cp1255", "CP1255"},
    {2256, "windows-1256", "cp1256", "CP1256"},
    {2257, "windows-1257", "cp1257", "CP1257"},
    {2258, "windows-1258", "cp1258", "CP1258"},
    {2259, "tis-620", "tis620 iso-8859-11 iso8859-11", "TIS-620 CP874"},
    {2260, "cp50220", "", "ISO-2022-JP"},
};
// clang-format on

static_assert(std::adjacent_find(std::begin(rows), std::end(rows),
                                 [](const CharsetRow& a, const CharsetRow& b) {
                                     return a.mib >= b.mib;
                                 }) == std::end(rows));

// The row of each number, and behind the last row for a number without one.
constexpr auto row_by_mib = [] {
    std::array<uint8_t, std::end(rows)[-1].mib + 1> all{};
    static_assert(std::size(rows) < UINT8_MAX);
    all.fill(std::size(rows));
    for (std::size_t i = 0; i != std::size(rows); ++i)
        all.at(rows[i].mib) = static_cast<uint8_t>(i);
    return all;
}();

// All names by their letters, so that a message whose every word names a set costs its length.
struct NamedCharset {
    std::string_view name;
    uint32_t mib = 0;
};

template <typename Each>
constexpr void each_charset_name(Each each) {
    for (const CharsetRow& row : rows) {
        each(NamedCharset{row.name, row.mib});
        std::string_view left = row.aliases;
        while (!left.empty()) {
            const std::size_t end = std::min(left.find(' '), left.size());
            each(NamedCharset{left.substr(0, end), row.mib});
            left.remove_prefix(std::min(end + 1, left.size()));
        }
    }
}

consteval std::size_t charset_name_count() {
    std::size_t count = 0;
    each_charset_name([&count](const NamedCharset&) { ++count; });
    return count;
}

consteval auto sorted_charset_names() {
    std::array<NamedCharset, charset_name_count()> all{};
    std::size_t count = 0;
    each_charset_name([&](const NamedCharset& named) { all[count++] = named; });
    // Of two sets of one name the first counts.
    std::sort(all.begin(), all.end(), [](const NamedCharset& a, const NamedCharset& b) {
        return a.name != b.name ? a.name < b.name : a.mib < b.mib;
    });
    return all;
}

constexpr auto charset_names = sorted_charset_names();
constexpr std::size_t longest_charset_name =
    std::max_element(
        charset_names.begin(), charset_names.end(),
        [](const NamedCharset& a, const NamedCharset& b) { return a.name.size() < b.name.size(); })
        ->name.size();

std::string_view unquoted_name(std::string_view name) {
    constexpr std::string_view around = " \t\r\n\"'";
    const std::size_t begin = name.find_first_not_of(around);
    if (begin == std::string_view::npos) return {};
    return name.substr(begin, name.find_last_not_of(around) - begin + 1);
}

uint32_t number_by_name(std::string_view name) {
    if (name.size() > longest_charset_name) return 0;
    const std::string lower = lower_case(name);
    const auto* const found =
        std::lower_bound(charset_names.begin(), charset_names.end(), lower,
                         [](const NamedCharset& a, std::string_view b) { return a.name < b; });
    if (found != charset_names.end() && found->name == lower) return found->mib;
    uint32_t number = 0;  // a MIBenum in digits, as some senders write it
    for (const char c : name) {
        if (c < '0' || c > '9' || number > 9999) return 0;
        number = number * 10 + static_cast<uint32_t>(c - '0');
    }
    return charset_row(number) != nullptr ? number : 0;
}

}  // namespace

const CharsetRow* charset_row(uint32_t mib) {
    if (mib >= row_by_mib.size() || row_by_mib[mib] == std::size(rows)) return nullptr;
    return &rows[row_by_mib[mib]];
}

std::string_view charset_name(uint32_t mib) {
    const CharsetRow* const row = charset_row(mib);
    return row != nullptr ? row->name : std::string_view();
}

uint32_t charset_number(std::string_view name) {
    name = unquoted_name(name);
    if (name.empty()) return 0;
    // IANA's alias for programs: "csUTF8". One prefix is taken away, however many stand there.
    const bool for_programs = name.size() > 2 && same_word(name.substr(0, 2), "cs");
    const uint32_t number = for_programs ? number_by_name(name.substr(2)) : 0;
    return number != 0 ? number : number_by_name(name);
}

}  // namespace mmskit_anatomy
