// Walks the pieces of PNG, JPEG (ITU-T T.81 B.1) and GIF (89a) to their end marks.
#include "Anatomy/src/media_end.h"

#include "Anatomy/src/cursor.h"

#include <algorithm>
#include <array>

namespace mmskit_anatomy {
namespace {

std::size_t big_endian(Bytes bytes, std::size_t at, std::size_t octets) {
    std::size_t value = 0;
    for (std::size_t i = 0; i < octets; ++i)
        value = value << 8U | bytes[at + i];
    return value;
}

std::optional<std::size_t> png_size(Bytes bytes) {
    constexpr std::array<uint8_t, 4> last{'I', 'E', 'N', 'D'};
    constexpr std::size_t around = 12;  // a chunk's length, kind and check sum
    std::size_t at = 8;
    while (at + around <= bytes.size()) {
        const std::size_t length = big_endian(bytes, at, 4);
        if (length > bytes.size() - at - around) return std::nullopt;
        const bool end = std::equal(last.begin(), last.end(),
                                    bytes.begin() + static_cast<std::ptrdiff_t>(at + 4));
        at += around + length;
        if (end) return at;
    }
    return std::nullopt;
}

std::optional<std::size_t> jpeg_size(Bytes bytes) {
    std::size_t at = 2;
    bool in_scan = false;
    while (at + 1 < bytes.size()) {
        const uint8_t mark = bytes[at + 1];
        if (bytes[at] != 0xFF || (in_scan && (mark == 0 || (mark >= 0xD0 && mark <= 0xD7)))) {
            if (!in_scan) return std::nullopt;
            ++at;
            continue;
        }
        if (mark == 0xD9) return at + 2;
        if (mark == 0xFF) {
            ++at;
            continue;
        }
        if (at + 4 > bytes.size()) return std::nullopt;
        in_scan = mark == 0xDA;
        at += 2 + std::max<std::size_t>(2, big_endian(bytes, at + 2, 2));
    }
    return std::nullopt;
}

std::optional<std::size_t> gif_size(Bytes bytes) {
    if (bytes.size() < 13) return std::nullopt;
    const auto table = [](uint8_t flags) {
        return (flags & 0x80U) != 0 ? std::size_t{3} << ((flags & 7U) + 1U) : std::size_t{0};
    };
    std::size_t at = 13 + table(bytes[10]);
    const auto pass_blocks = [&] {
        while (at < bytes.size() && bytes[at] != 0)
            at += std::size_t{1} + bytes[at];
        ++at;
    };
    while (at < bytes.size()) {
        const uint8_t kind = bytes[at];
        if (kind == 0x3B) return at + 1;
        if (kind == 0x21) {
            at += 2;
        } else if (kind == 0x2C && at + 10 < bytes.size()) {
            at += 10 + table(bytes[at + 9]) + 1;
        } else {
            return std::nullopt;
        }
        pass_blocks();
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::size_t> media_size(Bytes bytes) {
    if (begins(bytes, {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'})) return png_size(bytes);
    if (begins(bytes, {0xFF, 0xD8, 0xFF})) return jpeg_size(bytes);
    if (begins(bytes, {'G', 'I', 'F', '8'})) return gif_size(bytes);
    return std::nullopt;
}

}  // namespace mmskit_anatomy
