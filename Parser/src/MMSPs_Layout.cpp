// Laying a message out: by its SMIL document, by the fixed rule for parts that no document places,
// and the rest as attachments. Relies on the document parser, the media look-up and the model.
#include "Parser/src/MMSPs_Media.h"
#include "Parser/src/smil_internal.h"
#include "scshare/common/src/limits.h"
#include "scshare/common/src/log.h"
#include "scshare/common/src/owned.h"

namespace mmskit {
namespace {

// The fixed rule: times in ms, places in pixels.
constexpr int32_t slide_duration = 20000;
constexpr int32_t media_end = 5000;
constexpr int32_t shown_width = 160;
constexpr int32_t text_height = 30;
constexpr int32_t image_height = 170;

constexpr uint32_t inner_type_size = 100;
constexpr uint32_t generated_attachment_name = 50;

// Parts of one kind waiting for a slide, in message order. Borrows the parts.
class Queue {
  public:
    Queue() = default;
    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;
    ~Queue() {
        while (!empty())
            (void)pop();
    }
    bool empty() const { return head_ == nullptr; }
    [[nodiscard]] bool push(const tMMS_MediaData* part) {
        auto* entry = new_record<Entry>();
        if (entry == nullptr) return false;
        entry->part = part;
        (head_ == nullptr ? head_ : tail_->next) = entry;
        tail_ = entry;
        return true;
    }
    const tMMS_MediaData* pop() {
        Entry* entry = head_;
        const tMMS_MediaData* part = entry->part;
        head_ = entry->next;
        deallocate(entry);
        return part;
    }

  private:
    struct Entry {
        const tMMS_MediaData* part;
        Entry* next;
    };
    Entry* head_ = nullptr;
    Entry* tail_ = nullptr;
};

struct Queues {
    Queue text, image, audio, video;

    Queue* of(int32_t kind) {
        switch (kind) {
            case kind_text:
                return &text;
            case kind_image:
                return &image;
            case kind_audio:
                return &audio;
            case kind_video:
                return &video;
            default:
                return nullptr;
        }
    }
    bool empty() const { return text.empty() && image.empty() && audio.empty() && video.empty(); }
};

// False when the layout cannot go on.
[[nodiscard]] bool queue_part(Queues& queues, const tMMS_MediaData& part) {
    int32_t kind = fnPAR_IsPlayedMedia(part.pContentType);
    if (kind == kind_unknown) {
        note_problem("part without a content type", part.pData);
        return false;
    }
    if (kind == kind_text && part.bHasCharset == 0) {
        log_line("pNewElement->Content_Type:is not text/plain");
        return true;
    }
    if (kind == kind_other) {
        char inner_type[inner_type_size] = {};
        if (fnPAR_DrmType(part.pContentType, part.pData, static_cast<int32_t>(part.iDataLen),
                          nullptr, inner_type) != drm_forward_locked)
            return true;
        kind = fnPAR_IsPlayedMedia(inner_type);
    }
    Queue* queue = queues.of(kind);
    return queue == nullptr || queue->push(&part);
}

template <typename Element>
void place(Element& el, int32_t height) {
    el.Width = shown_width;
    el.Height = height;
}

// Puts the queue's next part on the current slide as `prepared` says. A part without any name is
// dropped: nothing could refer to it. False when the layout cannot go on.
template <typename Element>
[[nodiscard]] bool show_next(Queue& queue, const Element& prepared,
                             bool (*find)(Element&, TextView, LookUp&), LookUp& look_up,
                             int32_t (*add)(Element*)) {
    const char* name = part_name(*queue.pop());
    if (name == nullptr) return true;
    auto* el = new_record<Element>();
    if (el == nullptr) return false;
    *el = prepared;
    if (!find(*el, name, look_up)) {
        free_element(el);
        return false;
    }
    if (el->Data != nullptr)
        add(el);
    else
        free_element(el);
    return true;
}

[[nodiscard]] bool make_slide(Queues& queues) {
    auto* par = new_record<tSMIL_Par>();
    if (par == nullptr) return false;
    par->Dur = slide_duration;
    SmilAddPar(par);

    const bool has_image = !queues.image.empty();
    const bool has_audio = !queues.audio.empty();
    if (!queues.text.empty()) {
        tSMIL_Text text{};
        place(text, text_height);
        if (!show_next(queues.text, text, find_text, parser_state.text, SmilAddText)) return false;
    }
    if (has_image) {
        tSMIL_Media image{};
        image.End = media_end;
        place(image, image_height);
        if (!show_next(queues.image, image, find_visual, parser_state.visual, SmilAddImg))
            return false;
    }
    if (has_audio) {
        tSMIL_Audio audio{};
        audio.End = media_end;
        if (!show_next(queues.audio, audio, find_audio, parser_state.audio, SmilAddAudio))
            return false;
    }
    if (!queues.video.empty() && !has_image && !has_audio)
        return show_next(queues.video, tSMIL_Media{}, find_visual, parser_state.visual,
                         SmilAddVideo);
    return true;
}

struct AttachmentFree {
    void operator()(tSMIL_Attachment* attachment) const {
        deallocate(attachment->Name);
        deallocate(attachment->Type);
        deallocate(attachment);
    }
};
using OwnedAttachment = Owned<tSMIL_Attachment, AttachmentFree>;

void classify_drm(tSMIL_Attachment& attachment, const tMMS_MediaData& part) {
    if (is_drm_type(part.pContentType)) {
        int32_t header_length = 0;
        attachment.DrmType = fnPAR_DrmType(part.pContentType, part.pData, attachment.Length,
                                           &header_length, nullptr);
        const bool has_headers =
            attachment.DrmType == drm_content || attachment.DrmType == drm_message_with_content;
        if (has_headers && header_length > 0) {
            attachment.Data += header_length;
            attachment.Length -= header_length;
        }
    }
    if (part.bDrmSeparate == 1) {
        attachment.DrmType = drm_separate;
        attachment.DrmInfo1 = part.iDrmInfo1;
        attachment.DrmInfo2 = part.iDrmInfo2;
    }
}

// A copy of the part's name, or one made from its type and number; null when neither can be.
char* attachment_name(const tMMS_MediaData& part, int32_t number) {
    if (const char* name = part_name(part)) return copy_text(name);
    OwnedText made(static_cast<char*>(allocate(generated_attachment_name)));
    if (!made || fnPAR_CreatMediaObjName(made.get(), part.pContentType, number) == 0)
        return nullptr;
    return made.release();
}

[[nodiscard]] bool attach(const tMMS_MediaData& part, int32_t number) {
    OwnedAttachment attachment(new_record<tSMIL_Attachment>());
    if (!attachment) return false;
    attachment->Data = part.pData;
    attachment->Length = static_cast<int32_t>(part.iDataLen);
    if (part.pContentType != nullptr) {
        attachment->Type = copy_text(part.pContentType);
        if (attachment->Type == nullptr) return false;
    }
    classify_drm(*attachment, part);
    log_line("pAttachment->Type: %s", attachment->Type != nullptr ? attachment->Type : "");
    attachment->Name = attachment_name(part, number);
    if (attachment->Name == nullptr) {
        if (part.pContentType == nullptr)
            note_problem("part without a name and a content type", part.pData);
        return false;
    }
    SmilAddAttachment(attachment.release());
    return true;
}

void log_document(const tMMS_SmilPart& smil) {
    constexpr uint32_t piece = 50;  // bytes
    if (!log_enabled) return;
    log_line("SMIL BEGIN len:%d\n", static_cast<int32_t>(smil.iDataLen));
    for (uint32_t at = 0; at < smil.iDataLen; at += piece) {
        const uint32_t left = smil.iDataLen - at;
        char text[piece + 1] = {};
        fnSC_MEMCPY(text, smil.pData + at, left < piece ? left : piece);
        log_line("%s", text);
    }
    log_line("SMIL END");
}

}  // namespace
}  // namespace mmskit

using namespace mmskit;

extern "C" {

int32_t SmilParserSmilMMS(tMMS_ContentUnion* message) {
    log_line("entry SmilParserSmilMMS");
    if (message == nullptr || message->pSmil == nullptr) return 0;
    const tMMS_SmilPart& smil = *message->pSmil;
    log_document(smil);
    // Refused, the cursor stays unset and the document has no tags.
    SmilInitInput(reinterpret_cast<const char*>(smil.pData), static_cast<int32_t>(smil.iDataLen));
    const int32_t parsed = SmilParseSmil();
    if (parsed == 0 && parser_state.problem.reason == nullptr)
        note_problem("presentation breaks off", parser_state.bpSMIL_CurChar != nullptr
                                                    ? parser_state.bpSMIL_CurChar
                                                    : reinterpret_cast<const char*>(smil.pData));
    exhaust_cursor();
    if (parsed == 0) {
        log_line("SmilParseSmil error");
        return 0;
    }
    fnPAR_FillNoSmilViewStruct(message->pMediaList);
    const int32_t attached = SmilParserNoSmilMMS(message->pMediaList);
    log_line(attached != 0 ? "SmilParserNoSmilMMS return TRUE"
                           : "SmilParserNoSmilMMS return FALSE");
    return attached;
}

int32_t fnPAR_FillNoSmilViewStruct(tMMS_MediaData* mediaList) {
    Queues queues;
    for (const tMMS_MediaData* part = mediaList; part != nullptr; part = part->pNext)
        if (part->IsSmil == 0 && !queue_part(queues, *part)) return 0;
    while (!queues.empty())
        if (!make_slide(queues)) return 0;
    return 1;
}

int32_t SmilParserNoSmilMMS(tMMS_MediaData* mediaList) {
    log_line("entry SmilParserNoSmilMMS");
    int32_t number = 0;
    for (const tMMS_MediaData* part = mediaList; part != nullptr; part = part->pNext, ++number) {
        log_line("pTemp->IsSmil = %d", static_cast<int32_t>(part->IsSmil));
        if (part->IsSmil == 0 && !attach(*part, number)) return 0;
    }
    return 1;
}

}  // extern "C"
