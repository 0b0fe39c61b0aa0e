// Regions of the layout: adding, freeing and finding them. References to regions are paid for from
// the same budget as those to parts.
#include <cstring>

#include "Parser/src/MMSPs_Reference.h"
#include "Parser/src/smil_internal.h"
#include "scshare/common/src/limits.h"

namespace mmskit {

namespace {

// The first region of the list with exactly this id.
const tSMIL_Region* find_exact(TextView id) {
    const uint64_t work = 1 + id.size / limits::reference_bytes;
    const tSMIL_Region* region = tSMIL_ViewStruct.RegionList;
    for (; region != nullptr; region = region->Next) {
        if (region->Id != nullptr && *region->Id == *id.data &&
            std::strncmp(region->Id, id.data, id.size) == 0 && region->Id[id.size] == '\0')
            break;
        if (!pay_for_reference(work)) return nullptr;
    }
    return region;
}

}  // namespace

void free_regions(tSMIL_Region* list) {
    while (list != nullptr) {
        tSMIL_Region* region = list;
        list = region->Next;
        deallocate(region->Fit);
        deallocate(region->Id);
        deallocate(region);
    }
}

bool find_region_rect(int32_t out[4], TextView id) {
    if (id.size == 0) return false;
    const tSMIL_Region* const region = find_exact(id);
    static constexpr tSMIL_Region none{};
    const tSMIL_Region& from = region != nullptr ? *region : none;
    out[0] = from.Left;
    out[1] = from.Top;
    out[2] = from.Width;
    out[3] = from.Height;
    return region != nullptr;
}

}  // namespace mmskit

using namespace mmskit;

extern "C" {

int32_t SmilAddRegion(tSMIL_Region* region) {
    if (region == nullptr) return 0;
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
    return out != nullptr && find_region_rect(out, id) ? 1 : 0;
}

}  // extern "C"
