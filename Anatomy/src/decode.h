// Encodings of bytes in text, and compression. Each decodes as far as it goes and says how far that
// was; none needs more memory than `limit` for its result.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Anatomy/src/tree.h"

namespace mmskit_anatomy {

struct Decoded {
    std::vector<uint8_t> bytes;
    bool whole = true;     // false: the input ends early, or is damaged, or the limit was met
    bool limited = false;  // the limit was met
    std::size_t used = 0;  // bytes of the input that were read
};

// RFC 4648 base64 with or without line ends and padding; characters outside the alphabet other than
// white space end it.
Decoded decode_base64(Bytes text, std::size_t limit);
// RFC 2045 6.7.
Decoded decode_quoted_printable(Bytes text, std::size_t limit);
// RFC 1952, every member.
Decoded decode_gzip(Bytes data, std::size_t limit);
// RFC 1950 or raw RFC 1951.
Decoded decode_deflate(Bytes data, std::size_t limit);

}  // namespace mmskit_anatomy
