// WSP values (WAP-230 8.4) over the bounded reader and the writer: what the PDU layer is made of.
// The named cursor routines of wsp.h are thin faces over these.
#pragma once

#include <mmskit/wsp.h>

#include <cstdint>

#include "Protocol/src/pdu_writer.h"
#include "scshare/common/src/bounded_reader.h"
#include "scshare/common/src/owned.h"

#pragma GCC visibility push(hidden)

namespace mmskit {

// Octets that mark a form of value (WAP-230 8.4.2.1).
namespace wsp {
inline constexpr uint8_t longest_short_length = 30;  // a length in a single octet
inline constexpr uint8_t length_quote = 31;          // a uintvar length follows
inline constexpr uint8_t text_quote = 0x7F;          // before a text whose first byte is >= 0x80
inline constexpr uint8_t short_integer = 0x80;       // or'ed with a value of 0 to 127
inline constexpr uint32_t us_ascii = 3;              // character sets: IANA MIBenum
inline constexpr uint32_t utf_8 = 106;
}  // namespace wsp

// ---- Reading ------------------------------------------------------------------------------

uint32_t read_uintvar(BoundedReader& in);
// 0 to 30 or length-quote and uintvar; a first octet above 31 gives 0 and is not consumed.
uint32_t read_value_length(BoundedReader& in);
// The long integer whose length octet stands at the cursor, which does not move.
uint32_t long_integer_at(BoundedReader in);

// Texts in place: as it stands, without a leading quote (0x7F), and an address without its type.
Slice plain_text(BoundedReader& in);
Slice quoted_text(BoundedReader& in);
Slice address_text(BoundedReader& in);

// Puts a copy of `text` in place of an owned text. False, and nothing done, when memory is out.
[[nodiscard]] bool put_text(char*& field, Slice text);
// The same of a text with a character set (WAP-230 8.4.2.1), null for one that is not read. The
// cursor moves past the value in any case.
[[nodiscard]] bool read_encoded_string(BoundedReader& in, char*& field);

// A Content-type field taken apart in place: what is not there has no data.
struct ContentType {
    const char* known = nullptr;  // the text of a well-known number
    Slice text;                   // or the type as it stands
    Slice name;
    Slice fwd_bytes;
    uint32_t charset = 0;
    bool has_charset = false;
    bool has_fwd = false;
    bool fwd = false;

    bool is(const char* wanted) const;
    // Copies into empty fields, which stay so for what is not there. False when memory is out.
    [[nodiscard]] bool copy_type(char*& to) const;
    [[nodiscard]] bool copy_name(char*& to) const;
    [[nodiscard]] bool copy_fwd(uint8_t*& to) const;
};

// A whole Content-type field; the cursor ends after its total length. The general form's values are
// read up to the position `enclosed_by`, or further if it declares more.
ContentType content_type(BoundedReader& in, uint64_t enclosed_by = UINT64_MAX);

struct ContentTypeFree {
    void operator()(tMMS_ContentType* type) const;
};
using OwnedContentType = Owned<tMMS_ContentType, ContentTypeFree>;

// The same as a record. Null when memory is out.
OwnedContentType read_content_type(BoundedReader& in);

// ---- Writing ------------------------------------------------------------------------------

void write_uintvar(PduWriter& out, uint32_t value);
void write_value_length(PduWriter& out, uint32_t length);
// 1 to 4 octets; none for 0.
uint8_t long_integer_octets(uint32_t value);
// Octet count and octets, of a value that is not 0.
void write_long_integer(PduWriter& out, uint32_t value);
void write_quoted_text(PduWriter& out, const char* text);
void write_encoded_string(PduWriter& out, const char* text);
// True when the phone-number suffix was written.
bool write_address(PduWriter& out, const char* address);
void write_receivers(PduWriter& out, const char* list, uint8_t code);
// The well-known code as a short integer, or the type as text; a null type is an empty text.
void write_media_type(PduWriter& out, const char* type);

}  // namespace mmskit

#pragma GCC visibility pop
