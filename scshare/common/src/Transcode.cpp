// Character sets: UCS-2, UTF-16, code points and Latin-1 to UTF-8 (and UTF-8 to UCS-2), chosen by
// IANA MIBenum number. Text comes as it was received: nothing is reported as an error, nothing is
// read past the given length, and each result is sized by the longest output that its input could
// have.
#include <mmskit/runtime.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

#include "scshare/common/src/eight_bytes.h"
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

uint8_t* put_long_form(uint8_t* out, uint32_t c) {
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

void put_pair(uint8_t* out, uint32_t first_and_second) {
    const auto pair = static_cast<uint16_t>(first_and_second);
    std::memcpy(out, &pair, sizeof pair);
}

// For 0x800 to 0xFFFF. The first two bytes are one store.
inline uint8_t* put_three(uint8_t* out, uint32_t c) {
    if constexpr (std::endian::native == std::endian::little)
        put_pair(out, 0x80E0 | c >> 12 | (c << 2 & 0x3F00));
    else
        put_pair(out, 0xE080 | (c >> 4 & 0xF00) | (c >> 6 & 0x3F));
    out[2] = static_cast<uint8_t>(0x80 | (c & 0x3F));
    return out + 3;
}

// For 0x80 to 0x7FF.
inline uint8_t* put_two(uint8_t* out, uint32_t c) {
    out[0] = static_cast<uint8_t>(0xC0 | c >> 6);
    out[1] = static_cast<uint8_t>(0x80 | (c & 0x3F));
    return out + 2;
}

inline uint8_t* put_code_point(uint8_t* out, uint32_t c) {
    if (c - 0x800 <= 0xFFFF - 0x800) return put_three(out, c);
    if (c > 0xFFFF) return put_long_form(out, c);
    if (c >= 0x80) return put_two(out, c);
    *out = static_cast<uint8_t>(c);
    return out + 1;
}

// ---- Runs of ASCII, eight bytes at a time ------------------------------------------------------

// Bits that no ASCII character has, in bytes and in 16-bit units of either order.
constexpr uint64_t beyond_ascii = in_each_byte * 0x80;
constexpr uint64_t beyond_ascii_units(ByteOrder order) {
    return order == ByteOrder::big ? 0x80FF80FF80FF80FF : 0xFF80FF80FF80FF80;
}

// The low bytes of four units.
constexpr uint32_t packed_units(uint64_t word, ByteOrder order) {
    word = word >> (order == ByteOrder::big ? 8 : 0) & 0x00FF00FF00FF00FF;
    word = (word | word >> 8) & 0x0000FFFF0000FFFF;
    return static_cast<uint32_t>(word | word >> 16);
}

inline uint32_t whole_unit(const uint8_t* in, ByteOrder order) {
    uint16_t unit = 0;
    std::memcpy(&unit, in, sizeof unit);
    const bool native =
        (order == ByteOrder::little) == (std::endian::native == std::endian::little);
    return native ? unit : static_cast<uint16_t>(unit << 8 | unit >> 8);
}

// Copies the ASCII characters at the front of `in` as bytes, four at a time while they stand
// together.
[[gnu::always_inline]] inline void copy_ascii_units(const uint8_t*& in, const uint8_t* stop,
                                                    ByteOrder order, uint8_t*& out) {
    const size_t fours = static_cast<size_t>(stop - in) / 2 & ~size_t{3};
    size_t run = 0;
    for (; run != fours; run += 4) {
        const uint64_t word = eight_bytes(in + 2 * run);
        // All four are stored, and what is no ASCII is written over: four units of UCS-2 give four
        // bytes at least, and those of UTF-16 have room for three each.
        uint32_t four = packed_units(word, order);
        if constexpr (std::endian::native == std::endian::big) four = __builtin_bswap32(four);
        std::memcpy(out + run, &four, sizeof four);
        const uint64_t beyond = word & beyond_ascii_units(order);
        if (beyond != 0) {
            run += static_cast<uint32_t>(__builtin_ctzll(beyond)) / 16;
            in += 2 * run;
            out += run;
            return;
        }
    }
    in += 2 * run;
    out += run;
    for (; in != stop; in += 2) {
        const uint32_t c = whole_unit(in, order);
        if (c >= 0x80) return;
        *out++ = static_cast<uint8_t>(c);
    }
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

uint8_t* ucs2_units_to_utf8(const uint8_t* in, const uint8_t* stop, ByteOrder order, uint8_t* out) {
    while (in != stop) {
        const uint32_t c = whole_unit(in, order);
        if (c < 0x80) {
            copy_ascii_units(in, stop, order, out);
            continue;
        }
        uint8_t* const lead = out;
        out = put_code_point(out, c);
        // QUIRK big_endian_cyrillic_lead_byte_is_low: from U+0400 to U+07FF (Cyrillic, Hebrew,
        // Arabic) bit 4 of the lead byte is dropped, in both byte orders. These bytes are what
        // the two converters promise; UCS2toUTF8 is the one to call for true UTF-8.
        if (out - lead == 2) *lead &= 0xEF;
        in += 2;
    }
    return out;
}

size_t ucs2_bytes_to_utf8(const uint8_t* in, size_t size, ByteOrder order, uint8_t* out) {
    const uint8_t* const stop = in + size / 2 * 2;
    uint8_t* end = ucs2_units_to_utf8(in, stop, order, out);
    if (size % 2 != 0) {
        uint8_t* const lead = end;
        end = put_code_point(end, unit_at(in, size, size - 1, order));
        if (end - lead == 2) *lead &= 0xEF;
    }
    *end = 0;
    return static_cast<size_t>(end - out);
}

uint32_t* put_code_point(uint32_t* out, uint32_t c) {
    *out = c;
    return out + 1;
}
uint32_t* put_two(uint32_t* out, uint32_t c) {
    return put_code_point(out, c);
}
uint32_t* put_three(uint32_t* out, uint32_t c) {
    return put_code_point(out, c);
}

// The code point of a surrogate and what stands behind it; `in` moves past its partner.
template <ByteOrder order>
uint32_t paired(uint32_t high, const uint8_t*& in, const uint8_t* stop) {
    if (!is_high_surrogate(high) || in == stop) return replacement;
    const uint32_t low = whole_unit(in, order);
    if (!is_low_surrogate(low)) return replacement;
    in += 2;
    return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

template <typename Out>
struct Utf16Progress {
    const uint8_t* in;
    Out* out;
};

// Reads in one byte order, to the end or past a mark of the other one; `Out` is a byte of UTF-8 or
// a code point.
template <ByteOrder order, typename Out>
Utf16Progress<Out> read_utf16(const uint8_t* in, const uint8_t* stop, Out* out) {
    while (in != stop) {
        uint32_t unit = whole_unit(in, order);
        if (unit < 0x80) {
            if constexpr (sizeof(Out) == 1) {
                copy_ascii_units(in, stop, order, out);
                if (in == stop) break;
                unit = whole_unit(in, order);
            } else {
                *out++ = unit;
                in += 2;
                continue;
            }
        }
        in += 2;
        if (unit - 0x800 < 0xD800 - 0x800) {
            out = put_three(out, unit);
            continue;
        }
        if (unit < 0x800) {
            out = put_two(out, unit);
            continue;
        }
        if (unit == swapped_mark) break;
        if (is_surrogate(unit))
            out = put_code_point(out, paired<order>(unit, in, stop));
        else if (unit != byte_order_mark)
            out = put_three(out, unit);
    }
    return {in, out};
}

// The byte order follows the marks, which are not part of the text; a surrogate without its partner
// is U+FFFD, and a single byte left over is dropped. Returns the end of what was written.
template <typename Out>
Out* convert_utf16(const uint8_t* in, size_t size, Out* out) {
    bool little = size >= 2 && in[0] == 0xFF && in[1] == 0xFE;
    const uint8_t* const stop = in + size / 2 * 2;
    while (in != stop) {
        const Utf16Progress<Out> done = little ? read_utf16<ByteOrder::little>(in, stop, out)
                                               : read_utf16<ByteOrder::big>(in, stop, out);
        in = done.in;
        out = done.out;
        little = !little;
    }
    return out;
}

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
    const Unit* const stop = in + counted(count);
    while (in != stop) {
        const uint32_t c = *in++;
        if (c < 0x80)
            *end++ = static_cast<uint8_t>(c);
        else
            end = put_code_point(end, c);
    }
    *end = 0;
    return static_cast<int32_t>(end - out);
}

// Room for `units` times `longest` bytes and a terminator, to be written whole up to that.
OwnedBytes utf8_room(uint64_t units, uint64_t longest) {
    return OwnedBytes(static_cast<uint8_t*>(allocate_unfilled(units * longest + 1)));
}

OwnedBytes copy_of(const uint8_t* in, size_t size) {
    return OwnedBytes(reinterpret_cast<uint8_t*>(copy_text(in, size)));
}

// Both bytes of a character's UTF-8 in memory order; of ASCII the second one is written over by the
// next character.
struct Latin1Forms {
    uint8_t bytes[256][2];
};
constexpr Latin1Forms latin1_forms = [] {
    Latin1Forms forms{};
    for (unsigned c = 0; c < 256; ++c) {
        forms.bytes[c][0] = static_cast<uint8_t>(c < 0x80 ? c : 0xC0 | c >> 6);
        forms.bytes[c][1] = static_cast<uint8_t>(c < 0x80 ? 0 : 0x80 | (c & 0x3F));
    }
    return forms;
}();

uint8_t* put_latin1(uint8_t* out, uint8_t c) {
    std::memcpy(out, latin1_forms.bytes[c], 2);
    return out + 1 + (c >> 7);
}

// The room has a byte behind the longest text, which the last character's second byte may touch.
OwnedBytes from_latin1(const uint8_t* in, size_t size) {
    OwnedBytes text = utf8_room(size, utf8_per_latin1_byte);
    if (!text) return text;
    uint8_t* end = text.get();
    const uint8_t* const stop = in + size;
    for (; stop - in >= 8; in += 8) {
        if ((eight_bytes(in) & beyond_ascii) == 0) {
            std::memcpy(end, in, 8);
            end += 8;
            continue;
        }
        end = put_latin1(put_latin1(put_latin1(put_latin1(end, in[0]), in[1]), in[2]), in[3]);
        end = put_latin1(put_latin1(put_latin1(put_latin1(end, in[4]), in[5]), in[6]), in[7]);
    }
    for (; in != stop; ++in)
        end = put_latin1(end, *in);
    *end = 0;
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
    if (text) *convert_utf16(in, size, text.get()) = 0;
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

void put_8_units(const uint8_t* in, uint16_t* out) {
    using Bytes [[gnu::vector_size(8)]] = uint8_t;
    using Units [[gnu::vector_size(16)]] = uint16_t;
    Bytes bytes;
    std::memcpy(&bytes, in, sizeof bytes);
    const Units units = __builtin_convertvector(bytes, Units);
    std::memcpy(out, &units, sizeof units);
}

// The character whose lead is no ASCII, with its bytes behind it.
[[gnu::always_inline]] inline uint16_t take_unit(const uint8_t*& in) {
    // QUIRK utf8_lead_alone_decides: continuation bytes are not checked, one in the place of a lead
    // begins a pair, and the four-byte leads are read as three-byte ones. Every input converts;
    // none is an error.
    const uint32_t lead = in[0];
    uint32_t unit = lead << 6 | (in[1] & 0x3FU);
    in += 2;
    if (lead < 0xE0)
        unit &= 0x7FF;
    else  // the lead's upper bits leave the unit
        unit = unit << 6 | (*in++ & 0x3FU);
    return static_cast<uint16_t>(unit);
}

uint16_t* read_utf8(const uint8_t* in, const uint8_t* stop, uint16_t* out) {
    // Before this eight units may be written for a shorter run: as many follow, since a unit takes
    // three bytes at most.
    const uint8_t* const far = stop - in > 32 ? stop - 32 : in;
    while (in < far) {
        const uint64_t beyond = eight_bytes(in) & beyond_ascii;
        put_8_units(in, out);
        if (beyond == 0) {
            in += 8;
            out += 8;
            continue;
        }
        const size_t run = count_before(beyond);
        in += run;
        out += run;
        do {
            *out++ = take_unit(in);
        } while (in < far && *in >= 0x80);
    }
    while (in != stop) {
        if (*in < 0x80)
            *out++ = *in++;
        else if (stop - in >= (*in < 0xE0 ? 2 : 3))
            *out++ = take_unit(in);
        else  // cut off
            ++in;
    }
    return out;
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
    uint16_t* const end = mmskit::read_utf8(in, in + mmskit::counted(count), out);
    *end = 0;
    return static_cast<int32_t>(end - out);
}

int32_t UTF16toUCS4(const uint8_t* in, int32_t count, uint32_t* out) {
    if (in == nullptr || out == nullptr) return 0;
    uint32_t* const end = mmskit::convert_utf16(in, mmskit::counted(count), out);
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
    mmskit::deallocate(s);
}

}  // extern "C"
