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

// The getters serve the first element of each list.
template <typename Element, typename Each>
void for_each_further(const Element* first, Each each) {
    if (first == nullptr) return;
    for (const Element* element = first->Next; element != nullptr; element = element->Next) {
        each(*element);
    }
}

void collect_further(SlideFact& slide, const tSMIL_Par& par) {
    const auto media_of = [&](MediaKind kind) {
        return [&slide, kind](const auto& element) {
            slide.further_media.push_back(media_fact(kind, element));
        };
    };
    for_each_further(
        par.Text, [&](const tSMIL_Text& text) { slide.further_texts.push_back(text_fact(text)); });
    for_each_further(par.Img, media_of(MediaKind::image));
    for_each_further(par.Audio, media_of(MediaKind::audio));
    for_each_further(par.Video, media_of(MediaKind::video));
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

// Room for a list's facts at once: a vector that grows holds its elements twice.
template <typename Fact, typename Element>
void make_room(std::vector<Fact>& facts, const Element* first) {
    std::size_t count = 0;
    for (; first != nullptr; first = first->Next)
        ++count;
    facts.reserve(count);
}

void collect_regions(MessageFacts& facts) {
    make_room(facts.regions, tSMIL_ViewStruct.RegionList);
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
        make_room(facts.slides, tSMIL_ViewStruct.ParList);
        do
            facts.slides.push_back(collect_slide());
        while (fnPAR_ProceedNextPar() != 0);
    }
    make_room(facts.attachments, tSMIL_ViewStruct.AttachmentList);
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

std::vector<std::vector<std::string>> view_texts() {
    std::vector<std::vector<std::string>> slides;
    for (const tSMIL_Par* par = tSMIL_ViewStruct.ParList; par != nullptr; par = par->Next) {
        std::vector<std::string> texts;
        for (const tSMIL_Text* text = par->Text; text != nullptr; text = text->Next)
            texts.emplace_back(text->Data != nullptr ? text->Data : "");
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
