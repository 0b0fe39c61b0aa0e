// Part look-up as the exact library does it: names are compared with the reference first, whose
// bytes that are no letter agree with any; the first part of the body that has such a name is
// shown, and when it is placed already the next one that has it. References of one length with
// letters at the same places ("shape") are looked up in one table by those letters, so that a
// message costs its length.
#include <mmskit/presentation.h>

#include <bit>
#include <memory>
#include <unordered_map>
#include <utility>

#include "Anatomy/src/letters.h"
#include "Anatomy/src/mend.h"

namespace mmskit_anatomy {
namespace {

// Beyond these a message has too many shapes for its names: bytes of names looked at, and names in
// all tables. A thousand parts whose names are all of one length, thirty letters and digits each,
// may be referred to by names of five hundred shapes.
constexpr uint64_t most_work = uint64_t{1} << 24;
constexpr uint64_t most_entries = uint64_t{1} << 18;

enum class Test : uint8_t { location, name, content_id };

// What of a name is compared: of a letter all bits but its case, of other bytes none.
uint64_t compared_in(uint64_t word) {
    return (letters_in(word) >> 7) * 0xDF;
}

std::string shape_of(std::string_view name) {
    std::string shape(name);
    for (char& c : shape)
        c = is_letter(c) ? '\xDF' : '\0';
    return shape;
}

bool has_shape(std::string_view name, std::string_view shape) {
    if (name.size() != shape.size()) return false;
    for (std::size_t i = 0; i < name.size(); i += sizeof(uint64_t))
        if (compared_in(octets_at(name, i)) != octets_at(shape, i)) return false;
    return true;
}

// The name has letters where the shape has them.
bool fits(std::string_view shape, std::string_view name) {
    for (std::size_t i = 0; i < shape.size(); i += sizeof(uint64_t))
        if ((octets_at(shape, i) & ~compared_in(octets_at(name, i))) != 0) return false;
    return true;
}

uint32_t hash_letters(std::string_view shape, std::string_view text) {
    uint64_t hash = 0xcbf29ce484222325U;
    for (std::size_t i = 0; i < shape.size(); i += sizeof(uint64_t))
        hash = mixed_hash(hash, octets_at(shape, i) & octets_at(text, i));
    return end_of_hash(hash);
}

bool same_letters(std::string_view shape, std::string_view a, std::string_view b) {
    for (std::size_t i = 0; i < shape.size(); i += sizeof(uint64_t))
        if (((octets_at(a, i) ^ octets_at(b, i)) & octets_at(shape, i)) != 0) return false;
    return true;
}

constexpr uint32_t none_at = UINT32_MAX;

struct Named {
    std::string_view name;
    uint32_t part;
    Test test;
};

// A name, and the next one that a reference of its class finds, in the order in which they are
// tried.
struct Entry {
    uint32_t name;  // index in the table's names
    uint32_t next;
};

// The names that a class of references finds; indices of entries.
struct Class {
    uint32_t hash = 0;
    uint32_t first = none_at, last = none_at;
    uint32_t first_id = none_at;  // the first that is a Content-ID
    uint32_t cursor = none_at;    // everything of the first entry's test before it is placed
};

// The names that fit one shape, by the letters that it compares.
struct Table {
    const std::vector<Named>* names = nullptr;  // of that length
    std::vector<Entry> entries;
    std::vector<Class> classes;  // a power of two of them, a third empty at least

    [[nodiscard]] const Named& named(uint32_t index) const { return (*names)[entries[index].name]; }

    // The class of these letters, or the empty place where it would be; `work` grows with the
    // places that are passed.
    Class& find(uint32_t hash, std::string_view shape, std::string_view text, uint64_t& work) {
        const std::size_t mask = classes.size() - 1;
        for (std::size_t at = hash & mask;; at = (at + 1) & mask, ++work) {
            Class& found = classes[at];
            if (found.first == none_at ||
                (found.hash == hash && same_letters(shape, named(found.first).name, text)))
                return found;
        }
    }

    void add(std::string_view shape, uint32_t index, uint64_t& work) {
        const Named& name = named(index);
        const uint32_t hash = hash_letters(shape, name.name);
        Class& to = find(hash, shape, name.name, work);
        if (to.first == none_at) {
            to.hash = hash;
            to.first = index;
        } else {
            entries[to.last].next = index;
            if (to.first == to.last) to.cursor = index;
        }
        to.last = index;
        if (to.first_id == none_at && name.test == Test::content_id) to.first_id = index;
    }
};

std::size_t cid_at(std::string_view reference) {
    for (std::size_t colon = reference.find(':'); colon != reference.npos;
         colon = reference.find(':', colon + 1))
        if (colon >= 3 && (reference[colon - 3] | 0x20) == 'c' &&
            (reference[colon - 2] | 0x20) == 'i' && (reference[colon - 1] | 0x20) == 'd')
            return colon + 1;
    return std::string_view::npos;
}

}  // namespace

struct ExactNames::State {
    const std::vector<PlannedPart>& parts;
    std::vector<uint8_t> placed;
    std::vector<uint32_t> next_free;  // no part that is not placed lies between
    std::unordered_map<std::size_t, std::vector<Named>> by_length;
    std::unordered_map<std::string, Table> tables;  // by shape
    // References of one form often follow each other: its shape, and its table or null.
    std::string last_shape;
    Table* last_table = nullptr;
    std::string_view last_reference;  // and its class or null
    Class* last_class = nullptr;
    uint64_t work = 0, entries = 0;
    bool gave_up = false;

    explicit State(const std::vector<PlannedPart>& all) : parts(all), placed(all.size()) {}

    void collect() {
        std::vector<Named>* names = nullptr;  // of the length of the last one
        std::size_t length = 0;
        next_free.reserve(parts.size());
        for (uint32_t i = 0; i < parts.size(); ++i) {
            next_free.push_back(i + 1);
            const ExactBodyPart& part = parts[i].exact;
            const std::pair<Test, std::string_view> all[] = {{Test::location, part.location},
                                                             {Test::name, part.name},
                                                             {Test::content_id, part.content_id}};
            for (const auto& [test, name] : all) {
                if (name.empty()) continue;
                if (names == nullptr || name.size() != length) names = &by_length[name.size()];
                length = name.size();
                names->push_back({name, i, test});
            }
        }
    }

    Table* table_for(std::string_view reference, const std::string& shape) {
        const auto names = by_length.find(reference.size());
        if (names == by_length.end()) return nullptr;
        const auto [at, added] = tables.try_emplace(shape);
        if (added) fill(shape, names->second, at->second);
        return &at->second;
    }

    void fill(std::string_view shape, const std::vector<Named>& names, Table& table) {
        table.names = &names;
        work += uint64_t{names.size()} * shape.size();
        if (work > most_work) {
            gave_up = true;
            return;
        }
        for (uint32_t i = 0; i < names.size(); ++i)
            if (fits(shape, names[i].name)) table.entries.push_back({i, none_at});
        entries += table.entries.size();
        if (entries > most_entries) {
            gave_up = true;
            table.entries.clear();
            return;
        }
        table.classes.resize(std::bit_ceil(table.entries.size() * 3 / 2 + 1));
        for (uint32_t i = 0; i < table.entries.size() && work <= most_work; ++i)
            table.add(shape, i, work);
        gave_up = work > most_work;
    }

    // Null where no name has these letters.
    Class* find(std::string_view reference) {
        if (gave_up) return nullptr;
        if (reference == last_reference) return last_class;
        last_reference = reference;
        return last_class = find_anew(reference);
    }

    Class* find_anew(std::string_view reference) {
        if (!has_shape(reference, last_shape)) {
            last_shape = shape_of(reference);
            last_table = table_for(reference, last_shape);
        }
        if (last_table == nullptr || gave_up) return nullptr;
        Class& found =
            last_table->find(hash_letters(last_shape, reference), last_shape, reference, work);
        return found.first != none_at ? &found : nullptr;
    }

    uint32_t next_unplaced(uint32_t from) {
        uint32_t root = from;
        while (root < parts.size() && placed[root] != 0)
            root = next_free[root];
        while (from < parts.size() && from != root)
            from = std::exchange(next_free[from], root);
        return root < parts.size() ? root : no_part;
    }

    // Another part of that name than the first.
    uint32_t further(Class& found, const Table& table) {
        const Named& first = table.named(found.first);
        if (first.test == Test::content_id) return next_unplaced(first.part + 1);
        for (; found.cursor != none_at; found.cursor = table.entries[found.cursor].next) {
            const Named& entry = table.named(found.cursor);
            if (entry.test == first.test && entry.part != first.part && placed[entry.part] == 0)
                return entry.part;
        }
        return no_part;
    }

    uint32_t choose(std::string_view reference) {
        Class* const whole = find(reference);
        const Table* const table = last_table;
        uint32_t chosen = whole != nullptr ? table->named(whole->first).part : no_part;
        if (const std::size_t cid = cid_at(reference); cid != std::string_view::npos)
            if (const Class* found = find(reference.substr(cid)))
                if (found->first_id != none_at)
                    if (const uint32_t part = last_table->named(found->first_id).part;
                        part < chosen)
                        return part;
        if (chosen == no_part || placed[chosen] == 0) return chosen;
        const uint32_t other = further(*whole, *table);
        return other != no_part ? other : chosen;
    }
};

ExactNames::ExactNames(const std::vector<PlannedPart>& parts) {
    auto state = std::make_unique<State>(parts);
    state->collect();
    state_ = state.release();
}

ExactNames::~ExactNames() {
    delete state_;
}

uint32_t ExactNames::take(std::string_view reference, MediaKind kind) {
    if (reference.empty() || none()) return no_part;
    const uint32_t part = state_->choose(reference);
    if (part == no_part) return no_part;
    // What cannot be played is an attachment too.
    const int32_t drm = state_->parts[part].drm;
    const bool stays_free = drm != 0 && drm != drm_forward_locked && kind != MediaKind::text;
    if (!stays_free) state_->placed[part] = 1;
    return part;
}

bool ExactNames::can_be_shown(uint32_t part) const {
    const int32_t drm = state_->parts[part].drm;
    return drm == 0 || drm == drm_forward_locked || drm == drm_separate;
}

bool ExactNames::none() const {
    return state_->parts.empty();
}

const std::vector<uint8_t>& ExactNames::placed() const {
    return state_->placed;
}

bool ExactNames::gave_up() const {
    return state_->gave_up;
}

}  // namespace mmskit_anatomy
