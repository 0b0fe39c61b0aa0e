// Letters of ASCII without regard to their case, and hexadecimal digits.
#pragma once

#include <algorithm>
#include <cstdint>
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

// ---- Eight bytes at once ----

// Eight bytes from `at` on, or the last eight; of a shorter text all.
[[gnu::always_inline]] inline uint64_t octets_at(std::string_view text, std::size_t at) {
    uint64_t word = 0;
    if (text.size() >= sizeof word) {
        const std::size_t last = text.size() - sizeof word;
        __builtin_memcpy(&word, text.data() + (at < last ? at : last), sizeof word);
    } else {
        for (const char c : text)
            word = word << 8 | static_cast<unsigned char>(c);
    }
    return word;
}

// The high bit of each byte that is a letter.
[[gnu::always_inline]] constexpr uint64_t letters_in(uint64_t word) {
    constexpr uint64_t ones = 0x0101010101010101;
    const uint64_t lower = (word | 0x20 * ones) & 0x7F * ones;
    return (lower + 0x1F * ones) & ~(lower + 0x05 * ones) & ~word & 0x80 * ones;
}

[[gnu::always_inline]] constexpr uint64_t mixed_hash(uint64_t hash, uint64_t word) {
    hash = (hash ^ word) * 0x9E3779B97F4A7C15U;
    return hash ^ hash >> 32;
}

// Of a hash made so: each bit depends on every byte.
[[gnu::always_inline]] constexpr uint32_t end_of_hash(uint64_t hash) {
    return static_cast<uint32_t>(hash * 0xD6E8FEB86659FD93U >> 32);
}

// -1 for what is no digit.
constexpr int hex_digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    c = to_lower(c);
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

}  // namespace mmskit_anatomy
