// Media are found by where their bytes lie in the mended message; texts of a presentation by a
// second message that differs in nothing but the letters of its texts.
#include "reading/shown_parts.h"

#include <mmskit/presentation.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <unordered_set>
#include <utility>

#include "reading/render.h"
#include "reading/slide_view.h"

namespace mmskit_tool {
namespace {

// The marks that a text may begin with; they stay, for they say how the rest is read.
std::size_t byte_order_mark(std::span<const uint8_t> data) {
    constexpr std::array<std::string_view, 3> marks{"\xEF\xBB\xBF", "\xFE\xFF", "\xFF\xFE"};
    for (const std::string_view mark : marks) {
        if (data.size() >= mark.size() && std::memcmp(data.data(), mark.data(), mark.size()) == 0)
            return mark.size();
    }
    return 0;
}

// A mark is the part's number in letters, as long as the text, and known by its beginning.
constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::size_t longest_mark = 12;

constexpr std::string_view text_type = "text/plain";

// Fills the data and returns the mark. UTF-16 has a byte order mark here, or it would not be
// exact.
std::string write_mark(std::span<uint8_t> data, std::size_t number) {
    const std::size_t kept = byte_order_mark(data);
    const std::size_t width = kept == 2 ? 2 : 1;
    const std::size_t first = kept == 2 && data[0] == 0xFE ? 1 : 0;
    std::string mark;
    for (std::size_t at = kept; at + width <= data.size(); at += width) {
        if (width == 2) data[at + 1 - first] = 0;
        data[at + first] = static_cast<uint8_t>(letters[number % letters.size()]);
        number /= letters.size();
        if (mark.size() < longest_mark) mark += static_cast<char>(data[at + first]);
    }
    return mark;
}

// What the layout depends on keeps its bytes.
bool may_change(const PartFact& part) {
    return !part.presentation && std::string_view(part.type) != "application/vnd.oma.drm.message";
}

// The parts of the mended message, for finding the one that holds a byte.
class MendedParts {
  public:
    explicit MendedParts(const tMMS_Mended& mended) : mended_(mended) {
        for (uint32_t i = 0; i < mended.iParts; ++i) {
            const tMMS_MendedPart& part = mended.pParts[i];
            if (part.iLength != 0)
                order_.push_back(&part);
            else
                empty_.try_emplace(part.pName != nullptr ? part.pName : "", part.iPart);
        }
        std::stable_sort(order_.begin(), order_.end(),
                         [](const auto* a, const auto* b) { return a->iOffset < b->iOffset; });
    }

    template <typename Fact>
    [[nodiscard]] std::size_t part_of(const Fact& fact) const {
        if (!fact.data.empty()) return holding(fact.data);
        // An empty part lies nowhere: the first of the name.
        const auto found = empty_.find(fact.name != nullptr ? fact.name : "");
        return found != empty_.end() ? found->second : no_part;
    }

  private:
    [[nodiscard]] std::size_t holding(std::span<const uint8_t> data) const {
        const auto offset = static_cast<std::size_t>(data.data() - mended_.pData);
        const auto after =
            std::upper_bound(order_.begin(), order_.end(), offset,
                             [](std::size_t at, const auto* part) { return at < part->iOffset; });
        if (after == order_.begin()) return no_part;
        const tMMS_MendedPart* part = *(after - 1);
        return offset - part->iOffset < part->iLength ? part->iPart : no_part;
    }

    const tMMS_Mended& mended_;
    std::vector<const tMMS_MendedPart*> order_;  // those that are not empty, by place
    std::unordered_map<std::string_view, std::size_t> empty_;
};

void note_slide(MessageFacts& facts, std::size_t part, std::size_t number) {
    if (part >= facts.parts.size()) return;
    std::vector<std::size_t>& slides = facts.parts[part].slides;
    if (slides.empty() || slides.back() != number) slides.push_back(number);
}

// An element or an attachment becomes what its part is: the sender's name for it, not ours.
template <typename Fact>
void become_part(Fact& fact, const MendedParts& parts, const MessageFacts& facts) {
    fact.part = parts.part_of(fact);
    if (fact.part >= facts.parts.size()) return;
    if (const char* name = facts.parts[fact.part].name; name != nullptr) fact.name = name;
}

}  // namespace

// The slide view ends a text at its first zero octet.
std::string_view TextProbe::shown_text(std::size_t part) const {
    const std::string_view text = text_of(facts_.parts[part].data);
    return text.substr(0, text.find('\0'));
}

TextProbe::TextProbe(const tMMS_Mended& mended, const MessageFacts& facts) : facts_(facts) {
    const auto laid_out = std::find_if(facts.parts.begin(), facts.parts.end(),
                                       [](const PartFact& part) { return part.laid_out; });
    if (laid_out != facts.parts.end())
        lay_out_marked(mended, laid_out->data.size());
    else
        queue_texts(mended);
}

// Without a presentation each text is shown once, in the order of the message.
void TextProbe::queue_texts(const tMMS_Mended& mended) {
    texts_.reserve(mended.iParts);
    next_alike_.assign(facts_.parts.size(), no_part);
    for (uint32_t i = mended.iParts; i-- > 0;) {
        const std::size_t part = mended.pParts[i].iPart;
        if (part >= facts_.parts.size() || text_type != facts_.parts[part].type) continue;
        const auto [first, added] = texts_.try_emplace(shown_text(part), part);
        if (!added) next_alike_[part] = std::exchange(first->second, part);
    }
}

void TextProbe::lay_out_marked(const tMMS_Mended& mended, std::size_t presentation) {
    bool alike = false;
    for (std::size_t i = 0; i < facts_.parts.size(); ++i)
        if (!facts_.parts[i].presentation)
            alike = !texts_.try_emplace(shown_text(i), i).second || alike;
    // Laying out costs parts times references, so what is hostile is not laid out twice: of its
    // texts that are alike the first counts.
    constexpr std::size_t most_work = std::size_t{1} << 20;
    constexpr std::size_t bytes_of_a_reference = 32;
    if (!alike || facts_.parts.size() * (presentation / bytes_of_a_reference + 1) > most_work)
        return;
    std::vector<uint8_t> message(mended.pData, mended.pData + mended.iLength);
    for (uint32_t i = 0; i < mended.iParts; ++i) {
        const tMMS_MendedPart& part = mended.pParts[i];
        if (part.iPart >= facts_.parts.size() || !may_change(facts_.parts[part.iPart])) continue;
        const auto data = std::span(message).subspan(part.iOffset, part.iLength);
        if (data.size() > byte_order_mark(data)) marks_.emplace(write_mark(data, i), part.iPart);
    }
    if (fnPAR_SmilParserEntry(message.data() + mended.iBody,
                              static_cast<int32_t>(mended.iLength - mended.iBody)) != 0)
        slides_ = view_texts(longest_mark);
    (void)fnPAR_SmilFree();
}

std::size_t TextProbe::part_of(std::size_t slide, std::size_t number, const char* shown) {
    const std::string_view text(shown != nullptr ? shown : "");
    // An empty text has no mark, and one in a character set that letters do not fit shows none.
    const auto same = texts_.find(text);
    const std::size_t by_text = same != texts_.end() ? same->second : no_part;
    if (!next_alike_.empty()) {
        if (by_text != no_part && next_alike_[by_text] != no_part)
            same->second = next_alike_[by_text];
        return by_text;
    }
    if (slide >= slides_.size() || number >= slides_[slide].size()) return by_text;
    const auto [first, end] = marks_.equal_range(slides_[slide][number]);
    if (first == end) return by_text;
    for (auto found = first; found != end; ++found) {
        if (text_of(facts_.parts[found->second].data) == text) return found->second;
    }
    return first->second;
}

void bound_repeated_names(MessageFacts& facts) {
    constexpr std::size_t base = 65'536;
    const std::size_t allowed = base + facts.size;
    std::size_t left = allowed;
    std::unordered_set<const char*> too_long;  // for what was left, and so for what is
    const auto charge = [&](const char*& text) {
        if (text == nullptr) return;
        const bool known = !too_long.empty() && too_long.contains(text);
        const std::size_t length = known ? left + 1 : strnlen(text, left + 1);
        if (length <= left) {
            left -= length;
            return;
        }
        if (!known) too_long.insert(text);
        text = nullptr;
    };
    for (SlideFact& slide : facts.slides) {
        for (auto* list : {&slide.media, &slide.further_media}) {
            for (MediaFact& media : *list) {
                charge(media.name);
                charge(media.type);
            }
        }
    }
    if (!too_long.empty())
        facts.notes.push_back({NoteKind::lost, 0, 0, 0,
                               "names and types on slides beyond " + std::to_string(allowed) +
                                   " bytes: told with their parts alone"});
}

void name_shown_parts(const tMMS_Mended& mended, TextProbe& texts, MessageFacts& facts) {
    const MendedParts parts(mended);
    for (std::size_t i = 0; i < facts.slides.size(); ++i) {
        SlideFact& slide = facts.slides[i];
        std::size_t number = 0;
        const auto find_text = [&](TextFact& text) {
            text.part = texts.part_of(i, number++, text.text);
            note_slide(facts, text.part, i + 1);
        };
        if (slide.text) find_text(*slide.text);
        for (TextFact& text : slide.further_texts)
            find_text(text);
        for (auto* list : {&slide.media, &slide.further_media}) {
            for (MediaFact& media : *list) {
                become_part(media, parts, facts);
                note_slide(facts, media.part, i + 1);
            }
        }
    }
    for (AttachmentFact& attachment : facts.attachments) {
        become_part(attachment, parts, facts);
        if (attachment.part >= facts.parts.size()) continue;
        const PartFact& part = facts.parts[attachment.part];
        attachment.text = part.text;
        if (part.text) attachment.data = part.data;
    }
}

}  // namespace mmskit_tool
