// Collects what a message says: the record of its headers, the slides as the library's getters
// serve them, and the lists of the slide view for what the getters leave out. One walk over slides
// and attachments, so the cost is linear in both.
#include "facts.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <utility>

#include "file_io.h"
#include "safe_text.h"

namespace mmskit_tool {
namespace {

constexpr uint8_t retrieved_record_kind = 4;  // of fnMMS_FreeMessageMem

constexpr uint8_t content_type_code = 0x84;  // OMA-MMS-ENC 7.4: the header that opens a body
constexpr uint8_t message_type_code = 0x8C;  // and the one that opens every PDU

// ---- Headers -----------------------------------------------------------------------------------

std::string hex(uint8_t byte) {
    char buffer[8];
    (void)std::snprintf(buffer, sizeof buffer, "0x%02x", byte);
    return buffer;
}

// Assigned values count from 0x80; one without a name is shown as it came.
template <std::size_t N>
std::string token_name(uint8_t code, const std::array<const char*, N>& names) {
    return code >= 0x80 && code < 0x80 + N ? names[code - 0x80U] : hex(code);
}

constexpr std::array class_names{"personal", "advertisement", "informational", "auto"};
constexpr std::array priority_names{"low", "normal", "high"};

std::vector<HeaderFact> collect_headers(const tMMS_RetrieveConf& record) {
    std::vector<HeaderFact> headers;
    const auto text = [&](const char* name, const char* key, const char* value) {
        if (value != nullptr) headers.push_back({name, key, std::string(value)});
    };
    const auto token = [&](const char* name, const char* key, uint8_t code, const auto& names) {
        if (code != 0) headers.push_back({name, key, token_name(code, names)});
    };
    text("From", "from", record.From);
    text("To", "to", record.pTo);
    text("Cc", "cc", record.pCc);
    text("Subject", "subject", record.pSubject);
    if (record.iDate != 0) headers.push_back({"Date", "date", Date{record.iDate}});
    text("Message-ID", "message_id", record.pMessageId);
    text("X-Mms-Transaction-Id", "transaction_id", record.pTransactionId);
    token("X-Mms-Message-Class", "message_class", record.bMessageClass, class_names);
    token("X-Mms-Priority", "priority", record.bPriority, priority_names);
    headers.push_back({"X-Mms-Delivery-Report", "delivery_report", record.bDeliveryReport != 0});
    headers.push_back({"X-Mms-Read-Report", "read_report", record.bReadReport != 0});
    return headers;
}

// ---- Slides ------------------------------------------------------------------------------------

std::span<const uint8_t> bytes_of(const uint8_t* data, int32_t length) {
    if (data == nullptr || length <= 0) return {};
    return {data, static_cast<std::size_t>(length)};
}

template <typename Element>
MediaFact media_fact(MediaKind kind, const Element& element) {
    MediaFact fact;
    fact.kind = kind;
    fact.type = element.Type;
    fact.name = element.Name;
    fact.data = bytes_of(element.Data, element.Length);
    fact.timing = {element.Begin, element.End};
    if constexpr (requires { element.Left; }) {
        fact.place = {element.Left, element.Top, element.Width, element.Height};
    }
    fact.drm_class = element.IsDrm != 0 ? element.DrmType : 0;
    return fact;
}

template <typename Output>
void collect_media(SlideFact& slide, MediaKind kind, int32_t (*serve)(Output*)) {
    Output served{};
    if (serve(&served) != 0) slide.media.push_back(media_fact(kind, served));
}

// The getters serve the first element of each list.
template <typename Element, typename Each>
void for_each_further(const Element* first, Each each) {
    if (first == nullptr) return;
    for (const Element* element = first->Next; element != nullptr; element = element->Next) {
        each(*element);
    }
}

void collect_further(SlideFact& slide, const tSMIL_Par& par) {
    const auto media_of = [&](MediaKind kind) {
        return [&slide, kind](const auto& element) {
            slide.further_media.push_back(media_fact(kind, element));
        };
    };
    for_each_further(par.Text,
                     [&](const tSMIL_Text& text) { slide.further_texts.push_back(text.Data); });
    for_each_further(par.Img, media_of(MediaKind::image));
    for_each_further(par.Audio, media_of(MediaKind::audio));
    for_each_further(par.Video, media_of(MediaKind::video));
}

SlideFact collect_slide() {
    SlideFact slide;
    slide.duration = fnPAR_GetCurParDur();
    uint32_t colour = 0;
    if (fnPAR_GetCurParBgColor(&colour) != 0) slide.background = colour;
    if (fnPAR_GetCurParForeColor(&colour) != 0) slide.foreground = colour;
    tPAR_Text text{};
    if (fnPAR_GetCurParText(&text) != 0) {
        slide.text = TextFact{
            text.Data, {text.Begin, text.End}, {text.Left, text.Top, text.Width, text.Height}};
    }
    collect_media(slide, MediaKind::image, fnPAR_GetCurParImg);
    collect_media(slide, MediaKind::audio, fnPAR_GetCurParAudio);
    collect_media(slide, MediaKind::video, fnPAR_GetCurParVideo);
    if (tSMIL_ViewStruct.CurPar != nullptr) collect_further(slide, *tSMIL_ViewStruct.CurPar);
    return slide;
}

void collect_view(MessageFacts& facts) {
    facts.screen_width = tSMIL_ViewStruct.RootWidth;
    facts.screen_height = tSMIL_ViewStruct.RootHeight;
    if (tSMIL_ViewStruct.IsBgColor != 0) facts.screen_background = tSMIL_ViewStruct.bgColor;
    (void)fnPAR_InitCurPar();
    if (fnPAR_IsParEmpty() == 0) {
        do
            facts.slides.push_back(collect_slide());
        while (fnPAR_ProceedNextPar() != 0);
    }
    // Taken from the list: asking for each by its index would cost the square of their number.
    for (const tSMIL_Attachment* attachment = tSMIL_ViewStruct.AttachmentList;
         attachment != nullptr; attachment = attachment->Next) {
        facts.attachments.push_back({attachment->Type, attachment->Name,
                                     bytes_of(attachment->Data, attachment->Length),
                                     attachment->DrmType});
    }
}

Flaw last_flaw(std::size_t base) {
    uint32_t offset = 0;
    const char* reason = fnMMS_GetLastError(&offset);
    // The message decoded, so the layout of its slides ran out of memory.
    if (std::strcmp(reason, "no error") == 0) reason = "the slides cannot be laid out";
    return {reason, base + offset};
}

}  // namespace

// The kinds of message by the value of X-Mms-Message-Type (OMA-MMS-ENC 7.3.30); a kind without an
// opener is recognised and refused by its name.
struct OpenMessage::Kind {
    uint8_t type;
    const char* name;
    void (OpenMessage::*open)();
};

const OpenMessage::Kind OpenMessage::kinds[] = {
    {0x80, "m-send-req", nullptr},
    {0x81, "m-send-conf", nullptr},
    {0x82, "m-notification-ind", nullptr},
    {0x83, "m-notifyresp-ind", nullptr},
    {0x84, "m-retrieve-conf", &OpenMessage::open_retrieved},
    {0x85, "m-acknowledge-ind", nullptr},
    {0x86, "m-delivery-ind", nullptr},
    {0x87, "m-read-rec-ind", nullptr},
    {0x88, "m-read-orig-ind", nullptr},
    {0x89, "m-forward-req", nullptr},
    {0x8A, "m-forward-conf", nullptr},
};

const char* media_kind_name(MediaKind kind) {
    constexpr std::array names{"image", "audio", "video"};
    return names[static_cast<std::size_t>(kind)];
}

std::string describe(const Flaw& flaw) {
    return flaw.reason + ", at byte " + std::to_string(flaw.offset);
}

void OpenMessage::RecordRelease::operator()(tMMS_RetrieveConf* record) const {
    fnMMS_FreeMessageMem(record, retrieved_record_kind);
}

OpenMessage::OpenMessage(std::vector<uint8_t> bytes) : bytes_(std::move(bytes)) {
    facts_.size = bytes_.size();
    if (bytes_.empty()) throw Flaw{"the file is empty", 0};
    if (bytes_[0] == message_type_code) {
        open_pdu();
    } else if (bytes_[0] == content_type_code) {
        facts_.kind = "message body";
        open_body(bytes_.data(), bytes_.size());
        if (facts_.body_flaw) throw Flaw(*facts_.body_flaw);
    } else {
        throw Flaw{
            "neither a message, which begins with 0x8c, nor a message body, which begins "
            "with 0x84, but " +
                hex(bytes_[0]),
            0};
    }
}

OpenMessage::~OpenMessage() = default;

void OpenMessage::open_pdu() {
    if (bytes_.size() < 2) throw Flaw{"the message type is missing", 1};
    for (const Kind& kind : kinds) {
        if (kind.type != bytes_[1]) continue;
        if (kind.open == nullptr) {
            throw Flaw{std::string(kind.name) + " is no kind of message that can be shown", 1};
        }
        facts_.kind = kind.name;
        (this->*kind.open)();
        return;
    }
    throw Flaw{"unknown message type " + hex(bytes_[1]), 1};
}

void OpenMessage::open_retrieved() {
    record_.reset(fnMMS_ParseRetrieveConf(bytes_.data(), static_cast<int32_t>(bytes_.size())));
    if (record_ == nullptr) throw last_flaw(0);
    facts_.headers = collect_headers(*record_);
    if (record_->pBody != nullptr && record_->iBodyLen > 0) {
        open_body(record_->pBody, record_->iBodyLen);
    }
}

// The body is the end of the file, which gives an offset inside it its place there.
void OpenMessage::open_body(const uint8_t* body, std::size_t length) {
    const int32_t built = fnPAR_SmilParserEntry(body, static_cast<int32_t>(length));
    view_.reset(&tSMIL_ViewStruct);
    if (built != 0) {
        collect_view(facts_);
    } else {
        facts_.body_flaw = last_flaw(bytes_.size() - length);
    }
}

std::unique_ptr<OpenMessage> open_message(const std::string& file) {
    try {
        return std::make_unique<OpenMessage>(read_input(file));
    } catch (const Flaw& flaw) {
        throw Failure(visible(input_name(file)) + ": " + describe(flaw));
    }
}

}  // namespace mmskit_tool
