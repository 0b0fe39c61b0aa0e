/**
 * @file
 * @brief mmskit composer: one message under construction, slide by slide.
 *
 * The composition is module state: at most 10 slides and 10 attachments. Every editing call acts
 * on the current slide (the cursor). Records passed in are borrowed and copied; the GetCur calls
 * hand out the composer's own pointers, valid until the medium, the slide or the composition
 * goes. Times are milliseconds, colours 0xRRGGBB. Results are the CPS codes below unless stated.
 *
 * A failed call leaves the composition as it was unless its comment says otherwise. Calls while the
 * composer is closed do no harm: they work on what it holds, which is one empty slide before it is
 * first opened and after fnCPS_Quit, and what they add is dropped when it is opened.
 */
#ifndef MMSKIT_COMPOSER_H
#define MMSKIT_COMPOSER_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Result codes ---------------------------------------------------------------------- */

enum {
    CPS_OK = 0,
    CPS_NO_MEMORY = -1,                /**< also a size that the record's int32 cannot hold */
    CPS_IN_USE = -2,                   /**< a composition is open already */
    CPS_MEDIUM_PRESENT = -3,           /**< the slide holds a medium of this kind */
    CPS_SLIDE_HAS_VIDEO = -4,          /**< no image or audio beside a video */
    CPS_SLIDE_HAS_IMAGE_OR_AUDIO = -5, /**< no video beside an image or audio */
    CPS_LIMIT_REACHED = -6,            /**< 10 slides, or 10 attachments */
    CPS_NOT_A_MESSAGE = -7,            /**< re-editing: not a message that can be read */
    CPS_NO_MEDIUM = -8,                /**< the slide holds no medium of this kind */
    CPS_LAST_SLIDE = -9,
    CPS_FIRST_SLIDE = -10,
    CPS_SLIDE_UNUSED = -11,
    CPS_BAD_ARGUMENT = -12, /**< a null record or member, or a duration below 1 */
    CPS_BAD_INDEX = -16     /**< no such attachment; re-editing: a layout that broke off */
};

enum { CPS_MAX_SLIDES = 10, CPS_MAX_ATTACHMENTS = 10 };

/* ---- The composition ------------------------------------------------------------------- */

/** One slide. It owns its texts, which are NUL-terminated, and bytes. Begin and end count from the
 * slide's start. The layout integers are kept for the host and never written into a message. */
/* NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): the order is the binary interface */
typedef struct CPSSlideStruct {
    uint8_t bImage;           /**< 1 when the slide holds one; likewise the next three */
    uint8_t bText;            /**< 1 when the slide holds a text */
    uint8_t bAudio;           /**< 1 when the slide holds a sound */
    uint8_t bVideo;           /**< 1 when the slide holds a video */
    uint8_t* pImageData;      /**< null without an image; likewise the others */
    char* pImageType;         /**< content type */
    char* pImageName;         /**< the presentation's src and the part's name */
    int32_t iImageSize;       /**< bytes */
    int32_t iImageBegin;      /**< milliseconds from the start of the slide */
    int32_t iImageEnd;        /**< an empty slide: 5000; likewise the other ends */
    int32_t aiImageLayout[4]; /**< left, top, width, height; for the host */
    char* pText;              /**< UTF-8 */
    int32_t iTextLen;         /**< bytes, as given by the host */
    int32_t iTextBegin;       /**< milliseconds from the start of the slide */
    int32_t iTextEnd;         /**< milliseconds from the start of the slide */
    int32_t aiTextLayout[4];  /**< as above */
    uint8_t* pAudioData;      /**< as of the image */
    int32_t iAudioSize;       /**< bytes */
    char* pAudioType;         /**< content type */
    char* pAudioName;         /**< as pImageName */
    int32_t iAudioBegin;      /**< milliseconds from the start of the slide */
    int32_t iAudioEnd;        /**< milliseconds from the start of the slide */
    uint8_t* pVideoData;      /**< as of the image */
    int32_t iVideoSize;       /**< bytes */
    char* pVideoType;         /**< content type */
    char* pVideoName;         /**< as pImageName */
    int32_t iVideoBegin;      /**< milliseconds from the start of the slide */
    int32_t iVideoEnd;        /**< milliseconds from the start of the slide */
    int32_t aiVideoLayout[4]; /**< as above */
    uint32_t bBgColor;        /**< 1 when bgColor was set */
    uint32_t bgColor;         /**< 0xRRGGBB */
    uint32_t bForeColor;      /**< 1 when foreColor, the text's colour, was set */
    uint32_t foreColor;       /**< 0xRRGGBB */
} CPSSlideStruct;

/** One attachment, owning its members; all zero when the slot is empty. */
typedef struct CPSAttachment {
    uint8_t* pData; /**< its bytes */
    char* Name;     /**< of the part */
    char* Type;     /**< content type */
    uint32_t iSize; /**< bytes */
} CPSAttachment;

/** The composition: its slides and attachments. */
typedef struct CPSNewMessage {
    uint32_t iTotalSize;  /**< bytes of all media, texts and attachments, modulo 2^32 */
    int32_t iTotalSlides; /**< 1 to CPS_MAX_SLIDES */
    uint32_t iCurSlide;   /**< the cursor, from 0 */
    uint32_t bSlideUsed[CPS_MAX_SLIDES];            /**< 1 for the leading iTotalSlides */
    int32_t iSlideDur[CPS_MAX_SLIDES];              /**< 12000 for a new slide */
    CPSSlideStruct* slidestruct[CPS_MAX_SLIDES];    /**< the slides in their order */
    int32_t TotalAttachment;                        /**< 0 to CPS_MAX_ATTACHMENTS */
    CPSAttachment* attachment[CPS_MAX_ATTACHMENTS]; /**< the attachments in their order */
} CPSNewMessage;

/** @{ */
/** The state itself, for a host that wants to look. Slide i of the message is tCPS_SlideStruct[i],
 * attachment i tCPS_Attachment[i]; both are changed through the calls below. Slides are all zero
 * until the composer is first opened: ends and colours get their defaults then. */
extern CPSNewMessage tCPS_NewMessage;
extern CPSSlideStruct tCPS_SlideStruct[CPS_MAX_SLIDES];
extern CPSAttachment tCPS_Attachment[CPS_MAX_ATTACHMENTS];
/** @} */

/** "text/plain" and the file extensions of the media that hosts of this library compose. For the
 * host: no call looks at it. */
extern const char* const baCPSMediaType[27];

/* ---- Records of the caller ------------------------------------------------------------- */

/** An image or a video. Sizes are bytes; every member that points must be set. */
typedef struct CPSMediaInfo {
    uint8_t* pData;       /**< its bytes */
    char* pType;          /**< "image/jpeg"; a message carries its first 24 characters */
    char* pName;          /**< "sunset.jpg"; a part carries its first 49 bytes */
    int32_t iBegin, iEnd; /**< milliseconds from the start of the slide */
    uint32_t iSize;       /**< bytes */
    int32_t aiLayout[4];  /**< left, top, width, height; for the host */
} CPSMediaInfo;

/** A sound, as CPSMediaInfo. */
typedef struct CPSAudioInfo {
    uint8_t* pData;       /**< its bytes */
    char* pType;          /**< content type */
    char* pName;          /**< of the part */
    int32_t iBegin, iEnd; /**< milliseconds from the start of the slide */
    uint32_t iSize;       /**< bytes */
} CPSAudioInfo;

/** The text of a slide. */
typedef struct CPSTextInfo {
    char* pText;          /**< UTF-8 */
    int32_t iBegin, iEnd; /**< milliseconds from the start of the slide */
    uint32_t iLength;     /**< of the text; a longer text is cut to it */
    int32_t aiLayout[4];  /**< left, top, width, height; for the host */
} CPSTextInfo;

/** Mind the order: here the name comes before the type. A message carries the whole type. */
typedef struct CPSAttachmentInfo {
    uint8_t* pData; /**< its bytes */
    char* pName;    /**< of the part */
    char* pType;    /**< content type */
    uint32_t iSize; /**< bytes */
} CPSAttachmentInfo;

/* ---- Opening and closing --------------------------------------------------------------- */

/** Opens the composer with one empty slide. CPS_IN_USE, with nothing changed, while it is open. */
int32_t fnCPS_NewMms(void);

/** Opens the composer on the content of a received message, the `len` bytes of its body from the
 * Content-Type header (0x84) on, as pBody of a tMMS_RetrieveConf. Everything is copied: the body
 * may be freed afterwards. The first slide is then current, as after opening. The slide view
 * (presentation.h) is used and released: a message that the host is viewing is gone afterwards,
 * except after CPS_IN_USE, CPS_BAD_ARGUMENT and a length below 1.
 *
 * Taken over are the first ten slides: duration (12000 when there is none), the video, or else the
 * image and the audio, with their timing, and colours, a slide without a background colour taking
 * that of the presentation; the text, shown from 0 to 5000; and the attachments. Geometry is not.
 * An empty medium is left out. An empty text is taken and makes the composition incomplete.
 *
 * Attachments: one without data leaves its slot empty. A protected one (OMA DRM) that may not be
 * forwarded is left out, and the next goes into the slot after the count of those taken; so an
 * attachment may stand in a slot at or beyond fnCPS_GetTotalAttachments, where
 * fnCPS_GetAttachment still reads it but no message carries it.
 *
 * CPS_IN_USE while the composer is open; CPS_BAD_ARGUMENT for a null body; CPS_NOT_A_MESSAGE for
 * one that cannot be read (a length below 1 included); CPS_BAD_INDEX when its layout broke off
 * after a slide (fnMMS_GetLastError says why for both); CPS_NO_MEMORY. Memory that is out while the
 * message is laid out counts as one of the former two; CPS_NO_MEMORY is told while copying. After a
 * failure the composer is closed and holds nothing but the colours, which fnCPS_Quit keeps too. The
 * body must not lie in what the composer or the slide view holds: both are released first. */
int32_t fnCPS_ReEditMms(const uint8_t* pdu, int32_t len);

/** Frees all that the composition holds and closes the composer, whether it is open or not. The
 * colours of a slide stay to be read until the composer is opened again. */
void fnCPS_Quit(void);

/** Back to one empty slide without attachments, the composer staying as open as it is. The colours
 * of the slides stay as they are. */
void fnCPS_Empty(void);

/* ---- Slides ---------------------------------------------------------------------------- */

/** Inserts an empty slide after the current one and makes it current. CPS_LIMIT_REACHED with ten
 * slides. */
int32_t fnCPS_AddSlide(void);

/** Deletes the current slide; the next one, or else the one before, becomes current. The only slide
 * is emptied instead, keeping its colours, and fnCPS_GetTotalSize then starts from 0 again even
 * with attachments. Always CPS_OK. */
int32_t fnCPS_DeleteCurSlide(void);

/** @{ */
/** Move the cursor; CPS_LAST_SLIDE or CPS_FIRST_SLIDE when there is no such slide. */
int32_t fnCPS_GoNextSlide(void);
int32_t fnCPS_GoPreSlide(void);
/** @} */

/** @{ */
/** From 0. */
int32_t fnCPS_GetCurSlideIndex(void);
int32_t fnCPS_GetTotalSlides(void);
/** @} */

/** @{ */
/** At least 1, else CPS_BAD_ARGUMENT; a message carries at most 120000. */
int32_t fnCPS_SetCurSlideDuration(int32_t ms);
int32_t fnCPS_GetCurSlideDuration(void);
/** @} */

/* ---- Media of the current slide -------------------------------------------------------- */

/** @{ */
/** Copy the medium onto the slide: at most one of each kind, and a video only without image and
 * audio. A size of 0 is stored but makes the composition incomplete. CPS_BAD_ARGUMENT for a null
 * record or member, CPS_MEDIUM_PRESENT, CPS_SLIDE_HAS_VIDEO, CPS_SLIDE_HAS_IMAGE_OR_AUDIO,
 * CPS_NO_MEMORY. */
int32_t fnCPS_AddImage(const CPSMediaInfo* info);
int32_t fnCPS_AddVideo(const CPSMediaInfo* info);
int32_t fnCPS_AddAudio(const CPSAudioInfo* info);
int32_t fnCPS_AddText(const CPSTextInfo* info);
/** @} */

/** @{ */
/** Free the medium; CPS_NO_MEDIUM without one. */
int32_t fnCPS_DeleteCurImage(void);
int32_t fnCPS_DeleteCurVideo(void);
int32_t fnCPS_DeleteCurAudio(void);
int32_t fnCPS_DeleteCurText(void);
/** @} */

/** @{ */
/** Fill the record; its pointers are the composer's. CPS_BAD_ARGUMENT for a null record,
 * CPS_NO_MEDIUM without a medium; the record is then left as it is. */
int32_t fnCPS_GetCurImage(CPSMediaInfo* out);
int32_t fnCPS_GetCurVideo(CPSMediaInfo* out);
int32_t fnCPS_GetCurAudio(CPSAudioInfo* out);
int32_t fnCPS_GetCurText(CPSTextInfo* out);
/** @} */

/** @{ */
/** 1 or 0. */
uint32_t fnCPS_CurImageExist(void);
uint32_t fnCPS_CurTextExist(void);
uint32_t fnCPS_CurAudioExist(void);
uint32_t fnCPS_CurVideoExist(void);
/** @} */

/* ---- Colours of the current slide ------------------------------------------------------ */

/** @{ */
/** Give the slide its colour, and its text's. */
void fnCPS_SetCurBgColor(uint32_t rgb);
void fnCPS_SetCurForeColor(uint32_t rgb);
/** @} */

/** @{ */
/** 1 and the colour at `out`, or 0 with `out` left as it is when none was set or `out` is null. */
uint32_t fnCPS_GetCurBgColor(uint32_t* out);
uint32_t fnCPS_GetCurForeColor(uint32_t* out);
/** @} */

/** @{ */
/** 1 or 0. */
uint32_t fnCPS_CurBgColorExist(void);
uint32_t fnCPS_CurForeColorExist(void);
/** @} */

/* ---- Attachments ----------------------------------------------------------------------- */

/** Copies the attachment into slot fnCPS_GetTotalAttachments, freeing what stands there (only
 * re-editing leaves something), also when it then fails. CPS_LIMIT_REACHED with ten;
 * CPS_BAD_ARGUMENT for a null record or member; CPS_NO_MEMORY leaves a slot that has the size and
 * nothing else, and does not count. */
int32_t fnCPS_AddAttachment(const CPSAttachmentInfo* info);

/** The later ones move down by one. CPS_BAD_INDEX below 0 and from the count on. */
int32_t fnCPS_DeleteAttachment(int32_t index);

/** Empties all ten slots, those beyond the count included. */
void fnCPS_DeleteAllAttachments(void);

/** Reads slot `index`, whatever the count; a slot without an attachment gives nulls. The pointers
 * are the composer's. CPS_BAD_ARGUMENT for a null record; CPS_BAD_INDEX, with the record left as it
 * is, for an index that is no slot (0 to 9). */
int32_t fnCPS_GetAttachment(CPSAttachmentInfo* out, int32_t index);

/** @{ */
/** The name in slot `index`; null for an empty slot and for an index that is no slot. */
const char* fnCPS_GetAttachmentName(int32_t index);
int32_t fnCPS_GetTotalAttachments(void);
/** @} */

/* ---- Sizes and output ------------------------------------------------------------------ */

/** Bytes of all media, texts and attachments, as kept by the calls above. */
uint32_t fnCPS_GetTotalSize(void);

/** An estimate of the message's size: 512 bytes a slide, the media and the attachments. Texts are
 * not counted. */
int32_t fnCPS_GetAllSize(void);

/** The message body, a new block of `*len` bytes, for pContent of a tMMS_SendReq. It is freed with
 * fnSC_Free(&body), the ADDRESS of the pointer: fnSC_Free(body) compiles, and crashes. It holds the
 * presentation first, then slide by slide the text ("Text0.txt", with the
 * slide's index), the video or the image and the audio, then the attachments. Without any medium,
 * text and attachment it is the empty body (84 A3 00).
 *
 * Media bytes are not changed; the data of a text/plain attachment ends at its first NUL, the rest
 * being zeros. Durations and times are capped at 120000 (negative times too). Timings of images,
 * audio and videos are corrected in the composition itself: an end beyond the slide's duration
 * becomes the duration, and then a begin not before the end becomes 0. Names are written into the
 * presentation as they are: a host keeps quotes and angle brackets out of them. A part that memory
 * runs out for is left out.
 *
 * Null, with `*len` as it was, when the composition is incomplete (a text or medium of size 0) or
 * memory is out before encoding, and for a null `len`; null with `*len` 0 when encoding fails. */
uint8_t* fnCPS_GetMmsContentPdu(uint32_t* len);

#ifdef __cplusplus
}
#endif

#endif
