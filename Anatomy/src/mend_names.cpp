// What a reference names to a person: the part of exactly that name, else one whose name differs in
// case only, else the only part whose name ends like it. `cid:` in any case, angle brackets and
// percent-encoding are undone where the text itself names nothing.
#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <span>
#include <unordered_map>
#include <utility>

#include "Anatomy/src/letters.h"
#include "Anatomy/src/mend.h"

namespace mmskit_anatomy {
namespace {

std::string_view without_brackets(std::string_view text) {
    if (text.size() >= 2 && text.front() == '<' && text.back() == '>')
        return text.substr(1, text.size() - 2);
    return text;
}

std::string percent_decoded(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size()) {
            const int high = hex_digit(text[i + 1]), low = hex_digit(text[i + 2]);
            if (high >= 0 && low >= 0 && high + low != 0) {
                out += static_cast<char>(high * 16 + low);
                i += 2;
                continue;
            }
        }
        out += text[i];
    }
    return out;
}

std::string_view basename_of(std::string_view name) {
    const std::size_t slash = name.find_last_of("/\\");
    return slash == std::string_view::npos ? name : name.substr(slash + 1);
}

// Parts of one name, given in turn; when all are given, the first again.
struct Bearers {
    std::vector<uint32_t> parts;
    std::size_t cursor = 0;
};

// Names in the order of their worth.
enum Source : std::size_t { location, name, filename, content_id, source_count };
using Names = std::array<std::string_view, source_count>;

using BearersByName = std::unordered_map<std::string_view, Bearers>;
using ByName = std::array<BearersByName, source_count>;

}  // namespace

struct Resolver::State {
    const Tree& tree;
    ByName exact, loose;
    std::unordered_map<std::string_view, uint32_t> endings;  // no_part: of several parts
    std::vector<uint8_t> taken;
    Arena made;  // names that do not stand in the tree
    bool loose_filled = false;

    [[nodiscard]] Names names_of(uint32_t part) const {
        const PartDetail& detail = tree.part_details[part];
        return {detail.location, detail.name, detail.filename, detail.content_id};
    }

    [[nodiscard]] bool is_medium(uint32_t part) const {
        return std::string_view(tree.part_list[part].pType) != "application/smil";
    }

    std::string_view kept_text(const std::string& text) { return {made.keep(text), text.size()}; }

    static void add(BearersByName& to, std::string_view key, uint32_t part) {
        std::vector<uint32_t>& parts = to[key].parts;
        if (parts.empty() || parts.back() != part) parts.push_back(part);
    }

    // A table that grows is hashed over and over.
    void reserve_for_names(ByName& tables) const {
        std::array<std::size_t, source_count> counts{};
        for (uint32_t part = 0; part < tree.part_list.size(); ++part)
            for (std::size_t source = 0; source < source_count; ++source)
                counts[source] += names_of(part)[source].empty() ? 0U : 1U;
        for (std::size_t source = 0; source < source_count; ++source)
            tables[source].reserve(counts[source]);
    }

    void fill() {
        taken.resize(tree.part_list.size());
        reserve_for_names(exact);
        std::size_t kept = 0;
        for (uint32_t part = 0; part < tree.part_list.size(); ++part) {
            if (!is_medium(part)) continue;
            const Names names = names_of(part);
            // A text without a name is called by its place.
            const bool is_text = std::string_view(tree.part_list[part].pType) == "text/plain";
            if (is_text && names[location].empty() && names[name].empty())
                add(exact[location], kept_text("MMS_Text00" + std::to_string(kept) + ".txt"), part);
            if (tree.part_list[part].iDataLen != 0) ++kept;
            for (std::size_t source = 0; source < source_count; ++source)
                if (!names[source].empty()) add(exact[source], names[source], part);
        }
    }

    void fill_loose() {
        if (std::exchange(loose_filled, true)) return;
        reserve_for_names(loose);
        for (uint32_t part = 0; part < tree.part_list.size(); ++part) {
            if (!is_medium(part)) continue;
            const Names names = names_of(part);
            for (std::size_t source = 0; source < source_count; ++source) {
                if (names[source].empty()) continue;
                const std::string_view name = kept_text(lower_case(names[source]));
                add(loose[source], name, part);
                const auto [at, added] = endings.try_emplace(basename_of(name), part);
                if (!added && at->second != part) at->second = no_part;
            }
        }
    }

    uint32_t give(Bearers& bearers) {
        while (bearers.cursor < bearers.parts.size() && taken[bearers.parts[bearers.cursor]] != 0)
            ++bearers.cursor;
        return bearers.parts[bearers.cursor < bearers.parts.size() ? bearers.cursor : 0];
    }

    uint32_t find(ByName& in, std::string_view key, bool by_id) {
        constexpr std::array<std::size_t, source_count> plain = {location, name, filename,
                                                                 content_id};
        constexpr std::array<std::size_t, source_count> id_first = {content_id, location, name,
                                                                    filename};
        for (const std::size_t source : by_id ? id_first : plain)
            if (const auto found = in[source].find(key); found != in[source].end())
                return give(found->second);
        return no_part;
    }

    uint32_t find_any(std::string_view reference) {
        struct Form {
            std::string_view text;
            bool by_id;
        };
        std::array<Form, 3> all{{{reference, false}}};
        std::size_t count = 1;
        std::string_view bare = without_brackets(reference);
        const bool by_id = same_word(reference.substr(0, 4), "cid:");
        if (by_id) bare = without_brackets(reference.substr(4));
        if (bare.size() != reference.size()) all[count++] = {bare, by_id};
        std::string decoded;
        if (bare.find('%') != bare.npos) decoded = percent_decoded(bare);
        if (!decoded.empty() && decoded != bare) all[count++] = {without_brackets(decoded), by_id};
        const std::span<const Form> forms(all.data(), count);
        for (const Form& form : forms)
            if (const uint32_t part = find(exact, form.text, form.by_id); part != no_part)
                return part;
        fill_loose();
        for (const Form& form : forms)
            if (const uint32_t part = find(loose, lower_case(form.text), form.by_id);
                part != no_part)
                return part;
        for (const Form& form : forms) {
            const auto found = endings.find(lower_case(basename_of(form.text)));
            if (found != endings.end() && found->second != no_part) return found->second;
        }
        return no_part;
    }
};

Resolver::Resolver(const Tree& tree) {
    auto state = std::make_unique<State>(State{tree, {}, {}, {}, {}, {}});
    state->fill();
    state_ = state.release();
}

Resolver::~Resolver() {
    delete state_;
}

uint32_t Resolver::resolve(std::string_view reference) {
    const uint32_t part = state_->find_any(reference);
    if (part != no_part) state_->taken[part] = 1;
    return part;
}

namespace {

constexpr std::string_view first_stem = "part";
constexpr std::size_t longest_extension = 5;

// "x" as often as needed for a stem with which no name of the message begins.
std::size_t run_after_stem(std::string_view name) {
    if (!same_word(name.substr(0, first_stem.size()), first_stem)) return 0;
    std::size_t at = first_stem.size();
    while (at < name.size() && (name[at] | 0x20) == 'x')
        ++at;
    return at - first_stem.size() + 1;
}

}  // namespace

NewNames::NewNames(const Tree& tree, std::size_t count) {
    std::size_t run = 0;
    for (const PartDetail& detail : tree.part_details)
        for (const std::string_view name :
             {detail.location, detail.name, detail.filename, detail.content_id})
            run = std::max(run, run_after_stem(name));
    stem_ = std::string(first_stem) + std::string(std::min<std::size_t>(run, 64), 'x');
    for (std::size_t room = 26; room < count; room *= 26)
        ++width_;
}

std::string_view NewNames::next(std::string_view original, Arena& names) {
    std::string letters(width_, 'a');
    std::size_t left = number_++;
    for (std::size_t i = width_; i-- > 0; left /= 26)
        letters[i] = static_cast<char>('a' + left % 26);
    std::string made = stem_ + letters;
    const std::string_view base = basename_of(original);
    const std::size_t dot = base.rfind('.');
    const std::string_view extension = dot != base.npos ? base.substr(dot + 1) : std::string_view();
    const bool plain =
        !extension.empty() && extension.size() <= longest_extension &&
        std::all_of(extension.begin(), extension.end(), [](char c) {
            return (c >= '0' && c <= '9') || ((c | 0x20) >= 'a' && (c | 0x20) <= 'z');
        });
    if (plain) made.append(".").append(extension);
    return names.keep_view(made);
}

}  // namespace mmskit_anatomy
