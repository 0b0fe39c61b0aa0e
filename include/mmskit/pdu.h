/*
 * mmskit PDU layer: message records, retrieved messages and multipart bodies
 * (OMA MMS encapsulation protocol).
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

/* ---- Message records ------------------------------------------------------------------- */

typedef struct tMMS_SendReq {
    uint32_t bDeliveryReport;
    uint32_t bReadReport;
    uint32_t bSenderVisible;
    char* pTransactionId;
    char* From;
    char* pTo;
    char* pCc;
    char* pBcc;
    char* pSubject;
    uint8_t* pContent;
    uint8_t bMessageClass;
    uint8_t bPriority;
    uint32_t iDate;
    uint32_t bExpiryRelative;
    uint32_t iExpiry;
    uint32_t bDeliveryTimeRelative;
    uint32_t iDeliveryTime;
    uint32_t iContentLen;
} tMMS_SendReq;

typedef struct tMMS_SendConf {
    uint8_t bMessageType;
    uint8_t bVersion;
    uint8_t bResponseStatus;
    char* pTransactionId;
    char* pResponseText;
    char* pMessageId;
} tMMS_SendConf;

typedef struct tMMS_NotificationInd {
    uint8_t bMessageClass;
    uint8_t bPriority;
    uint8_t bExpiryToken;
    uint32_t iMessageSize;
    uint32_t iExpiry;
    char* pTransactionId;
    char* From;
    char* pSubject;
    char* pContentLocation;
} tMMS_NotificationInd;

typedef struct tMMS_RetrieveConf {
    uint32_t bDeliveryReport;
    uint32_t bReadReport;
    uint8_t bMessageClass;
    uint8_t bPriority;
    uint32_t iDate;
    uint32_t iBodyLen;
    uint8_t* pBody;
    char* pTransactionId;
    char* pMessageId;
    char* From;
    char* pTo;
    char* pCc;
    char* pSubject;
} tMMS_RetrieveConf;

typedef struct tMMS_DeliveryInd {
    uint8_t bStatus;
    char* pMessageId;
    char* pTo;
    uint32_t iDate;
} tMMS_DeliveryInd;

typedef struct tMMS_NotifyRespInd {
    uint8_t bMessageType;
    uint8_t bVersion;
    uint8_t bStatus;
    uint8_t bReportAllowed;
    char* pTransactionId;
} tMMS_NotifyRespInd;

typedef struct tMMS_AcknowledgeInd {
    uint8_t bMessageType;
    uint8_t bVersion;
    uint8_t bReportAllowed;
    char* pTransactionId;
} tMMS_AcknowledgeInd;

typedef struct tMMS_ReadRecInd {
    char* pMessageId;
    char* pTo;
    char* pReserved;
    uint8_t bReadStatus;
    uint32_t iDate;
} tMMS_ReadRecInd;

typedef struct tMMS_ReadOrigInd {
    char* pMessageId;
    char* From;
    char* pTo;
    uint32_t iDate;
    uint8_t bReadStatus;
} tMMS_ReadOrigInd;

typedef struct tMMS_ForwardReq {
    uint32_t bDeliveryReport;
    uint32_t bReadReport;
    char* pTransactionId;
    char* pTo;
    char* pCc;
    char* pBcc;
    char* pContentLocation;
    uint32_t iDate;
    uint32_t bExpiryRelative;
    uint32_t iExpiry;
    uint32_t bDeliveryTimeRelative;
    uint32_t iDeliveryTime;
} tMMS_ForwardReq;

void* fnMMS_AllocMessageMem(uint8_t kind);
void fnMMS_FreeMessageMem(void* record, uint8_t kind);

/* ---- Decoding -------------------------------------------------------------------------- */

tMMS_RetrieveConf* fnMMS_ParseRetrieveConf(const uint8_t* pdu, int32_t len);

/* Why the last decoder of this header gave null: a static English sentence part without a full
 * stop, never null, and the offset of the byte in the decoder's input at which it gave up.
 * Reset by every decoder that succeeds ("no error", 0). */
const char* fnMMS_GetLastError(uint32_t* offset);

/* ---- Message bodies -------------------------------------------------------------------- */

typedef struct tMMS_MediaData {
    char* pContentLocation;
    char* pContentId;
    char* pName;
    uint8_t* pData;
    uint32_t iDataLen;
    uint32_t iCharset;
    uint8_t bHasCharset;
    uint8_t bHasFwd;
    uint8_t bFwd;
    uint8_t* pFwdParam;
    uint32_t iFwdParamLen;
    char* pContentType;
    struct tMMS_MediaData* pNext;
    uint32_t IsSmil;
    uint32_t bDrmSeparate;
    uint32_t iDrmInfo1;
    uint32_t iDrmInfo2;
} tMMS_MediaData;

typedef struct tMMS_SmilPart {
    char* pContentType;
    uint8_t* pData;
    uint32_t iDataLen;
} tMMS_SmilPart;

typedef struct tMMS_ContentUnion {
    tMMS_SmilPart* pSmil;
    tMMS_MediaData* pMediaList;
} tMMS_ContentUnion;

tMMS_ContentUnion* fnMMS_GetMediaDataFromPdu(const uint8_t* body, int32_t len);
void fnMMS_FreeMediaData(tMMS_ContentUnion* content);
void fnMMS_FreeContentUnion(tMMS_ContentUnion* content);
int32_t fnMMS_EmptyMMS(const uint8_t* body);

#ifdef __cplusplus
}
#endif

#endif
