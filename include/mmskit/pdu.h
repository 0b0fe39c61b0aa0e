/**
 * @file
 * @brief mmskit PDU layer: message records, requests and responses, retrieved messages and
 * multipart bodies (OMA MMS encapsulation protocol).
 *
 * Records are made by fnMMS_AllocMessageMem or by a decoder and freed, with everything they own,
 * by fnMMS_FreeMessageMem and their kind. Texts are NUL-terminated and owned by the record.
 * Times are unsigned seconds, 0 meaning absent. PDU bytes are borrowed for the call unless a
 * comment says that the result points into them.
 */
#ifndef MMSKIT_PDU_H
#define MMSKIT_PDU_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Names of values ------------------------------------------------------------------- */

/** The kinds of records, as fnMMS_AllocMessageMem and fnMMS_FreeMessageMem take them. */
enum {
    MMS_KIND_SEND_REQ = 1,
    MMS_KIND_SEND_CONF = 2,
    MMS_KIND_NOTIFICATION_IND = 3,
    MMS_KIND_RETRIEVE_CONF = 4,
    MMS_KIND_DELIVERY_IND = 5,
    MMS_KIND_NOTIFYRESP_IND = 6,
    MMS_KIND_ACKNOWLEDGE_IND = 7,
    MMS_KIND_READ_REC_IND = 8,
    MMS_KIND_READ_ORIG_IND = 9,
    MMS_KIND_FORWARD_REQ = 10,
    MMS_KIND_FORWARD_CONF = 11
};

/**
 * @file
 * @par Names of values
 * The octets of the wire (OMA-MMS-ENC 7.2), as the decoders leave them in their records. A send
 * request alone counts its class and priority from 0: it takes MMS_CLASS_AUTO & 0x7F, and the octet
 * itself would be out of its range.
 */

/** X-Mms-Status: of a delivery report, and for fnMMS_MakeNotifyRespPdu. */
enum {
    MMS_STATUS_EXPIRED = 0x80,
    MMS_STATUS_RETRIEVED = 0x81,
    MMS_STATUS_REJECTED = 0x82,
    MMS_STATUS_DEFERRED = 0x83,
    MMS_STATUS_UNRECOGNISED = 0x84,
    MMS_STATUS_INDETERMINATE = 0x85,
    MMS_STATUS_FORWARDED = 0x86,
    MMS_STATUS_UNREACHABLE = 0x87
};

/** X-Mms-Response-Status of a confirmation; fnMMS_RecvSendConfData gives them less 0x80. */
enum {
    MMS_RESPONSE_OK = 0x80,
    MMS_RESPONSE_UNSPECIFIED = 0x81,
    MMS_RESPONSE_SERVICE_DENIED = 0x82,
    MMS_RESPONSE_FORMAT_CORRUPT = 0x83,
    MMS_RESPONSE_ADDRESS_UNRESOLVED = 0x84,
    MMS_RESPONSE_NOT_FOUND = 0x85,
    MMS_RESPONSE_NETWORK_PROBLEM = 0x86,
    MMS_RESPONSE_CONTENT_NOT_ACCEPTED = 0x87,
    MMS_RESPONSE_UNSUPPORTED_MESSAGE = 0x88
};

/** X-Mms-Read-Status of an m-read-orig-ind. */
enum { MMS_READ_STATUS_READ = 0x80, MMS_READ_STATUS_DELETED = 0x81 };

/** X-Mms-Message-Class. */
enum {
    MMS_CLASS_PERSONAL = 0x80,
    MMS_CLASS_ADVERTISEMENT = 0x81,
    MMS_CLASS_INFORMATIONAL = 0x82,
    MMS_CLASS_AUTO = 0x83
};

/** X-Mms-Priority. */
enum { MMS_PRIORITY_LOW = 0x80, MMS_PRIORITY_NORMAL = 0x81, MMS_PRIORITY_HIGH = 0x82 };

/* ---- Message records ------------------------------------------------------------------- */

/**
 * @file
 * @par Message records
 * A record's kind is the library's own number, not the message type of the wire:
 *
 * @code{.unparsed}
 *   1 tMMS_SendReq           m-send-req         7 tMMS_AcknowledgeInd  m-acknowledge-ind
 *   2 tMMS_SendConf          m-send-conf        8 tMMS_ReadRecInd      m-read-rec-ind
 *   3 tMMS_NotificationInd   m-notification-ind 9 tMMS_ReadOrigInd     m-read-orig-ind
 *   4 tMMS_RetrieveConf      m-retrieve-conf   10 tMMS_ForwardReq      m-forward-req
 *   5 tMMS_DeliveryInd       m-delivery-ind    11 tMMS_SendConf        m-forward-conf
 *   6 tMMS_NotifyRespInd     m-notifyresp-ind
 * @endcode
 *
 * MMS_KIND_... names them. A recipient list is one text, its addresses separated by ";",
 * without the "/TYPE=" suffixes. An absolute time counts seconds since 1970-01-01 UTC, a relative
 * one seconds from now.
 */

/** An m-send-req: a message to be sent. */
typedef struct tMMS_SendReq {
    uint32_t bDeliveryReport;       /**< nonzero asks for the report */
    uint32_t bReadReport;           /**< as above */
    uint32_t bSenderVisible;        /**< nonzero shows the sender; a new record: 1 */
    char* pTransactionId;           /**< the same in a request and its reply */
    char* From;                     /**< null lets the relay insert it */
    char* pTo;                      /**< recipients */
    char* pCc;                      /**< recipients */
    char* pBcc;                     /**< recipients that the others do not see */
    char* pSubject;                 /**< UTF-8 */
    uint8_t* pContent;              /**< the body, from its Content-Type header on */
    uint8_t bMessageClass;          /**< 0 personal, 1 advertisement, ...: MMS_CLASS_... & 0x7F */
    uint8_t bPriority;              /**< 0 low, 1 normal, 2 high; a new record: 1 */
    uint32_t iDate;                 /**< seconds since 1970-01-01 UTC */
    uint32_t bExpiryRelative;       /**< nonzero: iExpiry is relative; a new record: 1 */
    uint32_t iExpiry;               /**< seconds, or 0 */
    uint32_t bDeliveryTimeRelative; /**< as above; a new record: 1 */
    uint32_t iDeliveryTime;         /**< seconds, or 0 */
    uint32_t iContentLen;           /**< bytes at pContent */
} tMMS_SendReq;

/** New records: kind 2 has the message type 0x81 and the version 0x92, kind 11 has zeros. */
typedef struct tMMS_SendConf {
    uint8_t bMessageType;    /**< as received */
    uint8_t bVersion;        /**< as received */
    uint8_t bResponseStatus; /**< MMS_RESPONSE_... as received */
    char* pTransactionId;    /**< the same in a request and its reply */
    char* pResponseText;     /**< for a person, or null */
    char* pMessageId;        /**< by which reports name the message */
} tMMS_SendConf;

/** An m-notification-ind: a message waits at the centre. */
typedef struct tMMS_NotificationInd {
    uint8_t bMessageClass;  /**< the bytes as received: MMS_CLASS_... */
    uint8_t bPriority;      /**< MMS_PRIORITY_... */
    uint8_t bExpiryToken;   /**< 0x80 absolute, 0x81 relative */
    uint32_t iMessageSize;  /**< bytes */
    uint32_t iExpiry;       /**< seconds, as bExpiryToken says */
    char* pTransactionId;   /**< the same in a request and its reply */
    char* From;             /**< the sender's address */
    char* pSubject;         /**< UTF-8, or null */
    char* pContentLocation; /**< where the message lies */
} tMMS_NotificationInd;

/** An m-retrieve-conf: a message as it arrived. */
typedef struct tMMS_RetrieveConf {
    uint32_t bDeliveryReport; /**< 1 or 0 */
    uint32_t bReadReport;     /**< as above */
    uint8_t bMessageClass;    /**< as received; 0x80 also for a class given as text */
    uint8_t bPriority;        /**< as received */
    uint32_t iDate;           /**< seconds since 1970-01-01 UTC; 0 when absent */
    uint32_t iBodyLen;        /**< bytes at pBody */
    uint8_t* pBody;       /**< the body from its Content-Type header on, a copy; null without one */
    char* pTransactionId; /**< the same in a request and its reply */
    char* pMessageId;     /**< for a read report */
    char* From;           /**< the sender's address */
    char* pTo;            /**< recipients */
    char* pCc;            /**< recipients */
    char* pSubject;       /**< UTF-8; null also when its character set is not supported */
} tMMS_RetrieveConf;

/** An m-delivery-ind: what became of a message that was sent. */
typedef struct tMMS_DeliveryInd {
    uint8_t bStatus;  /**< MMS_STATUS_... as received */
    char* pMessageId; /**< of the message that is meant */
    char* pTo;        /**< one address */
    uint32_t iDate;   /**< seconds since 1970-01-01 UTC */
} tMMS_DeliveryInd;

/** An m-notifyresp-ind: the answer to a notification. */
typedef struct tMMS_NotifyRespInd {
    uint8_t bMessageType;   /**< a new record: 0x83 */
    uint8_t bVersion;       /**< a new record: 0x92 */
    uint8_t bStatus;        /**< MMS_STATUS_... */
    uint8_t bReportAllowed; /**< nonzero lets a delivery report be sent */
    char* pTransactionId;   /**< the same in a request and its reply */
} tMMS_NotifyRespInd;

/** An m-acknowledge-ind: the retrieved message has arrived. */
typedef struct tMMS_AcknowledgeInd {
    uint8_t bMessageType;   /**< a new record: 0x85 */
    uint8_t bVersion;       /**< a new record: 0x92 */
    uint8_t bReportAllowed; /**< nonzero lets a delivery report be sent */
    char* pTransactionId;   /**< the same in a request and its reply */
} tMMS_AcknowledgeInd;

/** An m-read-rec-ind: the report that this handset sends. */
typedef struct tMMS_ReadRecInd {
    char* pMessageId;    /**< of the message that is meant */
    char* pTo;           /**< one address */
    char* pReserved;     /**< owned, never sent */
    uint8_t bReadStatus; /**< 1 deleted without being read, anything else read */
    uint32_t iDate;      /**< seconds since 1970-01-01 UTC */
} tMMS_ReadRecInd;

/** An m-read-orig-ind: a recipient has read a message that was sent, or deleted it unread. */
typedef struct tMMS_ReadOrigInd {
    char* pMessageId;    /**< of the message that is meant */
    char* From;          /**< who has read it */
    char* pTo;           /**< the address of this handset */
    uint32_t iDate;      /**< seconds since 1970-01-01 UTC */
    uint8_t bReadStatus; /**< MMS_READ_STATUS_... as received */
} tMMS_ReadOrigInd;

/** An m-forward-req: a message that waits at the centre is to be sent on. */
typedef struct tMMS_ForwardReq {
    uint32_t bDeliveryReport;       /**< nonzero asks for the report */
    uint32_t bReadReport;           /**< as above */
    char* pTransactionId;           /**< the same in a request and its reply */
    char* pTo;                      /**< recipients */
    char* pCc;                      /**< recipients */
    char* pBcc;                     /**< recipients that the others do not see */
    char* pContentLocation;         /**< where the message to forward lies */
    uint32_t iDate;                 /**< seconds since 1970-01-01 UTC */
    uint32_t bExpiryRelative;       /**< flags and times as in tMMS_SendReq */
    uint32_t iExpiry;               /**< seconds, or 0 */
    uint32_t bDeliveryTimeRelative; /**< as above */
    uint32_t iDeliveryTime;         /**< seconds, or 0 */
} tMMS_ForwardReq;

/** A new record of the kind: zero and null but for the values named at its members. Null for a kind
 * outside 1 to 11 and when memory is out. Texts that a host puts into a record are blocks of
 * fnSC_Malloc_Local and become the record's. */
void* fnMMS_AllocMessageMem(uint8_t kind);

/** Frees the record with all its texts and bytes. `kind` must be the record's own; a null record
 * is ignored, and an unknown kind does nothing (the record then stays allocated). */
void fnMMS_FreeMessageMem(void* record, uint8_t kind);

/* ---- Decoding -------------------------------------------------------------------------- */

/**
 * @file
 * @par Decoding
 * Every decoder reads `len` bytes at `pdu` and none beyond: a value that the end cuts off is read
 * as if zeros followed. It returns a new record, or null for a null PDU or a length that it does
 * not take, for input that it refuses, and when memory is out. A header that comes again replaces
 * the earlier value.
 */

/** An m-retrieve-conf (kind 4). Length 0 gives an empty record, a negative one null. To and Cc
 * headers are joined in their order, Bcc is dropped. Headers of the standard without a member are
 * read over, a textual header by its name only. Null for another X-Mms-Message-Type and for a
 * header code of 0x80 or above 0xA1. The body is copied: the PDU need not outlive the call. */
tMMS_RetrieveConf* fnMMS_ParseRetrieveConf(const uint8_t* pdu, int32_t len);

/**
 * @file
 * The decoders below take one byte or more, and read headers until the input is used up or a
 * header comes that the kind does not know; what follows is then not looked at. In
 * fnMMS_ParseDeliveryInd and fnMMS_ParseSendContent an unknown header gives null.
 */

/** An m-send-conf (kind 2). The response text is the bytes as received: a length, a character set
 * and a quote in front of the text stay there. The message type is not checked. Null without a
 * transaction id. */
tMMS_SendConf* fnMMS_ParseSendConf(const uint8_t* pdu, int32_t len);

/** An m-forward-conf (kind 11), as above, but bMessageType holds the response status, and
 * bResponseStatus stays 0. */
tMMS_SendConf* fnMMS_ParseForwardConf(const uint8_t* pdu, int32_t len);

/** @{ */
/** The response status of an m-send-conf or m-forward-conf as a number: 0 for OK (0x80), 1 to 8 for
 * 0x81 to 0x88, 9 for any other status or none, 10 when the confirmation gives null above. */
uint8_t fnMMS_RecvSendConfData(const uint8_t* pdu, int32_t len);
uint8_t fnMMS_RecvFwdConfData(const uint8_t* pdu, int32_t len);
/** @} */

/** An m-notification-ind (kind 3). Null for another message type, and without a content location
 * when a header ended it that is not known; a notification that is used up comes back without one.
 * A location that the end of the PDU cuts off is dropped: pContentLocation is then null. */
tMMS_NotificationInd* fnMMS_ParseNotificationInd(const uint8_t* pdu, int32_t len);

/** An m-delivery-ind (kind 5), which must end right after its last known header. Null also for
 * another message type. Of several recipients the last one is kept. */
tMMS_DeliveryInd* fnMMS_ParseDeliveryInd(const uint8_t* pdu, int32_t len);

/** An m-read-orig-ind (kind 9). Null for another message type; no header is required. */
tMMS_ReadOrigInd* fnMMS_ParseReadOrigInd(const uint8_t* pdu, int32_t len);

/** An m-send-req read back (kind 1). Recipients are joined in their order, and the body is copied
 * from its Content-Type header on to the end; without one pContent is null. bMessageClass and
 * bPriority hold the octets of the wire (0x80 personal, 0x80 low, ...), which a host maps before it
 * encodes the record again; flags and times keep the defaults of a new record. Null for an empty
 * transaction id and for a header without a meaning here, Date included: a request that was made
 * with a date cannot be read back. The message type is not checked. */
tMMS_SendReq* fnMMS_ParseSendContent(const uint8_t* pdu, int32_t len);

/** Why the last decoder of this header gave null, or fnPAR_SmilParserEntry (presentation.h) 0 or
 * less than the whole: a static English sentence part without a full stop, never null, and where in
 * its input: the offset of the first byte of that header field or body part. `offset` may be null.
 * Reset by every such call that succeeds ("no error", 0). */
const char* fnMMS_GetLastError(uint32_t* offset);

/* ---- Encoding -------------------------------------------------------------------------- */

/**
 * @file
 * @par Encoding
 * Every encoder returns a new buffer with the PDU, to be freed with fnMMS_FreeMadeMsgPduBuf, and
 * stores its length in bytes at `len`. It returns null, with *len as it was, when an argument is
 * null, when memory is out and when 32 bits cannot hold the length. Arguments are borrowed for the
 * call. Texts of any length are encoded; a null text of a record leaves its header out or, where
 * the header is always written, is an empty text. A time is written when it is not 0, in up to four
 * octets: dates after January 2038 too.
 *
 * An address without `@` is taken to be a phone number and gets "/TYPE=PLMN". In a recipient list
 * blanks are dropped, an entry of more than 60 characters is cut into several, and an empty entry
 * ends the list, as does one of any multiple of 60 characters, blanks counted. A subject of more
 * than 125 bytes (124 when it does not begin with an ASCII character) gets a length octet that
 * strict decoders refuse.
 */

/** An m-send-req with the iContentLen bytes of pContent after its headers; without pContent the
 * PDU ends with the headers. A delivery time is always sent as relative, whatever
 * bDeliveryTimeRelative says. A bMessageClass above 3 is sent as 0, a bPriority above 2 as 1. */
uint8_t* fnMMS_MakeSendMessagePdu(const tMMS_SendReq* request, uint32_t* len);

/** An m-forward-req. The relay inserts the sender. */
uint8_t* fnMMS_MakeFWDMessagePdu(const tMMS_ForwardReq* request, uint32_t* len);

/** An m-notifyresp-ind for the notification's transaction id. `reportAllowed`: nonzero lets a
 * delivery report be sent. `status`: MMS_STATUS_..., its low 8 bits. */
uint8_t* fnMMS_MakeNotifyRespPdu(const char* tid, int32_t reportAllowed, int32_t status,
                                 uint32_t* len);

/** An m-acknowledge-ind for the retrieved message's transaction id. */
uint8_t* fnMMS_MakeAcknowledgePdu(const char* tid, int32_t reportAllowed, uint32_t* len);

/** A read report as a message: an m-send-req of class auto to one address, with a UTF-8 subject,
 * without reports and date, and with an empty body. */
uint8_t* fnMMS_MakeReadReportPdu(const char* tid, const char* to, const char* subject,
                                 uint32_t* len);

/** An m-read-rec-ind. Null also when the record's pMessageId or pTo is null. */
uint8_t* fnMMS_MakeReadRecIndPdu(const tMMS_ReadRecInd* report, uint32_t* len);

/** Frees a PDU made here; null is ignored. The caller's pointer stays as it was: do not use it. (A
 * body of fnMMS_MakeContentBodyPdu below is no such PDU.) */
void fnMMS_FreeMadeMsgPduBuf(uint8_t* pdu);

/* ---- Message bodies -------------------------------------------------------------------- */

/** One part of a body. Its texts and pFwdParam are owned by the record; its data is not. */
typedef struct tMMS_MediaData {
    char* pContentLocation;       /**< the file name; null when the part has none */
    char* pContentId;             /**< without angle brackets; null without one */
    char* pName;                  /**< Name parameter of the content type, or null */
    uint8_t* pData;               /**< inside the body that was decoded, not NUL-terminated */
    uint32_t iDataLen;            /**< bytes at pData */
    uint32_t iCharset;            /**< MIBenum; 0 when absent */
    uint8_t bHasCharset;          /**< 1 when a character set was given */
    uint8_t bHasFwd;              /**< a "fwd" parameter was there; bFwd is 1 for yes */
    uint8_t bFwd;                 /**< 1 for yes, where bHasFwd is 1 */
    uint8_t* pFwdParam;           /**< its bytes as received */
    uint32_t iFwdParamLen;        /**< bytes at pFwdParam */
    char* pContentType;           /**< null for a well-known code without a name */
    struct tMMS_MediaData* pNext; /**< or null */
    uint32_t IsSmil;              /**< 0 after decoding; a mark of the presentation */
    uint32_t bDrmSeparate;        /**< this and its two values are 0 after decoding; for the host */
    uint32_t iDrmInfo1;           /**< for the host */
    uint32_t iDrmInfo2;           /**< for the host */
} tMMS_MediaData;

/** The presentation of a body. */
typedef struct tMMS_SmilPart {
    char* pContentType; /**< "application/smil" */
    uint8_t* pData;     /**< not NUL-terminated */
    uint32_t iDataLen;  /**< bytes at pData */
} tMMS_SmilPart;

/** The parts of a body. */
typedef struct tMMS_ContentUnion {
    tMMS_SmilPart* pSmil;       /**< or null */
    tMMS_MediaData* pMediaList; /**< the other parts in the body's order, or null */
} tMMS_ContentUnion;

/** Splits a body that starts with its Content-Type header (0x84), as pBody of a received message
 * does. The union's data points into `body`, which must stay unchanged until the union is freed.
 *
 * A body that ends with its content type gives an empty union. A text/plain body is one part, whose
 * "fwd" is not read; every other type is read as multipart. Of several application/smil parts the
 * last wins, without data too: pData must not be read when iDataLen is 0. Any other part without
 * data is dropped. A part whose declared lengths run past the end is kept with the data that is
 * there, and is the last.
 *
 * Of a part's headers Content-Location and Content-ID are kept, the last one of each, and
 * Content-Disposition is read over; any other header ends them. The quote octet before a location
 * and the double quote before an id are dropped. A part of a multipart body without a location gets
 * a copy of its name. A text/plain part without either gets both: `MMS_Text00%d.txt` with the
 * number of parts kept before it, or "MMS_Text0000.txt" when the text is the whole body. Such a
 * name lies in a block of 129 bytes, to be overwritten in place if the host likes. A text that is
 * the whole body and has a name keeps it as pName alone.
 *
 * At most 16,384 parts are looked at. What stands behind them is left out, and fnMMS_GetLastError
 * tells that and where although there is a result.
 *
 * Null for a null body, a negative length, a first byte other than 0x84, and when memory is out. */
tMMS_ContentUnion* fnMMS_GetMediaDataFromPdu(const uint8_t* body, int32_t len);

/** Frees a decoded union: records, texts and list, not the data in the body. Null is ignored. */
void fnMMS_FreeMediaData(tMMS_ContentUnion* content);

/** Frees a union that was built rather than decoded: also the SMIL data, and the data of records of
 * type exactly "text/plain", which such a union owns. Null is ignored. */
void fnMMS_FreeContentUnion(tMMS_ContentUnion* content);

/** 1 when the body is null or begins with 84 A3 00 (multipart/mixed without parts), else 0. It
 * looks no further than the first byte that differs. */
int32_t fnMMS_EmptyMMS(const uint8_t* body);

/** Encodes a union as the body of a send request, from its Content-Type header on:
 * multipart/related with the SMIL part first (Content-ID `<AAAA>`, Name "mms.smil"), then the
 * records in their order. A record's pContentLocation is written as its Name, Content-ID and
 * Content-Location; its pName, pContentId and "fwd" values are not written, its charset only when
 * bHasCharset is 1. A charset above 127 is written in a form that strict decoders read as another
 * number. Without a SMIL part the body is multipart/mixed with the records only. A null union and
 * one without records give 84 A3 00, the empty message.
 *
 * Null texts of a record are written as empty texts, null data as no bytes. Returns a new buffer,
 * to be freed with fnSC_Free(&body), the ADDRESS of the pointer (fnSC_Free(body) compiles, and
 * crashes), and stores its length at `len`. Null when `len` is null, when memory
 * is out and when 32 bits cannot hold the length; *len is then as it was, or 0 when it is the empty
 * message that could not be made. The union is borrowed for the call. */
uint8_t* fnMMS_MakeContentBodyPdu(const tMMS_ContentUnion* content, uint32_t* len);

#ifdef __cplusplus
}
#endif

#endif
