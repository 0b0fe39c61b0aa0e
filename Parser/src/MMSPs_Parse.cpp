// The SMIL document parser: a forgiving single pass over the tags, one loop for each level, that
// fills the slide view. It builds no tree, and it does not call itself: however deep a document
// nests, the stack stays as it is. References to media are resolved as they are met.
#include "Parser/src/smil_internal.h"
#include "scshare/common/src/log.h"
#include "scshare/common/src/owned.h"

namespace mmskit {
namespace {

// Places in SmilTag and SmilAttribute.
enum TagIndex : int32_t {
    tag_smil,
    tag_head,
    tag_body,
    tag_layout,
    tag_meta,
    tag_par,
    tag_region,
    tag_root_layout,
    tag_text,
    tag_img,
    tag_audio,
    tag_ref,
    tag_video,
    tag_param
};
enum AttributeIndex : int32_t {
    attr_left,
    attr_top,
    attr_height,
    attr_width,
    attr_fit,
    attr_id,
    attr_src,
    attr_region,
    attr_alt,
    attr_begin,
    attr_end,
    attr_dur,
    attr_name,
    attr_content,
    attr_value
};

// What SmilParsePar answers.
enum ParEnd : int32_t { par_closed = 0, par_failed = 1, par_nested = 2 };

// A tag with a known name.
struct Tag {
    OwnedTag tag;
    int32_t index = -1;

    bool is(TagIndex name) const { return index == name; }
    bool opens(TagIndex name) const { return index == name && tag->Type == opening_tag; }
    bool closes(TagIndex name) const { return index == name && tag->Type == closing_tag; }
    // Attributes in reverse document order: assigning in this order lets the first one win.
    tSMIL_Attr* attributes() const { return tag->AttrList; }
};

// The next tag with a known name; false at the end of the input. Out of memory is taken for the
// end, so that a document is never shown with tags missing.
bool next_tag(Tag& out) {
    for (;;) {
        out.tag.reset();
        const OwnedText text(SmilGetOneTag());
        if (!text) return false;
        tSMIL_Tag* tag = nullptr;
        if (!split_tag(text.get(), tag)) {
            exhaust_cursor();
            return false;
        }
        out.tag.reset(tag);
        out.index = tag != nullptr ? SmilIsTag(tag->Name) : -1;
        if (out.index >= 0) return true;
    }
}

bool is_named(const char* text, const char* name) {
    return fnSC_STRICMP(text, name) == 0;
}

// ---- Layout -------------------------------------------------------------------------------

struct RegionNumber {
    AttributeIndex attribute;
    int32_t tSMIL_Region::*field;
};
constexpr RegionNumber region_numbers[] = {{attr_left, &tSMIL_Region::Left},
                                           {attr_top, &tSMIL_Region::Top},
                                           {attr_height, &tSMIL_Region::Height},
                                           {attr_width, &tSMIL_Region::Width}};

void take_text(char*& field, tSMIL_Attr& attribute) {
    replace_owned(field, attribute.Value);
    attribute.Value = nullptr;
}

void read_region(const Tag& tag, tSMIL_Layout& layout) {
    auto* region = new_record<tSMIL_Region>();
    if (region == nullptr) return;
    for (tSMIL_Attr* a = tag.attributes(); a != nullptr; a = a->Next) {
        const int32_t index = SmilIsAttr(a->Name);
        if (index == attr_id) take_text(region->Id, *a);
        if (index == attr_fit) take_text(region->Fit, *a);
        for (const RegionNumber& number : region_numbers)
            if (index == number.attribute) region->*number.field = number_value(a->Value);
    }
    region->Next = layout.RegionList;
    layout.RegionList = region;
}

// The background colour goes straight to the view: it holds even when the layout is lost.
void read_root_layout(const Tag& tag, tSMIL_Layout& layout) {
    for (const tSMIL_Attr* a = tag.attributes(); a != nullptr; a = a->Next) {
        const int32_t index = SmilIsAttr(a->Name);
        if (index == attr_width) layout.RootWidth = number_value(a->Value);
        if (index == attr_height) layout.RootHeight = number_value(a->Value);
        if (is_named(a->Name, "background-color") || is_named(a->Name, "backgroundcolor")) {
            log_line("pAttr->Value:%s", a->Value);
            tSMIL_ViewStruct.IsBgColor = 1;
            tSMIL_ViewStruct.bgColor = ColorToInt(a->Value);
            log_line("tSMIL_ViewStruct.bgColor:%x", tSMIL_ViewStruct.bgColor);
        }
    }
}

void take_layout(const tSMIL_Layout& layout) {
    tSMIL_View& view = tSMIL_ViewStruct;
    forget_region_index();
    free_regions(view.RegionList);
    view.RootWidth = layout.RootWidth;
    view.RootHeight = layout.RootHeight;
    view.RegionList = layout.RegionList;
}

// ---- Elements of a slide ------------------------------------------------------------------

template <typename Element>
struct ElementKind {
    int32_t (*look_up)(Element*, const char*);
    int32_t (*add)(Element*);
    const char* add_error;
};
constexpr ElementKind<tSMIL_Text> text_kind{SmilGetTextDataById, SmilAddText, nullptr};
constexpr ElementKind<tSMIL_Media> img_kind{SmilGetImgDataById, SmilAddImg, "SmilAddImg error"};
constexpr ElementKind<tSMIL_Audio> audio_kind{SmilGetAudioDataById, SmilAddAudio, nullptr};
constexpr ElementKind<tSMIL_Media> video_kind{SmilGetVideoDataById, SmilAddVideo, nullptr};

struct ElementFree {
    template <typename Element>
    void operator()(Element* element) const {
        free_element(element);
    }
};

template <typename Element>
void place_in_region(Element& element, const char* id) {
    int32_t rect[4] = {element.Left, element.Top, element.Width, element.Height};
    SmilGetRegionDataById(rect, id);
    element.Left = rect[0];
    element.Top = rect[1];
    element.Width = rect[2];
    element.Height = rect[3];
}
void place_in_region(tSMIL_Audio&, const char*) {}

void copy_part(tSMIL_Text& to, const tSMIL_Text& from) {
    to.Data = from.Data;
}
template <typename Element>
void copy_part(Element& to, const Element& from) {
    to.Data = from.Data;
    to.Type = from.Type;
    to.Name = from.Name;
    to.Length = from.Length;
    to.IsDrm = from.IsDrm;
    to.DrmType = from.DrmType;
    to.DrmInfo1 = from.DrmInfo1;
    to.DrmInfo2 = from.DrmInfo2;
}

// With several `src` each is looked up; the first in the document that names a part is shown.
template <typename Element>
bool take_source(Element& element, const ElementKind<Element>& kind, const char* id) {
    Element found{};
    const bool served = kind.look_up(&found, id) != 0;
    if (!served || found.Data == nullptr) {
        clear_element(found);
        return served;
    }
    clear_element(element);
    copy_part(element, found);
    return true;
}

template <typename Element>
bool read_element(Element& element, const ElementKind<Element>& kind, const Tag& tag) {
    for (const tSMIL_Attr* a = tag.attributes(); a != nullptr; a = a->Next) {
        switch (SmilIsAttr(a->Name)) {
            case attr_src:
                if (!take_source(element, kind, a->Value)) return false;
                break;
            case attr_region:
                place_in_region(element, a->Value);
                break;
            case attr_begin:
                element.Begin = time_value(a->Value);
                break;
            case attr_end:
                element.End = time_value(a->Value);
                break;
            default:
                break;
        }
    }
    return true;
}

constexpr int32_t drm_plain_media = 1;
constexpr int32_t drm_separate = 5;

bool is_shown(const tSMIL_Text& element) {
    return element.Data != nullptr;
}
// A protected part is shown when its content is plain media or is delivered separately.
template <typename Element>
bool is_shown(const Element& element) {
    const bool hidden =
        element.IsDrm == 1 && element.DrmType != drm_plain_media && element.DrmType != drm_separate;
    return element.Data != nullptr && !hidden;
}

// False fails the document; an element that has nothing to show is only left out.
template <typename Element>
bool add_element(const ElementKind<Element>& kind, const Tag& tag) {
    Owned<Element, ElementFree> element(new_record<Element>());
    if (!element || !read_element(*element, kind, tag)) return false;
    if (!is_shown(*element)) return true;
    if (kind.add(element.get()) == 0) {
        if (kind.add_error != nullptr) log_line("%s", kind.add_error);
        return false;
    }
    (void)element.release();
    return true;
}

bool add_text(const Tag& tag) {
    if (!add_element(text_kind, tag)) return false;
    if (tag.tag->Type != opening_tag || SmilParseText() != 0) return true;
    log_line("SmilParseText error");
    return false;
}

bool add_slide_element(const Tag& tag) {
    if (tag.attributes() == nullptr) return true;
    switch (tag.index) {
        case tag_text:
            return add_text(tag);
        case tag_img:
            return add_element(img_kind, tag);
        case tag_audio:
            return add_element(audio_kind, tag);
        case tag_video:
            return add_element(video_kind, tag);
        default:
            return true;
    }
}

// The value of a `param` of this name; null when it has another name, no value, or there is no
// slide to take it.
const char* param_value(const Tag& tag, const char* wanted) {
    const char* name = nullptr;
    const char* value = nullptr;
    for (const tSMIL_Attr* a = tag.attributes(); a != nullptr; a = a->Next) {
        const int32_t index = SmilIsAttr(a->Name);
        if (index == attr_name) name = a->Value;
        if (index == attr_value) value = a->Value;
    }
    return tSMIL_ViewStruct.CurPar != nullptr && is_named(name, wanted) ? value : nullptr;
}

void read_background(const Tag& tag) {
    const char* const value = param_value(tag, "background-color");
    if (value == nullptr) return;
    log_line("paramValue:%s", value);
    tSMIL_Par& par = *tSMIL_ViewStruct.CurPar;
    par.IsBgColor = 1;
    par.bgColor = ColorToInt(value);
    log_line("tSMIL_ViewStruct.CurPar->bgColor:%x", par.bgColor);
}

void read_foreground(const Tag& tag) {
    const char* const value = param_value(tag, "foreground-color");
    if (value == nullptr) return;
    tSMIL_Par& par = *tSMIL_ViewStruct.CurPar;
    par.IsForeColor = 1;
    par.foreColor = ColorToInt(value);
    log_line("tSMIL_ViewStruct.CurPar->foreColor:%x", par.foreColor);
}

// ---- Body and head ------------------------------------------------------------------------

bool has_media(const tSMIL_Par& par) {
    return par.Text != nullptr || par.Img != nullptr || par.Audio != nullptr ||
           par.Video != nullptr;
}

// Reads the slide that `tag` opens, and those opened inside it. False fails the body.
bool read_slides(const Tag& tag) {
    int32_t duration = 0;
    for (const tSMIL_Attr* a = tag.attributes(); a != nullptr; a = a->Next)
        if (SmilIsAttr(a->Name) == attr_dur) duration = time_value(a->Value);
    // QUIRK nested_par_takes_the_outer_dur: a `par` opened before the last one was closed is a
    // slide of its own with the attributes of the outermost one; its own are lost.
    int32_t end = par_nested;
    while (end == par_nested) {
        auto* par = new_record<tSMIL_Par>();
        if (par == nullptr) return false;
        par->Dur = duration;
        SmilAddPar(par);
        end = SmilParsePar();
    }
    if (end == par_failed) {
        log_line("SmilParsePar error");
        return false;
    }
    if (!has_media(*tSMIL_ViewStruct.CurPar)) SmilDelCurrPar();
    return true;
}

// `body` is the result of the last body read, in the head or behind it, and stays when none is
// read here.
int32_t parse_head(int32_t& body) {
    Tag tag;
    bool layout_taken = false;
    int32_t own_body = 0;
    while (next_tag(tag)) {
        if (tag.is(tag_head)) return 1;
        if (tag.is(tag_body)) body = own_body = SmilParseBody();
        if (!tag.is(tag_layout)) continue;
        const Owned<tSMIL_Layout> layout(SmilParseLayout());
        if (!layout) continue;
        take_layout(*layout);
        layout_taken = true;
    }
    return layout_taken ? 1 : own_body;
}

}  // namespace
}  // namespace mmskit

using namespace mmskit;

extern "C" {

int32_t SmilParseSmil(void) {
    log_line("entry SmilParseSmil");
    Tag tag;
    bool seen_smil = false;
    int32_t body = 0;
    while (next_tag(tag)) {
        if (tag.is(tag_head)) parse_head(body);
        if (tag.is(tag_body)) {
            body = SmilParseBody();
            if (body == 0) return 0;
        }
        if (tag.is(tag_smil)) {
            if (seen_smil) return 1;
            seen_smil = true;
        }
    }
    return body;
}

int32_t SmilParseHead(void) {
    int32_t body = 0;
    return parse_head(body);
}

tSMIL_Layout* SmilParseLayout(void) {
    auto* layout = new_record<tSMIL_Layout>();
    if (layout == nullptr) return nullptr;
    Tag tag;
    while (next_tag(tag) && !tag.closes(tag_layout)) {
        if (tag.is(tag_region)) read_region(tag, *layout);
        if (tag.is(tag_root_layout)) read_root_layout(tag, *layout);
    }
    return layout;
}

int32_t SmilParseBody(void) {
    Tag tag;
    while (next_tag(tag)) {
        if (tag.is(tag_body)) return 1;
        if (tag.opens(tag_par) && !read_slides(tag)) return 0;
    }
    return 0;
}

int32_t SmilParsePar(void) {
    Tag tag;
    while (next_tag(tag)) {
        if (tag.closes(tag_par)) return par_closed;
        if (tag.opens(tag_par)) return par_nested;
        if (tag.is(tag_param)) read_background(tag);
        if (!add_slide_element(tag)) return par_failed;
    }
    return par_failed;
}

int32_t SmilParseText(void) {
    Tag tag;
    while (next_tag(tag)) {
        if (tag.is(tag_text)) return 1;
        if (tag.is(tag_param)) read_foreground(tag);
    }
    return 0;
}

}  // extern "C"
