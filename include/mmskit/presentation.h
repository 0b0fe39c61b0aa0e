/**
 * @file
 * @brief mmskit presentation: the slide view of a received message.
 *
 * One message is viewed at a time; the view is module state. fnPAR_SmilParserEntry builds it,
 * fnPAR_SmilFree releases it, and every other call is safe before, between and after them: without
 * a message there is no slide and no attachment.
 *
 * Ownership: the view owns its records, the texts that it shows (converted copies), and all types
 * and names. The bytes of images, sounds, videos and attachments are never copied: they point into
 * the body that the host passed in, which must stay alive and unchanged as long as the view.
 * Every pointer that a getter hands out is borrowed and ends with fnPAR_SmilFree or the next
 * fnPAR_SmilParserEntry; the host frees none of them.
 *
 * Functions return 1 for success or yes and 0 for failure or no unless stated otherwise; a getter
 * that returns 0 leaves its output as it was. Times are milliseconds, places and sizes pixels,
 * colours 0xAARRGGBB (a colour written as `#RRGGBB` has alpha 0). Texts are NUL-terminated UTF-8
 * where the part declared its character set, else the bytes as they came.
 */
#ifndef MMSKIT_PRESENTATION_H
#define MMSKIT_PRESENTATION_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- The view's records ---------------------------------------------------------------- */

/**
 * @file
 * @par The view's records
 * For reading only. The host may set CurPar to a slide of the list, or to null; everything else is
 * the library's.
 */

/** A region of the SMIL layout. A percentage is kept as its bare number. */
typedef struct tSMIL_Region {
    char* Id;                         /**< or null */
    int32_t Left, Top, Width, Height; /**< pixels, or a percentage as its number */
    char* Fit;                        /**< as written, or null */
    struct tSMIL_Region* Next;        /**< or null */
} tSMIL_Region;

/** An element without a region has the place 0, 0 and the size 0 by 0. */
typedef struct tSMIL_Text {
    char* Data;                       /**< owned by the element */
    char* Reserved;                   /**< null */
    int32_t Begin, End;               /**< milliseconds from the start of the slide */
    int32_t Left, Top, Width, Height; /**< pixels; 0 without a region */
    struct tSMIL_Text* Next;          /**< or null */
} tSMIL_Text;

/** An image or a video. */
typedef struct tSMIL_Media {
    uint8_t* Data; /**< inside the message; of a DRM message the whole wrapper */
    char* Type;    /**< content type, or null */
    char* Name; /**< location, name or content id of the part, the first one not empty, or null */
    char* Reserved;                   /**< null */
    int32_t Length;                   /**< bytes of Data */
    int32_t Begin, End;               /**< milliseconds from the start of the slide */
    int32_t IsDrm;                    /**< 1 for a protected part */
    int32_t DrmType;                  /**< class of fnPAR_DrmType */
    uint32_t DrmInfo1, DrmInfo2;      /**< of class 5; else 0 */
    int32_t Left, Top, Width, Height; /**< pixels; 0 without a region */
    struct tSMIL_Media* Next;         /**< or null */
} tSMIL_Media;

/** A sound; members as of tSMIL_Media. */
typedef struct tSMIL_Audio {
    uint8_t* Data;               /**< inside the message */
    char* Type;                  /**< content type, or null */
    char* Name;                  /**< of the part, or null */
    char* Reserved;              /**< null */
    int32_t Length;              /**< bytes of Data */
    int32_t Begin, End;          /**< milliseconds from the start of the slide */
    int32_t IsDrm;               /**< 1 for a protected part */
    int32_t DrmType;             /**< class of fnPAR_DrmType */
    uint32_t DrmInfo1, DrmInfo2; /**< of class 5; else 0 */
    struct tSMIL_Audio* Next;    /**< or null */
} tSMIL_Audio;

/** A slide. In each list the last element of the document comes first. */
typedef struct tSMIL_Par {
    int32_t Dur;            /**< 0 when none was given */
    tSMIL_Text* Text;       /**< the first of its list, or null */
    tSMIL_Media* Img;       /**< likewise */
    tSMIL_Audio* Audio;     /**< likewise */
    tSMIL_Media* Video;     /**< likewise */
    struct tSMIL_Par* Next; /**< or null */
    struct tSMIL_Par* Prev; /**< or null */
    int32_t IsBgColor;      /**< 1 when the slide gives a background colour */
    uint32_t bgColor;       /**< 0xAARRGGBB */
    int32_t IsForeColor;    /**< 1 when the slide gives its text's colour */
    uint32_t foreColor;     /**< 0xAARRGGBB */
} tSMIL_Par;

/** A part that no slide shows. */
typedef struct tSMIL_Attachment {
    uint8_t* Data;                 /**< inside the message */
    char* Name;                    /**< never null */
    char* Type;                    /**< or null */
    int32_t DrmType;               /**< class of fnPAR_DrmType */
    char* Alt;                     /**< null */
    int32_t Length;                /**< bytes of Data */
    struct tSMIL_Attachment* Prev; /**< or null */
    struct tSMIL_Attachment* Next; /**< or null */
    uint32_t DrmInfo1, DrmInfo2;   /**< of class 5; else 0 */
} tSMIL_Attachment;

/** The view of a message. */
typedef struct tSMIL_View {
    int32_t RootWidth;                /**< of the root layout; 0 when not given */
    int32_t RootHeight;               /**< as RootWidth */
    tSMIL_Region* RegionList;         /**< the last one of the document first */
    tSMIL_Par* ParList;               /**< the first slide */
    tSMIL_Par* CurPar;                /**< the current slide */
    tSMIL_Attachment* AttachmentList; /**< the first one, or null */
    int32_t IsBgColor;                /**< 1 when the root layout has a background colour */
    uint32_t bgColor;                 /**< 0xAARRGGBB */
} tSMIL_View;

/** The view; all zero while no message is held. */
extern tSMIL_View tSMIL_ViewStruct;

/** @{ */
/** The SMIL tags and attributes that the parser knows; the last entry of each table is null. */
extern const char* const SmilTag[15];
extern const char* const SmilAttribute[16];
/** @} */

/* ---- Output records -------------------------------------------------------------------- */

/**
 * @file
 * @par Output records
 * Pointers are borrowed from the view and the message. End is behind Begin, or equal to it at the
 * limit of int32: see the getters.
 */

/** The text of a slide. */
typedef struct tPAR_Text {
    int32_t Left, Top, Width, Height; /**< pixels; 0 without a region */
    char* Data;                       /**< NUL-terminated */
    int32_t Begin, End;               /**< milliseconds from the start of the slide */
} tPAR_Text;

/** The image or the video of a slide. */
typedef struct tPAR_Image {
    int32_t Left, Top, Width, Height; /**< pixels; 0 without a region */
    uint8_t* Data;                    /**< inside the message */
    char* Type;                       /**< content type, or null */
    char* Name;                       /**< of the part, or null */
    int32_t IsDrm;                    /**< 1 for a protected part */
    int32_t DrmType;                  /**< class of fnPAR_DrmType */
    uint32_t DrmInfo1, DrmInfo2;      /**< of class 5; else 0 */
    int32_t Begin, End;               /**< milliseconds from the start of the slide */
    int32_t Length;                   /**< bytes of Data */
} tPAR_Image;

/** The video of a slide. */
typedef tPAR_Image tPAR_Video;

/** The sound of a slide. */
typedef struct tPAR_Audio {
    uint8_t* Data;               /**< inside the message */
    char* Type;                  /**< content type, or null */
    char* Name;                  /**< of the part, or null */
    int32_t IsDrm;               /**< 1 for a protected part */
    int32_t DrmType;             /**< class of fnPAR_DrmType */
    uint32_t DrmInfo1, DrmInfo2; /**< of class 5; else 0 */
    int32_t Begin, End;          /**< milliseconds from the start of the slide */
    int32_t Length;              /**< bytes of Data */
} tPAR_Audio;

/** A part that no slide shows. */
typedef struct tPAR_Attachment {
    char* Name;                  /**< of the part */
    char* Type;                  /**< content type, or null */
    uint8_t* Data;               /**< inside the message */
    int32_t Length;              /**< bytes of Data */
    int32_t DrmType;             /**< class of fnPAR_DrmType */
    uint32_t DrmInfo1, DrmInfo2; /**< of class 5; else 0 */
} tPAR_Attachment;

/* ---- Building and walking the view ----------------------------------------------------- */

/** Builds the view of one retrieved message. `pdu` is the message's BODY, from its Content-Type
 * byte 0x84 on (pBody and iBodyLen of tMMS_RetrieveConf), not the whole PDU. A null `pdu` and a
 * length below 1 are refused before anything else: a view that is held stays. On every other path
 * it is released first.
 *
 * With a SMIL part its slides come first; text/plain parts with a character set that it does not
 * mention get further slides behind them (below); all parts on no slide are attachments. A `src`
 * names a part by location, name or content id, or as "cid:" and its content id, ignoring case;
 * a byte of the reference that is no letter agrees with any byte. Parts of equal names are handed
 * out in turn; a reference to no part leaves its element out. When the document is broken (also
 * when its text holds a NUL, a `src` is empty or names a text that cannot be converted, or memory
 * is out for a tag, a slide, an element or a text) the message has no slides and its parts are
 * attachments; a part that the document had placed before it broke appears nowhere. Memory that is
 * out for a region, a type or a name leaves only that out.
 *
 * Without a SMIL part: slides of 20000 ms, each with the next text (160 by 30), image (160 by 170,
 * 0 to 5000 ms) and audio (0 to 5000 ms) that wait, a video only where no image and no audio
 * waits. What counts as which is told by fnPAR_IsPlayedMedia, for a DRM message of class 1 by its
 * inner type; text needs a character set. A part of an ordinary type such as image/jpeg thus
 * becomes an attachment.
 *
 * Result 0: a null `pdu` or a length below 1 (nothing is done); a body that does not decode (the
 * view is empty); without SMIL, a part that has no content type or a text that cannot be converted;
 * an attachment that has neither name nor type; out of memory in the layout. What was built then
 * stays until fnPAR_SmilFree. When it succeeds the last slide is current: call fnPAR_InitCurPar.
 *
 * Limits, above any real message: the texts, types and names copied onto slides may sum to 1 MiB
 * and twice `length`; beyond that a type or name is null and a text is left out.
 * Looking up references to parts and to regions costs at most 2^21 comparisons together (a part or
 * region that a reference passes counts 1, and 1 more for every 16 bytes compared there), so that
 * 1,400 parts may each be referred to, and as many regions; a reference beyond that names nothing.
 * One that differs from the last to its kind of medium in case, digits and marks alone, colons
 * aside, counts 1 and what it passes further on than that one.
 * A text that is converted counts what is converted, also when its result is left out; once
 * a type or name was left out, nothing more is copied.
 *
 * fnMMS_GetLastError (pdu.h) says why the result is 0 and, when it is 1, why the document broke off
 * or what was left out: a text that cannot be converted, or what went beyond a limit. Its offset is
 * that of the part or of the place in the document, counted from `pdu`. */
int32_t fnPAR_SmilParserEntry(const uint8_t* pdu, int32_t length);

/** Releases the view and what it holds of the message; the body belongs to the host. Always 1, also
 * when nothing is held, so calling it again is harmless. Every field of the view is then zero. */
int32_t fnPAR_SmilFree(void);

/** Makes the first slide current; none when there are no slides. Always 1. */
int32_t fnPAR_InitCurPar(void);

/** @{ */
/** Makes the next or the previous slide current; 0 and no change at either end or without a current
 * slide. */
int32_t fnPAR_ProceedNextPar(void);
int32_t fnPAR_ProceedPrePar(void);
/** @} */

/** 1 when there is no current slide. */
int32_t fnPAR_IsParEmpty(void);

/** The current slide's duration; 0 without one, or without a current slide. */
int32_t fnPAR_GetCurParDur(void);

/** The background colour of the current slide, else of the root layout. 0 for a null `out`, without
 * a current slide, and when neither has a colour. */
int32_t fnPAR_GetCurParBgColor(uint32_t* out);

/** The colour of the current slide's text. 0 for a null `out`, without a current slide, and when
 * the slide gives none. */
int32_t fnPAR_GetCurParForeColor(uint32_t* out);

/** 1 when the message held has a part of type application/vnd.oma.drm.message, or one that was
 * marked as delivered separately when the view was built. */
int32_t fnPAR_IsDrmObjectIncluded(void);

/* ---- Media of the current slide and attachments ---------------------------------------- */

/** @{ */
/** One element of the current slide: of several of a kind the last one of the document. 0 for a
 * null `out`, without a current slide, and when the slide has no element of the kind.
 *
 * An End that is not behind Begin becomes Begin and the slide's duration, or Begin + 5000 when the
 * slide has none; it saturates at the limits of int32.
 *
 * IsDrm, DrmType, DrmInfo1 and DrmInfo2 are written only for a protected part, and the last two
 * only for class 5: clear the record before the call. Type and Name are null where the part has
 * none. */
int32_t fnPAR_GetCurParText(tPAR_Text* out);
int32_t fnPAR_GetCurParImg(tPAR_Image* out);
int32_t fnPAR_GetCurParAudio(tPAR_Audio* out);
int32_t fnPAR_GetCurParVideo(tPAR_Video* out);
/** @} */

/** The number of attachments; 0 when no message is held. */
int32_t fnPAR_GetTotalAttachments(void);

/** The name of attachment `index`, counted from 0 in message order; null when there is no such
 * attachment. A part without location, name and content id got one from fnPAR_CreatMediaObjName
 * with its number in the message, placed parts counted too. Stepping through the indexes in either
 * direction is linear in all. */
char* fnPAR_GetAttachmentName(int32_t index);

/** Fills all of `out` from attachment `index`; 0 for a null `out` and for no such attachment. Data
 * of a DRM message of class 4 begins behind the headers, with the empty line that ends them.
 * DrmInfo1 and DrmInfo2 are 0 except for class 5. */
int32_t fnPAR_GetAttachment(tPAR_Attachment* out, int32_t index);

/* ---- Classification and naming --------------------------------------------------------- */

/** How the layout without SMIL shows a content type: 1 for "text/plain", 2 for "image" or a leading
 * part of that word (the empty text included), 3 likewise for "audio", 4 for "video", all ignoring
 * case; 5 for every other type, among them complete ones such as image/jpeg; -1 for null. */
int32_t fnPAR_IsPlayedMedia(const char* contentType);

/** The OMA DRM class of a part; `type` is compared exactly:
 *   0  not a DRM type; or a DRM message whose data ends before it is decided
 *   1  a DRM message with plain media, whose type goes to `innerType`
 *   2  a DRM message with a rights object
 *   3  type application/vnd.oma.drm.content
 *   4  a DRM message with DRM content; the headers' length goes to *headerLength
 *   5  a DRM message whose Content-Type has a parameter fwd=, screen= or ringtone=
 * A part delivered separately is of class 5 too; the view says so, not this function.
 *
 * The data of a DRM message (application/vnd.oma.drm.message) is read as lines that end in CR LF,
 * within its first 4096 bytes; of a line 127 bytes are looked at. `data` may be null and `length`
 * below 1: a DRM message is then of class 0.
 *
 * headerLength, may be null: for class 4 the bytes of the boundary line and the header lines with
 * their CR LF, without the empty line behind them; else 0.
 * innerType, may be null, at least 50 bytes: written for class 1 only, in lower case, cut to 49
 * characters. */
int32_t fnPAR_DrmType(const char* type, const uint8_t* data, int32_t length, int32_t* headerLength,
                      char* innerType);

/** Writes a file name for a part of that content type, such as image2.jpeg, to `dst`: at least 50
 * bytes. Types are compared exactly, case included, and some rows tell by case ("video/mp4" gives
 * .3gp, "Video/mp4" .mp4). A type that is not known gives "unKnown" without a number. 0 for a null
 * `dst` or type. */
int32_t fnPAR_CreatMediaObjName(char* dst, const char* contentType, int32_t number);

#ifdef __cplusplus
}
#endif

#endif
