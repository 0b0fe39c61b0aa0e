// The body for the exact decoders. It stays as it is when they would keep the same parts under the
// same names, and show the same slides; a part stays as it is when it alone would be read rightly.
// Otherwise it is written anew: nested parts flat, true counts and lengths, texts in UTF-8, names
// by which each reference finds its part, and one presentation.
#include <mmskit/presentation.h>
#include <mmskit/runtime.h>

#include <algorithm>
#include <cstring>
#include <unordered_map>

#include "Anatomy/src/charset.h"
#include "Anatomy/src/letters.h"
#include "Anatomy/src/mend_view.h"
#include "Anatomy/src/part_writer.h"

namespace mmskit_anatomy {
namespace {

constexpr std::string_view text_type = "text/plain", smil_type = "application/smil",
                           unknown_type = "application/octet-stream",
                           drm_type = "application/vnd.oma.drm.";
constexpr std::size_t inner_type_size = 100;
// References of a presentation for which it is tried how few parts need new names; where there are
// more all parts get them. A message of a thousand slides has three thousand.
constexpr std::size_t most_trials = 4096;

std::string_view text_of_bytes(Bytes bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}
std::string_view handed_out(const tMMS_Part& part) {
    return {reinterpret_cast<const char*>(part.pData), part.iDataLen};
}

// A type that can be written as text.
bool is_plain(std::string_view type) {
    return !type.empty() &&
           std::all_of(type.begin(), type.end(), [](char c) { return c > ' ' && c < 0x7F; });
}

// The slide view shows these bytes as that text, which ends at its first zero octet.
bool text_reads_as(const ExactBodyPart& part, Bytes wire, std::string_view text) {
    text = text.substr(0, text.find('\0'));
    if (!part.has_charset) {
        const std::string_view raw = text_of_bytes(wire);
        return raw.substr(0, raw.find('\0')) == text;
    }
    auto length = static_cast<uint32_t>(wire.size());
    char* read =
        fnCharSet_DecodeString2Local(static_cast<int32_t>(part.charset), wire.data(), &length);
    const bool same = read != nullptr && std::string_view(read) == text;
    fnCharSet_CharSetFreeStringBuf(read);
    return same;
}

class BodyMender {
  public:
    BodyMender(const Tree& tree, Arena& texts, MendNotes& notes)
        : tree_(tree),
          texts_(texts),
          notes_(notes),
          smil_(presentation_of(tree)),
          meant_(tree, smil_, notes),
          body_(tree.at(tree.body)) {
        choose_parts();
        planned_.reserve(carried_.size());
    }

    MendedBody mend() {
        if (stays_as_it_is()) return std::move(out_);
        if (!all_read_right_) {
            planned_.clear();
            plan_parts();
        }
        choose_names();
        write();
        return std::move(out_);
    }

  private:
    static uint32_t presentation_of(const Tree& tree) {
        for (uint32_t i = 0; i < tree.part_list.size(); ++i)
            if (tree.part_list[i].bPresentation != 0) return i;
        return no_part;
    }

    // Leaf parts that are carried: a poorer alternative only where the presentation shows it.
    void choose_parts() {
        for (uint32_t i = 0; i < tree_.part_list.size(); ++i) {
            const tMMS_Part& part = tree_.part_list[i];
            if (i == smil_ || part.iDataLen == 0) continue;
            if (part.bAlternative != 0 && !meant_.refers_to(i)) continue;
            if (part.pType == smil_type) {
                second_presentations_.push_back(i);
                continue;
            }
            carried_.push_back(i);
        }
    }

    // ---- As it is -----------------------------------------------------------------------------

    bool stays_as_it_is() {
        ExactBody read = exact_body(body_, carried_.size(), made_);
        if (!read.taken || read.parts.size() != carried_.size()) return false;
        if (read.presentation.presentation != (smil_ != no_part)) return false;
        if (smil_ != no_part && !stands_at(smil_, read.presentation)) return false;
        for (std::size_t i = 0; i < carried_.size(); ++i) {
            if (!stands_at(carried_[i], read.parts[i]) || !reads_right(carried_[i], read.parts[i]))
                return false;
            planned_.push_back(planned(carried_[i], read.parts[i]));
        }
        free_all(read.parts);
        meant_.plan(planned_);
        wrong_ = wrong_parts(smil_ != no_part ? text_of_bytes(wire_of(smil_)) : std::string_view());
        if (!view_is_right_ || !wrong_.empty()) {
            all_read_right_ = mark_as_they_are();
            return false;
        }
        out_.same = true;
        list_same_parts(read.presentation);
        return true;
    }

    // True when each part, copied behind true lengths, reads as it did in this body.
    bool mark_as_they_are() {
        for (PlannedPart& part : planned_) {
            const PartDetail& detail = tree_.part_details[part.part];
            part.as_it_is =
                detail.headers_exact && detail.headers.length != 0 && is_untouched(part.part);
            if (!part.as_it_is) return false;
        }
        return true;
    }

    [[nodiscard]] Bytes wire_of(uint32_t part) const {
        return tree_.at(tree_.part_details[part].data);
    }

    [[nodiscard]] bool stands_at(uint32_t part, const ExactBodyPart& exact) const {
        const Place& place = tree_.part_details[part].data;
        return place.layer == tree_.body.layer && place.offset == tree_.body.offset + exact.data &&
               place.length == exact.size;
    }

    // Type, names and text of the part are what the exact decoders read.
    [[nodiscard]] bool reads_right(uint32_t index, const ExactBodyPart& exact) const {
        const tMMS_Part& part = tree_.part_list[index];
        const std::string_view type = part.pType;
        if (exact.type.empty() || !same_word(exact.type, type)) return false;
        const bool compared_exactly = type == text_type || type.starts_with(drm_type);
        if (compared_exactly && exact.type != type) return false;
        const std::string_view name = part.pName != nullptr ? part.pName : "";
        const bool is_text = type == text_type;
        // A text's made-up name is nowhere shown, and none is missed.
        const bool named =
            exact.shown_name() == name || (is_text && (name.empty() || exact.content_id == name));
        if (!named) return false;
        if (is_text && !exact.has_charset && smil_ == no_part) return false;
        if (part.bText != 0) return text_reads_as(exact, wire_of(index), handed_out(part));
        const Bytes wire = wire_of(index);
        return wire.size() == part.iDataLen && wire.data() == part.pData;
    }

    void list_same_parts(const ExactBodyPart& presentation) {
        bool listed = smil_ == no_part;
        const auto list_presentation = [&] {
            add_part(smil_, nullptr, presentation.data, presentation.size);
            listed = true;
        };
        out_.parts.reserve(planned_.size() + 1);
        for (const PlannedPart& part : planned_) {
            if (!listed && smil_ < part.part) list_presentation();
            add_part(part.part, kept_name(part), part.exact.data, part.exact.size);
        }
        if (!listed) list_presentation();
    }

    // ---- The plan -----------------------------------------------------------------------------

    PlannedPart planned(uint32_t index, const ExactBodyPart& exact) {
        PlannedPart part;
        part.part = index;
        set_exact(part, exact);
        const tMMS_Part& from = tree_.part_list[index];
        if (!std::string_view(from.pType).starts_with(drm_type)) return part;
        char inner[inner_type_size] = {};
        part.drm = fnPAR_DrmType(std::string(exact.type).c_str(), from.pData,
                                 static_cast<int32_t>(from.iDataLen), nullptr, inner);
        part.inner_kind = fnPAR_IsPlayedMedia(inner);
        return part;
    }

    void set_exact(PlannedPart& part, const ExactBodyPart& exact) {
        part.exact = exact;
        const bool again =
            exact.type.data() == last_type_.data() && exact.type.size() == last_type_.size();
        if (!again) last_kind_ = fnPAR_IsPlayedMedia(std::string(exact.type).c_str());
        last_type_ = exact.type;
        part.kind = last_kind_;
    }

    void plan_parts() {
        for (const uint32_t index : carried_) {
            ExactBodyPart exact;
            const Place& headers = tree_.part_details[index].headers;
            const bool as_it_is = headers.length != 0 && is_untouched(index) &&
                                  exact_part(tree_.at(headers), planned_.size(), made_, exact) &&
                                  !exact.presentation && reads_right(index, exact);
            planned_.push_back(planned(index, as_it_is ? exact : written_part(index)));
            planned_.back().as_it_is = as_it_is;
            if (!as_it_is) generate_name(planned_.size() - 1);
        }
    }

    // The data on the wire is what is handed out, or a text that the slide view reads as that.
    [[nodiscard]] bool is_untouched(uint32_t index) const {
        const PartDetail& detail = tree_.part_details[index];
        return !detail.transfer_decoded && detail.data.length != 0;
    }

    // The part as it is written anew.
    ExactBodyPart written_part(uint32_t index) {
        const tMMS_Part& part = tree_.part_list[index];
        const PartDetail& detail = tree_.part_details[index];
        ExactBodyPart exact;
        exact.type =
            writer_.spelled(is_plain(part.pType) ? std::string_view(part.pType) : unknown_type);
        exact.location = plain_name(part.pName != nullptr ? part.pName : "");
        exact.name = plain_name(detail.name);
        exact.content_id = without_angles(plain_name(detail.content_id), made_.made);
        exact.has_charset = part.bText != 0;
        exact.charset = part.bText != 0 ? mib_utf_8 : 0;
        return exact;
    }

    // Without what encloses it on the wire: it would be taken away again.
    static std::string_view plain_name(std::string_view name) {
        for (std::size_t before = 0; before != name.size();) {
            before = name.size();
            name = stripped(name);
            while (!name.empty() && (name.front() == '"' || name.front() == 0x7F))
                name.remove_prefix(1);
            while (!name.empty() && name.back() == '"')
                name.remove_suffix(1);
            if (name.size() > 1 && name.front() == '<' && name.back() == '>')
                name = name.substr(1, name.size() - 2);
        }
        return name;
    }

    // The decoders name a text that has no name by its place.
    void generate_name(std::size_t at) {
        ExactBodyPart& exact = planned_[at].exact;
        if (exact.type != text_type || !exact.location.empty() || !exact.name.empty()) return;
        exact.location = exact.name = generated_name(at, made_.made);
    }

    // ---- Names and the presentation -------------------------------------------------------------

    // Parts that would be shown as other ones; view_is_right_ says whether the slides are right.
    std::vector<uint32_t> wrong_parts(std::string_view presentation) {
        ExactNames names(planned_);
        view_is_right_ = compared_ = true;
        if (smil_ != no_part) {
            View view = exact_view(presentation, names);
            view.placed = names.placed();
            view_is_right_ = view == meant_.view() && !names.gave_up();
        }
        std::vector<uint32_t> wrong = wrongly_laid_out(planned_, names);
        if (names.gave_up()) view_is_right_ = false;
        return wrong;
    }

    void choose_names() {
        const bool whole = smil_ != no_part;
        if (whole) presentation_ = text_of_bytes(wire_of(smil_));
        const bool many = meant_.references() > most_trials;
        if (!all_read_right_) meant_.plan(planned_);
        if (many && compared_ && !view_is_right_) return rewrite_presentation();
        std::vector<uint32_t> wrong = std::move(wrong_);
        if (!all_read_right_) wrong = wrong_parts(presentation_);
        if (!view_is_right_ && whole) {  // read in another form on the wire?
            const std::string_view wire = presentation_;
            presentation_ = handed_out(tree_.part_list[smil_]);
            if (presentation_ != wire) wrong = wrong_parts(presentation_);
        }
        if (!wrong.empty() && (view_is_right_ || !many)) {
            rename(wrong);
            wrong = wrong_parts(presentation_);
        }
        if (whole && (!view_is_right_ || !wrong.empty())) rewrite_presentation();
    }

    void rewrite_presentation() {
        notes_.push_back({MMS_FLAW_REPAIRED, tree_.part_details[smil_].data,
                          "the presentation is written in another form than slides are read in"});
        if (meant_.references() <= most_trials && rewritten_with_few_names()) return;
        std::vector<uint32_t> all(planned_.size());
        for (uint32_t i = 0; i < all.size(); ++i)
            all[i] = i;
        rename(all);
        presentation_ = written_ = meant_.written(planned_);
    }

    bool rewritten_with_few_names() {
        const std::vector<uint32_t> shown = meant_.shown_parts();
        std::vector<uint32_t> unfit;
        for (const uint32_t part : shown) {
            stop_generating(planned_[part]);
            if (!can_stand_in_value(sent_name(planned_[part]))) unfit.push_back(part);
        }
        rename(unfit);
        if (write_and_compare()) return true;
        rename(mistaken_parts());
        if (write_and_compare()) return true;
        rename(shown);
        return write_and_compare();
    }

    [[nodiscard]] std::string_view sent_name(const PlannedPart& part) const {
        const char* const name = tree_.part_list[part.part].pName;
        return plain_name(name != nullptr ? name : "");
    }

    // A text that the decoders call by its place is called by its Content-ID instead.
    void stop_generating(PlannedPart& part) {
        if (part.renamed || part.exact.shown_name() == sent_name(part)) return;
        set_exact(part, written_part(part.part));
        part.as_it_is = false;
    }

    bool write_and_compare() {
        written_ = meant_.written(planned_);
        presentation_ = written_;
        const std::vector<uint32_t> wrong = wrong_parts(presentation_);
        if (wrong.empty()) return view_is_right_;
        rename(wrong);
        return wrong_parts(presentation_).empty() && view_is_right_;
    }

    // Parts that a reference by their own name would not find.
    std::vector<uint32_t> mistaken_parts() {
        ExactNames names(planned_);
        std::vector<uint32_t> out;
        for (const uint32_t part : meant_.shown_parts())
            if (names.take(planned_[part].exact.shown_name(), MediaKind::image) != part)
                out.push_back(part);
        return out;
    }

    void rename(const std::vector<uint32_t>& parts) {
        for (const uint32_t at : parts) {
            PlannedPart& part = planned_[at];
            if (part.renamed) continue;
            const std::string_view original = part.exact.shown_name();
            const std::string_view name = new_names().next(original, texts_);
            if (part.as_it_is) set_exact(part, written_part(part.part));
            part.as_it_is = false;
            part.renamed = true;
            part.exact.location = part.exact.name = name;
            if (!part.exact.content_id.empty()) part.exact.content_id = name;
            tell_new_name(part, original, name);
        }
    }

    // Of very many the first ones are told.
    void tell_new_name(const PlannedPart& part, std::string_view original, std::string_view name) {
        constexpr std::size_t most_told = 256;
        if (++renamed_ > most_told) return;
        const bool last = renamed_ == most_told;
        const std::string text = last ? "this part and others behind it: called by new names"
                                      : told_name(original) + ": called " + std::string(name);
        notes_.push_back({MMS_FLAW_REPAIRED, tree_.part_details[part.part].headers,
                          text + " so that the slides find it"});
    }

    static std::string told_name(std::string_view name) {
        constexpr std::size_t longest = 120;
        if (name.empty()) return "a part without a name";
        return std::string(name.substr(0, longest));
    }

    NewNames& new_names() {
        if (!new_names_) new_names_.emplace(tree_, carried_.size());
        return *new_names_;
    }

    // ---- Writing ------------------------------------------------------------------------------

    void write() {
        for (const uint32_t index : second_presentations_)
            if (smil_ != no_part)
                notes_.push_back({MMS_FLAW_REPAIRED, tree_.part_details[index].whole,
                                  "a second presentation, left out"});
        const bool whole = smil_ != no_part;
        ExactBodyPart smil;
        const std::string smil_headers = whole ? presentation_headers(smil) : std::string();
        BytesWriter body;
        body.bytes = writer_.body_type(whole, smil.content_id);
        body.uintvar(planned_.size() + (whole ? 1 : 0));
        bool listed = !whole;
        const auto write_presentation_part = [&] {
            entry(body, smil_, nullptr, smil_headers, presentation_);
            listed = true;
        };
        for (const PlannedPart& part : planned_) {
            if (!listed && smil_ < part.part) write_presentation_part();
            const PartDetail& detail = tree_.part_details[part.part];
            const std::string headers = part.as_it_is ? "" : writer_.headers(told(part));
            entry(body, part.part, kept_name(part),
                  part.as_it_is ? text_of_bytes(tree_.at(detail.headers)) : headers,
                  part.as_it_is ? text_of_bytes(wire_of(part.part))
                                : handed_out(tree_.part_list[part.part]));
        }
        if (!listed) write_presentation_part();
        out_.bytes = std::move(body.bytes);
    }

    // Without the names that the decoders would make up.
    [[nodiscard]] ExactBodyPart told(const PlannedPart& part) const {
        ExactBodyPart exact = part.exact;
        if (!part.renamed && tree_.part_list[part.part].pName == nullptr) {
            exact.location = exact.name = {};
        }
        return exact;
    }

    // Those that came where the decoders see a presentation in them and its bytes stay.
    std::string presentation_headers(ExactBodyPart& smil) {
        const PartDetail& detail = tree_.part_details[smil_];
        const tMMS_Part& part = tree_.part_list[smil_];
        smil.content_id = without_angles(plain_name(detail.content_id), made_.made);
        if (smil.content_id.empty()) smil.content_id = "smil";
        const Bytes wire = wire_of(smil_);
        const bool same_bytes =
            presentation_.data() == text_of_bytes(wire).data() && is_untouched(smil_);
        if (ExactBodyPart read; same_bytes && detail.headers.length != 0 &&
                                exact_part(tree_.at(detail.headers), 0, made_, read) &&
                                read.presentation)
            return std::string(text_of_bytes(tree_.at(detail.headers)));
        smil.type = smil_type;
        smil.location = plain_name(part.pName != nullptr ? part.pName : "");
        smil.has_charset = true;
        return writer_.headers(smil);
    }

    void entry(BytesWriter& body, uint32_t index, const char* name, std::string_view headers,
               std::string_view data) {
        body.uintvar(headers.size());
        body.uintvar(data.size());
        body.bytes += headers;
        add_part(index, name, body.bytes.size(), data.size());
        body.bytes += data;
    }

    // The tree's own text where it is the same: the anatomy outlives what is mended from it.
    [[nodiscard]] const char* kept_name(const PlannedPart& part) const {
        const std::string_view name = part.exact.shown_name();
        const char* const sent = tree_.part_list[part.part].pName;
        if (sent != nullptr && name == sent) return sent;
        return name.empty() ? nullptr : texts_.keep(name);
    }

    void add_part(uint32_t index, const char* name, std::size_t offset, std::size_t length) {
        out_.parts.push_back({index, name, tree_.part_list[index].pName,
                              static_cast<uint32_t>(offset), static_cast<uint32_t>(length)});
    }

    const Tree& tree_;
    Arena& texts_;
    MendNotes& notes_;
    const uint32_t smil_;
    MeantView meant_;
    const Bytes body_;
    ExactTexts made_;
    const PartWriter writer_{made_.types};
    std::string_view last_type_;  // and its kind: parts of one type often follow each other
    int32_t last_kind_ = fnPAR_IsPlayedMedia("");
    std::vector<uint32_t> carried_;  // parts of the tree
    std::vector<uint32_t> second_presentations_;
    std::vector<PlannedPart> planned_;
    std::optional<NewNames> new_names_;
    std::string written_;            // the presentation, where it is rewritten
    std::string_view presentation_;  // as it will stand in the body
    std::vector<uint32_t> wrong_;    // parts of the body as it is
    bool view_is_right_ = false, compared_ = false;
    bool all_read_right_ = false;  // in the body as it is: the view alone is wrong
    std::size_t renamed_ = 0;
    MendedBody out_;
};

}  // namespace

MendedBody mend_body(const Tree& tree, Arena& texts, MendNotes& notes) {
    return BodyMender(tree, texts, notes).mend();
}

}  // namespace mmskit_anatomy
