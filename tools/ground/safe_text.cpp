// Text from a message made safe for a terminal, for JSON and for a file system. One UTF-8 reader
// (RFC 3629: no overlong forms, no surrogates) serves all of them.
#include "ground/safe_text.h"

#include <algorithm>
#include <array>
#include <bit>

namespace mmskit_tool {
namespace {

struct Scalar {
    char32_t value;
    std::string_view bytes;
    bool valid;
};

Scalar scalar_at(std::string_view text, std::size_t at) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(at);
    const Scalar stray{first, text.substr(at, 1), false};
    if (first < 0x80) return {first, text.substr(at, 1), true};
    std::size_t length = 0;
    char32_t value = 0;
    char32_t least = 0;
    if (first >= 0xC2 && first <= 0xDF) {
        length = 2, value = first & 0x1FU, least = 0x80;
    } else if ((first & 0xF0U) == 0xE0) {
        length = 3, value = first & 0x0FU, least = 0x800;
    } else if (first >= 0xF0 && first <= 0xF4) {
        length = 4, value = first & 0x07U, least = 0x10000;
    } else {
        return stray;
    }
    if (text.size() - at < length) return stray;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(at + i) & 0xC0U) != 0x80) return stray;
        value = (value << 6) | (byte(at + i) & 0x3FU);
    }
    if (value < least || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) return stray;
    return {value, text.substr(at, length), true};
}

// Printable ASCII but for some.
using ByteSet = std::array<bool, 256>;
constexpr ByteSet printable_without(std::string_view some) {
    ByteSet set{};
    for (std::size_t byte = ' '; byte < 0x7F; ++byte)
        set[byte] = true;
    for (const char c : some)
        set[static_cast<unsigned char>(c)] = false;
    return set;
}

// What stands for itself everywhere, since no string escapes it; and in each place of a file's
// name.
constexpr ByteSet plain_bytes = printable_without("\"\\");
constexpr ByteSet plain_in_names = printable_without(".:*?\"<>|");

// Plain bytes from the start of the text.
std::size_t plain_size(std::string_view text, const ByteSet& plain = plain_bytes) {
    std::size_t size = 0;
    while (size < text.size() && plain[static_cast<unsigned char>(text[size])])
        ++size;
    return size;
}

// Plain bytes as they stand; of all else `append` makes something.
template <typename Append>
void append_scalars(std::string& out, std::string_view text, Append append,
                    const ByteSet& plain = plain_bytes) {
    for (;;) {
        const std::size_t size = plain_size(text, plain);
        out += text.substr(0, size);
        text.remove_prefix(size);
        if (text.empty()) return;
        const Scalar scalar = scalar_at(text, 0);
        append(scalar);
        text.remove_prefix(scalar.bytes.size());
    }
}

// Controls, direction marks, overrides and isolates, line and paragraph separators.
constexpr CharacterRange unsafe_ranges[] = {{0x00, 0x1F},     {0x7F, 0x9F},     {0x061C, 0x061C},
                                            {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}};

// What shows nothing and makes two names look alike: soft hyphen, joiners and fillers without a
// width, byte order mark, tags. The zero-width joiners (200C, 200D) and the variation selectors are
// not here, since scripts and emoji cannot be written without them.
constexpr CharacterRange invisible_ranges[] = {
    {0x00AD, 0x00AD},   {0x034F, 0x034F},   {0x115F, 0x1160},   {0x17B4, 0x17B5},
    {0x180B, 0x180F},   {0x200B, 0x200B},   {0x2060, 0x2065},   {0x206A, 0x206F},
    {0x3164, 0x3164},   {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0},   {0xFFF0, 0xFFFB},
    {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A}, {0xE0000, 0xE00FF}, {0xE01F0, 0xE0FFF}};

bool drives_terminal(char32_t c) {
    return in_any(c, unsafe_ranges);
}

bool is_unsafe(char32_t c) {
    return drives_terminal(c) || (c >= invisible_ranges[0].first && in_any(c, invisible_ranges));
}

// In hexadecimal, with zeros before it up to so many digits.
void append_code(std::string& out, std::string_view before, uint32_t value, int digits) {
    out += before;
    for (int at = std::max(digits, (static_cast<int>(std::bit_width(value)) + 3) / 4); at-- > 0;)
        out += "0123456789abcdef"[value >> (4 * at) & 15U];
}

// One name character: what no file system or shell should meet becomes "_".
void append_name_scalar(std::string& out, const Scalar& scalar) {
    constexpr std::string_view reserved = ":*?\"<>|";
    if (!scalar.valid || is_unsafe(scalar.value) ||
        (scalar.value < 0x80 && reserved.find(scalar.bytes) != std::string_view::npos)) {
        out += '_';
    } else if (scalar.value != '.' || !out.ends_with('.')) {
        out += scalar.bytes;
    }
}

void strip_end(std::string& name) {
    while (name.ends_with('.') || name.ends_with(' '))
        name.pop_back();
}

// Where a file name's extension begins; a long one is part of the name.
std::size_t extension_start(const std::string& name) {
    constexpr std::size_t longest = 16;
    const std::size_t tail = name.size() - std::min(name.size(), longest);
    const std::size_t dot = std::string_view(name).substr(tail).rfind('.');
    return dot == std::string_view::npos || tail + dot == 0 ? name.size() : tail + dot;
}

NumberedName split_name(const std::string& name, std::size_t limit) {
    const std::size_t dot = extension_start(name);
    NumberedName parts{name.substr(0, dot), name.substr(dot)};
    cut_at_character(parts.stem, limit - parts.extension.size());
    strip_end(parts.stem);
    return parts;
}

}  // namespace

void cut_at_character(std::string& text, std::size_t limit) {
    if (text.size() <= limit) return;
    while (limit > 0 && (static_cast<unsigned char>(text[limit]) & 0xC0U) == 0x80)
        --limit;
    text.resize(limit);
}

namespace {

std::string escaped_where(std::string_view text, bool (*escapes)(char32_t)) {
    std::string out;
    append_scalars(out, text, [&](const Scalar& scalar) {
        if (!scalar.valid || scalar.value < 0x20 || scalar.value == 0x7F) {
            append_code(out, "\\x", scalar.value, 2);
        } else if (escapes(scalar.value)) {
            append_code(out, "\\u{", scalar.value, 1);
            out += '}';
        } else {
            out += scalar.bytes;
        }
    });
    return out;
}

}  // namespace

std::string visible(std::string_view text) {
    return escaped_where(text, is_unsafe);
}

std::string visible_prose(std::string_view text) {
    return escaped_where(text, drives_terminal);
}

bool is_utf8(std::string_view text) {
    for (text.remove_prefix(plain_size(text)); !text.empty();
         text.remove_prefix(plain_size(text))) {
        const Scalar scalar = scalar_at(text, 0);
        if (!scalar.valid) return false;
        text.remove_prefix(scalar.bytes.size());
    }
    return true;
}

std::string json_text(std::string_view text) {
    std::string out;
    if (is_utf8(text)) return out += text;
    append_scalars(out, text, [&](const Scalar& scalar) {
        if (!scalar.valid) append_code(out, "\\x", scalar.value, 2);
        if (scalar.value == '\\') out += '\\';
        if (scalar.valid) out += scalar.bytes;
    });
    return out;
}

// RFC 8259, 7.
void append_json_string(std::string& out, std::string_view text) {
    constexpr std::string_view escaped = "\"\\\b\f\n\r\t";
    constexpr std::string_view letters = "\"\\bfnrt";
    out += '"';
    if (plain_size(text) == text.size()) {
        out += text;
        out += '"';
        return;
    }
    std::string told;  // of a text that is not UTF-8
    if (!is_utf8(text)) text = told = json_text(text);
    append_scalars(out, text, [&](const Scalar& scalar) {
        const std::size_t at = escaped.find(scalar.bytes);
        if (at != std::string_view::npos) {
            out += {'\\', letters[at]};
        } else if (!is_unsafe(scalar.value)) {
            out += scalar.bytes;
        } else if (scalar.value > 0xFFFF) {  // a surrogate pair
            append_code(out, "\\u", 0xD7C0 + (scalar.value >> 10), 4);
            append_code(out, "\\u", 0xDC00 + (scalar.value & 0x3FF), 4);
        } else {
            append_code(out, "\\u", scalar.value, 4);
        }
    });
    out += '"';
}

std::string safe_file_name(std::string_view raw) {
    const std::size_t last = raw.find_last_not_of("/\\");
    raw = raw.substr(0, last == std::string_view::npos ? 0 : last + 1);
    const std::size_t separator = raw.find_last_of("/\\");
    if (separator != std::string_view::npos) raw.remove_prefix(separator + 1);

    std::string name;
    append_scalars(
        name, raw, [&](const Scalar& scalar) { append_name_scalar(name, scalar); }, plain_in_names);
    name.erase(0, name.find_first_not_of(".- "));
    strip_end(name);
    const NumberedName parts = split_name(name, max_file_name);
    return parts.stem + parts.extension;
}

std::string fitting_name(const std::string& name, std::size_t limit, uint32_t number) {
    const std::string tail = number >= 2 ? '-' + std::to_string(number) : "";
    if (name.size() + tail.size() <= limit && tail.empty()) return name;
    const NumberedName parts = split_name(name, limit - tail.size());
    return parts.stem + tail + parts.extension;
}

NumberedName numbered_name(const std::string& safe_name) {
    constexpr std::size_t number_room = sizeof "-4294967295" - 1;
    return split_name(safe_name, max_file_name - number_room);
}

}  // namespace mmskit_tool
