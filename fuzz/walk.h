// Shared by the fuzz targets: every way a host can look at a message, with every byte that is
// handed out really read, so that a sanitizer sees a pointer or a length that is wrong.
#pragma once

#include <mmskit/mmskit.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace fuzz {

// What was looked at, so that two walks can be compared.
inline uint64_t seen = 0xCBF29CE484222325U;

inline void touch(const uint8_t* data, int32_t length) {
    if (length < 0 || (data == nullptr && length != 0)) std::abort();
    for (int32_t i = 0; i < length; i++)
        seen = (seen ^ data[i]) * 0x100000001B3U;
}

inline void touch(uint64_t number) {
    seen = (seen ^ number) * 0x100000001B3U;
}

inline void touch(const char* text) {
    const int32_t length = fnSC_STRLEN(text);
    touch(text == nullptr ? ~uint64_t{0} : static_cast<uint64_t>(length));
    touch(reinterpret_cast<const uint8_t*>(text), length);
}

template <typename Media>
void touch_media(int32_t (*get)(Media*)) {
    Media media{};
    if (!get(&media)) return;
    touch(media.Data, media.Length);
    touch(media.Type);
    touch(media.Name);
    for (const int32_t number : {media.Begin, media.End, media.IsDrm})
        touch(static_cast<uint64_t>(number));
}

inline void walk_slide() {
    uint32_t colours[2] = {};
    touch(static_cast<uint64_t>(fnPAR_GetCurParDur()));
    fnPAR_GetCurParBgColor(&colours[0]);
    fnPAR_GetCurParForeColor(&colours[1]);
    touch(uint64_t{colours[0]} << 32U | colours[1]);
    tPAR_Text text{};
    if (fnPAR_GetCurParText(&text)) touch(text.Data);
    touch_media(fnPAR_GetCurParImg);
    touch_media(fnPAR_GetCurParAudio);
    touch_media(fnPAR_GetCurParVideo);
}

// Shows a body as a host would, forwards and back.
inline void show_body(const uint8_t* body, int32_t length) {
    touch(static_cast<uint64_t>(fnPAR_SmilParserEntry(body, length)));
    touch(static_cast<uint64_t>(fnPAR_IsDrmObjectIncluded()));
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
}

// The same, and releases it.
inline void walk_body(const uint8_t* body, int32_t length) {
    show_body(body, length);
    fnPAR_SmilFree();
    fnPAR_SmilFree();
}

}  // namespace fuzz
