// Letters of ASCII without regard to their case, and hexadecimal digits.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace mmskit_anatomy {

constexpr char to_lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

inline std::string lower_case(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        c = to_lower(c);
    return out;
}

inline bool is_ascii(std::string_view text) {
    for (const char c : text)
        if (static_cast<unsigned char>(c) >= 0x80) return false;
    return true;
}

inline bool same_word(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (to_lower(a[i]) != to_lower(b[i])) return false;
    return true;
}

// -1 for what is no digit.
constexpr int hex_digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    c = to_lower(c);
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

}  // namespace mmskit_anatomy
