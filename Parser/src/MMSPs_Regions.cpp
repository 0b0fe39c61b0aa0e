// Regions of the layout: adding, freeing and finding them. A message may define thousands of
// regions and refer to them as often, so a large list is searched through a hash index that is
// built at the first look-up and forgotten whenever the list changes; without memory for it the
// list is walked.
#include <cstring>

#include "Parser/src/smil_internal.h"
#include "scshare/common/src/limits.h"
#include "scshare/common/src/owned.h"

namespace mmskit {

struct RegionSlot {
    uint64_t hash;
    const tSMIL_Region* region;
};

// Open addressing with at least half of the slots free. The slots follow the header in one block.
struct RegionIndex {
    const tSMIL_Region* head;
    uint64_t mask;

    RegionSlot* slots() { return reinterpret_cast<RegionSlot*>(this + 1); }
};

namespace {

// FNV-1a with a final mix. The start value differs from process to process, so that a message
// cannot be made to hit one slot over and over.
uint64_t hash_id(const char* id) {
    uint64_t hash = 0xcbf29ce484222325U ^ reinterpret_cast<uintptr_t>(&parser_state);
    for (; *id != '\0'; ++id)
        hash = (hash ^ static_cast<unsigned char>(*id)) * 0x100000001b3U;
    hash = (hash ^ (hash >> 33)) * 0xff51afd7ed558ccdU;
    return hash ^ (hash >> 33);
}

// The slot that holds `id`, or the free slot where it belongs.
RegionSlot& find_slot(RegionIndex& index, uint64_t hash, const char* id) {
    for (uint64_t i = hash & index.mask;; i = (i + 1) & index.mask) {
        RegionSlot& slot = index.slots()[i];
        if (slot.region == nullptr || (slot.hash == hash && std::strcmp(slot.region->Id, id) == 0))
            return slot;
    }
}

RegionIndex* build_index(const tSMIL_Region* list) {
    uint64_t count = 0;
    for (const auto* region = list; region != nullptr; region = region->Next)
        ++count;
    uint64_t capacity = 1;
    while (capacity < 2 * count)
        capacity *= 2;
    auto* index =
        static_cast<RegionIndex*>(allocate(sizeof(RegionIndex) + capacity * sizeof(RegionSlot)));
    if (index == nullptr) return nullptr;
    index->head = list;
    index->mask = capacity - 1;
    for (const auto* region = list; region != nullptr; region = region->Next) {
        if (region->Id == nullptr) continue;
        const uint64_t hash = hash_id(region->Id);
        RegionSlot& slot = find_slot(*index, hash, region->Id);
        if (slot.region == nullptr) slot = {hash, region};
    }
    return index;
}

const tSMIL_Region* walk(const tSMIL_Region* list, const char* id) {
    for (; list != nullptr; list = list->Next)
        if (list->Id != nullptr && std::strcmp(list->Id, id) == 0) return list;
    return nullptr;
}

bool is_long(const tSMIL_Region* list) {
    int32_t left = limits::regions_walked;
    for (; list != nullptr && left > 0; list = list->Next)
        --left;
    return list != nullptr;
}

// The first region of the list with exactly this id.
const tSMIL_Region* find_exact(const char* id) {
    const tSMIL_Region* const list = tSMIL_ViewStruct.RegionList;
    RegionIndex*& index = parser_state.region_index;
    if (index != nullptr && index->head != list) forget_region_index();
    if (index == nullptr && is_long(list)) index = build_index(list);
    return index == nullptr ? walk(list, id) : find_slot(*index, hash_id(id), id).region;
}

}  // namespace

void forget_region_index() {
    fnSC_Free(&parser_state.region_index);
}

void free_regions(tSMIL_Region* list) {
    while (list != nullptr) {
        tSMIL_Region* region = list;
        list = region->Next;
        fnSC_Free(&region->Fit);
        fnSC_Free(&region->Id);
        fnSC_Free(&region);
    }
}

}  // namespace mmskit

using namespace mmskit;

extern "C" {

int32_t SmilAddRegion(tSMIL_Region* region) {
    if (region == nullptr) return 0;
    forget_region_index();
    region->Next = tSMIL_ViewStruct.RegionList;
    tSMIL_ViewStruct.RegionList = region;
    return 1;
}

tSMIL_Region* SmilFindRegion(const char* id) {
    if (id == nullptr || *id == '\0') return nullptr;
    tSMIL_Region* region = tSMIL_ViewStruct.RegionList;
    while (region != nullptr && fnSC_STRICMP(id, region->Id) != 0)
        region = region->Next;
    return region;
}

int32_t SmilGetRegionDataById(int32_t out[4], const char* id) {
    if (out == nullptr || id == nullptr || *id == '\0') return 0;
    const tSMIL_Region* const region = find_exact(id);
    static constexpr tSMIL_Region none{};
    const tSMIL_Region& from = region != nullptr ? *region : none;
    out[0] = from.Left;
    out[1] = from.Top;
    out[2] = from.Width;
    out[3] = from.Height;
    return region != nullptr ? 1 : 0;
}

}  // extern "C"
