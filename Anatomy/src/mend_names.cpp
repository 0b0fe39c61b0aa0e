// What a reference names to a person: the part of exactly that name, else one whose name differs in
// case only, else the only part whose name ends like it. `cid:` in any case, angle brackets and
// percent-encoding are undone where the text itself names nothing.
#include <algorithm>
#include <array>
#include <bit>
#include <memory>
#include <optional>
#include <span>
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
    std::size_t at = name.size();
    while (at > 0 && name[at - 1] != '/' && name[at - 1] != '\\')
        --at;
    return name.substr(at);
}

// Names in the order of their worth.
enum Source : std::size_t { location, name, filename, content_id, source_count };
using Names = std::array<std::string_view, source_count>;

// The parts of one name, given in turn; when all are given, the first again.
struct Bearers {
    std::string_view name;
    uint32_t hash = 0;
    uint32_t first = no_part, last = no_part;
    uint32_t cursor = no_part;
};

// Bearers by name, with regard to letters' case or without it.
class NameTable {
  public:
    explicit NameTable(bool folds) : folds_(folds), seed_(reinterpret_cast<uintptr_t>(this)) {}

    // Room for so many names, once.
    void reserve(std::size_t names) {
        bearers_.reserve(names);
        places_.assign(std::bit_ceil(names * 3 / 2 + 1), 0);
    }

    // Null without one.
    Bearers* find(std::string_view wanted) {
        if (bearers_.empty()) return nullptr;
        const uint32_t at = places_[place_of(wanted, hash_of(wanted))];
        return at != 0 ? &bearers_[at - 1] : nullptr;
    }

    Bearers& operator[](std::string_view wanted) {
        const uint32_t hash = hash_of(wanted);
        uint32_t& at = places_[place_of(wanted, hash)];
        if (at == 0) {
            bearers_.push_back({wanted, hash});
            at = static_cast<uint32_t>(bearers_.size());
        }
        return bearers_[at - 1];
    }

  private:
    [[nodiscard]] uint32_t hash_of(std::string_view text) const {
        uint64_t hash = seed_ ^ text.size();
        for (std::size_t i = 0; i < text.size(); i += sizeof(uint64_t)) {
            const uint64_t octets = octets_at(text, i);
            hash = mixed_hash(hash, folds_ ? octets | letters_in(octets) >> 2 : octets);
        }
        return end_of_hash(hash);
    }

    // Where it stands, or would.
    [[nodiscard]] std::size_t place_of(std::string_view text, uint32_t hash) const {
        const std::size_t mask = places_.size() - 1;
        std::size_t place = hash & mask;
        for (; places_[place] != 0; place = (place + 1) & mask) {
            const Bearers& there = bearers_[places_[place] - 1];
            if (there.hash != hash) continue;
            if (folds_ ? same_word(there.name, text) : there.name == text) break;
        }
        return place;
    }

    bool folds_;
    uint64_t seed_;  // no sender knows which names meet in one place
    std::vector<Bearers> bearers_;
    std::vector<uint32_t> places_;  // indices behind the bearers'; 0 for none
};

}  // namespace

struct Resolver::State {
    // The names of one source, and for each part the next one of its name.
    struct BySource {
        NameTable exact{false}, loose{true};
        std::vector<uint32_t> next, next_loose;
    };

    const Tree& tree;
    std::array<BySource, source_count> names;
    NameTable endings{true};  // `cursor` says that several parts have it
    std::vector<uint8_t> taken;
    Arena made;                // names that do not stand in the tree
    std::string_view missing;  // the last reference that named nothing
    bool loose_filled = false;

    explicit State(const Tree& of) : tree(of), taken(of.part_list.size()) {}

    [[nodiscard]] Names names_of(uint32_t part) const {
        const PartDetail& detail = tree.part_details[part];
        return {detail.location, detail.name, detail.filename, detail.content_id};
    }

    [[nodiscard]] bool has_type(uint32_t part, std::string_view type) const {
        return tree.part_list[part].pType == type;
    }

    static void add(NameTable& table, std::vector<uint32_t>& next, std::string_view name,
                    uint32_t part) {
        Bearers& bearers = table[name];
        if (bearers.first == no_part)
            bearers.first = bearers.cursor = part;
        else
            next[bearers.last] = part;
        bearers.last = part;
    }

    // How many parts have a name of a source; a text without a name is called by its place.
    [[nodiscard]] std::array<std::size_t, source_count> count_names(bool of_place) const {
        std::array<std::size_t, source_count> counts{};
        for (uint32_t part = 0; part < tree.part_list.size(); ++part) {
            const Names all = names_of(part);
            for (std::size_t source = 0; source < source_count; ++source)
                counts[source] += all[source].empty() ? 0U : 1U;
            if (of_place && is_called_by_place(part, all)) ++counts[location];
        }
        return counts;
    }

    [[nodiscard]] bool is_called_by_place(uint32_t part, const Names& all) const {
        return all[location].empty() && all[name].empty() && has_type(part, "text/plain");
    }

    void fill() {
        const auto counts = count_names(true);
        for (std::size_t source = 0; source < source_count; ++source) {
            if (counts[source] == 0) continue;
            names[source].exact.reserve(counts[source]);
            names[source].next.assign(tree.part_list.size(), no_part);
        }
        std::size_t kept = 0;
        for (uint32_t part = 0; part < tree.part_list.size(); ++part) {
            if (has_type(part, "application/smil")) continue;
            Names all = names_of(part);
            if (is_called_by_place(part, all)) all[location] = generated_name(kept, made);
            if (tree.part_list[part].iDataLen != 0) ++kept;
            for (std::size_t source = 0; source < source_count; ++source)
                if (!all[source].empty())
                    add(names[source].exact, names[source].next, all[source], part);
        }
    }

    void fill_loose() {
        if (std::exchange(loose_filled, true)) return;
        const auto counts = count_names(false);
        std::size_t sum = 0;
        for (std::size_t source = 0; source < source_count; ++source) {
            if (counts[source] == 0) continue;
            names[source].loose.reserve(counts[source]);
            names[source].next_loose.assign(tree.part_list.size(), no_part);
            sum += counts[source];
        }
        endings.reserve(sum);
        for (uint32_t part = 0; part < tree.part_list.size(); ++part) {
            if (has_type(part, "application/smil")) continue;
            const Names all = names_of(part);
            for (std::size_t source = 0; source < source_count; ++source) {
                if (all[source].empty()) continue;
                add(names[source].loose, names[source].next_loose, all[source], part);
                Bearers& ending = endings[basename_of(all[source])];
                if (ending.first == no_part) ending.first = part;
                if (ending.first != part) ending.cursor = part;
            }
        }
    }

    uint32_t give(Bearers& bearers, const std::vector<uint32_t>& next) {
        while (bearers.cursor != no_part && taken[bearers.cursor] != 0)
            bearers.cursor = next[bearers.cursor];
        return bearers.cursor != no_part ? bearers.cursor : bearers.first;
    }

    uint32_t find(bool loosely, std::string_view wanted, bool by_id) {
        constexpr std::array<std::size_t, source_count> plain = {location, name, filename,
                                                                 content_id};
        constexpr std::array<std::size_t, source_count> id_first = {content_id, location, name,
                                                                    filename};
        for (const std::size_t source : by_id ? id_first : plain) {
            BySource& of = names[source];
            if (Bearers* const found = (loosely ? of.loose : of.exact).find(wanted))
                return give(*found, loosely ? of.next_loose : of.next);
        }
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
            if (const uint32_t part = find(false, form.text, form.by_id); part != no_part)
                return part;
        fill_loose();
        for (const Form& form : forms)
            if (const uint32_t part = find(true, form.text, form.by_id); part != no_part)
                return part;
        for (const Form& form : forms) {
            const Bearers* const found = endings.find(basename_of(form.text));
            if (found != nullptr && found->cursor == no_part) return found->first;
        }
        return no_part;
    }
};

Resolver::Resolver(const Tree& tree) {
    auto state = std::make_unique<State>(tree);
    state->fill();
    state_ = state.release();
}

Resolver::~Resolver() {
    delete state_;
}

uint32_t Resolver::resolve(std::string_view reference) {
    if (reference == state_->missing) return no_part;
    const uint32_t part = state_->find_any(reference);
    if (part != no_part)
        state_->taken[part] = 1;
    else
        state_->missing = reference;
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
    made_ = std::string(first_stem) + std::string(std::min<std::size_t>(run, 64), 'x');
    stem_ = made_.size();
    for (std::size_t room = 26; room < count; room *= 26)
        ++width_;
}

std::string_view NewNames::next(std::string_view original, Arena& names) {
    made_.resize(stem_ + width_);
    std::size_t left = number_++;
    for (std::size_t i = made_.size(); i-- > stem_; left /= 26)
        made_[i] = static_cast<char>('a' + left % 26);
    const std::string_view base = basename_of(original);
    const std::size_t dot = base.rfind('.');
    const std::string_view extension = dot != base.npos ? base.substr(dot + 1) : std::string_view();
    const bool plain =
        !extension.empty() && extension.size() <= longest_extension &&
        std::all_of(extension.begin(), extension.end(), [](char c) {
            return (c >= '0' && c <= '9') || ((c | 0x20) >= 'a' && (c | 0x20) <= 'z');
        });
    if (plain) (made_ += '.') += extension;
    return names.keep_view(made_);
}

}  // namespace mmskit_anatomy
