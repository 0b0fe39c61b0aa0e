// What the Python package uses of the C interface, read by cffi: no preprocessor, and the bare
// records.
typedef struct {
    uint32_t iLayer, iOffset, iLength;
    uint16_t iDepth;
    uint8_t iKind, iFlaw;
    uint32_t iCode;
    const char *pName, *pValue, *pFlaw;
} tMMS_Node;
typedef struct {
    uint32_t iNode, iCode;
    const char* pName;
    uint8_t iForm;
    const char* pValue;
    int64_t iNumber;
} tMMS_HeaderField;
typedef struct {
    uint32_t iNode;
    const char *pType, *pName, *pCharset;
    const uint8_t* pData;
    uint32_t iDataLen, iMissing;
    uint8_t bText, bPresentation, bAlternative;
    uint16_t iDepth;
    uint32_t iLayer, iOffset, iLength;
} tMMS_Part;
typedef struct {
    uint32_t iByte, iBytes, iLayer, iFlaw;
    const char* pText;
} tMMS_Note;
typedef struct {
    const char* pName;
    const uint8_t* pData;
    uint32_t iLength, iParent;
} tMMS_Layer;
typedef struct {
    uint32_t iMessage, iMessageType;
    const char *pKind, *pLooksLike;
    uint32_t iMessageLayer, iMessageOffset, iMessageLength;
    const tMMS_Layer* pLayers;
    uint32_t iLayers;
    const tMMS_Node* pNodes;
    uint32_t iNodes;
    const tMMS_HeaderField* pHeaders;
    uint32_t iHeaders;
    const tMMS_Part* pParts;
    uint32_t iParts;
    const tMMS_Note* pNotes;
    uint32_t iNotes;
} tMMS_Anatomy;
typedef struct {
    uint32_t iPart;
    const char *pName, *pOriginal;
    uint32_t iOffset, iLength;
} tMMS_MendedPart;
typedef struct {
    const uint8_t* pData;
    uint32_t iLength, bChanged, iBody;
    const tMMS_MendedPart* pParts;
    uint32_t iParts;
    const tMMS_Note* pNotes;
    uint32_t iNotes;
} tMMS_Mended;
tMMS_Anatomy* fnMMS_Dissect(const uint8_t* data, uint32_t len);
void fnMMS_FreeAnatomy(tMMS_Anatomy* anatomy);
tMMS_Mended* fnMMS_MendOnce(tMMS_Anatomy* anatomy);
void fnMMS_FreeMended(tMMS_Mended* mended);
typedef struct {
    int32_t Left, Top, Width, Height;
    char* Data;
    int32_t Begin, End;
} tPAR_Text;
typedef struct {
    int32_t Left, Top, Width, Height;
    uint8_t* Data;
    char *Type, *Name;
    int32_t IsDrm, DrmType;
    uint32_t DrmInfo1, DrmInfo2;
    int32_t Begin, End, Length;
} tPAR_Image;
typedef struct {
    uint8_t* Data;
    char *Type, *Name;
    int32_t IsDrm, DrmType;
    uint32_t DrmInfo1, DrmInfo2;
    int32_t Begin, End, Length;
} tPAR_Audio;
typedef struct {
    char *Name, *Type;
    uint8_t* Data;
    int32_t Length, DrmType;
    uint32_t DrmInfo1, DrmInfo2;
} tPAR_Attachment;
int32_t fnPAR_SmilParserEntry(const uint8_t* pdu, int32_t length);
int32_t fnPAR_SmilFree(void);
int32_t fnPAR_InitCurPar(void);
int32_t fnPAR_ProceedNextPar(void);
int32_t fnPAR_IsParEmpty(void);
int32_t fnPAR_GetCurParDur(void);
int32_t fnPAR_GetCurParBgColor(uint32_t* out);
int32_t fnPAR_GetCurParForeColor(uint32_t* out);
int32_t fnPAR_GetCurParText(tPAR_Text* out);
int32_t fnPAR_GetCurParImg(tPAR_Image* out);
int32_t fnPAR_GetCurParAudio(tPAR_Audio* out);
int32_t fnPAR_GetCurParVideo(tPAR_Image* out);
int32_t fnPAR_GetTotalAttachments(void);
int32_t fnPAR_GetAttachment(tPAR_Attachment* out, int32_t index);
const char* fnMMS_GetLastError(uint32_t* offset);
typedef struct {
    uint8_t* pData;
    char *pType, *pName;
    int32_t iBegin, iEnd;
    uint32_t iSize;
    int32_t aiLayout[4];
} CPSMediaInfo;
typedef struct {
    uint8_t* pData;
    char *pType, *pName;
    int32_t iBegin, iEnd;
    uint32_t iSize;
} CPSAudioInfo;
typedef struct {
    char* pText;
    int32_t iBegin, iEnd;
    uint32_t iLength;
    int32_t aiLayout[4];
} CPSTextInfo;
typedef struct {
    uint8_t* pData;
    char *pName, *pType;
    uint32_t iSize;
} CPSAttachmentInfo;
int32_t fnCPS_NewMms(void);
void fnCPS_Quit(void);
int32_t fnCPS_AddSlide(void);
int32_t fnCPS_SetCurSlideDuration(int32_t ms);
int32_t fnCPS_AddImage(const CPSMediaInfo* info);
int32_t fnCPS_AddVideo(const CPSMediaInfo* info);
int32_t fnCPS_AddAudio(const CPSAudioInfo* info);
int32_t fnCPS_AddText(const CPSTextInfo* info);
void fnCPS_SetCurBgColor(uint32_t rgb);
void fnCPS_SetCurForeColor(uint32_t rgb);
int32_t fnCPS_AddAttachment(const CPSAttachmentInfo* info);
uint8_t* fnCPS_GetMmsContentPdu(uint32_t* len);
typedef struct {
    uint32_t bDeliveryReport, bReadReport, bSenderVisible;
    char *pTransactionId, *From, *pTo, *pCc, *pBcc, *pSubject;
    uint8_t* pContent;
    uint8_t bMessageClass, bPriority;
    uint32_t iDate, bExpiryRelative, iExpiry, bDeliveryTimeRelative, iDeliveryTime, iContentLen;
} tMMS_SendReq;
void* fnMMS_AllocMessageMem(uint8_t kind);
void fnMMS_FreeMessageMem(void* record, uint8_t kind);
uint8_t* fnMMS_MakeSendMessagePdu(const tMMS_SendReq* request, uint32_t* len);
void fnMMS_FreeMadeMsgPduBuf(uint8_t* pdu);
char* fnSC_MEMSTRCOPY(const char* s);
typedef struct {
    uint32_t iYear, iMonth, iDay, iHour, iMinute, iSecond, iWeek;
} tSCFS_DateTime;
typedef struct {
    char *pHref, *pSiId, *pNotifyText;
    uint32_t iCharset;
    tSCFS_DateTime tCreated, tSiExpires;
    uint8_t bAction;
} tPush_SiContent;
typedef struct {
    char* pHref;
    uint32_t iCharset;
    uint8_t bAction;
} tPush_SlContent;
tPush_SiContent* fnMMSPush_DecodeSic(const uint8_t* pData, uint32_t iLen);
tPush_SlContent* fnMMSPush_DecodeSlc(const uint8_t* pData, uint32_t iLen);
tPush_SiContent* fnMMSPush_DecodeXmlSic(char* pText, uint32_t iLen);
tPush_SlContent* fnMMSPush_DecodeXmlSl(char* pText, uint32_t iLen);
void fnMMSPush_FreeSic(tPush_SiContent* pSi);
void fnMMSPush_FreeSlc(tPush_SlContent* pSl);
