// A character as UTF-8, for what writes texts of a document.
#pragma once

#include <cstdint>

namespace mmskit {

// Of at most 10FFFF; room for 4 bytes is asked for. The end of what was written.
inline char* put_utf8(char* out, uint32_t c) {
    const auto put = [&out](uint32_t byte) { *out++ = static_cast<char>(byte); };
    if (c < 0x80) {
        put(c);
        return out;
    }
    if (c < 0x800) {
        put(0xC0 | (c >> 6));
    } else {
        if (c < 0x10000) {
            put(0xE0 | (c >> 12));
        } else {
            put(0xF0 | (c >> 18));
            put(0x80 | ((c >> 12) & 0x3F));
        }
        put(0x80 | ((c >> 6) & 0x3F));
    }
    put(0x80 | (c & 0x3F));
    return out;
}

}  // namespace mmskit
