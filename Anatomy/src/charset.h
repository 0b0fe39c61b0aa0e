// Texts of any character set as UTF-8. The declared set where the bytes are valid in it (UTF-16,
// UCS-2 and the ISO-2022 family are never guessed away); where it is 0, unknown, absent or
// contradicted: UTF-8 when valid, else Windows-1252. Conversion is the C library's iconv.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "Anatomy/src/tree.h"

namespace mmskit_anatomy {

inline constexpr uint32_t mib_us_ascii = 3, mib_iso_8859_1 = 4, mib_utf_8 = 106, mib_ucs2 = 1000,
                          mib_utf_16be = 1013, mib_utf_16le = 1014, mib_utf_16 = 1015;

inline constexpr std::string_view utf8_name = "utf-8";
inline constexpr std::string_view utf8_mark = "\xEF\xBB\xBF";  // of the byte order

// A character of UTF-16, UCS-2, UTF-32 or UCS-4 has two octets or four, among them NUL.
constexpr bool is_wide(uint32_t mib) {
    return mib == mib_ucs2 || mib == 1001 || (mib >= mib_utf_16be && mib <= mib_utf_16) ||
           (mib >= 1017 && mib <= 1019);
}

// The preferred MIME name in lower case; empty for a number that is not known.
std::string_view charset_name(uint32_t mib);
// 0 for a name that is not known. Letters' case and quotes do not matter.
uint32_t charset_number(std::string_view name);

struct Text {
    std::string utf8;         // without a mark
    std::string_view used;    // the character set that was taken: "utf-8", "windows-1252" ...
    bool as_declared = true;  // the declared set was the one
    bool damaged = false;     // a unit was replaced by U+FFFD, or the end is cut inside a character
};

// `declared` is a MIBenum, or 0 for none; `name` is asked where the number is 0.
Text to_utf8(Bytes bytes, uint32_t declared, std::string_view name = {});

bool valid_utf8(std::string_view text);

// RFC 2047 encoded words in a text that is UTF-8; true when there was one.
bool decode_words(std::string& text);

}  // namespace mmskit_anatomy
