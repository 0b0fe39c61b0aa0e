// UTF-16 and UTF-32 to UTF-8, and which byte order a text without a mark is in.
#include "Anatomy/src/utf16.h"

#include <algorithm>
#include <array>

#include "Anatomy/src/converters.h"

namespace mmskit_anatomy {
namespace {

constexpr uint32_t mark = 0xFEFF;
constexpr uint32_t swapped_mark = 0xFFFE;
constexpr uint32_t replacement = 0xFFFD;
constexpr std::size_t units_looked_at = 512;
constexpr std::size_t ideographs_looked_at = 4;

constexpr bool high_surrogate(uint32_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}
constexpr bool low_surrogate(uint32_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

uint32_t unit_at(Bytes bytes, std::size_t at, ByteOrder order) {
    const uint32_t first = bytes[at];
    const uint32_t second = bytes[at + 1];
    return order == ByteOrder::little ? second << 8U | first : first << 8U | second;
}

// How much a unit speaks for an order. Ranges that are not listed are rare or not assigned.
struct Range {
    uint32_t first, last;
    int score;
};
constexpr Range ranges[] = {
    {0x0000, 0x0008, -6}, {0x0009, 0x000A, 4}, {0x000B, 0x000C, -6}, {0x000D, 0x000D, 4},
    {0x000E, 0x001F, -6}, {0x0020, 0x0020, 4}, {0x0021, 0x007E, 3},  {0x007F, 0x009F, -4},
    {0x00A0, 0x017F, 2},  {0x0180, 0x02FF, 0}, {0x0300, 0x036F, 1},  {0x0370, 0x03FF, 2},
    {0x0400, 0x045F, 2},  {0x0460, 0x052F, 1}, {0x0531, 0x058F, 1},  {0x05D0, 0x05EA, 2},
    {0x0600, 0x06FF, 2},  {0x0900, 0x0DFF, 1}, {0x0E00, 0x0E5B, 2},  {0x10A0, 0x10FF, 1},
    {0x1E00, 0x1FFF, 1},  {0x2010, 0x2027, 2}, {0x2030, 0x205E, 1},  {0x20A0, 0x20BF, 1},
    {0x2100, 0x27BF, 0},  {0x3000, 0x3002, 3}, {0x3003, 0x303F, 1},  {0x3041, 0x30FF, 3},
    {0x3105, 0x312F, 1},  {0x4E00, 0x9FFF, 2}, {0xAC00, 0xD7A3, 2},  {0xE000, 0xF8FF, -2},
    {0xF900, 0xFAFF, 0},  {0xFE0E, 0xFE0F, 1}, {0xFF01, 0xFF9F, 1},  {0xFFF9, 0xFFFF, -6},
};

int unit_score(uint32_t unit) {
    const auto* const range = std::find_if(std::begin(ranges), std::end(ranges),
                                           [unit](const Range& r) { return unit <= r.last; });
    return range != std::end(ranges) && unit >= range->first ? range->score : -1;
}

int order_score(Bytes bytes, ByteOrder order) {
    int score = 0;
    const std::size_t end = std::min(bytes.size() / 2, units_looked_at) * 2;
    for (std::size_t at = 0; at < end; at += 2) {
        const uint32_t unit = unit_at(bytes, at, order);
        const uint32_t next = at + 2 < end ? unit_at(bytes, at + 2, order) : 0;
        if (high_surrogate(unit) && low_surrogate(next)) {
            score += 2;
            at += 2;
        } else if (high_surrogate(unit) || low_surrogate(unit)) {
            score -= 6;
        } else {
            score += unit_score(unit);
        }
    }
    return score;
}

// Old character sets hold the characters in everyday use in their first level.
struct FirstLevel {
    const char* iconv_name;
    uint8_t first, last;  // lead octets of that level
};
constexpr FirstLevel first_levels[] = {{"EUC-CN", 0xB0, 0xD7},
                                       {"BIG5", 0xA4, 0xC6},
                                       {"SHIFT_JIS", 0x88, 0x97},
                                       {"EUC-KR", 0xB0, 0xC8}};

bool in_everyday_use(iconv_t handle, const FirstLevel& level, uint32_t unit) {
    if (unit < 0x4E00 || unit > 0xD7A3) return false;
    std::array<char, 2> in{static_cast<char>(unit >> 8U), static_cast<char>(unit & 0xFFU)};
    std::array<char, 8> out{};
    char* from = in.data();
    char* to = out.data();
    std::size_t from_left = in.size();
    std::size_t to_left = out.size();
    if (iconv(handle, &from, &from_left, &to, &to_left) != 0) {
        (void)iconv(handle, nullptr, nullptr, nullptr, nullptr);
        return false;
    }
    const auto lead = static_cast<uint8_t>(out[0]);
    return lead >= level.first && lead <= level.last;
}

// How many more of the first units are in everyday use when read in big-endian order.
int everyday_score(Bytes bytes) {
    int big = 0;
    int little = 0;
    const std::size_t end = std::min(bytes.size() / 2, ideographs_looked_at) * 2;
    for (const FirstLevel& level : first_levels) {
        iconv_t const handle = converter(level.iconv_name, "UTF-16BE");
        if (handle == no_converter) continue;
        const auto count = [&](ByteOrder order) {
            int found = 0;
            for (std::size_t at = 0; at < end; at += 2)
                found += in_everyday_use(handle, level, unit_at(bytes, at, order)) ? 1 : 0;
            return found;
        };
        big = std::max(big, count(ByteOrder::big));
        little = std::max(little, count(ByteOrder::little));
    }
    return big - little;
}

ByteOrder plausible_order(Bytes bytes) {
    const int difference =
        order_score(bytes, ByteOrder::big) - order_score(bytes, ByteOrder::little);
    // Two units of one letter each can lean either way; ideographs often mean something in both.
    constexpr int clear = 6;
    if (difference >= clear) return ByteOrder::big;
    if (difference <= -clear) return ByteOrder::little;
    return difference + 2 * everyday_score(bytes) < 0 ? ByteOrder::little : ByteOrder::big;
}

}  // namespace

void put_utf8(std::string& out, uint32_t code_point) {
    const auto put = [&out](uint32_t octet) { out.push_back(static_cast<char>(octet)); };
    const auto rest = [&](uint32_t shift) { put(0x80U | (code_point >> shift & 0x3FU)); };
    if (code_point < 0x80) {
        put(code_point);
    } else if (code_point < 0x800) {
        put(0xC0U | code_point >> 6U);
        rest(0);
    } else if (code_point < 0x10000) {
        put(0xE0U | code_point >> 12U);
        rest(6);
        rest(0);
    } else {
        put(0xF0U | code_point >> 18U);
        rest(12);
        rest(6);
        rest(0);
    }
}

bool from_utf16(Bytes bytes, ByteOrder order, std::string& out) {
    if (bytes.size() >= 2) {
        const uint32_t first = unit_at(bytes, 0, ByteOrder::big);
        if (first == mark || first == swapped_mark) {
            order = first == mark ? ByteOrder::big : ByteOrder::little;
            bytes = bytes.subspan(2);
        }
    }
    if (order == ByteOrder::unknown) order = plausible_order(bytes);
    bool whole = true;
    std::size_t at = 0;
    for (; at + 1 < bytes.size(); at += 2) {
        uint32_t unit = unit_at(bytes, at, order);
        if (high_surrogate(unit) && at + 3 < bytes.size() &&
            low_surrogate(unit_at(bytes, at + 2, order))) {
            at += 2;
            unit = 0x10000 + ((unit - 0xD800) << 10U) + (unit_at(bytes, at, order) - 0xDC00);
        } else if (high_surrogate(unit) || low_surrogate(unit)) {
            whole = false;
            if (high_surrogate(unit) && at + 3 >= bytes.size()) continue;  // cut in a character
            unit = replacement;
        }
        put_utf8(out, unit);
    }
    return whole && (at == bytes.size() || bytes[at] == 0);  // half of an end is no loss
}

bool from_utf32(Bytes bytes, ByteOrder order, std::string& out) {
    const auto unit_of = [&](std::size_t at, bool little) {
        uint32_t unit = 0;
        for (std::size_t i = 0; i < 4; ++i)
            unit = unit << 8U | bytes[little ? at + 3 - i : at + i];
        return unit;
    };
    bool little = order == ByteOrder::little;
    if (bytes.size() >= 4 && order == ByteOrder::unknown)
        little = unit_of(0, false) > 0x10FFFF && unit_of(0, true) <= 0x10FFFF;
    bool whole = bytes.size() % 4 == 0;
    for (std::size_t at = 0; at + 3 < bytes.size(); at += 4) {
        uint32_t unit = unit_of(at, little);
        if (at == 0 && unit == mark) continue;
        if (unit > 0x10FFFF || (unit >= 0xD800 && unit < 0xE000)) {
            whole = false;
            unit = replacement;
        }
        put_utf8(out, unit);
    }
    return whole;
}

}  // namespace mmskit_anatomy
