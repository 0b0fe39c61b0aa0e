// The characters of a document in one of the encodings that a declaration can name, for
// Push_ExpatText.cpp: what they are, and reading them.
#pragma once

#include <iconv.h>

#include <cstdint>
#include <cstring>

#include "Push/src/put_utf8.h"

namespace mmskit {

inline constexpr char byte_order_mark[] = "\xEF\xBB\xBF";
inline constexpr uint32_t no_character = 0xFFFF;  // neither XML nor expat takes it

inline uint32_t next_of_utf8(const char*& text) {
    const auto first = static_cast<uint8_t>(*text++);
    if (first < 0x80) return first;
    const int more = first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
    uint32_t c = first & (0x3FU >> more);
    for (int i = 0; i < more; ++i)
        c = c << 6 | (static_cast<uint8_t>(*text++) & 0x3F);
    return c;
}

struct Range {
    uint32_t first, last;
};

template <size_t count>
constexpr bool is_in(uint32_t c, const Range (&ranges)[count]) {
    for (const Range& range : ranges)
        if (c >= range.first && c <= range.last) return true;
    return false;
}

inline constexpr uint32_t last_character = 0x10FFFF;
// XML 1.0, fifth edition, 2.2.
inline constexpr Range valid[] = {
    {'\t', '\n'}, {'\r', '\r'}, {' ', 0xD7FF}, {0xE000, 0xFFFD}, {0x10000, last_character}};
// 2.3. Expat has the narrower names of the earlier ones.
inline constexpr Range name_start[] = {
    {':', ':'},       {'A', 'Z'},       {'_', '_'},       {'a', 'z'},
    {0xC0, 0xD6},     {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},
    {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF},
    {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF},
};
inline constexpr Range name_rest[] = {
    {'-', '.'}, {'0', '9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040},
};

inline bool is_name(uint32_t c) {
    return is_in(c, name_start) || is_in(c, name_rest);
}

inline bool is_space(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}
// XML 1.1, 2.2 and 2.11.
inline constexpr uint32_t next_line = 0x85;
inline constexpr uint32_t line_separator = 0x2028;
inline constexpr Range restricted[] = {
    {0x1, 0x8}, {0xB, 0xC}, {0xE, 0x1F}, {0x7F, 0x84}, {0x86, 0x9F}};
// Reads characters of a document in one of its encodings, for ever zero at the end.
class Characters {
  public:
    // cppcheck-suppress uninitMemberVar  ; the table is filled when a character set is chosen
    Characters(const char* text, const char* end) : at_(text), end_(end) {}

    // The upper half of an 8-bit character set that the C library knows under this name.
    bool use_charset(const char* name) {
        iconv_t converter = iconv_open("UTF-16LE", name);
        const auto handle = reinterpret_cast<uintptr_t>(converter);
        if (handle == UINTPTR_MAX) return false;  // unreachable: a C library without that set
        for (uint32_t i = 0; i < upper_count; ++i) {
            char byte = static_cast<char>(i + 0x80);
            uint8_t unit[2] = {};
            char* in = &byte;
            auto* out = reinterpret_cast<char*>(unit);
            size_t left = 1;
            size_t room = sizeof unit;
            const bool done = iconv(converter, &in, &left, &out, &room) == 0;
            upper_[i] = static_cast<uint16_t>(done ? unit[0] + 0x100U * unit[1] : no_character);
        }
        (void)iconv_close(converter);
        eight_bits_ = true;
        return true;
    }

    bool ended() const { return at_ == end_; }
    uint32_t left() const { return static_cast<uint32_t>(end_ - at_); }
    // ASCII stands for itself in every encoding.
    char ascii(uint32_t ahead = 0) const { return ahead < left() ? at_[ahead] : '\0'; }
    bool begins(const char* word) const {
        const size_t length = std::strlen(word);
        return length <= left() && std::memcmp(at_, word, length) == 0;
    }
    void skip(uint32_t bytes) { at_ += bytes; }
    const char* place() const { return at_; }
    void go_back(const char* place) { at_ = place; }

    void use_xml_1_1(bool use) { xml_1_1_ = use; }
    bool is_xml_1_1() const { return xml_1_1_; }

    // no_character for what is no UTF-8 (its first byte), and what XML 1.1 has as references only.
    uint32_t next() {
        const uint32_t c = next_undecided();
        if (!xml_1_1_) return c;
        if (c == '\r' && !ended()) {
            const char* behind = at_;
            if (next_undecided() != next_line) at_ = behind;
            return at_ == behind ? c : '\n';
        }
        if (c == next_line || c == line_separator) return '\n';
        return is_in(c, restricted) ? no_character : c;
    }

  private:
    uint32_t next_undecided() {
        const auto byte = static_cast<uint8_t>(*at_);
        if (byte < 0x80 || !eight_bits_) {
            const uint32_t length = utf8_length();
            const char* from = at_;
            at_ += length != 0 ? length : 1;
            return length != 0 ? next_of_utf8(from) : no_character;
        }
        ++at_;
        return upper_[byte - 0x80];
    }

    // Of the character here; 0 for what is none. (Too long forms and surrogates are told by its
    // value.)
    uint32_t utf8_length() const {
        const auto byte = static_cast<uint8_t>(*at_);
        const uint32_t length = byte < 0x80                   ? 1
                                : byte >= 0xC2 && byte < 0xE0 ? 2
                                : byte >= 0xE0 && byte < 0xF0 ? 3
                                : byte >= 0xF0 && byte < 0xF5 ? 4
                                                              : 0;
        if (length > left()) return 0;
        for (uint32_t i = 1; i < length; ++i)
            if ((static_cast<uint8_t>(at_[i]) & 0xC0) != 0x80) return 0;
        const auto second = static_cast<uint8_t>(length > 1 ? at_[1] : 0);
        const bool wrong = (byte == 0xE0 && second < 0xA0) || (byte == 0xED && second > 0x9F) ||
                           (byte == 0xF0 && second < 0x90) || (byte == 0xF4 && second > 0x8F);
        return wrong ? 0 : length;
    }

    const char* at_;
    const char* end_;
    bool eight_bits_ = false;
    bool xml_1_1_ = false;
    static constexpr uint32_t upper_count = 128;
    uint16_t upper_[upper_count];
};

// Reads "<?xml" through "?>", and what is read behind it in the encoding and the version of XML
// that it names. False when it is malformed or names an unknown encoding.
bool read_declaration(Characters& in);

}  // namespace mmskit
