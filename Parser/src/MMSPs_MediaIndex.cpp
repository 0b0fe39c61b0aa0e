// Part look-up by name. Names are compared as fnSC_STRICMP does, the reference first: lengths
// equal, letters of the reference equal in either case, its other bytes ignored. So references of
// one length with letters at the same places ("shape") can be hashed by those letters, and a table
// for a shape puts every name of that length into the class of references that it answers.
// Relies on marks staying set once seen, but for unmark_part().
#include "Parser/src/MMSPs_MediaIndex.h"

#include <algorithm>
#include <cstring>

#include "Parser/src/smil_internal.h"
#include "scshare/common/src/limits.h"
#include "scshare/common/src/owned.h"

namespace mmskit {

namespace {

constexpr uint32_t none = UINT32_MAX;
// Fewer names of one length than this are faster read through than hashed.
constexpr uint32_t smallest_table = 16;
// Names made to fall into one bucket would make a table's chains long; it is given up instead.
constexpr uint64_t longest_mean_chain = 64;

// The tests in the order in which they are made on one part.
enum class NameTest : uint8_t { location, name, content_id, cid };

constexpr bool is_letter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
constexpr char fold(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

struct Name {
    const char* text = nullptr;
    size_t length = 0;

    uint64_t work() const { return 1 + length / 32; }
    // `other` has the same length.
    bool matches_same_length(const char* other) const {
        for (size_t i = 0; i < length; ++i) {
            // QUIRK digits_do_not_tell_parts_apart: a byte of the reference that is no letter
            // agrees with any byte; parts are told apart by being handed out in order.
            if (is_letter(text[i]) && fold(text[i]) != fold(other[i])) return false;
        }
        return true;
    }
    bool matches(const char* other) const {
        return other != nullptr && strnlen(other, length + 1) == length &&
               matches_same_length(other);
    }
};

// A reference, and what stands behind its first "cid:" (null when there is none).
struct Reference {
    Name whole;
    Name cid;

    explicit Reference(const char* id) : whole{id, std::strlen(id)} {
        for (const char* at = id; *at != '\0'; ++at) {
            if (fold(at[0]) == 'c' && fold(at[1]) == 'i' && fold(at[2]) == 'd' && at[3] == ':') {
                cid = {at + 4, whole.length - static_cast<size_t>(at + 4 - id)};
                return;
            }
        }
    }
};

bool passes(const tMMS_MediaData& part, const Reference& ref, NameTest test) {
    switch (test) {
        case NameTest::location:
            return ref.whole.matches(part.pContentLocation);
        case NameTest::name:
            return ref.whole.matches(part.pName);
        case NameTest::content_id:
            return ref.whole.matches(part.pContentId);
        case NameTest::cid:
            return ref.cid.text != nullptr && ref.cid.matches(part.pContentId);
    }
    return false;
}

constexpr NameTest all_tests[] = {NameTest::location, NameTest::name, NameTest::content_id,
                                  NameTest::cid};

// ---- By walk ------------------------------------------------------------------------------

struct WalkMatch {
    tMMS_MediaData* part = nullptr;
    NameTest test = NameTest::location;
};

WalkMatch walk_first(tMMS_MediaData* list, const Reference& ref, uint64_t& work) {
    for (tMMS_MediaData* part = list; part != nullptr; part = part->pNext) {
        work += ref.whole.work();
        for (NameTest test : all_tests)
            if (passes(*part, ref, test)) return {part, test};
    }
    return {};
}

tMMS_MediaData* walk_further(const WalkMatch& first, const Reference& ref, uint64_t& work) {
    // QUIRK cid_reference_is_not_searched_further: a second reference shows the same part.
    if (first.test == NameTest::cid) return nullptr;
    for (tMMS_MediaData* part = first.part->pNext; part != nullptr; part = part->pNext) {
        work += ref.whole.work();
        // QUIRK content_id_takes_next_unmarked: whatever that part is called.
        if (part->IsSmil == 0 &&
            (first.test == NameTest::content_id || passes(*part, ref, first.test)))
            return part;
    }
    return nullptr;
}

// ---- The index ----------------------------------------------------------------------------

// One name of one part; entries are ordered by length, then part, then test.
struct Entry {
    const char* text;
    size_t length;
    uint32_t part;
    NameTest test;
};

// The entries that one reference matches, linked in order by Table::next.
struct Class {
    uint32_t hash;
    uint32_t first, last;
    uint32_t first_content_id;
    uint32_t cursor;  // everything of the first entry's test before it is marked
    uint32_t chain;   // next class of the bucket
};

}  // namespace

// The classes of one shape.
struct NameTable {
    char* sample;  // a reference of the shape
    size_t length;
    uint32_t shape_hash;
    uint32_t begin, end;  // the entries of this length
    Class* classes;
    uint32_t class_count;
    uint32_t* buckets;
    uint32_t bucket_mask;
    uint32_t* next;  // by entry - begin
    NameTable* following;
};

struct IndexedPart {
    tMMS_MediaData* record;
    uint32_t next_unmarked;  // no unmarked part lies between this one and that
    bool passed;             // a cursor or link leads over it
};

struct MediaIndex {
    IndexedPart* parts;
    uint32_t part_count;
    Entry* entries;
    uint32_t entry_count;
    NameTable* tables;
    uint32_t table_count;
    uint64_t table_entries;
    uint32_t last_taken;
};

namespace {

void free_table(NameTable* table) {
    fnSC_Free(&table->sample);
    fnSC_Free(&table->classes);
    fnSC_Free(&table->buckets);
    fnSC_Free(&table->next);
    fnSC_Free(&table);
}

struct TableFree {
    void operator()(NameTable* table) const { free_table(table); }
};
struct IndexFree {
    void operator()(MediaIndex* index) const { free_media_index(index); }
};

template <typename T>
T* new_array(uint64_t count) {
    return static_cast<T*>(allocate(count * sizeof(T)));
}

MediaIndex* make_index(tMMS_MediaData* list, uint64_t& work) {
    Owned<MediaIndex, IndexFree> index(new_record<MediaIndex>());
    if (!index) return nullptr;
    uint32_t count = 0;
    for (const tMMS_MediaData* part = list; part != nullptr; part = part->pNext)
        ++count;
    work += count;
    index->parts = new_array<IndexedPart>(count);
    index->entries = new_array<Entry>(uint64_t{count} * 3);
    if (index->parts == nullptr || index->entries == nullptr) return nullptr;
    index->part_count = count;
    index->last_taken = none;

    uint32_t number = 0;
    for (tMMS_MediaData* part = list; part != nullptr; part = part->pNext, ++number) {
        index->parts[number] = {part, number + 1, false};
        const char* const names[] = {part->pContentLocation, part->pName, part->pContentId};
        for (uint8_t test = 0; test < 3; ++test) {
            if (names[test] == nullptr) continue;
            index->entries[index->entry_count++] = {names[test], std::strlen(names[test]), number,
                                                    static_cast<NameTest>(test)};
        }
    }
    std::sort(index->entries, index->entries + index->entry_count,
              [](const Entry& a, const Entry& b) {
                  if (a.length != b.length) return a.length < b.length;
                  return a.part != b.part ? a.part < b.part : a.test < b.test;
              });
    return index.release();
}

constexpr uint32_t hash_start = 2166136261U;
constexpr uint32_t hash_step(uint32_t hash, uint32_t value) {
    return (hash ^ value) * 16777619U;
}

uint32_t hash_shape(const Name& name) {
    uint32_t hash = hash_start;
    for (size_t i = 0; i < name.length; ++i)
        hash = hash_step(hash, is_letter(name.text[i]) ? 1U : 2U);
    return hash;
}

bool same_shape(const NameTable& table, const Name& name, uint32_t shape_hash) {
    if (table.shape_hash != shape_hash || table.length != name.length) return false;
    for (size_t i = 0; i < name.length; ++i)
        if (is_letter(table.sample[i]) != is_letter(name.text[i])) return false;
    return true;
}

// Hash of the letters of `text` where the shape has letters; false when a byte there is none, so
// that no reference of the shape can match.
bool hash_letters(const NameTable& table, const char* text, uint32_t& hash) {
    hash = hash_start;
    for (size_t i = 0; i < table.length; ++i) {
        if (!is_letter(table.sample[i])) continue;
        if (!is_letter(text[i])) return false;
        hash = hash_step(hash, static_cast<uint8_t>(fold(text[i])));
    }
    return true;
}

bool same_letters(const NameTable& table, const char* a, const char* b) {
    for (size_t i = 0; i < table.length; ++i)
        if (is_letter(table.sample[i]) && fold(a[i]) != fold(b[i])) return false;
    return true;
}

uint32_t find_class(const MediaIndex& index, const NameTable& table, const char* text,
                    uint32_t hash, uint64_t& work) {
    uint32_t at = table.buckets[hash & table.bucket_mask];
    for (; at != none; at = table.classes[at].chain) {
        const Class& c = table.classes[at];
        work += 1 + table.length / 32;
        if (c.hash == hash && same_letters(table, index.entries[c.first].text, text)) break;
    }
    return at;
}

void add_to_class(const MediaIndex& index, NameTable& table, uint32_t entry, uint64_t& work) {
    const Entry& e = index.entries[entry];
    uint32_t hash = 0;
    if (!hash_letters(table, e.text, hash)) return;
    table.next[entry - table.begin] = none;
    uint32_t at = find_class(index, table, e.text, hash, work);
    if (at == none) {
        at = table.class_count++;
        uint32_t& bucket = table.buckets[hash & table.bucket_mask];
        table.classes[at] = {hash, entry, entry, none, none, bucket};
        bucket = at;
    } else {
        Class& c = table.classes[at];
        table.next[c.last - table.begin] = entry;
        c.last = entry;
        if (c.cursor == none) c.cursor = entry;
    }
    Class& c = table.classes[at];
    if (e.test == NameTest::content_id && c.first_content_id == none) c.first_content_id = entry;
}

NameTable* make_table(const MediaIndex& index, const Name& name, uint32_t begin, uint32_t end,
                      uint64_t& work) {
    Owned<NameTable, TableFree> table(new_record<NameTable>());
    if (!table) return nullptr;
    const uint32_t count = end - begin;
    uint32_t bucket_count = 1;
    while (bucket_count < count)
        bucket_count *= 2;
    table->sample = copy_text(name.text, name.length);
    table->classes = new_array<Class>(count);
    table->buckets = new_array<uint32_t>(bucket_count);
    table->next = new_array<uint32_t>(count);
    if (table->sample == nullptr || table->classes == nullptr || table->buckets == nullptr ||
        table->next == nullptr)
        return nullptr;
    table->length = name.length;
    table->begin = begin;
    table->end = end;
    table->bucket_mask = bucket_count - 1;
    std::fill_n(table->buckets, bucket_count, none);
    const uint64_t work_limit = work + uint64_t{count} * name.work() * longest_mean_chain;
    for (uint32_t entry = begin; entry < end; ++entry) {
        work += name.work();
        add_to_class(index, *table, entry, work);
        if (work > work_limit) return nullptr;
    }
    return table.release();
}

// The table for the shape of `name`; null when there are too few names, too many tables, bad
// chains or no memory.
NameTable* table_for(MediaIndex& index, const Name& name, uint32_t begin, uint32_t end,
                     uint64_t& work) {
    const uint32_t count = end - begin;
    if (count < smallest_table) return nullptr;
    const uint32_t shape_hash = hash_shape(name);
    for (NameTable* table = index.tables; table != nullptr; table = table->following)
        if (same_shape(*table, name, shape_hash)) return table;
    if (index.table_count == limits::media_index_tables ||
        count > limits::media_index_entries - index.table_entries)
        return nullptr;
    NameTable* table = make_table(index, name, begin, end, work);
    if (table == nullptr) return nullptr;
    table->shape_hash = shape_hash;
    table->following = index.tables;
    index.tables = table;
    ++index.table_count;
    index.table_entries += count;
    return table;
}

// The first entry that a name matches, with the class when a table found it.
struct Hit {
    uint32_t entry = none;
    const NameTable* table = nullptr;
    Class* found = nullptr;
    uint32_t end = 0;  // behind the last entry of the length
};

Hit find_entry(MediaIndex& index, const Name& name, bool content_id_only, uint64_t& work) {
    Entry* const entries_end = index.entries + index.entry_count;
    Entry* const lower =
        std::lower_bound(index.entries, entries_end, name.length,
                         [](const Entry& e, size_t length) { return e.length < length; });
    Entry* const upper =
        std::upper_bound(lower, entries_end, name.length,
                         [](size_t length, const Entry& e) { return length < e.length; });
    const auto begin = static_cast<uint32_t>(lower - index.entries);
    Hit hit;
    hit.end = static_cast<uint32_t>(upper - index.entries);
    work += 1;
    hit.table = table_for(index, name, begin, hit.end, work);
    if (hit.table != nullptr) {
        uint32_t hash = 0;
        hash_letters(*hit.table, name.text, hash);
        const uint32_t at = find_class(index, *hit.table, name.text, hash, work);
        if (at == none) return hit;
        hit.found = &hit.table->classes[at];
        hit.entry = content_id_only ? hit.found->first_content_id : hit.found->first;
        return hit;
    }
    for (uint32_t entry = begin; entry < hit.end; ++entry) {
        work += name.work();
        const Entry& e = index.entries[entry];
        if (content_id_only && e.test != NameTest::content_id) continue;
        if (!name.matches_same_length(e.text)) continue;
        hit.entry = entry;
        break;
    }
    return hit;
}

// The next part from `from` on that is not marked; links over marked parts are shortened.
uint32_t next_unmarked(MediaIndex& index, uint32_t from, uint64_t& work) {
    uint32_t root = from;
    while (root < index.part_count && index.parts[root].record->IsSmil != 0) {
        index.parts[root].passed = true;
        root = index.parts[root].next_unmarked;
        ++work;
    }
    while (from != root) {
        const uint32_t next = index.parts[from].next_unmarked;
        index.parts[from].next_unmarked = root;
        from = next;
    }
    return root < index.part_count ? root : none;
}

uint32_t further_by_name(MediaIndex& index, const Hit& hit, const Name& name, uint64_t& work) {
    const NameTest test = index.entries[hit.entry].test;
    if (hit.found == nullptr) {
        for (uint32_t entry = hit.entry + 1; entry < hit.end; ++entry) {
            work += name.work();
            const Entry& e = index.entries[entry];
            if (e.test == test && index.parts[e.part].record->IsSmil == 0 &&
                name.matches_same_length(e.text))
                return e.part;
        }
        return none;
    }
    for (uint32_t& at = hit.found->cursor; at != none;
         at = hit.table->next[at - hit.table->begin]) {
        ++work;
        const Entry& e = index.entries[at];
        if (e.test != test) continue;
        IndexedPart& part = index.parts[e.part];
        if (part.record->IsSmil == 0) return e.part;
        part.passed = true;
    }
    return none;
}

tMMS_MediaData* choose_by_index(MediaIndex& index, const Reference& ref, uint64_t& work) {
    const Hit whole = find_entry(index, ref.whole, false, work);
    const Hit cid = ref.cid.text != nullptr ? find_entry(index, ref.cid, true, work) : Hit{};
    uint32_t chosen = whole.entry != none ? index.entries[whole.entry].part : none;
    // A part that answers both counts as found by its name, whose tests come first.
    const bool by_cid = cid.entry != none && index.entries[cid.entry].part < chosen;
    if (by_cid) chosen = index.entries[cid.entry].part;
    if (chosen == none) return nullptr;
    if (!by_cid && index.parts[chosen].record->IsSmil != 0) {
        const uint32_t further = index.entries[whole.entry].test == NameTest::content_id
                                     ? next_unmarked(index, chosen + 1, work)
                                     : further_by_name(index, whole, ref.whole, work);
        if (further != none) chosen = further;
    }
    index.last_taken = chosen;
    return index.parts[chosen].record;
}

tMMS_MediaData* choose_by_walk(tMMS_MediaData* list, const Reference& ref, uint64_t& work) {
    const WalkMatch first = walk_first(list, ref, work);
    if (first.part == nullptr || first.part->IsSmil == 0) return first.part;
    tMMS_MediaData* further = walk_further(first, ref, work);
    return further != nullptr ? further : first.part;
}

tMMS_MediaData* choose(tMMS_MediaData* list, const Reference& ref) {
    if (list != parser_state.tpSMIL_Element) {
        uint64_t uncounted = 0;
        return choose_by_walk(list, ref, uncounted);
    }
    uint64_t& work = parser_state.media_work;
    if (work >= limits::media_walk_total) return nullptr;
    if (work >= limits::media_walk_plain && parser_state.media_index == nullptr)
        parser_state.media_index = make_index(list, work);
    return parser_state.media_index != nullptr
               ? choose_by_index(*parser_state.media_index, ref, work)
               : choose_by_walk(list, ref, work);
}

}  // namespace

tMMS_MediaData* take_part(tMMS_MediaData* list, const char* id) {
    if (list == nullptr || id == nullptr || *id == '\0') return nullptr;
    tMMS_MediaData* part = choose(list, Reference(id));
    if (part == nullptr) return nullptr;
    part->IsSmil = 1;
    ++parser_state.smilCount;
    return part;
}

void unmark_part(tMMS_MediaData* part) {
    part->IsSmil = 0;
    MediaIndex* const index = parser_state.media_index;
    if (index == nullptr || index->last_taken == none) return;
    const IndexedPart& taken = index->parts[index->last_taken];
    if (taken.record != part || !taken.passed) return;
    // Cursors and links lead over a part that is free again: start them anew.
    for (uint32_t i = 0; i < index->part_count; ++i)
        index->parts[i] = {index->parts[i].record, i + 1, false};
    parser_state.media_work += index->part_count;
    for (NameTable* table = index->tables; table != nullptr; table = table->following) {
        for (uint32_t i = 0; i < table->class_count; ++i) {
            Class& c = table->classes[i];
            c.cursor = table->next[c.first - table->begin];
        }
        parser_state.media_work += table->class_count;
    }
}

void free_media_index(MediaIndex* index) {
    if (index == nullptr) return;
    while (index->tables != nullptr) {
        NameTable* table = index->tables;
        index->tables = table->following;
        free_table(table);
    }
    fnSC_Free(&index->parts);
    fnSC_Free(&index->entries);
    fnSC_Free(&index);
}

}  // namespace mmskit
