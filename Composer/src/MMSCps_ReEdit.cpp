// From a received message to the composition: walks the slide view and copies what it serves. The
// view is released on every path out; nothing in the composition points into it.
#include <mmskit/presentation.h>
#include <mmskit/runtime.h>

#include <cstring>

#include "Composer/src/composer_internal.h"
#include "scshare/common/src/log.h"

namespace mmskit {
namespace {

struct ViewRelease {
    ViewRelease() = default;
    ViewRelease(const ViewRelease&) = delete;
    ViewRelease& operator=(const ViewRelease&) = delete;
    ~ViewRelease() { fnPAR_SmilFree(); }
};

// A medium without data is left out, which is no failure.
template <typename Out>
bool take_medium(CPSSlideStruct& slide, const MediumKind& kind, const Out& medium) {
    if (medium.Data == nullptr || medium.Length < 1) return true;  // unreachable: parts have data
    return store_medium(slide, kind,
                        {medium.Data, static_cast<uint32_t>(medium.Length), medium.Type,
                         medium.Name, medium.Begin, medium.End, nullptr});
}

bool take_media(CPSSlideStruct& slide) {
    tPAR_Video video = {};
    if (fnPAR_GetCurParVideo(&video) == 1) return take_medium(slide, video_kind, video);
    tPAR_Image image = {};
    if (fnPAR_GetCurParImg(&image) == 1 && !take_medium(slide, image_kind, image)) return false;
    tPAR_Audio audio = {};
    return fnPAR_GetCurParAudio(&audio) != 1 || take_medium(slide, audio_kind, audio);
}

bool take_text(CPSSlideStruct& slide) {
    tPAR_Text text = {};
    if (fnPAR_GetCurParText(&text) != 1) return true;
    if (text.Data == nullptr) return true;  // unreachable: a text that is told has one
    // QUIRK text_timing_is_not_taken_over: the text of a re-edited slide starts with the defaults.
    if (store_medium(slide, text_kind,
                     {text.Data, static_cast<uint32_t>(std::strlen(text.Data)), nullptr, nullptr, 0,
                      default_end_ms, nullptr}))
        return true;
    log_line("MMS_MALLOC failed");
    return false;
}

void take_colours(CPSSlideStruct& slide) {
    slide.bBgColor = fnPAR_GetCurParBgColor(&slide.bgColor) == 1 ? 1 : 0;
    if (slide.bBgColor == 1)
        log_line("tCPS_NewMessage.slidestruct[index]->bgColor:%x ", slide.bgColor);
    slide.bForeColor = fnPAR_GetCurParForeColor(&slide.foreColor) == 1 ? 1 : 0;
    if (slide.bForeColor == 1)
        log_line("tCPS_NewMessage.slidestruct[index]->foreColor:%x ", slide.foreColor);
}

// The view's slides from its current one on, as many as there is room for.
bool take_slides() {
    CPSNewMessage& message = tCPS_NewMessage;
    for (int32_t i = 0; i < CPS_MAX_SLIDES; ++i) {
        CPSSlideStruct& slide = tCPS_SlideStruct[i];
        message.bSlideUsed[i] = 1;
        message.iTotalSlides = i + 1;
        const int32_t duration = fnPAR_GetCurParDur();
        if (duration > 0) message.iSlideDur[i] = duration;
        if (!take_media(slide) || !take_text(slide)) return false;
        take_colours(slide);
        if (fnPAR_ProceedNextPar() != 1) break;
    }
    return true;
}

constexpr const char* drm_types[] = {
    "application/vnd.oma.drm.message", "application/vnd.oma.drm.content",
    "application/vnd.oma.drm.rights+xml", "application/vnd.oma.drm.rights+wbxml"};

// Protected by OMA DRM and not of the one class that may be sent on (separate delivery).
bool may_not_be_forwarded(const tPAR_Attachment& attachment) {
    constexpr int32_t separate_delivery = 3;
    if (attachment.DrmType == separate_delivery) return false;
    for (const char* type : drm_types)
        if (fnSC_STRCMP(attachment.Type, type) == 0) return true;
    return false;
}

// QUIRK slot_advances_past_the_count: an attachment without data leaves its slot empty and one
// that may not be forwarded sets the slot to the one behind the count, so a kept one may land
// beyond the counted range, or in a slot that is filled already.
bool take_attachments() {
    int32_t& count = tCPS_NewMessage.TotalAttachment;
    int32_t slot = 0;
    for (int32_t i = 0; i <= fnPAR_GetTotalAttachments() && slot < CPS_MAX_ATTACHMENTS; ++i) {
        tPAR_Attachment attachment = {};
        if (fnPAR_GetAttachment(&attachment, i) != 1) {
            log_line("fnPAR_GetAttachment return false");
            return true;
        }
        log_line("attachment.Size =:%d", attachment.Length);
        if (attachment.Data == nullptr || attachment.Length < 1) {  // unreachable: parts have data
            log_line("attachment is invalid");
            ++slot;
            continue;
        }
        log_line("attachment exists");
        if (may_not_be_forwarded(attachment)) {
            slot = count + 1;
            continue;
        }
        ++count;
        if (!fill_attachment_slot(tCPS_Attachment[slot],
                                  {attachment.Data, attachment.Name, attachment.Type,
                                   static_cast<uint32_t>(attachment.Length)}))
            return false;
        ++slot;
    }
    return true;
}

}  // namespace
}  // namespace mmskit

using namespace mmskit;

extern "C" int32_t CPSFillStructWithCurMM(const uint8_t* pdu, int32_t len) {
    if (pdu == nullptr) return CPS_BAD_ARGUMENT;
    if (len < 1) return CPS_NOT_A_MESSAGE;  // a view that the host holds stays
    const ViewRelease release_view;
    if (fnPAR_SmilParserEntry(pdu, len) != 1)
        return fnPAR_IsParEmpty() == 1 ? CPS_NOT_A_MESSAGE : CPS_BAD_INDEX;
    fnPAR_InitCurPar();
    const bool has_slides = fnPAR_IsParEmpty() == 0;
    if (!has_slides && fnPAR_GetTotalAttachments() == 0) return CPS_OK;
    if ((has_slides && !take_slides()) || !take_attachments()) {
        fnCPS_Empty();
        return CPS_NO_MEMORY;
    }
    return CPS_OK;
}
