// The named WSP routines of wsp.h: cursor in, cursor out. Each is a face over the value of the
// same meaning in wsp_values.h; what is here is only the cursor, the 16-bit lengths and the
// signed arguments of this interface. A cursor carries no end, so decoders from outside bytes
// never come this way.
#include <cstring>

#include "Protocol/src/wsp_values.h"

namespace mmskit {

namespace {

void write_at(uint8_t** cursor, const char* text, void (*write)(PduWriter& out, const char* text)) {
    PduWriter out = PduWriter::onto(*cursor);
    write(out, text);
    *cursor += out.size();
}

int32_t write_number(uint8_t* out, uint32_t value, void (*write)(PduWriter& out, uint32_t value)) {
    PduWriter writer = PduWriter::onto(out);
    write(writer, value);
    return static_cast<int32_t>(writer.size());
}

uint32_t read_number_at(const uint8_t** cursor, uint32_t (*read)(BoundedReader& in)) {
    BoundedReader in = BoundedReader::unbounded(*cursor);
    const uint32_t value = read(in);
    *cursor = in.here();
    return value;
}

// The lengths of this interface are 16-bit and wrap for a text of 64 KB or more.
void report(uint16_t* length, uint64_t bytes) {
    if (length != nullptr) *length = static_cast<uint16_t>(bytes);
}

// A new text, and what it took less `uncounted` as the length; null, with cursor and length as they
// were, when it cannot be read.
char* read_text_at(const uint8_t** cursor, uint16_t* length, Slice (*read)(BoundedReader& in),
                   uint64_t uncounted) {
    BoundedReader in = BoundedReader::unbounded(*cursor);
    char* text = nullptr;
    if (!put_text(text, read(in))) return nullptr;
    report(length, in.position() - uncounted);
    *cursor = in.here();
    return text;
}

constexpr uint64_t its_nul = 1;

OwnedContentType content_type_at(const uint8_t* field, uint32_t* length) {
    BoundedReader in = BoundedReader::unbounded(field);
    OwnedContentType type = read_content_type(in);
    if (type && length != nullptr)
        *length = in.position() > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(in.position());
    return type;
}

}  // namespace

}  // namespace mmskit

using mmskit::BoundedReader;
using mmskit::PduWriter;

// ---- Integers -----------------------------------------------------------------------------

int32_t CompactUintvar(uint8_t* out, int32_t value) {
    // QUIRK negative_uintvar_is_one_octet: the value is signed here and has no groups above the
    // last when it is negative.
    const auto unsigned_value = static_cast<uint32_t>(value);
    return mmskit::write_number(out, value < 0 ? unsigned_value & 0x7F : unsigned_value,
                                mmskit::write_uintvar);
}

int32_t EncodeValueLength(uint8_t* out, int32_t value) {
    if (value > mmskit::wsp::longest_short_length)
        return mmskit::write_number(out, static_cast<uint32_t>(value), mmskit::write_value_length);
    *out = static_cast<uint8_t>(value);
    return 1;
}

uint32_t OctetsToUintvar(const uint8_t** cursor) {
    return mmskit::read_number_at(cursor, mmskit::read_uintvar);
}

uint32_t GetLengthValue(const uint8_t** cursor) {
    return mmskit::read_number_at(cursor, mmskit::read_value_length);
}

void LongInt2Octets(uint8_t** cursor, int32_t value) {
    for (int32_t i = GetLongIntLength(value) - 1; i >= 0; i--)
        *(*cursor)++ = static_cast<uint8_t>(value >> (8 * i));
}

uint32_t OctetsToLongInt(const uint8_t* p) {
    return mmskit::long_integer_at(BoundedReader::unbounded(p));
}

// ---- Texts --------------------------------------------------------------------------------

void EncodeString(uint8_t** cursor, const char* text) {
    mmskit::write_at(cursor, text, [](PduWriter& out, const char* it) { out.text(it); });
}

void EncodeTIDString(uint8_t** cursor, const char* text) {
    EncodeString(cursor, text);
}

void EncodeTextString(uint8_t** cursor, const char* text) {
    mmskit::write_at(cursor, text, mmskit::write_quoted_text);
}

char* DecodeString(const uint8_t** cursor, uint16_t* length) {
    return mmskit::read_text_at(cursor, length, mmskit::plain_text, mmskit::its_nul);
}

char* MyDecodeTextString(const uint8_t** cursor, uint16_t* length) {
    // QUIRK reported_length_counts_the_quote: callers take it, the NUL and the parameter's own
    // byte off a remaining count.
    return mmskit::read_text_at(cursor, length, mmskit::quoted_text, mmskit::its_nul);
}

void EncodeEncodedString(uint8_t** cursor, const char* text) {
    mmskit::write_at(cursor, text, mmskit::write_encoded_string);
}

char* DecodeEncodedString(const uint8_t** cursor, uint16_t* length) {
    BoundedReader in = BoundedReader::unbounded(*cursor);
    char* text = nullptr;
    (void)mmskit::read_encoded_string(in, text);  // there is none when memory is out
    mmskit::report(length, in.position() - 1);
    *cursor = in.here();
    return text;
}

// ---- Addresses ----------------------------------------------------------------------------

int32_t EncodeAddressString(uint8_t** cursor, const char* address) {
    PduWriter out = PduWriter::onto(*cursor);
    const bool suffix = mmskit::write_address(out, address);
    *cursor += out.size();
    return suffix ? 1 : 0;
}

char* DecodeAddressString(const uint8_t** cursor, uint16_t* length) {
    return mmskit::read_text_at(cursor, length, mmskit::address_text, 0);
}

void EncodeMultiRcver(uint8_t** cursor, const char* list, uint8_t code) {
    PduWriter out = PduWriter::onto(*cursor);
    mmskit::write_receivers(out, list, code);
    *cursor += out.size();
}

// ---- Content types ------------------------------------------------------------------------

tMMS_ContentType* GetContentType(const uint8_t** cursor, uint32_t* length) {
    const bool general = **cursor <= mmskit::wsp::length_quote;
    uint32_t size = 0;
    tMMS_ContentType* type = mmskit::content_type_at(*cursor, &size).release();
    if (type == nullptr) return nullptr;
    // The general form leaves the cursor to its caller, who sets it behind the whole field.
    if (!general) *cursor += size;
    if (length != nullptr) *length = size;
    return type;
}

tMMS_ContentType* ParseContentTypeWithParam(const uint8_t* field, uint32_t* length) {
    return mmskit::content_type_at(field, length).release();
}
