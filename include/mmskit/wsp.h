/**
 * @file
 * @brief mmskit WSP value codec: the binary values (WAP-230 section 8.4) that MMS PDUs are made of.
 *
 * Every routine that takes a cursor (the address of a byte pointer) reads or writes at the byte
 * it points to and leaves it on the first byte after the value. The cursor carries no end:
 * an encoder needs room for what it writes, a decoder needs a value that ends. The library's own
 * parsers never call these on bytes from outside; they read through bounds.
 *
 * Unless a comment says otherwise: cursors and output pointers are required; a null text is
 * written as an empty one; a length pointer may be null; texts are NUL-terminated UTF-8; a text
 * or record that is returned is new, belongs to the caller and goes back through fnSC_Free; null
 * means that memory is out, and leaves cursor and length as they were. The 16-bit lengths wrap
 * for a text of 64 KB or more; the text itself is complete.
 */
#ifndef MMSKIT_WSP_H
#define MMSKIT_WSP_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Primitive values ------------------------------------------------------------------ */

/** @{ */
/** Writes the text and its NUL. EncodeTIDString writes the same bytes for a transaction id. */
void EncodeString(uint8_t** cursor, const char* text);
void EncodeTIDString(uint8_t** cursor, const char* text);
/** @} */

/** As EncodeString, with the quote 0x7F in front when the first byte is 0x80 or above. */
void EncodeTextString(uint8_t** cursor, const char* text);

/** The text up to its NUL; *length is its bytes without the NUL. */
char* DecodeString(const uint8_t** cursor, uint16_t* length);

/** As DecodeString without a leading quote 0x7F, which *length counts all the same. */
char* MyDecodeTextString(const uint8_t** cursor, uint16_t* length);

/** Reads a value-length: 0 to 30 in one byte, or 31 and a uintvar. Above 31 the byte is no
 * value-length: the result is 0 and the cursor stays. */
uint32_t GetLengthValue(const uint8_t** cursor);

/** Writes a value-length and returns its bytes, 1 to 6. A negative value writes its low byte. */
int32_t EncodeValueLength(uint8_t* out, int32_t value);

/** Writes a uintvar and returns its bytes, 1 to 5. A negative value writes its low 7 bits. */
int32_t CompactUintvar(uint8_t* out, int32_t value);

/** Reads a uintvar of any number of bytes; the low 32 bits are kept. */
uint32_t OctetsToUintvar(const uint8_t** cursor);

/** The octets that a long integer takes, 1 to 4; 0 for a value below 1. */
int32_t GetLongIntLength(int32_t value);

/** Writes these octets, most significant first. The length octet before them is the caller's. */
void LongInt2Octets(uint8_t** cursor, int32_t value);

/** The long integer whose length octet is at p: 0 to 30 octets, or 31 and a uintvar count, of
 * which the low 16 bits are taken as a signed number. Of more than four octets the low 32 bits
 * are kept. 0 for a length octet above 31 and for a negative count. */
uint32_t OctetsToLongInt(const uint8_t* p);

/** Writes an encoded-string-value in UTF-8: length, 0xEA, the quote 0x7F when the first byte is
 * 0x80 or above, text, NUL. A length above 30 is written as 31 and its low 8 bits, so a text
 * above 125 bytes declares a wrong length. A null text writes one zero byte. */
void EncodeEncodedString(uint8_t** cursor, const char* text);

/** Reads an encoded-string-value or a plain text, in both forms up to the first NUL; *length is
 * the bytes before that NUL, whatever they hold. The character sets US-ASCII and UTF-8 are read.
 * Null for any other one, for a value that its NUL cuts before the text, for an empty UTF-8
 * text, and when memory is out; cursor and *length are set in every case. */
char* DecodeEncodedString(const uint8_t** cursor, uint16_t* length);

/** Writes an address as text, quoted like EncodeTextString. An address without `@` is a phone
 * number and gets the suffix "/TYPE=PLMN", whether it has one or not: the result is then 1,
 * else 0. */
int32_t EncodeAddressString(uint8_t** cursor, const char* address);

/** Reads an address without its quote and, when it holds no `@`, without what follows the first
 * "/". *length is all bytes of the value, the quote and the NUL included. */
char* DecodeAddressString(const uint8_t** cursor, uint16_t* length);

/** Copies one entry of a ";"-separated list (required) to `out`, without spaces, and steps over
 * its ";"; a NUL ends the list and is not stepped over. At most 60 characters, spaces counted,
 * are taken: the copy is then not terminated and the cursor stays on the next one, which may be
 * the ";". `out` has room for 60 bytes. 1 when a character was copied, else 0. */
int32_t GetOneReceiverValue(const char** list, char* out);

/** Writes the header field `code` and the address for every entry of the list, taken by the rule
 * of GetOneReceiverValue. The first empty entry ends the list; so does the ";" after an entry of
 * any multiple of 60 characters, blanks counted. A null list writes nothing. */
void EncodeMultiRcver(uint8_t** cursor, const char* list, uint8_t code);

/* ---- Content types --------------------------------------------------------------------- */

/** A decoded Content-type field. Who frees a record frees pType, pName and pFwdParam first, each
 * with fnSC_Free. */
typedef struct tMMS_ContentType {
    char* pType;           /**< null for a well-known code without an entry */
    char* pName;           /**< the Name parameter, or null */
    uint8_t bHasCharset;   /**< 1 when a Charset parameter was there */
    uint32_t iCharset;     /**< its IANA MIBenum */
    uint8_t bHasFwd;       /**< 1 when a "fwd" parameter was there */
    uint8_t bFwd;          /**< its value: 1 yes, 0 no */
    uint8_t* pFwdParam;    /**< its bytes as they stood, not NUL-terminated, or null */
    uint32_t iFwdParamLen; /**< bytes at pFwdParam */
} tMMS_ContentType;

/** The media type of a well-known code (without the 0x80 bit) in a new buffer of 50 zero-filled
 * bytes. Null also for a code without an entry: 53 to 71 and from 76 on. */
char* DecodeWellKnownContentType(uint8_t code);

/** The code of a media type, 0 to 52, compared byte for byte; 255 for any other text, the DRM
 * types 72 to 75 included, and for null. */
int32_t EncodeContentType(const char* type);

/** Reads a Content-type field; *length is all its bytes. The short-integer and the text form move
 * the cursor. The general form does not: go on at the start of the field plus *length.
 *
 * In the general form the declared length decides where the parameters end; a media type or a value
 * that began before is read whole, to its NUL. Charset, Name and "fwd" are kept, the last one of
 * each; Type, Start and Start-info are read over; any other parameter, and a charset whose length
 * octet is 31, ends the reading of parameters. A charset whose value octet is 32 to 127 is charset
 * 0, and reading goes on behind that octet. A length that does not fit is given as 0xFFFFFFFF.
 *
 * What is read: the field, and behind it at most 30 octets of a charset or the rest of a text up to
 * its NUL, when the end of the field cuts them. A charset's octets beyond count as zeros. */
tMMS_ContentType* GetContentType(const uint8_t** cursor, uint32_t* length);

/** As GetContentType for a field that is known to be in the general form. */
tMMS_ContentType* ParseContentTypeWithParam(const uint8_t* field, uint32_t* length);

#ifdef __cplusplus
}
#endif

#endif
