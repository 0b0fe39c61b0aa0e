// The slide view: its one instance, the module state beside it, and the operations that add to it
// and take from it. The view owns its records and their texts; the bytes of media and attachments
// are borrowed from the decoded message. Adding costs the same at any length of the lists.
#include "Parser/src/smil_internal.h"
#include "scshare/common/src/owned.h"

tSMIL_View tSMIL_ViewStruct;

namespace mmskit {

ParserState parser_state;

namespace {

template <typename Record, typename... Texts>
void free_texts(Record& record, Texts... texts) {
    (deallocate(record.*texts), ...);
}

template <typename Element>
void free_elements(Element*& list) {
    while (list != nullptr) {
        Element* const element = list;
        list = element->Next;
        free_element(element);
    }
}

void free_par(tSMIL_Par* par) {
    free_elements(par->Text);
    free_elements(par->Img);
    free_elements(par->Audio);
    free_elements(par->Video);
    deallocate(par);
}

void free_attachment(tSMIL_Attachment* attachment) {
    free_texts(*attachment, &tSMIL_Attachment::Alt, &tSMIL_Attachment::Type,
               &tSMIL_Attachment::Name);
    deallocate(attachment);
}

void forget_list_ends() {
    parser_state.par_tail = nullptr;
    parser_state.attachment_head = nullptr;
    parser_state.attachment_tail = nullptr;
    parser_state.total_attachments = 0;
    parser_state.served_attachment = nullptr;
    parser_state.served_index = 0;
}

template <typename Element>
int32_t push_front(Element* tSMIL_Par::*list, Element* element) {
    tSMIL_Par* const par = tSMIL_ViewStruct.CurPar;
    if (element == nullptr || par == nullptr) return 0;
    element->Next = par->*list;
    par->*list = element;
    return 1;
}

tSMIL_Par* last_par() {
    const tSMIL_View& view = tSMIL_ViewStruct;
    if (view.ParList == nullptr) return nullptr;
    const bool tail_holds =
        parser_state.par_tail != nullptr && parser_state.par_tail == view.CurPar;
    tSMIL_Par* par = tail_holds ? parser_state.par_tail : view.ParList;
    while (par->Next != nullptr)
        par = par->Next;
    return par;
}

// Brings attachment_tail and total_attachments in line with a list that was not built here.
void find_attachment_tail() {
    parser_state.attachment_head = tSMIL_ViewStruct.AttachmentList;
    parser_state.attachment_tail = nullptr;
    parser_state.total_attachments = 0;
    for (tSMIL_Attachment* a = parser_state.attachment_head; a != nullptr; a = a->Next) {
        parser_state.attachment_tail = a;
        ++parser_state.total_attachments;
    }
}

}  // namespace

void reset_parser_state() {
    parser_state = {};
}

void note_problem(const char* reason, const void* at) {
    parser_state.problem = {reason, at};
}

void note_limit(const char* reason) {
    if (parser_state.limit.reason == nullptr)
        parser_state.limit = {reason, parser_state.bpSMIL_CurChar};
}

bool pay_beyond(Budget& budget, const char* limit) {
    if (parser_state.tpSMIL_Union == nullptr) return true;
    budget.left = 0;
    note_limit(limit);
    return false;
}

void clear_element(tSMIL_Text& el) {
    free_texts(el, &tSMIL_Text::Reserved, &tSMIL_Text::Data);
}

void clear_element(tSMIL_Media& el) {
    free_texts(el, &tSMIL_Media::Reserved, &tSMIL_Media::Type, &tSMIL_Media::Name);
}

void clear_element(tSMIL_Audio& el) {
    free_texts(el, &tSMIL_Audio::Reserved, &tSMIL_Audio::Type, &tSMIL_Audio::Name);
}

}  // namespace mmskit

using namespace mmskit;

extern "C" {

int32_t SmilParserInit(void) {
    forget_list_ends();
    tSMIL_ViewStruct = {};
    return 1;
}

// The heads of the freed lists are cleared too, so that a second call frees nothing twice; sizes
// and colours stay until SmilParserInit.
void SmilParserClean(void) {
    forget_list_ends();
    tSMIL_View& view = tSMIL_ViewStruct;
    free_regions(view.RegionList);
    view.RegionList = nullptr;
    while (view.ParList != nullptr) {
        tSMIL_Par* const par = view.ParList;
        view.ParList = par->Next;
        free_par(par);
    }
    view.CurPar = nullptr;
    while (view.AttachmentList != nullptr) {
        tSMIL_Attachment* const attachment = view.AttachmentList;
        view.AttachmentList = attachment->Next;
        free_attachment(attachment);
    }
}

int32_t SmilAddPar(tSMIL_Par* par) {
    if (par == nullptr) return 0;
    tSMIL_Par* const last = last_par();
    par->Prev = last;
    par->Next = nullptr;
    (last != nullptr ? last->Next : tSMIL_ViewStruct.ParList) = par;
    tSMIL_ViewStruct.CurPar = par;
    parser_state.par_tail = par;
    return 1;
}

int32_t SmilAddText(tSMIL_Text* el) {
    return push_front(&tSMIL_Par::Text, el);
}

int32_t SmilAddImg(tSMIL_Media* el) {
    return push_front(&tSMIL_Par::Img, el);
}

int32_t SmilAddAudio(tSMIL_Audio* el) {
    return push_front(&tSMIL_Par::Audio, el);
}

int32_t SmilAddVideo(tSMIL_Media* el) {
    return push_front(&tSMIL_Par::Video, el);
}

// While parsing the current slide is the last one. Slides behind it would be kept.
int32_t SmilDelCurrPar(void) {
    tSMIL_View& view = tSMIL_ViewStruct;
    tSMIL_Par* const par = view.CurPar;
    if (par == nullptr) return 1;
    if (par->Next != nullptr) par->Next->Prev = par->Prev;
    (par->Prev != nullptr ? par->Prev->Next : view.ParList) = par->Next;
    view.CurPar = par->Prev != nullptr ? par->Prev : par->Next;
    parser_state.par_tail = par->Next == nullptr ? view.CurPar : nullptr;
    free_par(par);
    return 1;
}

int32_t SmilAddAttachment(tSMIL_Attachment* attachment) {
    if (attachment == nullptr) return 0;
    tSMIL_Attachment*& head = tSMIL_ViewStruct.AttachmentList;
    if (head == nullptr || head != parser_state.attachment_head ||
        parser_state.attachment_tail->Next != nullptr)
        find_attachment_tail();
    tSMIL_Attachment* const last = parser_state.attachment_tail;
    attachment->Prev = last;
    attachment->Next = nullptr;
    (last != nullptr ? last->Next : head) = attachment;
    parser_state.attachment_head = head;
    parser_state.attachment_tail = attachment;
    ++parser_state.total_attachments;
    return 1;
}

}  // extern "C"
