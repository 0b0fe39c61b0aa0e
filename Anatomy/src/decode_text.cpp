// Base64 (RFC 4648, RFC 2045 6.8) and quoted-printable (RFC 2045 6.7); see decode.h.
#include <algorithm>
#include <array>

#include "Anatomy/src/decode.h"
#include "Anatomy/src/letters.h"

namespace mmskit_anatomy {
namespace {

constexpr int8_t no_digit = -1;

constexpr std::array<int8_t, 256> base64_digits() {
    std::array<int8_t, 256> digits{};
    digits.fill(no_digit);
    constexpr std::string_view alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (std::size_t i = 0; i < alphabet.size(); ++i)
        digits[static_cast<uint8_t>(alphabet[i])] = static_cast<int8_t>(i);
    return digits;
}
constexpr std::array<int8_t, 256> digit_of = base64_digits();

bool is_space(uint8_t c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// What follows the digits: at most two signs of padding, and white space.
std::size_t pass_padding(Bytes text, std::size_t at) {
    for (int left = 2; at < text.size(); ++at) {
        if (is_space(text[at])) continue;
        if (text[at] != '=' || left-- == 0) break;
    }
    return at;
}

// The length of a line end at `at`, with blanks before it; 0 when there is none.
std::size_t line_end(Bytes text, std::size_t at, std::size_t blanks_end) {
    std::size_t end = blanks_end;
    if (end < text.size() && text[end] == '\r') ++end;
    if (end < text.size() && text[end] == '\n') ++end;
    return end == blanks_end && end != text.size() ? 0 : end - at;
}

std::size_t after_blanks(Bytes text, std::size_t at) {
    while (at < text.size() && (text[at] == ' ' || text[at] == '\t'))
        ++at;
    return at;
}

}  // namespace

Decoded decode_base64(Bytes text, std::size_t limit) {
    Decoded result;
    result.bytes.reserve(std::min(limit, text.size() / 4 * 3 + 3));
    uint32_t bits = 0;
    int digits = 0;
    std::size_t at = 0;
    for (; at < text.size(); ++at) {
        if (is_space(text[at])) continue;
        const int8_t digit = digit_of[text[at]];
        if (digit == no_digit) break;
        bits = bits << 6U | static_cast<uint32_t>(digit);
        if (++digits % 4 == 1) continue;  // six bits are no octet yet
        if (result.bytes.size() >= limit) {
            result.whole = false;
            result.limited = true;
            break;
        }
        const auto extra = static_cast<uint32_t>(digits % 4 == 2 ? 4 : digits % 4 == 3 ? 2 : 0);
        result.bytes.push_back(static_cast<uint8_t>(bits >> extra));
        digits %= 4;
    }
    if (!result.limited) at = pass_padding(text, at);
    result.used = at;
    result.whole = result.whole && at == text.size() && digits != 1;
    return result;
}

Decoded decode_quoted_printable(Bytes text, std::size_t limit) {
    Decoded result;
    result.bytes.reserve(std::min(limit, text.size()));
    std::size_t at = 0;
    while (at < text.size()) {
        if (result.bytes.size() >= limit) {
            result.whole = false;
            result.limited = true;
            break;
        }
        const uint8_t c = text[at];
        if (c == '=') {
            const int high = at + 2 < text.size() ? hex_digit(static_cast<char>(text[at + 1])) : -1;
            const int low = high >= 0 ? hex_digit(static_cast<char>(text[at + 2])) : -1;
            if (low >= 0) {
                result.bytes.push_back(static_cast<uint8_t>(high * 16 + low));
                at += 3;
                continue;
            }
            const std::size_t soft = line_end(text, at + 1, after_blanks(text, at + 1));
            at += 1 + soft;
            if (soft != 0 || at >= text.size()) continue;
            result.whole = false;  // no escape: a sign like any other
            result.bytes.push_back(c);
            continue;
        }
        if (c == ' ' || c == '\t') {  // blanks before a line end were added on the way
            const std::size_t end = after_blanks(text, at);
            const std::size_t blanks = end - at;
            const bool dropped = line_end(text, at, end) != 0;
            const std::size_t kept = dropped ? 0 : std::min(blanks, limit - result.bytes.size());
            result.bytes.insert(result.bytes.end(), text.begin() + static_cast<std::ptrdiff_t>(at),
                                text.begin() + static_cast<std::ptrdiff_t>(at + kept));
            at = end;
            continue;
        }
        result.bytes.push_back(c);
        ++at;
    }
    result.used = at;
    return result;
}

}  // namespace mmskit_anatomy
