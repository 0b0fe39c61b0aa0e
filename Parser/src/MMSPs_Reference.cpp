// Part look-up by name. Names are compared as fnSC_STRICMP does, the reference first: lengths
// equal, letters of the reference equal in either case, its other bytes ignored. Every part that is
// looked at is paid for, so that parts times references stay bounded; references of one pattern go
// over the parts once in all.
#include "Parser/src/MMSPs_Reference.h"

#include <cstring>

#include "Parser/src/smil_internal.h"
#include "scshare/common/src/limits.h"

namespace mmskit {

namespace {

constexpr char case_bit = 'a' - 'A';

constexpr bool is_letter(char c) {
    return (c | case_bit) >= 'a' && (c | case_bit) <= 'z';
}

// A text that names are compared with.
class Wanted {
  public:
    explicit Wanted(TextView text)
        : text_(text), letters_(text.size != 0 && is_letter(*text.data) ? 1 : 0) {}

    // Worth its time before many comparisons.
    void count_letters() {
        while (letters_ != text_.size && is_letter(text_.data[letters_]))
            ++letters_;
    }

    bool exists() const { return text_.data != nullptr; }

    // As fnSC_STRICMP, this text first. Counts the bytes compared, which are none for most names.
    bool matches(const char* name, uint64_t& compared) const {
        if (name == nullptr) return false;
        size_t i = 0;
        while (i != letters_ && ((name[i] ^ text_.data[i]) & ~case_bit) == 0)
            ++i;
        compared += i;
        return i == letters_ && match_further(name, compared);
    }

  private:
    [[gnu::noinline]] bool match_further(const char* name, uint64_t& compared) const {
        size_t i = letters_;
        for (; i != text_.size; ++i) {
            const char wanted = text_.data[i];
            const char given = name[i];
            if (wanted == given) [[likely]]
                continue;
            // QUIRK digits_do_not_tell_parts_apart: a byte of the reference that is no letter
            // agrees with any byte; parts are told apart by being handed out in order.
            if (given == '\0' || (is_letter(wanted) && ((wanted ^ given) & ~case_bit) != 0)) break;
        }
        compared += i - letters_;
        return i == text_.size && name[i] == '\0';
    }

    TextView text_;
    size_t letters_;  // that the text begins with, or some of them: most names differ in these
};

// What stands behind the first "cid:"; no text when there is none.
TextView behind_cid(TextView id) {
    const char* from = id.data;
    while (const void* found = std::memchr(from, ':', static_cast<size_t>(id.end() - from))) {
        const auto* colon = static_cast<const char*>(found);
        from = colon + 1;
        if (from - id.data >= 4 && (colon[-3] | case_bit) == 'c' && (colon[-2] | case_bit) == 'i' &&
            (colon[-1] | case_bit) == 'd')
            return {from, static_cast<size_t>(id.end() - from)};
    }
    return {};
}

NameTest first_passed(const tMMS_MediaData& part, const Wanted& whole, const Wanted& cid,
                      uint64_t& compared) {
    if (whole.matches(part.pContentLocation, compared)) return NameTest::location;
    if (whole.matches(part.pName, compared)) return NameTest::name;
    if (whole.matches(part.pContentId, compared)) return NameTest::content_id;
    if (cid.exists() && cid.matches(part.pContentId, compared)) return NameTest::cid;
    return NameTest::none;
}

// Whether a part that is not marked may be given in place of a marked one, found by `test`.
bool replaces(const tMMS_MediaData& part, const Wanted& whole, NameTest test, uint64_t& compared) {
    // QUIRK content_id_takes_next_unmarked: whatever that part is called.
    if (test == NameTest::content_id) return true;
    return whole.matches(test == NameTest::location ? part.pContentLocation : part.pName, compared);
}

// Whether `a` and `b` agree with the same names, and have the same behind_cid().
bool same_pattern(TextView a, TextView b) {
    if (a.size != b.size) return false;
    for (size_t i = 0; i != a.size; ++i) {
        const char x = a.data[i], y = b.data[i];
        if (x == y) continue;
        const bool alike =
            is_letter(x) ? ((x ^ y) & ~case_bit) == 0 : !is_letter(y) && x != ':' && y != ':';
        if (!alike) return false;
    }
    return true;
}

// Looks for the first part that passes. False when the budget is used up.
bool find_first(LookUp& look_up, tMMS_MediaData* list, Wanted& whole) {
    constexpr uint32_t few = 16;
    uint32_t passed = 0;
    const Wanted cid(behind_cid({look_up.id, look_up.id_size}));
    for (tMMS_MediaData* part = list; part != nullptr; part = part->pNext) {
        uint64_t compared = 0;
        look_up.found_by = first_passed(*part, whole, cid, compared);
        if (look_up.found_by != NameTest::none) {
            look_up.first = part;
            look_up.next = part->pNext;
            return true;
        }
        if (!pay_for_reference(1 + compared / limits::reference_bytes)) return false;
        if (++passed == few) whole.count_letters();
    }
    return true;
}

// Looks for a part that is not marked and passes in the place of the first. False when the budget
// is used up.
bool find_next(LookUp& look_up, const Wanted& whole) {
    for (; look_up.next != nullptr; look_up.next = look_up.next->pNext) {
        uint64_t compared = 0;
        if (look_up.next->IsSmil == 0 && replaces(*look_up.next, whole, look_up.found_by, compared))
            return true;
        if (!pay_for_reference(1 + compared / limits::reference_bytes)) return false;
    }
    return true;
}

// The part for `id`, or null. What was found for the reference before serves one of its pattern:
// names do not change, and what stands between the two was marked by then.
tMMS_MediaData* choose(LookUp& look_up, tMMS_MediaData* list, TextView id) {
    Wanted whole(id);
    if (same_pattern({look_up.id, look_up.id_size}, id)) {
        if (!pay_for_reference(1)) return nullptr;
    } else {
        look_up = {id.data, id.size, nullptr, nullptr, NameTest::none};
        if (!find_first(look_up, list, whole)) return nullptr;
    }
    tMMS_MediaData* first = look_up.first;
    // QUIRK cid_reference_is_not_searched_further: a second reference shows the same part.
    if (first == nullptr || first->IsSmil == 0 || look_up.found_by == NameTest::cid) return first;
    if (!find_next(look_up, whole)) return nullptr;
    return look_up.next != nullptr ? look_up.next : first;
}

}  // namespace

tMMS_MediaData* take_part(LookUp& look_up, tMMS_MediaData* list, TextView id) {
    tMMS_MediaData* part = choose(look_up, list, id);
    if (part == nullptr) return nullptr;
    part->IsSmil = 1;
    ++parser_state.smilCount;
    return part;
}

}  // namespace mmskit
