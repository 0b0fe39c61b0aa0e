/**
 * @file
 * @brief mmskit anatomy: the tolerant door beside the exact decoders.
 *
 * fnMMS_Dissect takes any bytes that may hold a message (a PDU, a body, a push, SMS, HTTP, hex,
 * base64, gzip) apart into nodes, header fields and body parts, each with its place and with what
 * is wrong with it. fnMMS_Mend writes from that a message of the same type that the exact decoders
 * read fully and rightly, and says what it changed.
 *
 * Library libmmskit-anatomy, on top of libmmskit. Nothing here is global: any number of messages
 * at once, from any thread. Every text is UTF-8, NUL-terminated and never null unless a comment
 * says so. Everything that an anatomy points to belongs to it and lives until fnMMS_FreeAnatomy;
 * the same holds for what fnMMS_Mend returns and fnMMS_FreeMended. Time and memory grow linearly
 * with the input, whatever it claims: 64 levels of parts, 8 layers, 16 MB of decoded bytes, 65,536
 * nodes and 16,384 parts at most; what lies beyond is noted as lost.
 */
#ifndef MMSKIT_ANATOMY_H
#define MMSKIT_ANATOMY_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** What is wrong with a place, or what was done about it. */
enum {
    MMS_FLAW_NONE = 0,
    MMS_FLAW_REPAIRED = 1, /**< not as the standard has it, and read all the same */
    MMS_FLAW_LOST = 2,     /**< something that the message had is not there any more */
    MMS_FLAW_UNKNOWN = 3   /**< bytes that have no meaning here */
};

enum {
    MMS_NODE_WRAPPER =
        1,           /**< what a message lies in: a push, an SMS, HTTP, an encoding, a multipart */
    MMS_NODE_HEADER, /**< a header field, of a message, a part, a push or HTTP */
    MMS_NODE_PARAMETER, /**< of a content type or a disposition; a length, a count, a quote */
    MMS_NODE_PART,      /**< a body part: its headers and data are the nodes below it */
    MMS_NODE_DATA,      /**< bytes that are not text, or that nobody understands */
    MMS_NODE_TEXT       /**< text for a person, a presentation included */
};

/** One place of a layer. Nodes stand in document order; those below a node have a greater depth and
 * lie inside it, or in a layer that was decoded from it. Each byte of a layer belongs to exactly
 * one node that has no node of the same layer below it. */
typedef struct tMMS_Node {
    uint32_t iLayer;  /**< index of the layer; 0 is the input itself */
    uint32_t iOffset; /**< from the start of its layer; of a header field, where its code stands */
    uint32_t iLength; /**< bytes in its layer */
    uint16_t iDepth;  /**< 0 for the outermost */
    uint8_t iKind;    /**< MMS_NODE_... */
    uint8_t iFlaw;    /**< MMS_FLAW_... */
    uint32_t iCode;   /**< of a header or parameter as on the wire, with its high bit; of a part its
                         number from 1; else 0 */
    const char* pName;  /**< the standard's name, or what it is: "Subject", "part 2", "chunk" */
    const char* pValue; /**< readable; long ones are shortened */
    const char* pFlaw;  /**< a sentence part without a full stop; null without a flaw */
} tMMS_Node;

/** The form of a header's value. */
enum {
    MMS_VALUE_TEXT = 1, /**< pValue */
    MMS_VALUE_ADDRESS,  /**< pValue, without the "/TYPE=" suffix of a phone number or IP address */
    MMS_VALUE_TOKEN,  /**< pValue is the standard's name in lower case, or "0xNN"; iNumber the octet
                       */
    MMS_VALUE_FLAG,   /**< iNumber is 1 for yes, 0 for no */
    MMS_VALUE_NUMBER, /**< iNumber */
    MMS_VALUE_DATE,   /**< iNumber: seconds since 1970-01-01 UTC */
    MMS_VALUE_PERIOD, /**< iNumber: seconds from when the message is sent or arrives */
    MMS_VALUE_VERSION, /**< pValue such as "1.2"; iNumber the octet */
    MMS_VALUE_BYTES    /**< not understood: pValue shows the bytes in hexadecimal */
};

/** A header field of the message itself, in the order of the message. */
typedef struct tMMS_HeaderField {
    uint32_t iNode;     /**< index of its node */
    uint32_t iCode;     /**< 0x80 to 0xFF as on the wire; 0 for a textual header without a code */
    const char* pName;  /**< the standard's name, such as "X-Mms-MM-State"; of a textual header the
                          name as sent (in the standard's spelling where it is one of its names); ""
                          for a code that the standard does not have */
    uint8_t iForm;      /**< MMS_VALUE_... */
    const char* pValue; /**< readable */
    int64_t iNumber;    /**< as its form has it */
} tMMS_HeaderField;

/** A leaf part of the body, or the whole body where it is no multipart; in the order of the body.
 */
typedef struct tMMS_Part {
    uint32_t iNode;        /**< index of its node */
    const char* pType;     /**< in lower case, without parameters */
    const char* pName;     /**< as its sender gave it; null when no header or parameter names it */
    const char* pCharset;  /**< as declared, in lower case ("utf-8", "windows-1251"; a MIBenum
                              without  a name in digits); null when none is */
    const uint8_t* pData;  /**< as handed out: a transfer encoding undone, a text in UTF-8 without a
                              mark; a presentation as its sender wrote it, in UTF-8. Not
                              NUL-terminated, inside the input where it could stay there */
    uint32_t iDataLen;     /**< bytes at pData */
    uint32_t iMissing;     /**< bytes that were declared and are not there */
    uint8_t bText;         /**< 1: text/plain or another text for a person */
    uint8_t bPresentation; /**< 1: the presentation (SMIL) that counts */
    uint8_t bAlternative;  /**< 1: a poorer alternative of another part, left out when mending */
    uint16_t iDepth;       /**< multiparts that it lies in, 1 for a part of the outermost */
    uint32_t iLayer;       /**< where its data stands as it came */
    uint32_t iOffset;      /**< in that layer */
    uint32_t iLength;      /**< bytes there */
} tMMS_Part;

/** Something that is wrong with a place, or what mending did about it. */
typedef struct tMMS_Note {
    uint32_t iByte;    /**< in layer iLayer */
    uint32_t iBytes;   /**< may be 0 */
    uint32_t iLayer;   /**< index of the layer */
    uint32_t iFlaw;    /**< MMS_FLAW_REPAIRED, _LOST or _UNKNOWN */
    const char* pText; /**< one line, such as "sunset.jpg: 1541 of 2575 bytes" */
} tMMS_Note;

/** A row of bytes: the input, or what was decoded from another layer. */
typedef struct tMMS_Layer {
    const char* pName;    /**< "file", "hex", "base64", "gzip", "SMS user data", ... */
    const uint8_t* pData; /**< its bytes */
    uint32_t iLength;     /**< how many */
    uint32_t iParent;     /**< the layer that it was decoded from; 0 for layer 0 */
} tMMS_Layer;

/** What the message inside is. */
enum {
    MMS_MESSAGE_NONE = 0, /**< none: pLooksLike says what the bytes look like */
    MMS_MESSAGE_PDU,      /**< headers of a message, and maybe a body */
    MMS_MESSAGE_BODY,     /**< a body alone, from its Content-Type header (0x84) on */
    MMS_MESSAGE_SI,       /**< a service indication in WBXML */
    MMS_MESSAGE_SI_XML,   /**< as text */
    MMS_MESSAGE_SL,       /**< a service loading in WBXML */
    MMS_MESSAGE_SL_XML
};

/** What fnMMS_Dissect found. */
typedef struct tMMS_Anatomy {
    uint32_t iMessage;       /**< MMS_MESSAGE_... */
    uint32_t iMessageType;   /**< of a PDU: its X-Mms-Message-Type octet, 0x80 to 0xFF */
    const char* pKind;       /**< "m-retrieve-conf", "message body", "service indication", "service
                                loading"; "" when there is no message */
    const char* pLooksLike;  /**< "an HTML page"; "" when there is a message */
    uint32_t iMessageLayer;  /**< where the message stands */
    uint32_t iMessageOffset; /**< in that layer */
    uint32_t iMessageLength; /**< bytes */
    const tMMS_Layer* pLayers;        /**< the input and what was decoded from it */
    uint32_t iLayers;                 /**< at least 1 */
    const tMMS_Node* pNodes;          /**< every place, in document order */
    uint32_t iNodes;                  /**< how many */
    const tMMS_HeaderField* pHeaders; /**< the fields of the message itself */
    uint32_t iHeaders;                /**< how many */
    const tMMS_Part* pParts;          /**< the leaf parts of the body */
    uint32_t iParts;                  /**< how many */
    const tMMS_Note* pNotes;          /**< in the order of layers and bytes */
    uint32_t iNotes;                  /**< how many */
} tMMS_Anatomy;

/** Takes `len` bytes apart. They are borrowed: they must stay as they are until the anatomy is
 * freed. Any input gives an anatomy; null only for null data with a length, and when memory is out.
 */
tMMS_Anatomy* fnMMS_Dissect(const uint8_t* data, uint32_t len);

/** Frees an anatomy with everything that it points to; null is ignored. */
void fnMMS_FreeAnatomy(tMMS_Anatomy* anatomy);

/** A leaf part in the mended message. */
typedef struct tMMS_MendedPart {
    uint32_t iPart;        /**< index in the anatomy's pParts */
    const char* pName;     /**< its name in the mended message: Content-Location, else Name, else
                              Content-ID as the exact decoders read it; null when it has none there */
    const char* pOriginal; /**< the sender's name; null when there was none */
    uint32_t iOffset;      /**< of its data in the mended message */
    uint32_t iLength;      /**< bytes of it */
} tMMS_MendedPart;

/** What mending wrote. */
typedef struct tMMS_Mended {
    const uint8_t* pData; /**< the message for the exact decoders; null when there is none */
    uint32_t iLength;     /**< bytes at pData */
    uint32_t bChanged;    /**< 0: the bytes of the message as they came, not one changed */
    uint32_t iBody; /**< offset of the body's Content-Type header (0x84) in pData; iLength when
                       there is no body */
    const tMMS_MendedPart*
        pParts;              /**< in the order of the mended body, the presentation among them */
    uint32_t iParts;         /**< how many */
    const tMMS_Note* pNotes; /**< those of the anatomy and of the mending, in the order of layers
                                and bytes */
    uint32_t iNotes;         /**< how many */
} tMMS_Mended;

/** Writes the message for the exact decoders: a PDU of the same type, a body, or the push document
 * as it stands. A message that the exact decoders take whole and rightly comes back byte for byte.
 * Of a presentation that is not shown rightly as few parts as will do get new names, above 4,096
 * references all of them. The anatomy and its input are borrowed until the result is freed. Null
 * for null, after fnMMS_MendOnce, and when memory is out; pData is null when the anatomy holds no
 * message. */
tMMS_Mended* fnMMS_Mend(const tMMS_Anatomy* anatomy);

/** As fnMMS_Mend, and gives back the memory that only explaining and mending need: it may be half
 * of an anatomy. Whatever this returns, pNodes is null and iNodes 0 from then on, no iNode means
 * anything, and mending again gives null; all else stays. */
tMMS_Mended* fnMMS_MendOnce(tMMS_Anatomy* anatomy);

/** Frees what mending gave; null is ignored. */
void fnMMS_FreeMended(tMMS_Mended* mended);

#ifdef __cplusplus
}
#endif

#endif
