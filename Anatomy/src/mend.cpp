// The C interface of mending: puts headers and body together, or hands out the message as it is
// where the exact decoders take it whole and rightly.
#include "Anatomy/src/mend.h"

#include <algorithm>
#include <memory>
#include <new>

#include "Anatomy/src/converters.h"
#include "Anatomy/src/mms_fields.h"

using namespace mmskit_anatomy;

namespace {

constexpr uint8_t type_retrieved = 0x84;  // m-retrieve-conf

struct Mended : tMMS_Mended {
    Arena texts;
    std::string bytes;
    std::vector<tMMS_MendedPart> parts;
    std::vector<tMMS_Note> notes;
};

class Mender {
  public:
    explicit Mender(const Tree& tree) : tree_(tree) {}

    std::unique_ptr<Mended> mend() {
        out_ = std::make_unique<Mended>();
        const Place message{tree_.iMessageLayer, tree_.iMessageOffset, tree_.iMessageLength};
        if (tree_.iMessage != MMS_MESSAGE_NONE) {
            message_ = tree_.at(message);
            if (tree_.iMessage == MMS_MESSAGE_PDU || tree_.iMessage == MMS_MESSAGE_BODY) {
                mend_message();
            } else {
                keep(message_.size());
            }
        }
        collect_notes();
        out_->pParts = out_->parts.data();
        out_->iParts = static_cast<uint32_t>(out_->parts.size());
        return std::move(out_);
    }

  private:
    void mend_message() {
        const bool has_body = tree_.body.length != 0 && carries_body();
        body_at_ = has_body ? tree_.body.offset - tree_.iMessageOffset : message_.size();
        if (tree_.body.length != 0 && !has_body)
            notes_.push_back({MMS_FLAW_LOST, tree_.body, "a message of this type has no body"});
        MendedBody body;
        body.same = true;
        if (has_body) body = mend_body(tree_, out_->texts, notes_);
        const bool headers_stay = tree_.iMessage == MMS_MESSAGE_BODY ||
                                  (headers_are_right() && (body.same || ends_are_sure()));
        if (headers_stay && body.same) {
            keep(body_at_);
        } else {
            std::string& bytes = out_->bytes;
            if (headers_stay)
                bytes.assign(message_.begin(),
                             message_.begin() + static_cast<std::ptrdiff_t>(body_at_));
            else
                bytes = write_headers(syntax_of_headers(), tree_, notes_);
            const std::size_t body_at = bytes.size();
            if (body.same && has_body)
                bytes.append(message_.begin() + static_cast<std::ptrdiff_t>(body_at_),
                             message_.end());
            else
                bytes += body.bytes;
            out_->pData = reinterpret_cast<const uint8_t*>(bytes.data());
            out_->iLength = static_cast<uint32_t>(bytes.size());
            out_->iBody = static_cast<uint32_t>(body_at);
            out_->bChanged = 1;
        }
        out_->parts = std::move(body.parts);
        for (tMMS_MendedPart& part : out_->parts)
            part.iOffset += out_->iBody;
    }

    void keep(std::size_t body_at) {
        out_->pData = message_.data();
        out_->iLength = static_cast<uint32_t>(message_.size());
        out_->iBody = static_cast<uint32_t>(body_at);
    }

    [[nodiscard]] bool carries_body() const {
        const ExactSyntax* const syntax = exact_syntax(tree_.iMessageType);
        return tree_.iMessage == MMS_MESSAGE_BODY || syntax == nullptr ||
               syntax->find(code_content_type) != nullptr;
    }

    // A type that no decoder reads stays as it is.
    [[nodiscard]] bool headers_are_right() const {
        const ExactSyntax* const syntax = exact_syntax(tree_.iMessageType);
        if (syntax == nullptr) return true;
        const ExactHeaders read = exact_headers(*syntax, message_);
        return read.taken && (!carries_body() || read.body == body_at_) &&
               read.values == wanted_headers(*syntax, tree_);
    }

    // Of a type that no decoder reads those headers are kept that a retrieved message may have.
    [[nodiscard]] const ExactSyntax& syntax_of_headers() const {
        const ExactSyntax* const syntax = exact_syntax(tree_.iMessageType);
        return syntax != nullptr ? *syntax : *exact_syntax(type_retrieved);
    }

    // Where an inexact value ends is told by what follows it: before another body it could end
    // elsewhere. Headers of an unknown type stay: others might not be known for headers.
    [[nodiscard]] bool ends_are_sure() const {
        if (message_type_name(static_cast<uint8_t>(tree_.iMessageType)).empty()) return true;
        for (std::size_t i = 0; i < tree_.header_list.size(); ++i) {
            const HeaderDetail& header = tree_.header_details[i];
            if (tree_.header_list[i].iCode == code_content_type) continue;
            if (!header.exact && !header.textual) return false;
        }
        return true;
    }

    void collect_notes() {
        std::vector<tMMS_Note>& notes = out_->notes;
        notes = tree_.note_list;
        for (const MendNote& note : notes_) {
            if (notes.size() >= most_notes) break;
            const bool last = notes.size() + 1 == most_notes;
            const uint32_t flaw = last ? uint32_t{MMS_FLAW_LOST} : note.flaw;
            const char* const text =
                last ? "more is wrong than can be told" : out_->texts.keep(note.text);
            notes.push_back({note.place.offset, note.place.length, note.place.layer, flaw, text});
        }
        std::stable_sort(notes.begin(), notes.end(), [](const tMMS_Note& a, const tMMS_Note& b) {
            return a.iLayer != b.iLayer ? a.iLayer < b.iLayer : a.iByte < b.iByte;
        });
        out_->pNotes = notes.data();
        out_->iNotes = static_cast<uint32_t>(notes.size());
    }

    const Tree& tree_;
    Bytes message_;
    std::size_t body_at_ = 0;
    MendNotes notes_;
    std::unique_ptr<Mended> out_;
};

}  // namespace

extern "C" {

tMMS_Mended* fnMMS_Mend(const tMMS_Anatomy* anatomy) {
    if (anatomy == nullptr) return nullptr;
    const Tree& tree = *static_cast<const Tree*>(anatomy);
    if (tree.mended_once) return nullptr;
    try {
        const ConvertersOpen converters;
        return Mender(tree).mend().release();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

tMMS_Mended* fnMMS_MendOnce(tMMS_Anatomy* anatomy) {
    if (anatomy == nullptr) return nullptr;
    Tree& tree = *static_cast<Tree*>(anatomy);
    free_all(tree.nodes);
    tree.pNodes = nullptr;
    tree.iNodes = 0;
    tMMS_Mended* const mended = fnMMS_Mend(anatomy);
    tree.mended_once = true;
    free_all(tree.part_details);
    free_all(tree.header_details);
    return mended;
}

void fnMMS_FreeMended(tMMS_Mended* mended) {
    delete static_cast<Mended*>(mended);
}

}  // extern "C"
