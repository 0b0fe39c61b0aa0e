#include "reading/open_message.h"

#include <new>
#include <utility>

#include "ground/file_io.h"
#include "ground/safe_text.h"
#include "reading/header_facts.h"
#include "reading/push_facts.h"
#include "reading/shown_parts.h"
#include "reading/slide_view.h"

namespace mmskit_tool {
namespace {

NoteKind note_kind(uint32_t flaw) {
    if (flaw == MMS_FLAW_LOST) return NoteKind::lost;
    return flaw == MMS_FLAW_UNKNOWN ? NoteKind::unknown : NoteKind::repaired;
}

PartFact part_fact(const tMMS_Part& part) {
    PartFact fact;
    fact.type = part.pType;
    fact.name = part.pName;
    fact.charset = part.pCharset;
    fact.data = {part.pData, part.iDataLen};
    fact.missing = part.iMissing;
    fact.text = part.bText != 0;
    fact.laid_out = part.bPresentation != 0;
    fact.presentation = fact.laid_out || std::string_view(part.pType) == "application/smil";
    return fact;
}

// Whether a report is wanted is always told of a retrieved message: without the header it is not.
void add_default_reports(MessageFacts& facts) {
    constexpr std::pair<const char*, const char*> reports[] = {
        {"X-Mms-Delivery-Report", "delivery_report"}, {"X-Mms-Read-Report", "read_report"}};
    for (const auto& [name, key] : reports) {
        if (find_header(facts, key) == nullptr) facts.headers.push_back({name, key, false});
    }
}

// The view left nothing out of these, so what is left shows itself: no part is ever hidden.
void attach_all(MessageFacts& facts) {
    facts.slides.clear();
    facts.attachments.clear();
    facts.attachments.reserve(facts.parts.size());
    for (std::size_t i = 0; i < facts.parts.size(); ++i) {
        const PartFact& part = facts.parts[i];
        if (part.presentation) continue;
        AttachmentFact fact;
        fact.type = part.type;
        fact.name = part.name;
        fact.data = part.data;
        fact.part = i;
        fact.text = part.text;
        facts.attachments.push_back(fact);
    }
}

}  // namespace

AnatomyOwner dissect(std::span<const uint8_t> bytes) {
    tMMS_Anatomy* anatomy = fnMMS_Dissect(bytes.data(), static_cast<uint32_t>(bytes.size()));
    if (anatomy == nullptr) throw std::bad_alloc();
    return {anatomy, fnMMS_FreeAnatomy};
}

std::string no_message(const tMMS_Anatomy& anatomy) {
    const std::string looks_like = anatomy.pLooksLike;
    return looks_like.empty() ? "no message" : "no message, but " + looks_like;
}

void OpenMessage::RecordRelease::operator()(tMMS_RetrieveConf* record) const {
    constexpr uint8_t retrieved_record = 4;
    fnMMS_FreeMessageMem(record, retrieved_record);
}

OpenMessage::OpenMessage(std::vector<uint8_t> bytes, Reading reading, AnatomyOwner anatomy)
    : bytes_(std::move(bytes)), anatomy_(std::move(anatomy)), reading_(reading) {
    facts_.size = bytes_.size();
    if (bytes_.empty()) throw Flaw{"the file is empty", std::nullopt};
    if (anatomy_ == nullptr) anatomy_ = dissect(bytes_);
    if (reading == Reading::outline)
        open_outline();
    else
        reading == Reading::tolerant ? open_tolerant() : open_exact();
    bound_repeated_names(facts_);
}

OpenMessage::~OpenMessage() = default;

void OpenMessage::open_outline() {
    if (anatomy_->iMessage == MMS_MESSAGE_NONE) throw Flaw{no_message(*anatomy_), std::nullopt};
    facts_.kind = anatomy_->pKind;
    if (anatomy_->iMessage >= MMS_MESSAGE_SI) return open_push();
    facts_.headers = header_facts(*anatomy_);
    if (anatomy_->iMessageType == 0x84) add_default_reports(facts_);
}

void OpenMessage::open_tolerant() {
    open_outline();
    mended_.reset(fnMMS_MendOnce(anatomy_.get()));
    if (mended_ == nullptr) throw std::bad_alloc();
    for (uint32_t i = 0; i < anatomy_->iLayers; ++i) {
        const tMMS_Layer& layer = anatomy_->pLayers[i];
        facts_.layers.push_back({layer.pName, layer.iLength, layer.iParent});
    }
    for (uint32_t i = 0; i < mended_->iNotes; ++i) {
        const tMMS_Note& note = mended_->pNotes[i];
        facts_.notes.push_back(
            {note_kind(note.iFlaw), note.iByte, note.iBytes, note.iLayer, note.pText});
    }
    if (anatomy_->iMessage >= MMS_MESSAGE_SI) return;
    facts_.parts.reserve(anatomy_->iParts);
    for (uint32_t i = 0; i < anatomy_->iParts; ++i)
        facts_.parts.push_back(part_fact(anatomy_->pParts[i]));
    facts_.has_body =
        !facts_.parts.empty() || (mended_->pData != nullptr && mended_->iBody < mended_->iLength);
    if (facts_.has_body) lay_out_mended();
}

void OpenMessage::open_push() {
    const tMMS_Layer& layer = anatomy_->pLayers[anatomy_->iMessageLayer];
    const std::span<const uint8_t> document(layer.pData + anatomy_->iMessageOffset,
                                            anatomy_->iMessageLength);
    const bool indication =
        anatomy_->iMessage == MMS_MESSAGE_SI || anatomy_->iMessage == MMS_MESSAGE_SI_XML;
    collect_push(document, indication ? PushKind::service_indication : PushKind::service_loading,
                 facts_);
}

void OpenMessage::lay_out_mended() {
    if (mended_->pData == nullptr || mended_->iBody >= mended_->iLength) return attach_all(facts_);
    const std::span<const uint8_t> body(mended_->pData + mended_->iBody,
                                        mended_->iLength - mended_->iBody);
    TextProbe texts(*mended_, facts_);
    if (lay_out(body)) return name_shown_parts(*mended_, texts, facts_);
    const Flaw flaw = last_flaw(0);
    facts_.notes.push_back({NoteKind::lost, 0, 0, 0, "the slides: " + flaw.reason});
    attach_all(facts_);
}

bool OpenMessage::lay_out(std::span<const uint8_t> body) {
    body_ = body;
    const int32_t built = fnPAR_SmilParserEntry(body.data(), static_cast<int32_t>(body.size()));
    view_.reset(&tSMIL_ViewStruct);
    if (built != 0 && reading_ != Reading::verdict) collect_view(facts_);
    return built != 0;
}

std::unique_ptr<OpenMessage> open_message(const std::string& file, Reading reading) {
    try {
        return std::make_unique<OpenMessage>(read_input(file), reading);
    } catch (const Flaw& flaw) {
        throw Failure(visible(input_name(file)) + ": " + describe(flaw));
    }
}

}  // namespace mmskit_tool
