// The SMIL document parser: a forgiving single pass over the tags, one loop for each level, that
// fills the slide view. It builds no tree, names and values stay where they are in the text, and it
// does not call itself: however deep a document nests, the stack stays as it is. References to
// media are resolved as they are met.
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

// ---- Layout -------------------------------------------------------------------------------

constexpr int32_t tSMIL_Region::*region_numbers[] = {&tSMIL_Region::Left, &tSMIL_Region::Top,
                                                     &tSMIL_Region::Height, &tSMIL_Region::Width};
static_assert(attr_left == 0 && attr_top == 1 && attr_height == 2 && attr_width == 3);

// The last one read of each text is the first of the document.
struct RegionTexts {
    TextView id;
    TextView fit;
};

bool keep_text(char*& field, TextView text) {
    if (text.data == nullptr) return true;
    field = copy_text(text.data, text.size);
    return field != nullptr;
}

void read_region(const Tag& tag, tSMIL_Layout& layout) {
    auto* region = new_record<tSMIL_Region>();
    if (region == nullptr) return;
    RegionTexts texts;
    Attributes attributes(tag);
    while (const Attributes::Item* a = attributes.next()) {
        if (a->index == attr_id) texts.id = a->value;
        if (a->index == attr_fit) texts.fit = a->value;
        if (a->index >= attr_left && a->index <= attr_width)
            region->*region_numbers[a->index] = number_value(a->value);
    }
    if (!keep_text(region->Id, texts.id) || !keep_text(region->Fit, texts.fit)) exhaust_cursor();
    region->Next = layout.RegionList;
    layout.RegionList = region;
}

// The background colour goes straight to the view: it holds even when the layout is lost.
void read_root_layout(const Tag& tag, tSMIL_Layout& layout) {
    Attributes attributes(tag);
    while (const Attributes::Item* a = attributes.next()) {
        if (a->index == attr_width) layout.RootWidth = number_value(a->value);
        if (a->index == attr_height) layout.RootHeight = number_value(a->value);
        if (is_named(a->name, "background-color") || is_named(a->name, "backgroundcolor")) {
            log_line("pAttr->Value:%.*s", static_cast<int>(a->value.size), a->value.data);
            tSMIL_ViewStruct.IsBgColor = 1;
            tSMIL_ViewStruct.bgColor = colour_value(a->value);
            log_line("tSMIL_ViewStruct.bgColor:%x", tSMIL_ViewStruct.bgColor);
        }
    }
}

void take_layout(const tSMIL_Layout& layout) {
    tSMIL_View& view = tSMIL_ViewStruct;
    free_regions(view.RegionList);
    view.RootWidth = layout.RootWidth;
    view.RootHeight = layout.RootHeight;
    view.RegionList = layout.RegionList;
}

// ---- Elements of a slide ------------------------------------------------------------------

template <typename Element>
struct ElementKind {
    bool (*find)(Element&, TextView, LookUp&);
    LookUp ParserState::*look_up;
    int32_t (*add)(Element*);
    const char* add_error;
};
constexpr ElementKind<tSMIL_Text> text_kind{find_text, &ParserState::text, SmilAddText, nullptr};
constexpr ElementKind<tSMIL_Media> img_kind{find_visual, &ParserState::visual, SmilAddImg,
                                            "SmilAddImg error"};
constexpr ElementKind<tSMIL_Audio> audio_kind{find_audio, &ParserState::audio, SmilAddAudio,
                                              nullptr};
constexpr ElementKind<tSMIL_Media> video_kind{find_visual, &ParserState::visual, SmilAddVideo,
                                              nullptr};

template <typename Element>
void place_in_region(Element& element, TextView id) {
    if (id.size == 0) return;
    int32_t rect[4];
    find_region_rect(rect, id);
    element.Left = rect[0];
    element.Top = rect[1];
    element.Width = rect[2];
    element.Height = rect[3];
}
void place_in_region(tSMIL_Audio&, TextView) {}

template <typename Element>
bool read_element(Element& element, const ElementKind<Element>& kind, Attributes& attributes) {
    while (const Attributes::Item* a = attributes.next()) {
        switch (a->index) {
            case attr_src:
                // With several each is looked up; the first in the document that names a part is
                // shown.
                if (!kind.find(element, a->value, parser_state.*kind.look_up)) return false;
                break;
            case attr_region:
                place_in_region(element, a->value);
                break;
            case attr_begin:
                element.Begin = time_value(a->value);
                break;
            case attr_end:
                element.End = time_value(a->value);
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

// Puts a copy of the element, which then owns its texts, on the current slide.
template <typename Element>
bool show_element(const Element& element, const ElementKind<Element>& kind) {
    auto* shown = static_cast<Element*>(allocate_unfilled(sizeof(Element)));
    if (shown == nullptr) return false;
    *shown = element;
    if (kind.add(shown) != 0) return true;
    if (kind.add_error != nullptr) log_line("%s", kind.add_error);
    deallocate(shown);
    return false;
}

// False fails the document; an element that has nothing to show is only left out, and never made.
template <typename Element>
bool add_element(const ElementKind<Element>& kind, Attributes& attributes) {
    Element element{};
    const bool read = read_element(element, kind, attributes);
    if (read && is_shown(element) && show_element(element, kind)) return true;
    const bool left_out = read && !is_shown(element);
    clear_element(element);
    return left_out;
}

bool add_text(const Tag& tag, Attributes& attributes) {
    if (!add_element(text_kind, attributes)) return false;
    if (tag.type != opening_tag || SmilParseText() != 0) return true;
    log_line("SmilParseText error");
    return false;
}

bool add_slide_element(const Tag& tag) {
    if (!tag.is(tag_text) && !tag.is(tag_img) && !tag.is(tag_audio) && !tag.is(tag_video))
        return true;
    Attributes attributes(tag);
    if (attributes.empty()) return true;
    switch (tag.index) {
        case tag_text:
            return add_text(tag, attributes);
        case tag_img:
            return add_element(img_kind, attributes);
        case tag_audio:
            return add_element(audio_kind, attributes);
        default:
            return add_element(video_kind, attributes);
    }
}

// A `param` that colours the current slide.
struct ColourParam {
    const char* name;
    int32_t tSMIL_Par::*is_given;
    uint32_t tSMIL_Par::*colour;
};
constexpr ColourParam background{"background-color", &tSMIL_Par::IsBgColor, &tSMIL_Par::bgColor};
constexpr ColourParam foreground{"foreground-color", &tSMIL_Par::IsForeColor,
                                 &tSMIL_Par::foreColor};

// Nothing is done for another name, without a value, or without a slide to take it.
void read_colour(const Tag& tag, const ColourParam& wanted) {
    TextView name;
    TextView value;
    Attributes attributes(tag);
    while (const Attributes::Item* a = attributes.next()) {
        if (a->index == attr_name) name = a->value;
        if (a->index == attr_value) value = a->value;
    }
    tSMIL_Par* par = tSMIL_ViewStruct.CurPar;
    if (par == nullptr || value.data == nullptr || !is_named(name, wanted.name)) return;
    if (&wanted == &background)
        log_line("paramValue:%.*s", static_cast<int>(value.size), value.data);
    par->*wanted.is_given = 1;
    par->*wanted.colour = colour_value(value);
    if (&wanted == &background) log_line("tSMIL_ViewStruct.CurPar->bgColor:%x", par->bgColor);
}

// ---- Body and head ------------------------------------------------------------------------

bool has_media(const tSMIL_Par& par) {
    return par.Text != nullptr || par.Img != nullptr || par.Audio != nullptr ||
           par.Video != nullptr;
}

// Reads the slide that `tag` opens, and those opened inside it. False fails the body.
bool read_slides(const Tag& tag) {
    int32_t duration = 0;
    Attributes attributes(tag);
    while (const Attributes::Item* a = attributes.next())
        if (a->index == attr_dur) duration = time_value(a->value);
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
        tSMIL_Layout layout{};
        parse_layout(layout);
        take_layout(layout);
        layout_taken = true;
    }
    return layout_taken ? 1 : own_body;
}

}  // namespace

void parse_layout(tSMIL_Layout& layout) {
    Tag tag;
    while (next_tag(tag) && !tag.closes(tag_layout)) {
        if (tag.is(tag_region)) read_region(tag, layout);
        if (tag.is(tag_root_layout)) read_root_layout(tag, layout);
    }
}

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
    if (layout != nullptr) parse_layout(*layout);
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
        if (tag.is(tag_param)) read_colour(tag, background);
        if (!add_slide_element(tag)) return par_failed;
    }
    return par_failed;
}

int32_t SmilParseText(void) {
    Tag tag;
    while (next_tag(tag)) {
        if (tag.is(tag_text)) return 1;
        if (tag.is(tag_param)) read_colour(tag, foreground);
    }
    return 0;
}

}  // extern "C"
