// A message body: the content union that a host may ask for, and the slides made of it.
#include "fuzz/walk.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const fuzz::Exact body(data, size);
    tMMS_ContentUnion* content = fnMMS_GetMediaDataFromPdu(body.bytes.get(), body.length);
    if (content != nullptr) {
        if (content->pSmil != nullptr)
            fuzz::touch(content->pSmil->pData, int32_t(content->pSmil->iDataLen));
        for (const tMMS_MediaData* part = content->pMediaList; part != nullptr;
             part = part->pNext) {
            fuzz::touch(part->pData, int32_t(part->iDataLen));
            fuzz::touch(part->pFwdParam, int32_t(part->iFwdParamLen));
            for (const char* text :
                 {part->pContentLocation, part->pContentId, part->pName, part->pContentType})
                fuzz::touch(text);
        }
        fnMMS_FreeMediaData(content);
    }
    fuzz::walk_body(body.bytes.get(), body.length);
    return 0;
}
