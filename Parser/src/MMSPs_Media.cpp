// Filling a slide's element from the part that a reference names. Media bytes are borrowed from
// the message; texts, types and names are copied within the message's copy budget.
#include "Parser/src/MMSPs_Media.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "Parser/src/MMSPs_Reference.h"
#include "Parser/src/smil_internal.h"
#include "scshare/common/src/owned.h"

namespace mmskit {
namespace {

constexpr char copy_limit[] = "more text than is copied onto slides";

bool pay_for_copy(uint64_t bytes) {
    return pay(parser_state.copies, bytes, copy_limit);
}

// Never reads further than the budget reaches.
char* copy_within_budget(const char* text) {
    if (text == nullptr) return nullptr;
    const size_t size =
        strnlen(text, static_cast<size_t>(std::min<uint64_t>(parser_state.copies.left, SIZE_MAX)));
    return pay_for_copy(static_cast<uint64_t>(size) + 1) ? copy_text(text, size) : nullptr;
}

// The part's text in UTF-8 where its character set is known, else its bytes. Only a conversion that
// fails is a failure; bytes that cannot be copied, for want of memory or budget, leave no text.
[[nodiscard]] bool copy_part_text(const tMMS_MediaData& part, OwnedText& text) {
    const uint64_t source = uint64_t{part.iDataLen} + 1;
    if (source > parser_state.copies.left) {  // a shorter text may still fit
        note_limit(copy_limit);
        return true;
    }
    (void)pay_for_copy(source);
    if (part.bHasCharset != 1) {
        text.reset(copy_text(part.pData, part.iDataLen));
        return true;
    }
    uint32_t length = part.iDataLen;
    text.reset(
        fnCharSet_DecodeString2Local(static_cast<int32_t>(part.iCharset), part.pData, &length));
    if (!text) {
        note_problem("text that cannot be converted", part.pData);
        return false;
    }
    const uint64_t result = static_cast<uint64_t>(std::strlen(text.get())) + 1;
    if (result > source && !pay_for_copy(result - source)) text.reset();
    return true;
}

// A message without parts fails every look-up, which is not the same as a name that is not found.
bool can_look_up(TextView id) {
    return id.size != 0 && parser_state.tpSMIL_Element != nullptr;
}

void fill_type(tSMIL_Media& el, tMMS_MediaData& part) {
    replace_owned(el.Type, copy_within_budget(part.pContentType));
    el.IsDrm = 0;
    el.DrmType = drm_none;
    el.DrmInfo1 = el.DrmInfo2 = 0;
    if (part.pContentType == nullptr) return;
    if (is_drm_type(part.pContentType)) {
        el.IsDrm = 1;
        el.DrmType = fnPAR_DrmType(part.pContentType, part.pData,
                                   static_cast<int32_t>(part.iDataLen), nullptr, nullptr);
        // What cannot be played is listed as an attachment too.
        if (el.DrmType != drm_forward_locked) part.IsSmil = 0;
    }
    if (part.bDrmSeparate == 1) {
        el.IsDrm = 1;
        el.DrmType = drm_separate;
        el.DrmInfo1 = part.iDrmInfo1;
        el.DrmInfo2 = part.iDrmInfo2;
    }
}

// What `text`, in either case, leaves of `word`, which is lower case; null when it is no leading
// part of it.
const char* rest_of_word(const char* text, const char* word) {
    for (; *text != '\0'; ++text, ++word) {
        const char c = *text;
        if (*word == '\0' ||
            (c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c) != *word)
            return nullptr;
    }
    return word;
}

}  // namespace

bool find_visual(tSMIL_Media& el, TextView id, LookUp& look_up) {
    if (!can_look_up(id)) return false;
    tMMS_MediaData* part = take_part(look_up, parser_state.tpSMIL_Element, id);
    if (part == nullptr) return true;
    fill_type(el, *part);
    replace_owned(el.Name, copy_within_budget(part_name(*part)));
    el.Data = part->pData;
    el.Length = static_cast<int32_t>(part->iDataLen);
    return true;
}

bool find_text(tSMIL_Text& el, TextView id, LookUp& look_up) {
    if (!can_look_up(id)) return false;
    const tMMS_MediaData* part = take_part(look_up, parser_state.tpSMIL_Element, id);
    if (part == nullptr) return true;
    OwnedText text;
    if (!copy_part_text(*part, text)) return false;
    if (text) replace_owned(el.Data, text.release());
    return true;
}

// A sound is what a picture is but for its place, up to these bytes.
bool find_audio(tSMIL_Audio& el, TextView id, LookUp& look_up) {
    constexpr size_t common = offsetof(tSMIL_Media, Left);
    static_assert(offsetof(tSMIL_Audio, DrmInfo2) == offsetof(tSMIL_Media, DrmInfo2) &&
                  offsetof(tSMIL_Media, DrmInfo2) + sizeof el.DrmInfo2 == common);
    tSMIL_Media media{};
    std::memcpy(&media, &el, common);
    const bool found = find_visual(media, id, look_up);
    std::memcpy(&el, &media, common);
    return found;
}

}  // namespace mmskit

using namespace mmskit;

extern "C" {

// A reference that names no part gives a fresh record of no list, which the caller frees.
tMMS_MediaData* SmilGetElementById(tMMS_MediaData* list, const char* id) {
    if (list == nullptr || id == nullptr || *id == '\0') return nullptr;
    LookUp look_up{};
    tMMS_MediaData* part = take_part(look_up, list, id);
    return part != nullptr ? part : new_record<tMMS_MediaData>();
}

int32_t SmilGetTextDataById(tSMIL_Text* el, const char* id) {
    LookUp look_up{};
    return el != nullptr && find_text(*el, id, look_up) ? 1 : 0;
}

int32_t SmilGetImgDataById(tSMIL_Media* el, const char* id) {
    LookUp look_up{};
    return el != nullptr && find_visual(*el, id, look_up) ? 1 : 0;
}

int32_t SmilGetAudioDataById(tSMIL_Audio* el, const char* id) {
    LookUp look_up{};
    return el != nullptr && find_audio(*el, id, look_up) ? 1 : 0;
}

int32_t SmilGetVideoDataById(tSMIL_Media* el, const char* id) {
    LookUp look_up{};
    return el != nullptr && find_visual(*el, id, look_up) ? 1 : 0;
}

int32_t fnPAR_IsPlayedMedia(const char* contentType) {
    if (contentType == nullptr) return kind_unknown;
    // QUIRK only_bare_words_are_playable: but for texts the type must be a leading part of the
    // word, so that "image/jpeg" is no image here. Without SMIL, media are therefore listed as
    // attachments.
    constexpr struct {
        const char* word;
        MediaKind kind;
    } words[] = {{"text/plain", kind_text},
                 {"image", kind_image},
                 {"audio", kind_audio},
                 {"video", kind_video}};
    for (const auto& row : words) {
        const char* rest = rest_of_word(contentType, row.word);
        if (rest != nullptr && (*rest == '\0' || row.kind != kind_text)) return row.kind;
    }
    return kind_other;
}

}  // extern "C"
