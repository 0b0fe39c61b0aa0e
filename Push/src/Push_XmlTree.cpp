// The characters of names, values and text, which every XML parser behind Push_XmlTree.h gives
// alike.
#include "Push/src/Push_XmlTree.h"

#include "Push/src/put_utf8.h"
#include "scshare/common/src/owned.h"

namespace mmskit {
namespace {

constexpr bool is_surrogate(uint32_t unit, uint32_t first) {
    return unit >= first && unit < first + 0x400;
}
constexpr uint32_t high_surrogate = 0xD800;
constexpr uint32_t low_surrogate = 0xDC00;

uint32_t next_code_point(const uint16_t*& text) {
    constexpr uint32_t replacement = 0xFFFD;
    const uint32_t unit = *text++;
    if (is_surrogate(unit, high_surrogate) && is_surrogate(*text, low_surrogate))
        return 0x10000 + ((unit - high_surrogate) << 10) + (*text++ - low_surrogate);
    const bool lone = is_surrogate(unit, high_surrogate) || is_surrogate(unit, low_surrogate);
    return lone ? replacement : unit;
}

}  // namespace

bool xml_equals(const uint16_t* text, const char* ascii) {
    if (text == nullptr) return false;
    while (*ascii != '\0' && *text == static_cast<unsigned char>(*ascii)) {
        ++text;
        ++ascii;
    }
    return *ascii == '\0' && *text == 0;
}

uint64_t xml_length(const uint16_t* text) {
    uint64_t units = 0;
    while (text[units] != 0)
        ++units;
    return units;
}

char* xml_put_utf8(char* out, const uint16_t* text) {
    while (*text != 0)
        out = put_utf8(out, next_code_point(text));
    return out;
}

char* xml_copy_utf8(const uint16_t* text) {
    auto* copy = static_cast<char*>(allocate(3 * xml_length(text) + 1));
    if (copy != nullptr) xml_put_utf8(copy, text);
    return copy;
}

}  // namespace mmskit
