// The media of a slide: image, text, audio and video are four rows of one table, and each editing
// call is a face over the operation on a row. A slide owns what its pointers point to; a medium is
// copied whole before any of it is put into the slide.
#include <mmskit/runtime.h>

#include <cstring>

#include "Composer/src/composer_internal.h"
#include "scshare/common/src/owned.h"

namespace mmskit {

using Slide = CPSSlideStruct;

const MediumKind image_kind = {&Slide::bImage,
                               &Slide::pImageData,
                               nullptr,
                               &Slide::pImageType,
                               &Slide::pImageName,
                               &Slide::iImageSize,
                               &Slide::iImageBegin,
                               &Slide::iImageEnd,
                               &Slide::aiImageLayout,
                               CPS_SLIDE_HAS_VIDEO,
                               CPS_OK};
const MediumKind text_kind = {
    &Slide::bText,      nullptr,          &Slide::pText,        nullptr, nullptr, &Slide::iTextLen,
    &Slide::iTextBegin, &Slide::iTextEnd, &Slide::aiTextLayout, CPS_OK,  CPS_OK};
const MediumKind audio_kind = {&Slide::bAudio,
                               &Slide::pAudioData,
                               nullptr,
                               &Slide::pAudioType,
                               &Slide::pAudioName,
                               &Slide::iAudioSize,
                               &Slide::iAudioBegin,
                               &Slide::iAudioEnd,
                               nullptr,
                               CPS_SLIDE_HAS_VIDEO,
                               CPS_OK};
const MediumKind video_kind = {&Slide::bVideo,
                               &Slide::pVideoData,
                               nullptr,
                               &Slide::pVideoType,
                               &Slide::pVideoName,
                               &Slide::iVideoSize,
                               &Slide::iVideoBegin,
                               &Slide::iVideoEnd,
                               &Slide::aiVideoLayout,
                               CPS_OK,
                               CPS_SLIDE_HAS_IMAGE_OR_AUDIO};
const MediumKind* const media_kinds[4] = {&image_kind, &text_kind, &audio_kind, &video_kind};

namespace {

uint8_t* content(const Slide& slide, const MediumKind& kind) {
    return kind.data != nullptr ? slide.*kind.data : reinterpret_cast<uint8_t*>(slide.*kind.text);
}

// Each of these replaces an owned block, freeing what stood there.
void put_content(Slide& slide, const MediumKind& kind, uint8_t* bytes) {
    if (kind.data != nullptr)
        replace_owned(slide.*kind.data, bytes);
    else
        replace_owned(slide.*kind.text, reinterpret_cast<char*>(bytes));
}
void put_text(Slide& slide, char* Slide::*member, char* text) {
    if (member != nullptr) replace_owned(slide.*member, text);
}
char* take_text(Slide& slide, char* Slide::*member) {
    if (member == nullptr) return nullptr;
    char* text = slide.*member;
    slide.*member = nullptr;
    return text;
}

constexpr int32_t no_layout[4] = {};

void put_numbers(Slide& slide, const MediumKind& kind, int32_t size, int32_t begin, int32_t end,
                 const int32_t* layout) {
    slide.*kind.size = size;
    slide.*kind.begin = begin;
    slide.*kind.end = end;
    if (kind.layout != nullptr)
        std::memcpy(slide.*kind.layout, layout != nullptr ? layout : no_layout, sizeof no_layout);
}

// A text stops at its terminator and gets one; its block has room for the length that was given.
OwnedBytes copy_content(const MediumKind& kind, const MediaSource& source) {
    const bool is_text = kind.text != nullptr;
    OwnedBytes copy(static_cast<uint8_t*>(allocate(uint64_t{source.size} + (is_text ? 1 : 0))));
    const size_t count =
        is_text ? strnlen(static_cast<const char*>(source.data), source.size) : source.size;
    if (copy && count != 0) std::memcpy(copy.get(), source.data, count);
    return copy;
}

// The current slide when it holds the medium, else null.
Slide* slide_holding(const MediumKind& kind) {
    Slide* slide = current_slide();
    return slide != nullptr && slide->*kind.present == 1 ? slide : nullptr;
}

int32_t add_medium(const MediumKind& kind, const MediaSource& source) {
    Slide* slide = current_slide();
    if (slide == nullptr) return CPS_SLIDE_UNUSED;
    if (slide->bVideo != 0 && kind.beside_video != CPS_OK) return kind.beside_video;
    if (slide->*kind.present != 0) return CPS_MEDIUM_PRESENT;
    if ((slide->bImage != 0 || slide->bAudio != 0) && kind.beside_image_or_audio != CPS_OK)
        return kind.beside_image_or_audio;
    return store_medium(*slide, kind, source) ? CPS_OK : CPS_NO_MEMORY;
}

template <typename Info>
int32_t add_media(const MediumKind& kind, const Info* info, const int32_t* layout) {
    if (info->pData == nullptr || info->pType == nullptr || info->pName == nullptr)
        return CPS_BAD_ARGUMENT;
    return add_medium(kind, {info->pData, info->iSize, info->pType, info->pName, info->iBegin,
                             info->iEnd, layout});
}

int32_t delete_medium(const MediumKind& kind) {
    Slide* slide = slide_holding(kind);
    if (slide == nullptr) return CPS_NO_MEDIUM;
    tCPS_NewMessage.iTotalSize -= static_cast<uint32_t>(slide->*kind.size);
    clear_medium(*slide, kind);
    return CPS_OK;
}

template <typename Info>
int32_t get_medium(const MediumKind& kind, Info* out) {
    if (out == nullptr) return CPS_BAD_ARGUMENT;
    const Slide* slide = slide_holding(kind);
    if (slide == nullptr) return CPS_NO_MEDIUM;
    const auto size = static_cast<uint32_t>(slide->*kind.size);
    if constexpr (requires { out->pText; }) {
        out->pText = slide->*kind.text;
        out->iLength = size;
    } else {
        out->pData = slide->*kind.data;
        out->pType = slide->*kind.type;
        out->pName = slide->*kind.name;
        out->iSize = size;
    }
    out->iBegin = slide->*kind.begin;
    out->iEnd = slide->*kind.end;
    if constexpr (requires { out->aiLayout; })
        std::memcpy(out->aiLayout, slide->*kind.layout, sizeof out->aiLayout);
    return CPS_OK;
}

uint32_t medium_exists(const MediumKind& kind) {
    return slide_holding(kind) != nullptr ? 1 : 0;
}

}  // namespace

bool store_medium(Slide& slide, const MediumKind& kind, const MediaSource& source) {
    if (kind.text != nullptr) slide.*kind.size = 0;  // also what a failure leaves
    if (source.size > INT32_MAX) return false;
    OwnedBytes bytes = copy_content(kind, source);
    OwnedText type(kind.type != nullptr ? fnSC_MEMSTRCOPY(source.type) : nullptr);
    OwnedText name(kind.name != nullptr ? fnSC_MEMSTRCOPY(source.name) : nullptr);
    if (!bytes || (kind.type != nullptr && (!type || !name))) return false;
    put_content(slide, kind, bytes.release());
    put_text(slide, kind.type, type.release());
    put_text(slide, kind.name, name.release());
    put_numbers(slide, kind, static_cast<int32_t>(source.size), source.begin, source.end,
                source.layout);
    slide.*kind.present = 1;
    tCPS_NewMessage.iTotalSize += source.size;
    return true;
}

void clear_medium(Slide& slide, const MediumKind& kind) {
    put_content(slide, kind, nullptr);
    put_text(slide, kind.type, nullptr);
    put_text(slide, kind.name, nullptr);
    put_numbers(slide, kind, 0, 0, default_end_ms, nullptr);
    slide.*kind.present = 0;
}

// Without a medium only the destination's flag changes.
void move_medium(Slide& from, Slide& to, const MediumKind& kind) {
    to.*kind.present = from.*kind.present == 1 ? 1 : 0;
    if (to.*kind.present == 0) return;
    uint8_t* bytes = content(from, kind);
    if (kind.data != nullptr)
        from.*kind.data = nullptr;
    else
        from.*kind.text = nullptr;
    put_content(to, kind, bytes);
    put_text(to, kind.type, take_text(from, kind.type));
    put_text(to, kind.name, take_text(from, kind.name));
    put_numbers(to, kind, from.*kind.size, from.*kind.begin, from.*kind.end,
                kind.layout != nullptr ? from.*kind.layout : nullptr);
}

bool medium_is_complete(const Slide& slide, const MediumKind& kind) {
    if (content(slide, kind) == nullptr || slide.*kind.size < 1) return false;
    return kind.type == nullptr || (slide.*kind.type != nullptr && slide.*kind.name != nullptr);
}

}  // namespace mmskit

using namespace mmskit;

extern "C" {

int32_t fnCPS_AddImage(const CPSMediaInfo* info) {
    return info == nullptr ? CPS_BAD_ARGUMENT : add_media(image_kind, info, info->aiLayout);
}
int32_t fnCPS_AddVideo(const CPSMediaInfo* info) {
    return info == nullptr ? CPS_BAD_ARGUMENT : add_media(video_kind, info, info->aiLayout);
}
int32_t fnCPS_AddAudio(const CPSAudioInfo* info) {
    return info == nullptr ? CPS_BAD_ARGUMENT : add_media(audio_kind, info, nullptr);
}
int32_t fnCPS_AddText(const CPSTextInfo* info) {
    if (info == nullptr || info->pText == nullptr) return CPS_BAD_ARGUMENT;
    return add_medium(text_kind, {info->pText, info->iLength, nullptr, nullptr, info->iBegin,
                                  info->iEnd, info->aiLayout});
}

int32_t fnCPS_DeleteCurImage(void) {
    return delete_medium(image_kind);
}
int32_t fnCPS_DeleteCurVideo(void) {
    return delete_medium(video_kind);
}
int32_t fnCPS_DeleteCurAudio(void) {
    return delete_medium(audio_kind);
}
int32_t fnCPS_DeleteCurText(void) {
    return delete_medium(text_kind);
}

int32_t fnCPS_GetCurImage(CPSMediaInfo* out) {
    return get_medium(image_kind, out);
}
int32_t fnCPS_GetCurVideo(CPSMediaInfo* out) {
    return get_medium(video_kind, out);
}
int32_t fnCPS_GetCurAudio(CPSAudioInfo* out) {
    return get_medium(audio_kind, out);
}
int32_t fnCPS_GetCurText(CPSTextInfo* out) {
    return get_medium(text_kind, out);
}

uint32_t fnCPS_CurImageExist(void) {
    return medium_exists(image_kind);
}
uint32_t fnCPS_CurTextExist(void) {
    return medium_exists(text_kind);
}
uint32_t fnCPS_CurAudioExist(void) {
    return medium_exists(audio_kind);
}
uint32_t fnCPS_CurVideoExist(void) {
    return medium_exists(video_kind);
}

}  // extern "C"
