// Part look-up by name. Names are compared as fnSC_STRICMP does, the reference first: lengths
// equal, letters of the reference equal in either case, its other bytes ignored. Every part that is
// looked at is paid for, so that parts times references stay bounded.
#include "Parser/src/MMSPs_Reference.h"

#include <cstring>

#include "Parser/src/smil_internal.h"
#include "scshare/common/src/limits.h"

namespace mmskit {

namespace {

// What a part is found by, in the order in which it is tried.
enum class NameTest : uint8_t { location, name, content_id, cid, none };

constexpr char case_bit = 'a' - 'A';

constexpr bool is_letter(char c) {
    return (c | case_bit) >= 'a' && (c | case_bit) <= 'z';
}

// A text that names are compared with.
class Wanted {
  public:
    explicit Wanted(TextView text) : text_(text) {
        if (text.size == 0 || !is_letter(*text.data)) return;
        first_ = *text.data;
        first_mask_ = static_cast<char>(~case_bit);
    }

    bool exists() const { return text_.data != nullptr; }

    // As fnSC_STRICMP, this text first. Counts the bytes compared, which are none for most names.
    bool matches(const char* name, uint64_t& compared) const {
        return name != nullptr && ((*name ^ first_) & first_mask_) == 0 &&
               match_further(name, compared);
    }

  private:
    [[gnu::noinline]] bool match_further(const char* name, uint64_t& compared) const {
        size_t i = 0;
        for (; i != text_.size; ++i) {
            const char wanted = text_.data[i];
            const char given = name[i];
            if (wanted == given) continue;
            // QUIRK digits_do_not_tell_parts_apart: a byte of the reference that is no letter
            // agrees with any byte; parts are told apart by being handed out in order.
            if (given == '\0' || (is_letter(wanted) && ((wanted ^ given) & ~case_bit) != 0)) break;
        }
        compared += i;
        return i == text_.size && name[i] == '\0';
    }

    TextView text_;
    char first_ = 0;
    char first_mask_ = 0;  // no bit where any first byte will do
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

// What references may still cost; a work that does not fit uses all of it up.
struct Budget {
    uint64_t left;
    bool used_up = false;

    bool spend(uint64_t work) {
        used_up = work > left;
        left -= used_up ? 0 : work;
        return !used_up;
    }
};

// The first part that passes in the place of `first`, which is marked, or that one; null when the
// budget is used up.
tMMS_MediaData* choose_behind(tMMS_MediaData* first, const Wanted& whole, NameTest found_by,
                              Budget& budget) {
    for (tMMS_MediaData* part = first->pNext; part != nullptr; part = part->pNext) {
        uint64_t work = 1;
        if (part->IsSmil == 0) {
            uint64_t compared = 0;
            if (replaces(*part, whole, found_by, compared)) return part;
            work += compared / limits::reference_bytes;
        }
        if (!budget.spend(work)) return nullptr;
    }
    return first;
}

tMMS_MediaData* choose(tMMS_MediaData* list, TextView id, Budget& budget) {
    const Wanted whole(id);
    const Wanted cid(behind_cid(id));
    for (tMMS_MediaData* part = list; part != nullptr; part = part->pNext) {
        uint64_t compared = 0;
        const NameTest found_by = first_passed(*part, whole, cid, compared);
        const bool found = found_by != NameTest::none;
        // QUIRK cid_reference_is_not_searched_further: a second reference shows the same part.
        if (found && (part->IsSmil == 0 || found_by == NameTest::cid)) return part;
        if (!budget.spend(1 + compared / limits::reference_bytes)) return nullptr;
        if (found) return choose_behind(part, whole, found_by, budget);
    }
    return nullptr;
}

}  // namespace

bool reference_work_is_spent() {
    parser_state.reference_budget = 0;
    note_limit("more references than can be looked up");
    return false;
}

tMMS_MediaData* take_part(tMMS_MediaData* list, TextView id) {
    if (list == nullptr || id.size == 0) return nullptr;
    // Without a message there is no budget; a list is then the caller's own.
    const bool limited = parser_state.tpSMIL_Union != nullptr;
    Budget budget{limited ? parser_state.reference_budget : UINT64_MAX};
    tMMS_MediaData* part = choose(list, id, budget);
    if (budget.used_up)
        reference_work_is_spent();
    else if (limited)
        parser_state.reference_budget = budget.left;
    if (part == nullptr) return nullptr;
    part->IsSmil = 1;
    ++parser_state.smilCount;
    return part;
}

}  // namespace mmskit
