// Part look-up as the exact library does it: names are compared with the reference first, whose
// bytes that are no letter agree with any; the first part of the body that has such a name is
// shown, and when it is placed already the next one that has it. References of one length with
// letters at the same places ("shape") are looked up in one table by those letters, so that a
// message costs its length.
#include <mmskit/presentation.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <unordered_map>
#include <utility>

#include "Anatomy/src/mend.h"

namespace mmskit_anatomy {
namespace {

// Beyond these a message has too many shapes for its names.
constexpr uint64_t most_work = uint64_t{1} << 26;     // bytes of names looked at
constexpr uint64_t most_entries = uint64_t{1} << 20;  // in all tables

enum class Test : uint8_t { location, name, content_id, cid };

// What of a name is compared: of a letter all bits but its case, of other bytes none.
constexpr char compared_bits = '\xDF';

std::string shape_of(std::string_view name) {
    std::string shape(name);
    for (char& c : shape)
        c = is_letter(c) ? compared_bits : '\0';
    return shape;
}

bool has_shape(std::string_view name, std::string_view shape) {
    if (name.size() != shape.size()) return false;
    for (std::size_t i = 0; i < name.size(); ++i)
        if (is_letter(name[i]) != (shape[i] != '\0')) return false;
    return true;
}

// Which of the first 64 bytes are letters, a bit for each.
constexpr std::size_t marked = 64;
uint64_t letter_marks(std::string_view name) {
    uint64_t marks = 0;
    for (std::size_t i = 0; i < std::min(marked, name.size()); ++i)
        marks |= uint64_t{is_letter(name[i])} << i;
    return marks;
}

// The name, whose marks these are, has letters where the shape has them.
bool fits(std::string_view shape, uint64_t shape_marks, std::string_view name, uint64_t marks) {
    if ((shape_marks & ~marks) != 0) return false;
    for (std::size_t i = marked; i < shape.size(); ++i)
        if (shape[i] != '\0' && !is_letter(name[i])) return false;
    return true;
}

// Eight bytes from `at` on, or the last eight; of a shorter text all.
uint64_t word_at(std::string_view text, std::size_t at) {
    uint64_t word = 0;
    if (text.size() >= sizeof word) {
        std::memcpy(&word, text.data() + std::min(at, text.size() - sizeof word), sizeof word);
    } else {
        for (const char c : text)
            word = word << 8 | static_cast<unsigned char>(c);
    }
    return word;
}

uint64_t hash_letters(std::string_view shape, std::string_view text) {
    uint64_t hash = 0xcbf29ce484222325U;
    for (std::size_t i = 0; i < shape.size(); i += sizeof(uint64_t)) {
        hash = (hash ^ (word_at(shape, i) & word_at(text, i))) * 0x9E3779B97F4A7C15U;
        hash ^= hash >> 32;
    }
    return hash;
}

bool same_letters(std::string_view shape, std::string_view a, std::string_view b) {
    for (std::size_t i = 0; i < shape.size(); i += sizeof(uint64_t))
        if (((word_at(a, i) ^ word_at(b, i)) & word_at(shape, i)) != 0) return false;
    return true;
}

struct Entry {
    uint32_t part;
    Test test;
};

// The names that a class of references finds, in the order in which they are tried.
struct Class {
    std::vector<Entry> entries;
    std::size_t cursor = 1;  // everything of the first entry's test before it is placed
};

using Table = std::unordered_map<uint64_t, Class>;

std::size_t cid_at(std::string_view reference) {
    for (std::size_t i = 0; i + 4 <= reference.size(); ++i)
        if ((reference[i] | 0x20) == 'c' && (reference[i + 1] | 0x20) == 'i' &&
            (reference[i + 2] | 0x20) == 'd' && reference[i + 3] == ':')
            return i + 4;
    return std::string_view::npos;
}

}  // namespace

struct ExactNames::State {
    const std::vector<PlannedPart>& parts;
    std::vector<bool> placed;
    std::vector<uint32_t> next_free;  // no part that is not placed lies between
    struct Named {
        Entry entry;
        uint64_t marks;
    };
    std::unordered_map<std::size_t, std::vector<Named>> by_length;
    std::unordered_map<std::string, Table> tables;  // by shape
    // References of one form often follow each other: its shape, and its table or null.
    std::string last_shape;
    Table* last_table = nullptr;
    uint64_t work = 0, entries = 0;
    bool gave_up = false;

    [[nodiscard]] const std::string& name_of(const Entry& entry) const {
        const ExactBodyPart& part = parts[entry.part].exact;
        if (entry.test == Test::location) return part.location;
        return entry.test == Test::name ? part.name : part.content_id;
    }

    void collect() {
        for (uint32_t i = 0; i < parts.size(); ++i) {
            next_free.push_back(i + 1);
            for (const Test test : {Test::location, Test::name, Test::content_id}) {
                const std::string& name = name_of({i, test});
                if (!name.empty())
                    by_length[name.size()].push_back({{i, test}, letter_marks(name)});
            }
        }
    }

    Table* table_for(std::string_view reference, const std::string& shape) {
        const auto names = by_length.find(reference.size());
        if (names == by_length.end()) return nullptr;
        const auto [at, added] = tables.try_emplace(shape);
        if (added) fill(shape, letter_marks(reference), names->second, at->second);
        return &at->second;
    }

    void fill(std::string_view shape, uint64_t shape_marks, const std::vector<Named>& names,
              Table& table) {
        work += uint64_t{names.size()} * shape.size();
        entries += names.size();
        if (work > most_work || entries > most_entries) {
            gave_up = true;
            return;
        }
        for (const auto& [entry, marks] : names) {
            const std::string_view name = name_of(entry);
            if (!fits(shape, shape_marks, name, marks)) continue;
            Class& found = table[hash_letters(shape, name)];
            if (!found.entries.empty() && !same_letters(shape, name_of(found.entries[0]), name))
                gave_up = true;  // two names made to have one hash
            found.entries.push_back(entry);
        }
    }

    Class* find(std::string_view reference) {
        if (gave_up) return nullptr;
        if (!has_shape(reference, last_shape)) {
            last_shape = shape_of(reference);
            last_table = table_for(reference, last_shape);
        }
        if (last_table == nullptr || gave_up) return nullptr;
        work += reference.size();
        const auto found = last_table->find(hash_letters(last_shape, reference));
        if (found == last_table->end() ||
            !same_letters(last_shape, reference, name_of(found->second.entries[0])))
            return nullptr;
        return &found->second;
    }

    uint32_t next_unplaced(uint32_t from) {
        uint32_t root = from;
        while (root < parts.size() && placed[root])
            root = next_free[root];
        while (from < parts.size() && from != root)
            from = std::exchange(next_free[from], root);
        return root < parts.size() ? root : no_part;
    }

    uint32_t further(Class& found) {
        const Entry first = found.entries[0];
        if (first.test == Test::content_id) return next_unplaced(first.part + 1);
        for (; found.cursor < found.entries.size(); ++found.cursor) {
            const Entry& entry = found.entries[found.cursor];
            if (entry.test == first.test && entry.part != first.part && !placed[entry.part])
                return entry.part;
        }
        return no_part;
    }

    uint32_t choose(std::string_view reference) {
        Class* const whole = find(reference);
        uint32_t chosen = whole != nullptr ? whole->entries[0].part : no_part;
        if (const std::size_t cid = cid_at(reference); cid != std::string_view::npos) {
            if (const Class* found = find(reference.substr(cid)))
                for (const Entry& entry : found->entries) {
                    if (entry.test != Test::content_id) continue;
                    if (entry.part < chosen) return entry.part;
                    break;
                }
        }
        if (chosen == no_part || !placed[chosen]) return chosen;
        const uint32_t other = further(*whole);
        return other != no_part ? other : chosen;
    }
};

ExactNames::ExactNames(const std::vector<PlannedPart>& parts) {
    auto state =
        std::make_unique<State>(State{parts, std::vector<bool>(parts.size()), {}, {}, {}, {}});
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
    if (!stays_free) state_->placed[part] = true;
    return part;
}

bool ExactNames::can_be_shown(uint32_t part) const {
    const int32_t drm = state_->parts[part].drm;
    return drm == 0 || drm == drm_forward_locked || drm == drm_separate;
}

bool ExactNames::none() const {
    return state_->parts.empty();
}

const std::vector<bool>& ExactNames::placed() const {
    return state_->placed;
}

bool ExactNames::gave_up() const {
    return state_->gave_up;
}

}  // namespace mmskit_anatomy
