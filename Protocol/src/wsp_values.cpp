// WSP primitive values (WAP-230 8.4.1 and 8.4.2): integers, lengths, texts, encoded strings and
// addresses, read and written in the form that the MMS encapsulation uses. All reading goes
// through BoundedReader and all writing through PduWriter, so nothing here knows about memory
// beyond the copies it makes. A write that fails is remembered by the writer.
#include "Protocol/src/wsp_values.h"

#include <cstring>

namespace mmskit {

namespace {

constexpr char phone_suffix[] = "/TYPE=PLMN";
constexpr int receiver_limit = 60;  // characters of one entry of a receiver list, spaces included

Slice without_quote(Slice s) {
    if (s.size != 0 && *s.data == wsp::text_quote) return {s.data + 1, s.size - 1};
    return s;
}

bool needs_quote(const char* text) {
    return static_cast<uint8_t>(*text) >= 0x80;
}

// Text in the library is UTF-8, but the conversion alone decides what an unusual text becomes.
bool put_converted(char*& field, Slice s) {
    if (s.size > UINT32_MAX) return false;  // unreachable: a text of four gigabytes
    auto length = static_cast<uint32_t>(s.size);
    char* text = fnCharSet_DecodeString2Local(static_cast<int32_t>(wsp::utf_8), s.data, &length);
    if (text == nullptr && s.size != 0) return false;
    replace_owned(field, text);
    return true;
}

}  // namespace

// ---- Reading ------------------------------------------------------------------------------

uint32_t read_uintvar(BoundedReader& in) {
    uint32_t value = 0;
    uint8_t octet = 0;
    do {
        octet = in.byte();
        value = (value << 7) | (octet & 0x7FU);
    } while (octet >= 0x80);
    return value;
}

uint32_t read_value_length(BoundedReader& in) {
    const uint8_t first = in.peek();
    if (first > wsp::length_quote) return 0;
    in.skip(1);
    return first < wsp::length_quote ? first : read_uintvar(in);
}

uint32_t long_integer_at(BoundedReader in) {
    // QUIRK long_integer_count_is_signed_16_bit: only the low 16 bits of a quoted count are
    // looked at, and a negative one is none. Callers advance by the length octet, never by this.
    const int count = static_cast<int16_t>(read_value_length(in));
    if (count <= 0) return 0;
    // Older octets are shifted out of the 32 bits anyway.
    constexpr int kept = 4;
    if (count > kept) in.skip(static_cast<uint64_t>(count - kept));
    uint32_t value = 0;
    for (int i = 0; i < (count < kept ? count : kept); i++)
        value = (value << 8) | in.byte();
    return value;
}

bool put_text(char*& field, Slice text) {
    char* copy = copy_text(text.data, text.size);
    if (copy == nullptr) return false;
    replace_owned(field, copy);
    return true;
}

bool read_encoded_string(BoundedReader& in, char*& field) {
    // QUIRK encoded_string_ends_at_first_nul: the value-length does not delimit the field, so a
    // length that a sender got wrong (or that overflowed its octet) does no harm.
    const Slice raw = in.text();
    const uint8_t first = raw.size != 0 ? *raw.data : uint8_t{0};
    if (first > wsp::length_quote) return put_text(field, without_quote(raw));

    BoundedReader value(raw);
    read_value_length(value);
    const uint8_t charset = value.byte();
    const Slice text = without_quote(value.take(value.remaining()));
    if (charset == (wsp::short_integer | wsp::us_ascii)) return put_text(field, text);
    if (charset == (wsp::short_integer | wsp::utf_8)) return put_converted(field, text);
    replace_owned(field, static_cast<char*>(nullptr));
    return true;
}

Slice plain_text(BoundedReader& in) {
    return in.text();
}

Slice quoted_text(BoundedReader& in) {
    return without_quote(in.text());
}

Slice address_text(BoundedReader& in) {
    Slice address = quoted_text(in);
    if (address.size != 0 && std::memchr(address.data, '@', address.size) == nullptr) {
        const void* slash = std::memchr(address.data, '/', address.size);
        if (slash != nullptr)
            address.size = static_cast<size_t>(static_cast<const uint8_t*>(slash) - address.data);
    }
    return address;
}

// ---- Writing ------------------------------------------------------------------------------

void write_uintvar(PduWriter& out, uint32_t value) {
    for (int shift = 28; shift > 0; shift -= 7)
        if ((value >> shift) != 0) out.byte(static_cast<uint8_t>(0x80 | ((value >> shift) & 0x7F)));
    out.byte(static_cast<uint8_t>(value & 0x7F));
}

void write_value_length(PduWriter& out, uint32_t length) {
    if (length <= wsp::longest_short_length) {
        out.byte(static_cast<uint8_t>(length));
        return;
    }
    out.byte(wsp::length_quote);
    write_uintvar(out, length);
}

uint8_t long_integer_octets(uint32_t value) {
    uint8_t count = 0;
    for (; value != 0; value >>= 8)
        count++;
    return count;
}

void write_long_integer(PduWriter& out, uint32_t value) {
    const uint8_t count = long_integer_octets(value);
    out.byte(count);
    for (int i = count - 1; i >= 0; i--)
        out.byte(static_cast<uint8_t>(value >> (8 * i)));
}

void write_quoted_text(PduWriter& out, const char* text) {
    if (text != nullptr && needs_quote(text)) out.byte(wsp::text_quote);
    out.text(text);
}

void write_encoded_string(PduWriter& out, const char* text) {
    if (text == nullptr) {
        out.byte(0);
        return;
    }
    const size_t length = std::strlen(text) + (needs_quote(text) ? 3 : 2);
    if (length > wsp::longest_short_length) out.byte(wsp::length_quote);
    // QUIRK encoded_string_length_is_one_octet: a length above 30 is its low 8 bits and not a
    // uintvar. Up to 127 the two agree; receivers end a longer value at its NUL.
    out.byte(static_cast<uint8_t>(length));
    out.byte(wsp::short_integer | wsp::utf_8);
    write_quoted_text(out, text);
}

bool write_address(PduWriter& out, const char* address) {
    const char* text = address != nullptr ? address : "";
    if (needs_quote(text)) out.byte(wsp::text_quote);
    out.bytes(text, std::strlen(text));
    // QUIRK address_without_at_is_a_phone_number: nothing looks for a type that is there
    // already; e-mail addresses go out bare and everything else gets the suffix.
    const bool phone = std::strchr(text, '@') == nullptr;
    out.text(phone ? phone_suffix : "");
    return phone;
}

void write_receivers(PduWriter& out, const char* list, uint8_t code) {
    if (list == nullptr) return;
    // QUIRK empty_receiver_ends_the_list: whatever follows ";;" is dropped, and so is what
    // follows an entry whose characters, blanks counted, are a multiple of 60: its ";" is left for
    // an empty entry.
    for (;;) {
        char entry[receiver_limit + 1] = {};
        if (GetOneReceiverValue(&list, entry) == 0) return;
        out.byte(code);
        write_address(out, entry);
    }
}

void write_media_type(PduWriter& out, const char* type) {
    const int32_t code = EncodeContentType(type);
    if (code < wsp::short_integer)
        out.byte(static_cast<uint8_t>(wsp::short_integer | code));
    else
        out.text(type);
}

}  // namespace mmskit

int32_t GetLongIntLength(int32_t value) {
    int32_t count = 0;
    for (; value > 0; value >>= 8)
        count++;
    return count;
}

int32_t GetOneReceiverValue(const char** list, char* out) {
    int32_t found = 0;
    for (int taken = 0; taken < mmskit::receiver_limit; taken++) {
        const char c = **list;
        if (c == '\0' || c == ';') {
            if (c == ';') ++*list;
            *out = '\0';
            return found;
        }
        ++*list;
        if (c == ' ') continue;
        *out++ = c;
        found = 1;
    }
    // QUIRK receiver_cut_at_60_is_not_terminated: the caller's buffer of 60 holds no NUL.
    return found;
}
