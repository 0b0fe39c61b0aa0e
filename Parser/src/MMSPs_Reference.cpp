// Part look-up by name. Names are compared as fnSC_STRICMP does, the reference first: lengths
// equal, letters of the reference equal in either case, its other bytes ignored. Every part that is
// looked at is paid for, so that parts times references stay bounded.
#include "Parser/src/MMSPs_Reference.h"

#include "Parser/src/smil_internal.h"
#include "scshare/common/src/limits.h"

namespace mmskit {

namespace {

// The tests in the order in which they are made on one part.
enum class NameTest : uint8_t { location, name, content_id, cid, none };

constexpr char case_bit = 'a' - 'A';

constexpr bool is_letter(char c) {
    return (c | case_bit) >= 'a' && (c | case_bit) <= 'z';
}

bool match_further(TextView reference, const char* name, uint64_t& compared) {
    const char* const text = reference.data;
    size_t i = 0;
    // QUIRK digits_do_not_tell_parts_apart: a byte of the reference that is no letter agrees with
    // any byte; parts are told apart by being handed out in order.
    while (i != reference.size && name[i] != '\0' &&
           (((text[i] ^ name[i]) & ~case_bit) == 0 || !is_letter(text[i])))
        ++i;
    compared += i;
    return i == reference.size && name[i] == '\0';
}

// As fnSC_STRICMP, for a reference that is not null. Counts the bytes compared, which are none for
// most names.
inline bool matches(TextView reference, const char* name, uint64_t& compared) {
    if (name == nullptr) return false;
    const bool differs_at_once = reference.size != 0 && is_letter(*reference.data) &&
                                 ((*reference.data ^ *name) & ~case_bit) != 0;
    return !differs_at_once && match_further(reference, name, compared);
}

// A reference, and what stands behind its first "cid:" (no text when there is none).
struct Reference {
    TextView whole;
    TextView cid;

    explicit Reference(TextView id) : whole(id) {
        constexpr size_t mark = 4;
        for (size_t i = 0; i + mark <= id.size; ++i) {
            const char* const at = id.data + i;
            if (at[3] != ':' || (at[0] | case_bit) != 'c' || (at[1] | case_bit) != 'i' ||
                (at[2] | case_bit) != 'd')
                continue;
            cid = {at + mark, id.size - i - mark};
            break;
        }
    }

    bool passes(const tMMS_MediaData& part, NameTest test, uint64_t& compared) const {
        switch (test) {
            case NameTest::location:
                return matches(whole, part.pContentLocation, compared);
            case NameTest::name:
                return matches(whole, part.pName, compared);
            case NameTest::content_id:
                return matches(whole, part.pContentId, compared);
            case NameTest::cid:
                return cid.data != nullptr && matches(cid, part.pContentId, compared);
            case NameTest::none:
                break;
        }
        return false;
    }

    NameTest first_passed(const tMMS_MediaData& part, uint64_t& compared) const {
        if (matches(whole, part.pContentLocation, compared)) return NameTest::location;
        if (matches(whole, part.pName, compared)) return NameTest::name;
        if (matches(whole, part.pContentId, compared)) return NameTest::content_id;
        if (cid.data != nullptr && matches(cid, part.pContentId, compared)) return NameTest::cid;
        return NameTest::none;
    }
};

// Whether a part may be given in place of a marked one that was found by `test`.
bool replaces(const tMMS_MediaData& part, const Reference& ref, NameTest test, uint64_t& compared) {
    if (part.IsSmil != 0) return false;
    // QUIRK content_id_takes_next_unmarked: whatever that part is called.
    return test == NameTest::content_id || ref.passes(part, test, compared);
}

tMMS_MediaData* choose(tMMS_MediaData* list, const Reference& ref) {
    tMMS_MediaData* first = nullptr;
    NameTest found_by = NameTest::none;
    for (tMMS_MediaData* part = list; part != nullptr; part = part->pNext) {
        uint64_t compared = 0;
        if (first == nullptr) {
            found_by = ref.first_passed(*part, compared);
            if (found_by != NameTest::none) first = part;
            // QUIRK cid_reference_is_not_searched_further: a second reference shows the same part.
            if (first != nullptr && (part->IsSmil == 0 || found_by == NameTest::cid)) return part;
        } else if (replaces(*part, ref, found_by, compared)) {
            return part;
        }
        if (!spend_reference_work(1 + compared / limits::reference_bytes)) return nullptr;
    }
    return first;
}

}  // namespace

bool reference_work_is_spent() {
    parser_state.reference_budget = 0;
    note_limit("more references than can be looked up");
    return false;
}

tMMS_MediaData* take_part(tMMS_MediaData* list, TextView id) {
    if (list == nullptr || id.size == 0) return nullptr;
    tMMS_MediaData* part = choose(list, Reference(id));
    if (part == nullptr) return nullptr;
    part->IsSmil = 1;
    ++parser_state.smilCount;
    return part;
}

}  // namespace mmskit
