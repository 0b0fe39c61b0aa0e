// Any bytes through the tolerant door: what is mended is taken by the exact decoders, its slides
// can be walked, and mending it again changes nothing.
#include <mmskit/mmskit.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "fuzz/walk.h"
#include "tests/Anatomy/taken.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    tMMS_Anatomy* anatomy = fnMMS_Dissect(data, static_cast<uint32_t>(size));
    if (anatomy == nullptr) std::abort();
    tMMS_Mended* mended = fnMMS_Mend(anatomy);
    if (mended == nullptr) std::abort();
    if (mended->pData != nullptr) {
        // A block of its own size shows a read past its end.
        const std::vector<uint8_t> bytes(mended->pData, mended->pData + mended->iLength);
        const auto length = static_cast<uint32_t>(bytes.size());
        tMMS_Anatomy* again = fnMMS_Dissect(bytes.data(), length);
        tMMS_Mended* same = fnMMS_Mend(again);
        const bool unchanged = same->pData != nullptr && same->bChanged == 0 &&
                               same->iLength == length &&
                               std::memcmp(same->pData, bytes.data(), length) == 0;
        // A push document out of its push is not always known for one.
        const bool message =
            anatomy->iMessage == MMS_MESSAGE_PDU || anatomy->iMessage == MMS_MESSAGE_BODY;
        if (!unchanged && message) std::abort();
        if (!testing_support::is_taken(*anatomy, *mended)) std::abort();
        fnMMS_FreeMended(same);
        fnMMS_FreeAnatomy(again);
    }
    fnMMS_FreeMended(mended);
    fnMMS_FreeAnatomy(anatomy);
    return 0;
}
