/*
 * mmskit presentation: the slide view of a received message.
 *
 * One message is viewed at a time; the view is module state. fnPAR_SmilParserEntry builds it,
 * fnPAR_SmilFree releases it. Every pointer that a getter hands out is borrowed: it stays valid
 * until fnPAR_SmilFree (or the next fnPAR_SmilParserEntry), and media bytes point into the PDU
 * bytes that the host passed in, which must stay alive and unchanged as long.
 * Functions return 1 for success or yes and 0 for failure or no unless stated otherwise.
 * Times are milliseconds, colours 0xAARRGGBB.
 */
#ifndef MMSKIT_PRESENTATION_H
#define MMSKIT_PRESENTATION_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- The view's records ---------------------------------------------------------------- */

typedef struct tSMIL_Region {
    char* Id;
    int32_t Left, Top, Width, Height;
    char* Fit;
    struct tSMIL_Region* Next;
} tSMIL_Region;

typedef struct tSMIL_Text {
    char* Data;
    char* Reserved;
    int32_t Begin, End;
    int32_t Left, Top, Width, Height;
    struct tSMIL_Text* Next;
} tSMIL_Text;

/* An image or a video. */
typedef struct tSMIL_Media {
    uint8_t* Data;
    char* Type;
    char* Name;
    char* Reserved;
    int32_t Length;
    int32_t Begin, End;
    int32_t IsDrm;
    int32_t DrmType;
    uint32_t DrmInfo1, DrmInfo2;
    int32_t Left, Top, Width, Height;
    struct tSMIL_Media* Next;
} tSMIL_Media;

typedef struct tSMIL_Audio {
    uint8_t* Data;
    char* Type;
    char* Name;
    char* Reserved;
    int32_t Length;
    int32_t Begin, End;
    int32_t IsDrm;
    int32_t DrmType;
    uint32_t DrmInfo1, DrmInfo2;
    struct tSMIL_Audio* Next;
} tSMIL_Audio;

typedef struct tSMIL_Par {
    int32_t Dur;
    tSMIL_Text* Text;
    tSMIL_Media* Img;
    tSMIL_Audio* Audio;
    tSMIL_Media* Video;
    struct tSMIL_Par* Next;
    struct tSMIL_Par* Prev;
    int32_t IsBgColor;
    uint32_t bgColor;
    int32_t IsForeColor;
    uint32_t foreColor;
} tSMIL_Par;

typedef struct tSMIL_Attachment {
    uint8_t* Data;
    char* Name;
    char* Type;
    int32_t DrmType;
    char* Alt;
    int32_t Length;
    struct tSMIL_Attachment* Prev;
    struct tSMIL_Attachment* Next;
    uint32_t DrmInfo1, DrmInfo2;
} tSMIL_Attachment;

typedef struct tSMIL_View {
    int32_t RootWidth;
    int32_t RootHeight;
    tSMIL_Region* RegionList;
    tSMIL_Par* ParList;
    tSMIL_Par* CurPar;
    tSMIL_Attachment* AttachmentList;
    int32_t IsBgColor;
    uint32_t bgColor;
} tSMIL_View;

extern tSMIL_View tSMIL_ViewStruct;
extern const char* const SmilTag[15];
extern const char* const SmilAttribute[16];

/* ---- Output records -------------------------------------------------------------------- */

typedef struct tPAR_Text {
    int32_t Left, Top, Width, Height;
    char* Data;
    int32_t Begin, End;
} tPAR_Text;

typedef struct tPAR_Image {
    int32_t Left, Top, Width, Height;
    uint8_t* Data;
    char* Type;
    char* Name;
    int32_t IsDrm;
    int32_t DrmType;
    uint32_t DrmInfo1, DrmInfo2;
    int32_t Begin, End;
    int32_t Length;
} tPAR_Image;

typedef tPAR_Image tPAR_Video;

typedef struct tPAR_Audio {
    uint8_t* Data;
    char* Type;
    char* Name;
    int32_t IsDrm;
    int32_t DrmType;
    uint32_t DrmInfo1, DrmInfo2;
    int32_t Begin, End;
    int32_t Length;
} tPAR_Audio;

typedef struct tPAR_Attachment {
    char* Name;
    char* Type;
    uint8_t* Data;
    int32_t Length;
    int32_t DrmType;
    uint32_t DrmInfo1, DrmInfo2;
} tPAR_Attachment;

/* ---- Building and walking the view ----------------------------------------------------- */

int32_t fnPAR_SmilParserEntry(const uint8_t* pdu, int32_t length);
int32_t fnPAR_SmilFree(void);
int32_t fnPAR_InitCurPar(void);
int32_t fnPAR_ProceedNextPar(void);
int32_t fnPAR_ProceedPrePar(void);
int32_t fnPAR_IsParEmpty(void);
int32_t fnPAR_GetCurParDur(void);
int32_t fnPAR_GetCurParBgColor(uint32_t* out);
int32_t fnPAR_GetCurParForeColor(uint32_t* out);
int32_t fnPAR_IsDrmObjectIncluded(void);

/* ---- Media of the current slide and attachments ---------------------------------------- */

int32_t fnPAR_GetCurParText(tPAR_Text* out);
int32_t fnPAR_GetCurParImg(tPAR_Image* out);
int32_t fnPAR_GetCurParAudio(tPAR_Audio* out);
int32_t fnPAR_GetCurParVideo(tPAR_Video* out);
int32_t fnPAR_GetTotalAttachments(void);
char* fnPAR_GetAttachmentName(int32_t index);
int32_t fnPAR_GetAttachment(tPAR_Attachment* out, int32_t index);

/* ---- Classification and naming --------------------------------------------------------- */

int32_t fnPAR_IsPlayedMedia(const char* contentType);
int32_t fnPAR_DrmType(const char* type, const uint8_t* data, int32_t length, int32_t* headerLength,
                      char* innerType);
int32_t fnPAR_CreatMediaObjName(char* dst, const char* contentType, int32_t number);

#ifdef __cplusplus
}
#endif

#endif
