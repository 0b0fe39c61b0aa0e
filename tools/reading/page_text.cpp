// SHA-256 is FIPS 180-4, base64 RFC 4648. The page's own script and style are the only texts that
// are hashed, so speed does not matter there.
#include "reading/page_text.h"

#include <algorithm>
#include <array>
#include <bit>

#include "ground/safe_text.h"

namespace mmskit_tool {
namespace {

constexpr std::array<uint32_t, 64> round_constants{
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

using State = std::array<uint32_t, 8>;
constexpr State first_state{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                            0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
constexpr std::size_t block_size = 64;

std::array<uint32_t, 64> schedule(std::string_view block) {
    std::array<uint32_t, 64> words{};
    for (std::size_t i = 0; i < block_size; ++i) {
        words[i / 4] = (words[i / 4] << 8U) | static_cast<uint8_t>(block[i]);
    }
    for (std::size_t i = 16; i < words.size(); ++i) {
        const uint32_t near = words[i - 2];
        const uint32_t far = words[i - 15];
        words[i] = words[i - 16] + words[i - 7] +
                   (std::rotr(far, 7) ^ std::rotr(far, 18) ^ (far >> 3U)) +
                   (std::rotr(near, 17) ^ std::rotr(near, 19) ^ (near >> 10U));
    }
    return words;
}

void take_block(State& state, std::string_view block) {
    const auto words = schedule(block);
    auto [a, b, c, d, e, f, g, h] = state;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const uint32_t one = h + (std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25)) +
                             ((e & f) ^ (~e & g)) + round_constants[i] + words[i];
        const uint32_t two =
            (std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
        h = g, g = f, f = e, e = d + one, d = c, c = b, b = a, a = one + two;
    }
    const State sums{a, b, c, d, e, f, g, h};
    for (std::size_t i = 0; i < state.size(); ++i)
        state[i] += sums[i];
}

std::array<uint8_t, 32> sha256(std::string_view text) {
    State state = first_state;
    std::string padded(text);
    padded += '\x80';
    padded.append((block_size * 2 - 8 - padded.size() % block_size) % block_size, '\0');
    const uint64_t bits = uint64_t{text.size()} * 8;
    for (int shift = 56; shift >= 0; shift -= 8)
        padded += static_cast<char>((bits >> shift) & 0xFFU);
    for (std::size_t at = 0; at < padded.size(); at += block_size) {
        take_block(state, std::string_view(padded).substr(at, block_size));
    }
    std::array<uint8_t, 32> digest{};
    for (std::size_t i = 0; i < digest.size(); ++i) {
        digest[i] = static_cast<uint8_t>(state[i / 4] >> (24 - 8 * (i % 4)));
    }
    return digest;
}

const char* entity(char c) {
    switch (c) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '"':
            return "&quot;";
        case '\'':
            return "&#39;";
        default:
            return nullptr;
    }
}

std::string escaped(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        if (const char* name = entity(c)) {
            out += name;
        } else if (static_cast<uint8_t>(c) < 0x20 && c != '\n' && c != '\t') {
            if (c != '\r') out += "\xEF\xBF\xBD";  // U+FFFD
        } else {
            out += c;
        }
    }
    return out;
}

}  // namespace

std::string html_text(std::string_view text) {
    return escaped(json_text(text));
}

std::string html_line(std::string_view text) {
    return escaped(visible(text));
}

std::size_t whole_characters(std::string_view text, std::size_t most) {
    if (text.size() <= most) return text.size();
    while (most > 0 && (static_cast<uint8_t>(text[most]) & 0xC0U) == 0x80)
        --most;
    return most;
}

void append_base64(std::string& out, std::span<const uint8_t> data) {
    constexpr std::string_view digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    out.reserve(out.size() + (data.size() + 2) / 3 * 4);
    for (std::size_t at = 0; at < data.size(); at += 3) {
        const std::size_t count = std::min<std::size_t>(3, data.size() - at);
        uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i)
            group = (group << 8U) | (i < count ? data[at + i] : 0U);
        for (std::size_t i = 0; i < 4; ++i)
            out += i > count ? '=' : digits[(group >> (18 - 6 * i)) & 63U];
    }
}

std::string policy_hash(std::string_view text) {
    std::string out = "'sha256-";
    append_base64(out, sha256(text));
    return out + '\'';
}

void fill(std::string_view page, const TextTaker& text, const TextTaker& field) {
    for (;;) {
        const std::size_t open = page.find("{{");
        const std::size_t close = page.find("}}", open);
        if (close == std::string_view::npos) return text(page);
        text(page.substr(0, open));
        field(page.substr(open + 2, close - open - 2));
        page.remove_prefix(close + 2);
    }
}

std::string filled(std::string_view page, const TemplateValues& values) {
    std::string out;
    const auto put = [&](std::string_view name) {
        const auto value = std::find_if(values.begin(), values.end(),
                                        [&](const auto& each) { return each.first == name; });
        if (value != values.end()) out += value->second;
    };
    fill(
        page, [&](std::string_view text) { out += text; }, put);
    return out;
}

}  // namespace mmskit_tool
