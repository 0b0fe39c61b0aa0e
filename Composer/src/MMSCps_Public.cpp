// The composition's state and the helpers on it: taking the composer, initialising, emptying and
// moving slides, and the completeness check. All blocks in the state are owned by it; the exported
// records are static, so before the first opening the state is that of a closed composer.
#include <mmskit/runtime.h>

#include "Composer/src/composer_internal.h"

namespace mmskit {
namespace {

constexpr CPSSlideStruct empty_slide() {
    CPSSlideStruct slide = {};
    slide.iImageEnd = slide.iTextEnd = slide.iAudioEnd = slide.iVideoEnd = default_end_ms;
    slide.bgColor = 0xFFFFFF;
    slide.foreColor = 0x0000FF;
    return slide;
}

constexpr void make_empty(CPSNewMessage& message) {
    message = {};
    message.iTotalSlides = 1;
    message.bSlideUsed[0] = 1;
    for (int i = 0; i < CPS_MAX_SLIDES; ++i) {
        message.iSlideDur[i] = default_slide_ms;
        message.slidestruct[i] = &tCPS_SlideStruct[i];
    }
    for (int i = 0; i < CPS_MAX_ATTACHMENTS; ++i)
        message.attachment[i] = &tCPS_Attachment[i];
}

constexpr CPSNewMessage empty_message() {
    CPSNewMessage message = {};
    make_empty(message);
    return message;
}

constexpr CPSSlideStruct fresh_slide = empty_slide();

}  // namespace
}  // namespace mmskit

using namespace mmskit;

// All zero until the first opening, and so no part of the file: an end counts only with its medium,
// a colour only with its flag, and what sets those sets these.
constinit CPSSlideStruct tCPS_SlideStruct[CPS_MAX_SLIDES] = {};
constinit CPSAttachment tCPS_Attachment[CPS_MAX_ATTACHMENTS] = {};
constinit CPSNewMessage tCPS_NewMessage = empty_message();

const char* const baCPSMediaType[27] = {"text/plain", "mp4",  "3ga", "3gp",  "aac", "amr", "wav",
                                        "mp3",        "midi", "mid", "imy",  "wma", "asf", "au",
                                        "3g2",        "wmv",  "mpg", "mpeg", "gif", "jpg", "jpeg",
                                        "png",        "wbmp", "bmp", "tiff", "vcf", "vcs"};

// 1 while a composition is open.
static uint32_t oCPS_UseTag;

namespace mmskit {

CPSSlideStruct* used_slide(uint32_t index) {
    if (index >= CPS_MAX_SLIDES || tCPS_NewMessage.bSlideUsed[index] != 1) return nullptr;
    return tCPS_NewMessage.slidestruct[index];
}

CPSSlideStruct* current_slide() {
    return used_slide(tCPS_NewMessage.iCurSlide);
}

namespace {

void empty_composition(bool unused_slides_too) {
    CPSNewMessage& message = tCPS_NewMessage;
    message.iCurSlide = 0;
    message.iTotalSize = 0;
    for (int i = 0; i < CPS_MAX_SLIDES; ++i) {
        if (unused_slides_too || message.bSlideUsed[i] == 1)
            CPSClearSlideStruct(message.slidestruct[i]);
        message.bSlideUsed[i] = 0;
        message.iSlideDur[i] = default_slide_ms;
    }
    message.bSlideUsed[0] = 1;
    message.iTotalSlides = 1;
    for (CPSAttachment* attachment : message.attachment)
        CPSClearAttachment(attachment);
    message.TotalAttachment = 0;
}

bool slide_is_complete(const CPSSlideStruct& slide) {
    if (slide.bVideo != 0 && (slide.bImage != 0 || slide.bAudio != 0)) return false;
    for (const MediumKind* kind : media_kinds)
        if (slide.*kind->present != 0 && !medium_is_complete(slide, *kind)) return false;
    return true;
}

}  // namespace
}  // namespace mmskit

extern "C" {

int32_t CPSGetModule(void) {
    if (oCPS_UseTag != 0) return CPS_IN_USE;
    oCPS_UseTag = 1;
    return CPS_OK;
}

void CPSReleaseModule(void) {
    oCPS_UseTag = 0;
}

int32_t CPSInitNewMMStruct(void) {
    make_empty(tCPS_NewMessage);
    for (CPSSlideStruct& slide : tCPS_SlideStruct)
        CPSInitSlideStruct(&slide);
    for (CPSAttachment& attachment : tCPS_Attachment)
        CPSInitAttachment(&attachment);
    return CPS_OK;
}

void CPSEmptyNewMMStruct(void) {
    empty_composition(true);
}

void fnCPS_Empty(void) {
    empty_composition(false);
}

void CPSInitSlideStruct(CPSSlideStruct* slide) {
    if (slide != nullptr) *slide = fresh_slide;
}

void CPSClearSlideStruct(CPSSlideStruct* slide) {
    if (slide == nullptr) return;
    for (const MediumKind* kind : media_kinds)
        clear_medium(*slide, *kind);
}

// Ownership moves: the source keeps its flags but none of its blocks.
void CPSCopySlideStruct(CPSSlideStruct* src, CPSSlideStruct* dst) {
    if (src == nullptr || dst == nullptr || src == dst) return;
    for (const MediumKind* kind : media_kinds)
        move_medium(*src, *dst, *kind);
    dst->bBgColor = src->bBgColor;
    dst->bgColor = src->bgColor;
    dst->bForeColor = src->bForeColor;
    dst->foreColor = src->foreColor;
}

void CPSInitAttachment(CPSAttachment* attachment) {
    if (attachment != nullptr) *attachment = {};
}

void CPSClearAttachment(CPSAttachment* attachment) {
    if (attachment == nullptr) return;
    fnSC_Free(&attachment->pData);
    fnSC_Free(&attachment->Type);
    fnSC_Free(&attachment->Name);
    attachment->iSize = 0;
}

int32_t CPSCurIsTheFirstSlide(void) {
    return tCPS_NewMessage.iCurSlide == 0 ? 1 : 0;
}

int32_t CPSCurIsTheLastSlide(void) {
    const uint32_t next = tCPS_NewMessage.iCurSlide + 1;
    return next >= CPS_MAX_SLIDES || tCPS_NewMessage.bSlideUsed[next] != 1 ? 1 : 0;
}

int32_t CPSCheckNewMMStruct(void) {
    int32_t slides = 0;
    for (; slides < CPS_MAX_SLIDES && tCPS_NewMessage.bSlideUsed[slides] == 1; ++slides) {
        if (!slide_is_complete(tCPS_SlideStruct[slides])) return 0;
    }
    return slides == tCPS_NewMessage.iTotalSlides ? 1 : 0;
}

}  // extern "C"
