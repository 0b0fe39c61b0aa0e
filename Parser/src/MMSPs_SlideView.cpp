// The host's side of the presentation: building the view of one message, walking its slides, and
// serving the media of the current slide and the attachments. Everything handed out is borrowed
// from the view or from the message's bytes.
#include "Parser/src/MMSPs_Media.h"
#include "Parser/src/smil_internal.h"
#include "Protocol/src/MMSProl_Error.h"
#include "scshare/common/src/limits.h"
#include "scshare/common/src/log.h"

namespace mmskit {
namespace {

constexpr int32_t default_shown_time = 5000;  // ms, on a slide without a duration

tSMIL_Par* current_par() {
    return tSMIL_ViewStruct.CurPar;
}

// Of which the second is positive.
int32_t saturating_sum(int32_t a, int32_t b) {
    int32_t sum = 0;
    return __builtin_add_overflow(a, b, &sum) ? INT32_MAX : sum;
}

// An element that ends before it begins is shown as long as its slide.
int32_t shown_end(int32_t begin, int32_t end) {
    if (end > begin) return end;
    const int32_t duration = current_par()->Dur;
    return saturating_sum(begin, duration < 1 ? default_shown_time : duration);
}

// QUIRK drm_fields_stay_as_the_caller_had_them: for a part that is not protected the host's
// cleared record is the answer.
template <typename Element, typename Output>
void serve_drm(const Element& el, Output& out) {
    if (is_drm_type(el.Type)) {
        out.IsDrm = 1;
        out.DrmType = fnPAR_DrmType(el.Type, el.Data, el.Length, nullptr, nullptr);
    }
    if (el.DrmType != drm_separate) return;
    out.IsDrm = 1;
    out.DrmType = drm_separate;
    out.DrmInfo1 = el.DrmInfo1;
    out.DrmInfo2 = el.DrmInfo2;
}

template <typename Element, typename Output>
void serve_media(const Element& el, Output& out) {
    out.Data = el.Data;
    out.Type = el.Type;
    out.Name = el.Name;
    out.Begin = el.Begin;
    out.End = shown_end(el.Begin, el.End);
    out.Length = el.Length;
    serve_drm(el, out);
}

template <typename Element, typename Output>
void serve_place(const Element& el, Output& out) {
    out.Left = el.Left;
    out.Top = el.Top;
    out.Width = el.Width;
    out.Height = el.Height;
}

// QUIRK last_of_a_kind_is_shown: elements are pushed at the front, so the first of the list is
// the last one of the document.
int32_t serve_visual(tSMIL_Media* tSMIL_Par::*list, tPAR_Image* out) {
    if (out == nullptr || current_par() == nullptr || current_par()->*list == nullptr) return 0;
    const tSMIL_Media& el = *(current_par()->*list);
    serve_place(el, *out);
    serve_media(el, *out);
    return 1;
}

int32_t step_to(tSMIL_Par* tSMIL_Par::*neighbour) {
    if (current_par() == nullptr || current_par()->*neighbour == nullptr) return 0;
    tSMIL_ViewStruct.CurPar = current_par()->*neighbour;
    return 1;
}

// The attachment of that index, walking from the one served last, to either side, where that is
// nearer than the head.
const tSMIL_Attachment* attachment_at(int32_t index) {
    if (index < 0 || index >= fnPAR_GetTotalAttachments()) return nullptr;
    tSMIL_Attachment* at = tSMIL_ViewStruct.AttachmentList;
    int32_t position = 0;
    if (parser_state.served_attachment != nullptr && parser_state.served_index / 2 <= index) {
        at = parser_state.served_attachment;
        position = parser_state.served_index;
    }
    for (; position < index; ++position)
        at = at->Next;
    for (; position > index; --position)
        at = at->Prev;
    parser_state.served_attachment = at;
    parser_state.served_index = index;
    return at;
}

void release_view() {
    SmilParserClean();
    SmilParserInit();
    fnMMS_FreeMediaData(parser_state.tpSMIL_Union);
    reset_parser_state();
}

// Clears the marks and notes whether anything is protected.
void prepare_parts(tMMS_MediaData* list) {
    for (tMMS_MediaData* part = list; part != nullptr; part = part->pNext) {
        part->IsSmil = 0;
        if (part->pContentType != nullptr && fnSC_STRCMP(part->pContentType, drm_message_type) == 0)
            parser_state.bDrmIncluded = 1;
        // A decoded part never is: a host that takes parts in separately sets this.
        if (part->bDrmSeparate == 1) parser_state.bDrmIncluded = 1;  // unreachable: just decoded
    }
}

int32_t lay_out(tMMS_ContentUnion* message) {
    if (message->pSmil == nullptr) {
        return fnPAR_FillNoSmilViewStruct(message->pMediaList) != 0 &&
                       SmilParserNoSmilMMS(message->pMediaList) != 0
                   ? 1
                   : 0;
    }
    if (SmilParserSmilMMS(message) != 0) return 1;
    // QUIRK marks_of_a_failed_parse_stay: parts that the broken document had already placed are
    // listed nowhere.
    SmilParserClean();
    SmilParserInit();
    return SmilParserNoSmilMMS(message->pMediaList);
}

// What was noted while the message was laid out, as the result of the whole.
void report(const uint8_t* body) {
    const Problem& found =
        parser_state.problem.reason != nullptr ? parser_state.problem : parser_state.limit;
    if (found.reason == nullptr) return;
    const auto* at = static_cast<const uint8_t*>(found.at);
    note_decode_failure(found.reason, at != nullptr ? static_cast<uint64_t>(at - body) : 0);
}

}  // namespace
}  // namespace mmskit

using namespace mmskit;

extern "C" {

int32_t fnPAR_SmilParserEntry(const uint8_t* pdu, int32_t length) {
    if (pdu == nullptr || length < 1) {
        note_decode_failure("no body", 0);
        return 0;
    }
    release_view();
    tMMS_ContentUnion* message = fnMMS_GetMediaDataFromPdu(pdu, length);
    if (message == nullptr) return 0;
    parser_state.tpSMIL_Union = message;
    parser_state.tpSMIL_Element = message->pMediaList;
    parser_state.copies.left =
        limits::slide_copy_base + limits::slide_copy_factor * static_cast<uint64_t>(length);
    parser_state.references.left = limits::reference_work;
    prepare_parts(message->pMediaList);
    const int32_t laid_out = lay_out(message);
    if (laid_out == 0 && parser_state.problem.reason == nullptr)
        note_problem(out_of_memory, nullptr);
    report(pdu);
    return laid_out;
}

int32_t fnPAR_SmilFree(void) {
    release_view();
    return 1;
}

int32_t fnPAR_InitCurPar(void) {
    tSMIL_ViewStruct.CurPar = tSMIL_ViewStruct.ParList;
    return 1;
}

int32_t fnPAR_ProceedNextPar(void) {
    return step_to(&tSMIL_Par::Next);
}

int32_t fnPAR_ProceedPrePar(void) {
    return step_to(&tSMIL_Par::Prev);
}

int32_t fnPAR_IsParEmpty(void) {
    return current_par() == nullptr ? 1 : 0;
}

int32_t fnPAR_GetCurParDur(void) {
    return current_par() != nullptr ? current_par()->Dur : 0;
}

int32_t fnPAR_GetCurParBgColor(uint32_t* out) {
    const tSMIL_Par* par = current_par();
    if (out == nullptr || par == nullptr) return 0;
    if (par->IsBgColor != 0) {
        *out = par->bgColor;
        log_line("*bgColor:%x", *out);
        return 1;
    }
    if (tSMIL_ViewStruct.IsBgColor == 0) return 0;
    *out = tSMIL_ViewStruct.bgColor;
    return 1;
}

int32_t fnPAR_GetCurParForeColor(uint32_t* out) {
    const tSMIL_Par* par = current_par();
    if (out == nullptr || par == nullptr || par->IsForeColor == 0) return 0;
    *out = par->foreColor;
    log_line("*foreColor:%x", *out);
    return 1;
}

int32_t fnPAR_IsDrmObjectIncluded(void) {
    return parser_state.bDrmIncluded;
}

int32_t fnPAR_GetCurParText(tPAR_Text* out) {
    if (out == nullptr || current_par() == nullptr || current_par()->Text == nullptr) return 0;
    const tSMIL_Text& el = *current_par()->Text;
    serve_place(el, *out);
    out->Data = el.Data;
    out->Begin = el.Begin;
    out->End = shown_end(el.Begin, el.End);
    return 1;
}

int32_t fnPAR_GetCurParImg(tPAR_Image* out) {
    return serve_visual(&tSMIL_Par::Img, out);
}

int32_t fnPAR_GetCurParVideo(tPAR_Video* out) {
    return serve_visual(&tSMIL_Par::Video, out);
}

int32_t fnPAR_GetCurParAudio(tPAR_Audio* out) {
    if (out == nullptr || current_par() == nullptr || current_par()->Audio == nullptr) return 0;
    serve_media(*current_par()->Audio, *out);
    return 1;
}

int32_t fnPAR_GetTotalAttachments(void) {
    const tSMIL_Attachment* head = tSMIL_ViewStruct.AttachmentList;
    if (head != nullptr && head == parser_state.attachment_head)
        return parser_state.total_attachments;
    int32_t total = 0;
    for (; head != nullptr; head = head->Next)
        ++total;
    return total;
}

char* fnPAR_GetAttachmentName(int32_t index) {
    const tSMIL_Attachment* attachment = attachment_at(index);
    return attachment != nullptr ? attachment->Name : nullptr;
}

int32_t fnPAR_GetAttachment(tPAR_Attachment* out, int32_t index) {
    if (out == nullptr) return 0;
    const tSMIL_Attachment* attachment = attachment_at(index);
    if (attachment == nullptr) return 0;
    out->Name = attachment->Name;
    out->Type = attachment->Type;
    out->Data = attachment->Data;
    out->Length = attachment->Length;
    out->DrmType = attachment->DrmType;
    out->DrmInfo1 = attachment->DrmInfo1;
    out->DrmInfo2 = attachment->DrmInfo2;
    log_line("end  fnPAR_GetAttachment");
    return 1;
}

}  // extern "C"
