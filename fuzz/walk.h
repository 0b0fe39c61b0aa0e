// Shared by the fuzz targets: every way a host can look at a message, with every byte that is
// handed out really read, so that a sanitizer sees a pointer or a length that is wrong.
#pragma once

#include <mmskit/mmskit.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace fuzz {

inline volatile uint8_t seen;

inline void touch(const uint8_t* data, int32_t length) {
    if (length < 0 || (data == nullptr && length != 0)) std::abort();
    for (int32_t i = 0; i < length; i++)
        seen = data[i];
}

inline void touch(const char* text) {
    if (text != nullptr) touch(reinterpret_cast<const uint8_t*>(text), fnSC_STRLEN(text));
}

template <typename Media>
void touch_media(int32_t (*get)(Media*)) {
    Media media{};
    if (!get(&media)) return;
    touch(media.Data, media.Length);
    touch(media.Type);
    touch(media.Name);
}

inline void walk_slide() {
    uint32_t colour = 0;
    fnPAR_GetCurParDur();
    fnPAR_GetCurParBgColor(&colour);
    fnPAR_GetCurParForeColor(&colour);
    tPAR_Text text{};
    if (fnPAR_GetCurParText(&text)) touch(text.Data);
    touch_media(fnPAR_GetCurParImg);
    touch_media(fnPAR_GetCurParAudio);
    touch_media(fnPAR_GetCurParVideo);
}

// Shows a body as a host would, forwards and back, and releases it.
inline void walk_body(const uint8_t* body, int32_t length) {
    fnPAR_SmilParserEntry(body, length);
    fnPAR_IsDrmObjectIncluded();
    fnPAR_InitCurPar();
    if (!fnPAR_IsParEmpty()) {
        do
            walk_slide();
        while (fnPAR_ProceedNextPar());
        while (fnPAR_ProceedPrePar())
            fnPAR_GetCurParDur();
    }
    const int32_t attachments = fnPAR_GetTotalAttachments();
    for (int32_t i = 0; i < attachments; i++) {
        tPAR_Attachment attachment{};
        if (!fnPAR_GetAttachment(&attachment, i)) std::abort();
        touch(attachment.Data, attachment.Length);
        touch(attachment.Type);
        touch(fnPAR_GetAttachmentName(i));
    }
    fnPAR_SmilFree();
    fnPAR_SmilFree();
}

// The input in a block of exactly its size: what is read beside it is an error.
struct Exact {
    Exact(const uint8_t* data, size_t size) : bytes(new uint8_t[size]), length(int32_t(size)) {
        if (size > 0) std::memcpy(bytes.get(), data, size);
    }
    std::unique_ptr<uint8_t[]> bytes;
    int32_t length;
};

}  // namespace fuzz
