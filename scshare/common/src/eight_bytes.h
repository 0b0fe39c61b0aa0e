// Eight bytes of a text at a time, as a number whose lowest byte is the first one on every machine.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace mmskit {

inline uint64_t eight_bytes(const void* from) {
    uint64_t word = 0;
    std::memcpy(&word, from, sizeof word);
    return std::endian::native == std::endian::little ? word : __builtin_bswap64(word);
}

// Marks tell of the first byte that has a property: its top bit is the lowest one that is set.
// Bytes behind it may be marked without having it; 0 when no byte has it.
inline constexpr uint64_t in_each_byte = 0x0101010101010101;

constexpr uint64_t mark_below(uint64_t word, char c) {
    return (word - in_each_byte * static_cast<unsigned char>(c)) & ~word & (in_each_byte << 7);
}
constexpr uint64_t mark_byte(uint64_t word, char c) {
    return mark_below(word ^ in_each_byte * static_cast<unsigned char>(c), 1);
}

// The bytes before the one that is marked, and how many they are; there must be one.
constexpr uint64_t bytes_before(uint64_t word, uint64_t marks) {
    return word & ((marks - 1) & ~marks) >> 7;
}
constexpr uint32_t count_before(uint64_t marks) {
    return static_cast<uint32_t>(__builtin_ctzll(marks)) / 8;
}

}  // namespace mmskit
