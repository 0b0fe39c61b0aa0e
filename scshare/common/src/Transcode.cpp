// Character sets: UCS-2, UTF-16, code points and Latin-1 to UTF-8 (and UTF-8 to UCS-2), chosen by
// IANA MIBenum number. Text comes as it was received: nothing is reported as an error, nothing is
// read past the given length, and each result is sized by the longest output that its input could
// have.
#include <mmskit/runtime.h>

#include <array>
#include <cstddef>
#include <cstring>

#include "scshare/common/src/owned.h"

namespace mmskit {
namespace {

enum class ByteOrder : uint8_t { big, little };

enum class MibEnum : int32_t { us_ascii = 3, latin1 = 4, utf8 = 106, ucs2 = 1000, utf16 = 1015 };

constexpr uint32_t byte_order_mark = 0xFEFF;
constexpr uint32_t swapped_mark = 0xFFFE;
constexpr uint32_t replacement = 0xFFFD;

// Longest UTF-8 output of one input unit. A surrogate pair is two units and gives six bytes at
// most, so three bytes a unit hold for UTF-16 too.
constexpr uint64_t utf8_per_latin1_byte = 2;
constexpr uint64_t utf8_per_16bit_unit = 3;

struct Utf8Form {
    uint32_t last;  // highest code point of this form
    uint32_t continuation_bytes;
    uint8_t lead;
    uint8_t lead_mask;
};
// QUIRK five_bytes_from_20000_six_from_40000: the long forms begin at these values and not at
// 0x200000 and 0x4000000. The bytes are part of the interface: hosts that show or store
// supplementary characters from U+20000 upward get them in these forms.
constexpr std::array<Utf8Form, 6> utf8_forms{{{0x7F, 0, 0x00, 0x7F},
                                              {0x7FF, 1, 0xC0, 0x1F},
                                              {0xFFFF, 2, 0xE0, 0x0F},
                                              {0x1FFFF, 3, 0xF0, 0x07},
                                              {0x3FFFF, 4, 0xF8, 0x03},
                                              {UINT32_MAX, 5, 0xFC, 0x01}}};

uint8_t* put_code_point(uint8_t* out, uint32_t c) {
    const Utf8Form* form = utf8_forms.data();
    while (c > form->last)
        ++form;
    uint32_t shift = 6 * form->continuation_bytes;
    *out++ = static_cast<uint8_t>(form->lead | ((c >> shift) & form->lead_mask));
    while (shift != 0) {
        shift -= 6;
        *out++ = static_cast<uint8_t>(0x80 | ((c >> shift) & 0x3F));
    }
    return out;
}

// The 16-bit unit at `at` in `size` bytes; a missing second byte counts as zero.
uint32_t unit_at(const uint8_t* in, size_t size, size_t at, ByteOrder order) {
    const uint32_t first = in[at];
    const uint32_t second = at + 1 < size ? in[at + 1] : 0;
    return order == ByteOrder::big ? first << 8 | second : second << 8 | first;
}

constexpr bool is_surrogate(uint32_t unit) {
    return unit >= 0xD800 && unit <= 0xDFFF;
}
constexpr bool is_high_surrogate(uint32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool is_low_surrogate(uint32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

size_t ucs2_bytes_to_utf8(const uint8_t* in, size_t size, ByteOrder order, uint8_t* out) {
    uint8_t* end = out;
    for (size_t at = 0; at < size; at += 2) {
        const uint32_t c = unit_at(in, size, at, order);
        uint8_t* lead = end;
        end = put_code_point(end, c);
        // QUIRK big_endian_cyrillic_lead_byte_is_low: from U+0400 to U+07FF (Cyrillic, Hebrew,
        // Arabic) bit 4 of the lead byte is dropped, in both byte orders. These bytes are what
        // the two converters promise; UCS2toUTF8 is the one to call for true UTF-8.
        if (end - lead == 2) *lead &= 0xEF;
    }
    *end = 0;
    return static_cast<size_t>(end - out);
}

// Walks UTF-16 code point by code point. The byte order follows the marks, which are not part of
// the text; a surrogate without its partner is U+FFFD, and a single byte left over is dropped.
class Utf16Reader {
  public:
    Utf16Reader(const uint8_t* in, size_t size)
        : in_(in),
          size_(size),
          order_(size >= 2 && in[0] == 0xFF && in[1] == 0xFE ? ByteOrder::little : ByteOrder::big) {
    }

    bool next(uint32_t* code_point) {
        while (unit_left()) {
            const uint32_t unit = take();
            if (unit == byte_order_mark) continue;
            if (unit == swapped_mark) {
                order_ = order_ == ByteOrder::big ? ByteOrder::little : ByteOrder::big;
                continue;
            }
            *code_point = is_surrogate(unit) ? paired(unit) : unit;
            return true;
        }
        return false;
    }

  private:
    bool unit_left() const { return size_ - at_ >= 2; }
    uint32_t peek() const { return unit_at(in_, size_, at_, order_); }
    uint32_t take() {
        const uint32_t unit = peek();
        at_ += 2;
        return unit;
    }
    uint32_t paired(uint32_t high) {
        if (!is_high_surrogate(high) || !unit_left() || !is_low_surrogate(peek()))
            return replacement;
        return 0x10000 + ((high - 0xD800) << 10) + (take() - 0xDC00);
    }

    const uint8_t* in_;
    size_t size_;
    size_t at_ = 0;
    ByteOrder order_;
};

constexpr size_t counted(int32_t count) {
    return count > 0 ? static_cast<size_t>(count) : 0;
}

// The byte forms read whole units: the byte after an odd count belongs to the last one.
int32_t whole_units_to_utf8(const uint8_t* in, int32_t count, ByteOrder order, uint8_t* out) {
    if (in == nullptr || out == nullptr) return 0;
    const size_t size = counted(count);
    return static_cast<int32_t>(ucs2_bytes_to_utf8(in, size + size % 2, order, out));
}

template <typename Unit>
int32_t units_to_utf8(const Unit* in, int32_t count, uint8_t* out) {
    if (in == nullptr || out == nullptr) return 0;
    uint8_t* end = out;
    for (size_t i = 0; i < counted(count); ++i)
        end = put_code_point(end, in[i]);
    *end = 0;
    return static_cast<int32_t>(end - out);
}

// Zeroed room for `units` times `longest` bytes and a terminator.
OwnedBytes utf8_room(uint64_t units, uint64_t longest) {
    return OwnedBytes(static_cast<uint8_t*>(allocate(units * longest + 1)));
}

OwnedBytes copy_of(const uint8_t* in, size_t size) {
    return OwnedBytes(reinterpret_cast<uint8_t*>(copy_text(in, size)));
}

OwnedBytes from_latin1(const uint8_t* in, size_t size) {
    OwnedBytes text = utf8_room(size, utf8_per_latin1_byte);
    uint8_t* end = text.get();
    for (size_t i = 0; text && i < size; ++i)
        end = put_code_point(end, in[i]);
    return text;
}

OwnedBytes from_ucs2(const uint8_t* in, size_t size) {
    if (size < 2) return OwnedBytes();
    const uint32_t mark = unit_at(in, size, 0, ByteOrder::big);
    if (mark != byte_order_mark && mark != swapped_mark) return OwnedBytes();
    const ByteOrder order = mark == byte_order_mark ? ByteOrder::big : ByteOrder::little;
    OwnedBytes text = utf8_room((size - 1) / 2, utf8_per_16bit_unit);
    if (text) ucs2_bytes_to_utf8(in + 2, size - 2, order, text.get());
    return text;
}

OwnedBytes from_utf16(const uint8_t* in, size_t size) {
    OwnedBytes text = utf8_room(size / 2, utf8_per_16bit_unit);
    if (!text) return text;
    Utf16Reader reader(in, size);
    uint8_t* end = text.get();
    for (uint32_t c = 0; reader.next(&c);)
        end = put_code_point(end, c);
    return text;
}

using Decoder = OwnedBytes (*)(const uint8_t* in, size_t size);
struct CharsetDecoder {
    MibEnum charset;
    Decoder decode;
};
constexpr std::array<CharsetDecoder, 5> charset_decoders{{{MibEnum::utf8, copy_of},
                                                          {MibEnum::us_ascii, copy_of},
                                                          {MibEnum::latin1, from_latin1},
                                                          {MibEnum::ucs2, from_ucs2},
                                                          {MibEnum::utf16, from_utf16}}};

// QUIRK unknown_charset_passes_through: a text in a character set that is not listed is shown as
// it came rather than lost.
Decoder decoder_of(int32_t charset) {
    for (const CharsetDecoder& entry : charset_decoders) {
        if (static_cast<int32_t>(entry.charset) == charset) return entry.decode;
    }
    return copy_of;
}

}  // namespace
}  // namespace mmskit

extern "C" {

int32_t BigEndianUCS2toUTF8(const uint8_t* in, int32_t count, uint8_t* out) {
    return mmskit::whole_units_to_utf8(in, count, mmskit::ByteOrder::big, out);
}

int32_t LitEndianUCS2toUTF8(const uint8_t* in, int32_t count, uint8_t* out) {
    return mmskit::whole_units_to_utf8(in, count, mmskit::ByteOrder::little, out);
}

int32_t UCS2toUTF8(const uint16_t* in, int32_t count, uint8_t* out) {
    return mmskit::units_to_utf8(in, count, out);
}

int32_t UTF8toUCS2(const uint8_t* in, int32_t count, uint16_t* out) {
    if (in == nullptr || out == nullptr) return 0;
    const size_t size = mmskit::counted(count);
    uint16_t* end = out;
    for (size_t at = 0; at < size;) {
        const uint32_t lead = in[at];
        // QUIRK utf8_lead_alone_decides: continuation bytes are not checked, one in the place of a
        // lead begins a pair, and the four-byte leads are read as three-byte ones. Every input
        // converts; none is an error.
        const size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : 3;
        if (size - at < length) {
            ++at;
            continue;
        }
        uint32_t c = lead;
        if (length == 2) c = (lead & 0x1F) << 6 | (in[at + 1] & 0x3FU);
        if (length == 3) c = (lead & 0x0F) << 12 | (in[at + 1] & 0x3FU) << 6 | (in[at + 2] & 0x3FU);
        *end++ = static_cast<uint16_t>(c);
        at += length;
    }
    *end = 0;
    return static_cast<int32_t>(end - out);
}

int32_t UTF16toUCS4(const uint8_t* in, int32_t count, uint32_t* out) {
    if (in == nullptr || out == nullptr) return 0;
    mmskit::Utf16Reader reader(in, mmskit::counted(count));
    uint32_t* end = out;
    while (reader.next(end))
        ++end;
    *end = 0;
    return static_cast<int32_t>(end - out);
}

int32_t UCS4toUTF8(const uint32_t* in, int32_t count, uint8_t* out) {
    return mmskit::units_to_utf8(in, count, out);
}

char* fnCharSet_DecodeString2Local(int32_t charset, const uint8_t* in, uint32_t* len) {
    if (in == nullptr || len == nullptr || *len == 0) return nullptr;
    mmskit::OwnedBytes text = mmskit::decoder_of(charset)(in, *len);
    if (!text) return nullptr;
    auto* result = reinterpret_cast<char*>(text.release());
    *len = static_cast<uint32_t>(std::strlen(result));
    return result;
}

void fnCharSet_CharSetFreeStringBuf(char* s) {
    fnSC_Free(&s);
}

}  // extern "C"
