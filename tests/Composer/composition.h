// A medium in plain containers, handed to the composer's calls and taken back.
#pragma once

#include <mmskit/composer.h>
#include <mmskit/runtime.h>

#include <array>
#include <string>

#include "tests/support/bytes.h"
#include "tests/support/guarded.h"

namespace testing_support {

enum Kind { image, words, audio, video, kinds };

struct Medium {
    std::string data, type, name;
    int32_t begin = 0, end = 5000;
    uint32_t size = static_cast<uint32_t>(data.size());
    std::array<int32_t, 4> layout = {};
    bool operator==(const Medium&) const = default;
};

inline std::string string_of(const void* data, size_t size) {
    return {static_cast<const char*>(data), size};
}

inline int32_t add(Kind kind, Medium m) {
    auto* data = reinterpret_cast<uint8_t*>(m.data.data());
    char *type = m.type.data(), *name = m.name.data();
    const auto& l = m.layout;
    const CPSMediaInfo picture = {
        data, type, name, m.begin, m.end, m.size, {l[0], l[1], l[2], l[3]}};
    const CPSAudioInfo sound = {data, type, name, m.begin, m.end, m.size};
    const CPSTextInfo text = {m.data.data(), m.begin, m.end, m.size, {l[0], l[1], l[2], l[3]}};
    if (kind == words) return fnCPS_AddText(&text);
    if (kind == audio) return fnCPS_AddAudio(&sound);
    return (kind == image ? fnCPS_AddImage : fnCPS_AddVideo)(&picture);
}
inline int32_t attach(Medium m) {
    const CPSAttachmentInfo info = {reinterpret_cast<uint8_t*>(m.data.data()), m.name.data(),
                                    m.type.data(), m.size};
    return fnCPS_AddAttachment(&info);
}
inline std::string written() {
    uint32_t length = 0;
    uint8_t* body = fnCPS_GetMmsContentPdu(&length);
    std::string out = string_of(body, length);
    fnSC_Free(&body);
    return out;
}
inline int32_t reedit(const std::string& body) {
    fnCPS_Quit();
    const Guarded guarded(body);
    return fnCPS_ReEditMms(guarded.data(), guarded.length());
}

}  // namespace testing_support
