// Reading a place of a layer. Nothing reads past its end; offsets count in the layer.
#pragma once

#include <algorithm>
#include <cstring>
#include <optional>

#include "Anatomy/src/tree.h"

namespace mmskit_anatomy {

inline std::string_view text_of(Bytes bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}
inline bool begins(Bytes bytes, std::initializer_list<uint8_t> start) {
    return bytes.size() >= start.size() && std::equal(start.begin(), start.end(), bytes.begin());
}
inline Bytes bytes_of(std::string_view text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

inline constexpr uint8_t longest_short_length = 30, length_quote = 31;

struct Number {
    uint64_t value = 0;
    bool whole = true;  // all its octets are there, and it fits
};

// The NUL found last: texts that are looked at again and again, because lengths before them are
// not true, cost one search.
struct NulMemo {
    uint32_t from = 1;
    uint32_t nul = 0;
};

class Cursor {
  public:
    Cursor(const Tree& tree, const Place& place) : Cursor(tree.layer(place.layer), place) {}
    Cursor(Bytes layer_bytes, const Place& place)
        : layer(place.layer),
          at(std::min(place.offset, static_cast<uint32_t>(layer_bytes.size()))),
          end(at + std::min(place.length, static_cast<uint32_t>(layer_bytes.size()) - at)),
          bytes_(layer_bytes) {}

    [[nodiscard]] uint32_t left() const { return end - at; }
    [[nodiscard]] bool done() const { return at >= end; }
    // 0 past the end.
    [[nodiscard]] uint8_t peek(uint32_t ahead = 0) const {
        return ahead < left() ? bytes_[at + ahead] : uint8_t{0};
    }
    [[nodiscard]] Place since(uint32_t start) const { return {layer, start, at - start}; }
    [[nodiscard]] Bytes bytes(uint32_t from, uint32_t to) const {
        return bytes_.subspan(from, to - from);
    }
    [[nodiscard]] Bytes rest() const { return bytes(at, end); }
    // The same place up to `limit`, or less.
    [[nodiscard]] Cursor until(uint64_t limit) const {
        Cursor cut = *this;
        cut.end = static_cast<uint32_t>(std::clamp<uint64_t>(limit, at, end));
        return cut;
    }
    void skip(uint64_t count) { at = count < left() ? at + static_cast<uint32_t>(count) : end; }
    uint8_t octet() {
        const uint8_t value = peek();
        skip(1);
        return value;
    }

    // Of the first NUL from `from` on; at least `end` when there is none before it.
    [[nodiscard]] uint32_t next_nul(uint32_t from) const {
        if (memo != nullptr && from >= memo->from && from <= memo->nul) return memo->nul;
        const std::size_t limit = memo != nullptr ? bytes_.size() : end;
        const auto* const nul = static_cast<const uint8_t*>(
            from < limit ? std::memchr(bytes_.data() + from, 0, limit - from) : nullptr);
        const auto found =
            static_cast<uint32_t>(nul != nullptr ? nul - bytes_.data() : std::ptrdiff_t(limit));
        if (memo != nullptr) *memo = {from, found};
        return found;
    }

    // Up to a NUL, which is passed; `ended` says whether it was there.
    std::string_view text(bool& ended) {
        const uint32_t start = at;
        const uint32_t nul = next_nul(at);
        ended = nul < end;
        at = ended ? nul + 1 : end;
        return text_of(bytes(start, std::min(nul, end)));
    }

    Number uintvar() {
        Number number;
        for (int octets = 0; !done(); ++octets) {
            const uint8_t next = octet();
            number.value = (number.value & 0x01FF'FFFF'FFFF'FFFFU) << 7U | (next & 0x7FU);
            if (number.value > UINT32_MAX) number.whole = false;
            if (next < 0x80) return number;
        }
        number.whole = false;
        return number;
    }

    // Value-length (WAP-230 8.4.2.2); none when another form of value stands here.
    std::optional<Number> value_length() {
        if (done() || peek() > length_quote) return std::nullopt;
        const uint8_t first = octet();
        if (first < length_quote) return Number{first, true};
        return uintvar();
    }

    // Integer-value: short, or long of up to 30 octets of which the last eight count.
    std::optional<Number> integer() {
        if (done()) return std::nullopt;
        if (peek() >= 0x80) return Number{static_cast<uint64_t>(octet() & 0x7FU), true};
        if (peek() > longest_short_length) return std::nullopt;
        const uint32_t count = octet();
        Number number{0, count <= left()};
        for (uint32_t i = 0; i < count && !done(); ++i)
            number.value = number.value << 8U | octet();
        return number;
    }

    uint32_t layer, at, end;
    NulMemo* memo = nullptr;

  private:
    Bytes bytes_;
};

// Where a value ends by its first octet (WAP-230 8.4.1.2); `whole` is false when it is cut.
bool skip_value(Cursor& cursor);

// ---- Texts of values ----

std::string_view trimmed(std::string_view text);
// Without a quote octet, quotation marks and what the marks escape.
std::string_view unquoted(std::string_view text);
// UTF-8 as it is, else as Windows-1252.
std::string readable(std::string_view text);
std::string hex_of(Bytes bytes, std::size_t most = 64);
std::string hex_octet(uint8_t octet);

// A header field may begin at `at`: a field's code stands there, or it is the end.
bool header_may_begin(const Cursor& cursor, uint64_t at);
bool only_zeros(Bytes bytes);

// Encoded-string-value or a text, in UTF-8.
struct EncodedText {
    std::string utf8;
    uint32_t charset = 0;
    bool has_charset = false;  // it came with a length and a character set
    bool exact = false;        // the exact decoders read the same text, up to the same place
    bool cut = false;          // its end is not there
    uint64_t declared = 0;     // octets of the text where its end is cut, 0 when not known
    std::string flaw;          // what was odd about it; empty when nothing
};
EncodedText read_encoded_text(Cursor& cursor);

}  // namespace mmskit_anatomy
