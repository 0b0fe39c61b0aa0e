// WSP values as they are written for the exact decoders (WAP-230 8.4).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace mmskit_anatomy {

class BytesWriter {
  public:
    void octet(uint32_t value) { bytes += static_cast<char>(value); }

    void uintvar(uint64_t value) {
        for (int shift = 28; shift > 0; shift -= 7)
            if (value >> shift != 0) octet(0x80 | (value >> shift & 0x7F));
        octet(value & 0x7F);
    }

    void value_length(std::size_t length) {
        if (length > 30) {
            octet(31);
            uintvar(length);
        } else {
            octet(static_cast<uint32_t>(length));
        }
    }

    // With the quote octet where the text would be taken for another value.
    void text(std::string_view value) {
        if (needs_quote(value)) octet(0x7F);
        plain(value);
    }
    void plain(std::string_view value) {
        bytes += value;
        octet(0);
    }

    // In UTF-8, with a true length. The decoders end the value at its first zero octet, which a
    // length of a multiple of 128 would have: such a text gets a quote that it does not need.
    void encoded(std::string_view value) {
        std::size_t length = value.size() + 2;
        bool quoted = needs_quote(value);
        if (quoted) ++length;
        if (!quoted && length > 30 && length % 128 == 0) {
            quoted = true;
            ++length;
        } else if (quoted && length > 30 && length % 128 == 0) {
            return text(value);  // without a character set it is UTF-8 as well
        }
        value_length(length);
        octet(0xEA);
        if (quoted) octet(0x7F);
        plain(value);
    }

    void long_integer(uint32_t value) {
        const uint32_t count = value > 0xFFFFFF ? 4 : value > 0xFFFF ? 3 : value > 0xFF ? 2 : 1;
        octet(count);
        for (uint32_t i = count; i-- > 0;)
            octet(value >> (8 * i) & 0xFF);
    }

    std::string bytes;

  private:
    static bool needs_quote(std::string_view value) {
        return !value.empty() && (static_cast<unsigned char>(value[0]) >= 0x7F || value[0] < ' ');
    }
};

}  // namespace mmskit_anatomy
