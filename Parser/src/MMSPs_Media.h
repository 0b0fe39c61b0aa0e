// What the media look-up, the layout and the getters ask of one part.
#pragma once

#include <mmskit/pdu.h>

#include <cstring>
#include <initializer_list>

#pragma GCC visibility push(hidden)

namespace mmskit {

// The two OMA DRM content types; compared exactly.
inline constexpr char drm_message_type[] = "application/vnd.oma.drm.message";
inline constexpr char drm_content_type[] = "application/vnd.oma.drm.content";

inline bool is_drm_type(const char* type) {
    constexpr size_t common = sizeof "application/vnd.oma.drm." - 1;
    return type != nullptr && std::strncmp(type, drm_message_type, common) == 0 &&
           (std::strcmp(type + common, drm_message_type + common) == 0 ||
            std::strcmp(type + common, drm_content_type + common) == 0);
}

// Classes of fnPAR_DrmType.
enum DrmClass : int32_t {
    drm_none = 0,
    drm_forward_locked = 1,
    drm_rights = 2,
    drm_content = 3,
    drm_message_with_content = 4,
    drm_separate = 5,
};

// Kinds of fnPAR_IsPlayedMedia.
enum MediaKind : int32_t {
    kind_unknown = -1,
    kind_text = 1,
    kind_image = 2,
    kind_audio = 3,
    kind_video = 4,
    kind_other = 5,
};

// The first identifying text of a part that is not empty, or null: location, name, content id.
inline const char* part_name(const tMMS_MediaData& part) {
    for (const char* name : {part.pContentLocation, part.pName, part.pContentId})
        if (name != nullptr && *name != '\0') return name;
    return nullptr;
}

}  // namespace mmskit

#pragma GCC visibility pop
