/**
 * @file
 * @brief mmskit push: Service Indication and Service Loading documents (WAP-167, WAP-168), in WBXML
 * (WAP-192) and as XML text.
 *
 * A decoder gives a new record, which is freed with everything it owns by the free function of its
 * kind, or null when the document cannot be decoded or memory is out; nothing is then left
 * allocated. Texts are NUL-terminated, owned by the record, and null when the document does not
 * give them.
 */
#ifndef MMSKIT_PUSH_H
#define MMSKIT_PUSH_H

#include <mmskit/storage.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A service indication. */
typedef struct tPush_SiContent {
    char* pHref;       /**< the address to fetch, prefix and suffix tokens expanded */
    char* pSiId;       /**< by which a later indication replaces or deletes this one */
    char* pNotifyText; /**< what to show */
    uint32_t iCharset; /**< MIBenum of a WBXML document, modulo 128 when sent in several octets (106
                          is UTF-8); 166 for XML text, whatever the text declares */
    tSCFS_DateTime tCreated;   /**< UTC; all zero when absent, iWeek always 0 */
    tSCFS_DateTime tSiExpires; /**< as above */
    uint8_t bAction; /**< 0 not given, 5 signal-none, 6 signal-low, 7 signal-medium, 8 signal-high,
                        9 delete */
} tPush_SiContent;

/** A service loading. */
typedef struct tPush_SlContent {
    char* pHref;       /**< the address to load, as above */
    uint32_t iCharset; /**< as above */
    uint8_t bAction;   /**< 5 execute-low, 6 execute-high, 7 cache; 0 not given, in XML text only */
} tPush_SlContent;

/* ---- WBXML ----------------------------------------------------------------------------- */

/** Decodes `iLen` bytes at `pData`; they are neither changed nor kept. A document that is cut off
 * between two tokens gives what stands before the cut; inside a token, zero bytes are taken to
 * follow. Texts are bytes in the document's character set.
 *
 * Known are the tokens of one indication: `si`, `indication` with attributes and content, empty
 * `info`, inline text, references to the string table (the operand is the ordinal number of a
 * string in the table, and counts when no text came before), all attribute starts, and the suffixes
 * .com/ .edu/ .net/ .org/ after an inline string when another, not an empty one, follows it.
 * Anything else gives null, such a suffix alone too, wherever the document ends.
 * The version, the public identifier and the root tag are read over. Null for null too. */
tPush_SiContent* fnMMSPush_DecodeSic(const uint8_t* pData, uint32_t iLen);

/** Null is ignored. */
void fnMMSPush_FreeSic(tPush_SiContent* pSi);

/** Decodes a service loading document alike. Without an action the record says 5, execute-low. */
tPush_SlContent* fnMMSPush_DecodeSlc(const uint8_t* pData, uint32_t iLen);

/** Null is ignored. */
void fnMMSPush_FreeSlc(tPush_SlContent* pSl);

/* ---- XML text -------------------------------------------------------------------------- */

/** @{ */
/** Decode the NUL-terminated text at `pText`, which is changed: the XML declaration, the document
 * type declaration and comments are taken out. `iLen` is its length without the terminator; the
 * terminator decides. A comment and a document type declaration end at their first ">".
 *
 * The text goes through a temporary file, umb/tmp/xmlsic.xml or umb/tmp/xmlsl.xml below the current
 * folder; the folder must exist. On the handset's file layer that file cannot be opened and the
 * result is always null. The file is deleted again, except after a text in which the parser finds
 * no root element, and after a service loading text that is malformed or whose root has content.
 *
 * Null for null, for malformed text, for one that still holds a document type or entity
 * declaration, and for one beyond the limits: 256 KB, 4096 pieces of markup and references, 4096
 * attributes (64 in one element) and 32 levels. No entity is ever fetched. Instructions before the
 * root element are read over, and what stands after it is not looked at. Attribute values and text
 * come out as UTF-8.
 *
 * The results are the same with either XML parser that the library can be built with (RXP or
 * expat). A library that was built without one gives null for every text, leaves it as it is, and
 * says "push documents as XML text are not in this build" to the log sink (runtime.h).
 *
 * Of the actions only signal-none and execute-low are recognized; others leave bAction at 0. A date
 * counts when it is 20 characters long, as 2011-05-17T10:20:30Z. The text of an indication is taken
 * when it holds nothing but text. A later indication replaces what it gives. A service loading root
 * with any content gives null. */
tPush_SiContent* fnMMSPush_DecodeXmlSic(char* pText, uint32_t iLen);
tPush_SlContent* fnMMSPush_DecodeXmlSl(char* pText, uint32_t iLen);
/** @} */

/** Gives back what the XML parser keeps between documents: some 84 KB of tables that the first
 * document makes. They are the same for all documents, and whatever a document holds leaves nothing
 * in them. For a host that is done with push documents, or that looks for leaks at its end; the
 * next document makes them again. Without them nothing is done. */
void fnMMSPush_ReleaseXml(void);

#ifdef __cplusplus
}
#endif

#endif
