// The host's face of the composition: opening and closing, slides, colours, sizes and output. The
// calls for media and attachments are in MMSCps_Media and MMSCps_Attach. None of them asks whether
// the composer is open; the state keeps its order (used slides lead, the cursor is on one of them)
// under every sequence of calls.
#include <mmskit/runtime.h>

#include "Composer/src/composer_internal.h"
#include "scshare/common/src/log.h"

namespace mmskit {
namespace {

// What was added while the composer was closed is freed here.
int32_t open_composer() {
    const int32_t taken = CPSGetModule();
    if (taken != CPS_OK) return taken;
    CPSEmptyNewMMStruct();
    return CPSInitNewMMStruct();
}

void free_slot(int32_t slide) {
    tCPS_NewMessage.bSlideUsed[slide] = 0;
    tCPS_NewMessage.iSlideDur[slide] = default_slide_ms;
}

void move_slide(int32_t from, int32_t to) {
    CPSNewMessage& message = tCPS_NewMessage;
    CPSCopySlideStruct(message.slidestruct[from], message.slidestruct[to]);
    message.iSlideDur[to] = message.iSlideDur[from];
}

struct Colour {
    uint32_t CPSSlideStruct::*present;
    uint32_t CPSSlideStruct::*value;
    const char* set_line;
    const char* get_line;
};
constexpr Colour background = {&CPSSlideStruct::bBgColor, &CPSSlideStruct::bgColor,
                               "fnCPS_SetCurBgColor.bgColor :%x",
                               "fnCPS_GetCurSlideBgColor.bgColor :%x"};
constexpr Colour foreground = {&CPSSlideStruct::bForeColor, &CPSSlideStruct::foreColor,
                               "fnCPS_SetCurForeColor.bgColor :%x",
                               "fnCPS_GetCurSlideForeColor.foreColor :%x"};

void set_colour(const Colour& colour, uint32_t rgb) {
    CPSSlideStruct* slide = current_slide();
    if (slide == nullptr) return;
    slide->*colour.present = 1;
    slide->*colour.value = rgb;
    log_line(colour.set_line, rgb);
}

uint32_t has_colour(const Colour& colour) {
    const CPSSlideStruct* slide = current_slide();
    return slide != nullptr && slide->*colour.present == 1 ? 1 : 0;
}

uint32_t get_colour(const Colour& colour, uint32_t* out) {
    if (out == nullptr || has_colour(colour) == 0) return 0;
    *out = current_slide()->*colour.value;
    log_line(colour.get_line, *out);
    return 1;
}

}  // namespace
}  // namespace mmskit

using namespace mmskit;

extern "C" {

int32_t fnCPS_NewMms(void) {
    return open_composer();
}

int32_t fnCPS_ReEditMms(const uint8_t* pdu, int32_t len) {
    const int32_t opened = open_composer();
    if (opened != CPS_OK) return opened;
    const int32_t filled = CPSFillStructWithCurMM(pdu, len);
    if (filled != CPS_OK) CPSReleaseModule();
    return filled;
}

void fnCPS_Quit(void) {
    CPSEmptyNewMMStruct();
    CPSReleaseModule();
}

int32_t fnCPS_AddSlide(void) {
    CPSNewMessage& message = tCPS_NewMessage;
    if (message.iTotalSlides >= CPS_MAX_SLIDES) return CPS_LIMIT_REACHED;
    if (message.iCurSlide > CPS_MAX_SLIDES - 2) return CPS_SLIDE_UNUSED;
    const auto fresh = static_cast<int32_t>(message.iCurSlide) + 1;
    for (int32_t to = message.iTotalSlides; to > fresh; --to) {
        CPSInitSlideStruct(message.slidestruct[to]);
        move_slide(to - 1, to);
        message.bSlideUsed[to] = 1;
    }
    CPSInitSlideStruct(message.slidestruct[fresh]);
    message.bSlideUsed[fresh] = 1;
    message.iSlideDur[fresh] = default_slide_ms;
    ++message.iTotalSlides;
    message.iCurSlide = static_cast<uint32_t>(fresh);
    return CPS_OK;
}

int32_t fnCPS_DeleteCurSlide(void) {
    CPSNewMessage& message = tCPS_NewMessage;
    fnCPS_DeleteCurAudio();
    fnCPS_DeleteCurImage();
    fnCPS_DeleteCurText();
    fnCPS_DeleteCurVideo();
    if (message.iTotalSlides == 1) {
        // QUIRK only_slide_zeroes_the_total: attachments stay but are no longer in the total.
        message.iCurSlide = 0;
        message.iTotalSize = 0;
        message.bSlideUsed[0] = 1;
        message.iSlideDur[0] = default_slide_ms;
        return CPS_OK;
    }
    auto freed = static_cast<int32_t>(message.iCurSlide);
    if (CPSCurIsTheLastSlide() == 1) {
        --message.iCurSlide;
    } else {
        for (; freed + 1 < message.iTotalSlides; ++freed)
            move_slide(freed + 1, freed);
    }
    --message.iTotalSlides;
    free_slot(freed);
    return CPS_OK;
}

int32_t fnCPS_GoNextSlide(void) {
    if (CPSCurIsTheLastSlide() == 1) return CPS_LAST_SLIDE;
    ++tCPS_NewMessage.iCurSlide;
    return CPS_OK;
}

int32_t fnCPS_GoPreSlide(void) {
    if (CPSCurIsTheFirstSlide() == 1) return CPS_FIRST_SLIDE;
    --tCPS_NewMessage.iCurSlide;
    return CPS_OK;
}

int32_t fnCPS_GetCurSlideIndex(void) {
    return static_cast<int32_t>(tCPS_NewMessage.iCurSlide);
}

int32_t fnCPS_GetTotalSlides(void) {
    uint32_t total = 0;
    while (used_slide(total) != nullptr)
        ++total;
    return static_cast<int32_t>(total);
}

int32_t fnCPS_SetCurSlideDuration(int32_t ms) {
    if (ms < 1) return CPS_BAD_ARGUMENT;
    tCPS_NewMessage.iSlideDur[tCPS_NewMessage.iCurSlide] = ms;
    return CPS_OK;
}

int32_t fnCPS_GetCurSlideDuration(void) {
    return tCPS_NewMessage.iSlideDur[tCPS_NewMessage.iCurSlide];
}

void fnCPS_SetCurBgColor(uint32_t rgb) {
    set_colour(background, rgb);
}
void fnCPS_SetCurForeColor(uint32_t rgb) {
    set_colour(foreground, rgb);
}
uint32_t fnCPS_GetCurBgColor(uint32_t* out) {
    return get_colour(background, out);
}
uint32_t fnCPS_GetCurForeColor(uint32_t* out) {
    return get_colour(foreground, out);
}
uint32_t fnCPS_CurBgColorExist(void) {
    return has_colour(background);
}
uint32_t fnCPS_CurForeColorExist(void) {
    return has_colour(foreground);
}

uint32_t fnCPS_GetTotalSize(void) {
    return tCPS_NewMessage.iTotalSize;
}

int32_t fnCPS_GetAllSize(void) {
    constexpr uint32_t slide_overhead = 512;  // presentation and headers
    uint32_t size = 0;
    for (uint32_t i = 0; i < CPS_MAX_SLIDES; ++i) {
        const CPSSlideStruct* slide = used_slide(i);
        if (slide == nullptr) continue;
        size += slide_overhead;
        for (const MediumKind* kind : media_kinds)
            if (kind != &text_kind && slide->*kind->present == 1)
                size += static_cast<uint32_t>(slide->*kind->size);
    }
    for (int32_t i = 0; i < tCPS_NewMessage.TotalAttachment; ++i)
        if (const CPSAttachment* slot = attachment_slot(i)) size += slot->iSize;
    return static_cast<int32_t>(size);
}

uint8_t* fnCPS_GetMmsContentPdu(uint32_t* len) {
    if (len == nullptr) return nullptr;
    tMMS_ContentUnion* content = CPSRes2StructLink();
    if (content == nullptr) return nullptr;
    uint32_t length = 0;
    uint8_t* body = fnMMS_MakeContentBodyPdu(content, &length);
    fnMMS_FreeContentUnion(content);
    *len = body != nullptr ? length : 0;
    return body;
}

}  // extern "C"
