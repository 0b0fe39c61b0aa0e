// Collects the slides as the library's getters serve them, and from the lists of the slide view
// what the getters leave out.
#include "reading/slide_view.h"

#include <mmskit/mmskit.h>

#include <cstring>
#include <utility>

namespace mmskit_tool {
namespace {

std::span<const uint8_t> bytes_of(const uint8_t* data, int32_t length) {
    if (data == nullptr || length <= 0) return {};
    return {data, static_cast<std::size_t>(length)};
}

template <typename Element>
MediaFact media_fact(MediaKind kind, const Element& element) {
    MediaFact fact;
    fact.kind = kind;
    fact.type = element.Type;
    fact.name = element.Name;
    fact.data = bytes_of(element.Data, element.Length);
    fact.timing = {element.Begin, element.End};
    if constexpr (requires { element.Left; }) {
        fact.place = {element.Left, element.Top, element.Width, element.Height};
    }
    fact.drm_class = element.IsDrm != 0 ? element.DrmType : 0;
    return fact;
}

template <typename Output>
void collect_media(SlideFact& slide, MediaKind kind, int32_t (*serve)(Output*)) {
    Output served{};
    if (serve(&served) != 0) slide.media.push_back(media_fact(kind, served));
}

template <typename Text>
TextFact text_fact(const Text& text) {
    return {
        text.Data, {text.Begin, text.End}, {text.Left, text.Top, text.Width, text.Height}, no_part};
}

template <typename Element>
std::size_t length(const Element* first) {
    std::size_t count = 0;
    for (; first != nullptr; first = first->Next)
        ++count;
    return count;
}

// The getters serve the first element of each list.
template <typename Element>
const Element* after(const Element* first) {
    return first != nullptr ? first->Next : nullptr;
}

// Room is made at once: a vector that grows holds its elements twice.
void collect_further(SlideFact& slide, const tSMIL_Par& par) {
    slide.further_texts.reserve(length(after(par.Text)));
    for (const tSMIL_Text* text = after(par.Text); text != nullptr; text = text->Next)
        slide.further_texts.push_back(text_fact(*text));
    slide.further_media.reserve(length(after(par.Img)) + length(after(par.Audio)) +
                                length(after(par.Video)));
    const auto add = [&](MediaKind kind, const auto* element) {
        for (; element != nullptr; element = element->Next)
            slide.further_media.push_back(media_fact(kind, *element));
    };
    add(MediaKind::image, after(par.Img));
    add(MediaKind::audio, after(par.Audio));
    add(MediaKind::video, after(par.Video));
}

SlideFact collect_slide() {
    SlideFact slide;
    slide.duration = fnPAR_GetCurParDur();
    uint32_t colour = 0;
    if (fnPAR_GetCurParBgColor(&colour) != 0) slide.background = colour;
    if (fnPAR_GetCurParForeColor(&colour) != 0) slide.foreground = colour;
    tPAR_Text text{};
    if (fnPAR_GetCurParText(&text) != 0) slide.text = text_fact(text);
    collect_media(slide, MediaKind::image, fnPAR_GetCurParImg);
    collect_media(slide, MediaKind::audio, fnPAR_GetCurParAudio);
    collect_media(slide, MediaKind::video, fnPAR_GetCurParVideo);
    if (tSMIL_ViewStruct.CurPar != nullptr) collect_further(slide, *tSMIL_ViewStruct.CurPar);
    return slide;
}

void collect_regions(MessageFacts& facts) {
    facts.regions.reserve(length(tSMIL_ViewStruct.RegionList));
    for (const tSMIL_Region* region = tSMIL_ViewStruct.RegionList; region != nullptr;
         region = region->Next) {
        facts.regions.push_back(
            {{region->Left, region->Top, region->Width, region->Height}, region->Fit});
    }
}

}  // namespace

void collect_view(MessageFacts& facts) {
    facts.screen_width = tSMIL_ViewStruct.RootWidth;
    facts.screen_height = tSMIL_ViewStruct.RootHeight;
    if (tSMIL_ViewStruct.IsBgColor != 0) facts.screen_background = tSMIL_ViewStruct.bgColor;
    collect_regions(facts);
    (void)fnPAR_InitCurPar();
    if (fnPAR_IsParEmpty() == 0) {
        facts.slides.reserve(length(tSMIL_ViewStruct.ParList));
        do
            facts.slides.push_back(collect_slide());
        while (fnPAR_ProceedNextPar() != 0);
    }
    facts.attachments.reserve(length(tSMIL_ViewStruct.AttachmentList));
    // Taken from the list: asking for each by its index would cost the square of their number.
    for (const tSMIL_Attachment* attachment = tSMIL_ViewStruct.AttachmentList;
         attachment != nullptr; attachment = attachment->Next) {
        AttachmentFact fact;
        fact.type = attachment->Type;
        fact.name = attachment->Name;
        fact.data = bytes_of(attachment->Data, attachment->Length);
        fact.drm_class = attachment->DrmType;
        facts.attachments.push_back(fact);
    }
}

std::vector<std::vector<std::string>> view_texts(std::size_t most) {
    std::vector<std::vector<std::string>> slides;
    for (const tSMIL_Par* par = tSMIL_ViewStruct.ParList; par != nullptr; par = par->Next) {
        std::vector<std::string> texts;
        for (const tSMIL_Text* text = par->Text; text != nullptr; text = text->Next)
            texts.emplace_back(
                std::string_view(text->Data != nullptr ? text->Data : "").substr(0, most));
        slides.push_back(std::move(texts));
    }
    return slides;
}

Flaw last_flaw(std::size_t base) {
    uint32_t offset = 0;
    const char* reason = fnMMS_GetLastError(&offset);
    // The message decoded, so the layout of its slides ran out of memory.
    if (std::strcmp(reason, "no error") == 0) reason = "the slides cannot be laid out";
    return {reason, base + offset};
}

}  // namespace mmskit_tool
