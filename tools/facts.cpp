// Collects what a message says: the record of its headers, the slides as the library's getters
// serve them, and the lists of the slide view for what the getters leave out. One walk over slides
// and attachments, so the cost is linear in both.
#include "facts.h"

#include <array>
#include <cstring>
#include <type_traits>
#include <utility>

#include "file_io.h"
#include "header_facts.h"
#include "plain_headers.h"
#include "push_facts.h"
#include "safe_text.h"

namespace mmskit_tool {
namespace {

constexpr uint8_t retrieved_record_kind = 4;  // of fnMMS_FreeMessageMem

constexpr uint8_t content_type_code = 0x84;  // OMA-MMS-ENC 7.4: the header that opens a body
constexpr uint8_t message_type_code = 0x8C;  // and the one that opens every PDU

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

// The kinds of message by the value of X-Mms-Message-Type (OMA-MMS-ENC 7.3.30). A send request is
// read plainly too: the library's record of one holds neither flags nor times, and it refuses one
// with a date.
struct OpenMessage::Kind {
    uint8_t type;
    const char* name;
    void (OpenMessage::*open)();
};

const OpenMessage::Kind OpenMessage::kinds[] = {
    {0x80, "m-send-req", &OpenMessage::open_plain},
    {0x81, "m-send-conf", &OpenMessage::open_headers<fnMMS_ParseSendConf, 2, send_conf_headers>},
    {0x82, "m-notification-ind",
     &OpenMessage::open_headers<fnMMS_ParseNotificationInd, 3, notification_headers>},
    {0x83, "m-notifyresp-ind", &OpenMessage::open_plain},
    {0x84, "m-retrieve-conf", &OpenMessage::open_retrieved},
    {0x85, "m-acknowledge-ind", &OpenMessage::open_plain},
    {0x86, "m-delivery-ind",
     &OpenMessage::open_headers<fnMMS_ParseDeliveryInd, 5, delivery_headers>},
    {0x87, "m-read-rec-ind", &OpenMessage::open_plain},
    {0x88, "m-read-orig-ind",
     &OpenMessage::open_headers<fnMMS_ParseReadOrigInd, 9, read_orig_headers>},
    {0x89, "m-forward-req", &OpenMessage::open_plain},
    {0x8A, "m-forward-conf",
     &OpenMessage::open_headers<fnMMS_ParseForwardConf, 11, forward_conf_headers>},
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
    } else if (const auto push = recognize_push(bytes_)) {
        collect_push(bytes_, *push, facts_);
    } else {
        throw Flaw{
            "neither a message, which begins with 0x8c, nor a message body, which begins "
            "with 0x84, but " +
                hex_byte(bytes_[0]),
            0};
    }
}

OpenMessage::~OpenMessage() = default;

void OpenMessage::open_pdu() {
    if (bytes_.size() < 2) throw Flaw{"the message type is missing", 1};
    for (const Kind& kind : kinds) {
        if (kind.type != bytes_[1]) continue;
        facts_.kind = kind.name;
        (this->*kind.open)();
        return;
    }
    throw Flaw{"unknown message type " + hex_byte(bytes_[1]), 1};
}

void OpenMessage::open_retrieved() {
    record_.reset(fnMMS_ParseRetrieveConf(bytes_.data(), static_cast<int32_t>(bytes_.size())));
    if (record_ == nullptr) throw last_flaw(0);
    facts_.headers = retrieved_headers(*record_);
    if (record_->pBody != nullptr && record_->iBodyLen > 0) {
        open_body(record_->pBody, record_->iBodyLen);
    }
}

template <auto parse, uint8_t record_kind, auto collect>
void OpenMessage::open_headers() {
    const auto release = [](auto* record) { fnMMS_FreeMessageMem(record, record_kind); };
    auto* const parsed = parse(bytes_.data(), static_cast<int32_t>(bytes_.size()));
    if (parsed == nullptr) throw last_flaw(0);
    const std::unique_ptr<std::remove_pointer_t<decltype(parsed)>, decltype(release)> record(
        parsed, release);
    facts_.headers = collect(*record);
}

void OpenMessage::open_plain() {
    PlainHeaders plain = read_plain_headers(bytes_);
    facts_.headers = std::move(plain.headers);
    if (plain.body) open_body(bytes_.data() + *plain.body, bytes_.size() - *plain.body);
}

// The body is the end of the file, which gives an offset inside it its place there.
void OpenMessage::open_body(const uint8_t* body, std::size_t length) {
    body_ = {body, length};
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
