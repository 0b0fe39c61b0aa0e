// WSP values as the exact decoders read them, over their own bounded reader.
#pragma once

#include <cstdint>
#include <string_view>

#include "scshare/common/src/bounded_reader.h"

namespace mmskit_anatomy {

inline constexpr uint8_t length_mark = 31;  // before a length as a uintvar
inline constexpr char quote_octet = 0x7F;   // before a text
// Codes of a body's and a part's headers, and of a content type's parameters (WAP-230 tables 38,
// 39).
inline constexpr uint8_t code_disposition = 0xAE, code_disposition_later = 0xC5;
inline constexpr uint8_t parameter_charset = 0x81, parameter_name = 0x85, parameter_type = 0x89,
                         parameter_start = 0x8A, parameter_start_info = 0x8B;

inline std::string_view without_quote(std::string_view text) {
    return text.starts_with(quote_octet) ? text.substr(1) : text;
}

inline std::string_view view_of(const mmskit::Slice& slice) {
    return {reinterpret_cast<const char*>(slice.data), slice.size};
}

inline uint32_t read_uintvar(mmskit::BoundedReader& in) {
    uint32_t value = 0;
    uint8_t octet = 0;
    do {
        octet = in.byte();
        value = value << 7 | (octet & 0x7FU);
    } while (octet >= 0x80);
    return value;
}

inline uint32_t read_length(mmskit::BoundedReader& in) {
    const uint8_t first = in.peek();
    if (first > length_mark) return 0;
    in.skip(1);
    return first < length_mark ? first : read_uintvar(in);
}

inline uint32_t long_integer_at(mmskit::BoundedReader in) {
    const int count = static_cast<int16_t>(read_length(in));
    constexpr int kept = 4;
    if (count > kept) in.skip(static_cast<uint64_t>(count - kept));
    uint32_t value = 0;
    for (int i = 0; i < (count < kept ? count : kept); ++i)
        value = value << 8 | in.byte();
    return value;
}

}  // namespace mmskit_anatomy
