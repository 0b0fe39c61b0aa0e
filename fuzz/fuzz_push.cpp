// Service Indication and Service Loading documents in WBXML, from any bytes.
#include "fuzz/walk.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const fuzz::Exact document(data, size);
    if (tPush_SiContent* si = fnMMSPush_DecodeSic(document.bytes.get(), uint32_t(size))) {
        for (const char* text : {si->pHref, si->pSiId, si->pNotifyText})
            fuzz::touch(text);
        fnMMSPush_FreeSic(si);
    }
    if (tPush_SlContent* sl = fnMMSPush_DecodeSlc(document.bytes.get(), uint32_t(size))) {
        if (sl->bAction < 5 || sl->bAction > 7) std::abort();
        fuzz::touch(sl->pHref);
        fnMMSPush_FreeSlc(sl);
    }
    return 0;
}
