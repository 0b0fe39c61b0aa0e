// What the push units share: the small readers with given names (C linkage, so that a test can link
// them) and the bounded readers behind them. The named cursor readers carry no length and are for
// values that are known to end; the decoders use the bounded ones.
#pragma once

#include <mmskit/push.h>

#include <cstring>

#include "scshare/common/src/bounded_reader.h"
#include "scshare/common/src/owned.h"

#pragma GCC visibility push(hidden)

extern "C" {

// A multi-octet integer: the value of its last octet alone.
uint32_t PushOctets2Uintvar(const uint8_t** ppCursor);

// An opaque date of `iLen` bytes of two decimal digits each into the first six fields of `pTime`;
// null reads it over.
void ParseTime(const uint8_t** ppCursor, int32_t iLen, tSCFS_DateTime* pTime);

// An inline string and, when a further inline string follows it, a suffix token between them. The
// text is the caller's; `pLen` gets its length, terminator included, and 5 for a suffix. Null and
// 0 when memory is out.
char* MMS_GetStringFromPdu(const uint8_t** ppCursor, uint32_t* pLen);

// String number `iIndex` of the table, searched within `iLimit` bytes; the text is the caller's.
char* MMS_GetStringFromStrTable(const uint8_t* pTable, int16_t iIndex, uint32_t iLimit);

// Takes the first XML declaration out of the NUL-terminated text and zeroes what it frees. `pLeft`
// gets `iLen` less its length. Always 166.
uint32_t getXmlEncodingCharset(char* pText, int32_t iLen, uint32_t* pLeft);

// Takes the first span from `pOpen` through the first character of `pClose` out of the text and
// zeroes what it frees. The new length; `iLen` when there is no span.
int32_t removeXmlUnusedTag(char* pText, const char* pOpen, const char* pClose, int32_t iLen);

// YYYY-MM-DDThh:mm:ssZ into the first six fields; a text of another length changes nothing.
void ParseCharTime(const char* pStr, tSCFS_DateTime* pTime);

}  // extern "C"

namespace mmskit {

// The charset that every record from XML text bears.
inline constexpr uint32_t xml_text_charset = 166;

uint32_t push_uintvar(BoundedReader& in);
void push_date(BoundedReader& in, int64_t length, tSCFS_DateTime* out);

// Copies a piece that may be empty; gives where it ends.
inline char* put_piece(char* out, Slice piece) {
    if (piece.size != 0) std::memcpy(out, piece.data, piece.size);
    return out + piece.size;
}

// An inline string with its suffix token in place, and the size by which the decoders count it.
// `suffix_left`: a suffix token without a string behind it is the next byte.
struct PushString {
    Slice first;
    Slice suffix;
    Slice second;
    uint32_t counted = 0;
    bool suffix_left = false;

    size_t length() const { return first.size + suffix.size + second.size; }
    // Writes length() bytes and a terminator.
    void put(char* out) const;
    // All of it behind `prefix`, as a new text; null when memory is out.
    [[nodiscard]] char* copy(Slice prefix) const {
        auto* whole = static_cast<char*>(allocate_unfilled(uint64_t{prefix.size} + length() + 1));
        if (whole != nullptr) put(put_piece(whole, prefix));
        return whole;
    }
};
PushString push_string(BoundedReader& in);

// The bytes of a literal.
template <size_t Size>
Slice slice_of(const char (&text)[Size]) {
    return {reinterpret_cast<const uint8_t*>(text), Size - 1};
}

// As MMS_GetStringFromStrTable, over the bytes that are there.
char* push_table_string(BoundedReader table, int32_t index);

// Takes every comment out, with the result of removeXmlUnusedTag() for "<!--" and ">" called again
// and again, in one pass.
void strip_comments(char* text);

// Whether the parser may see the text: no document type or entity declaration, and within the
// limits of size, depth, markup and attributes.
bool xml_within_limits(const char* text);

}  // namespace mmskit

#pragma GCC visibility pop
