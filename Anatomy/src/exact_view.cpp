// The model of the exact reader of slides: its tags, its loops, its values, with their quirks, and
// nothing global. It follows the units of the exact reader step by step, so that what it gives for
// some bytes is what a host would see of them.
#include <algorithm>
#include <array>
#include <unordered_map>

#include "Anatomy/src/exact_message.h"
#include "Anatomy/src/view.h"

namespace mmskit_anatomy {
namespace {

enum class Name {
    smil,
    head,
    body,
    layout,
    meta,
    par,
    region,
    root_layout,
    text,
    img,
    audio,
    ref,
    video,
    param,
    unknown
};
constexpr std::string_view tag_names[] = {"smil",  "head",   "body",        "layout", "meta",
                                          "par",   "region", "root-layout", "text",   "img",
                                          "audio", "ref",    "video",       "param"};

enum class Key {
    left,
    top,
    height,
    width,
    fit,
    id,
    src,
    region,
    alt,
    begin,
    end,
    dur,
    name,
    content,
    value,
    background_color,
    backgroundcolor,
    unknown
};
constexpr std::string_view attribute_names[] = {"left",
                                                "top",
                                                "height",
                                                "width",
                                                "fit",
                                                "id",
                                                "src",
                                                "region",
                                                "alt",
                                                "begin",
                                                "end",
                                                "dur",
                                                "name",
                                                "content",
                                                "value",
                                                "background-color",
                                                "backgroundcolor"};

template <typename Index, std::size_t N>
Index find_name(const std::string_view (&table)[N], std::string_view name) {
    if (name.size() < 2) return Index::unknown;
    const char first = static_cast<char>(name[0] | 0x20);
    for (std::size_t i = 0; i < N; ++i)
        if (name.size() == table[i].size() && (first == table[i][0] || !is_letter(name[0])) &&
            same_for_names(name, table[i]))
            return static_cast<Index>(i);
    return Index::unknown;
}

struct Attribute {
    std::string_view value;
    Key key;
};

enum class Form { opening, closing, empty };

struct Tag {
    Name name = Name::unknown;
    Form form = Form::opening;
    // Those with a known name, in reverse order: assigning lets the first one win.
    std::vector<Attribute> attributes;
    bool bare = true;  // it has no attribute, be it an unknown one

    [[nodiscard]] bool opens(Name n) const { return name == n && form == Form::opening; }
    [[nodiscard]] bool closes(Name n) const { return name == n && form == Form::closing; }
};

// Sets of bytes, a bit for each.
constexpr uint8_t blanks = 1, ends_tag_name = 2, ends_attribute_name = 4;
constexpr auto byte_sets = [] {
    std::array<uint8_t, 256> sets{};
    for (const char c : std::string_view(" \r\n"))
        sets[static_cast<uint8_t>(c)] = blanks | ends_tag_name | ends_attribute_name;
    sets['>'] = ends_tag_name | ends_attribute_name;
    sets['='] = sets['/'] = ends_attribute_name;
    return sets;
}();
std::size_t span_of(std::string_view text, std::size_t at, uint8_t set) {
    const char* const bytes = text.data();
    const std::size_t size = text.size();
    while (at < size && (byte_sets[static_cast<uint8_t>(bytes[at])] & set) != 0)
        ++at;
    return at;
}
std::size_t span_to(std::string_view text, std::size_t at, uint8_t set) {
    const char* const bytes = text.data();
    const std::size_t size = text.size();
    while (at < size && (byte_sets[static_cast<uint8_t>(bytes[at])] & set) == 0)
        ++at;
    return at;
}

class Tags {
  public:
    explicit Tags(std::string_view text)
        // A text with a zero octet inside is refused.
        : text_(text.find('\0') == std::string_view::npos ? text : std::string_view()) {}

    // The next tag with a known name.
    bool next(Tag& tag) {
        for (;;) {
            const std::size_t begin = text_.find('<');
            if (begin == std::string_view::npos) return end();
            const std::size_t last = text_.find('>', begin);
            if (last == std::string_view::npos) return end();
            const std::string_view one = text_.substr(begin, last + 1 - begin);
            text_.remove_prefix(last + 1);
            if (split(one, tag)) return true;
        }
    }

  private:
    bool end() {
        text_ = {};
        return false;
    }

    // `one` ends with its only ">". False for a tag of no known name.
    static bool split(std::string_view one, Tag& tag) {
        if (one[1] == '?' || one[1] == '!') return false;
        const bool closing = one[1] == '/';
        const std::size_t begin = span_of(one, closing ? 2 : 1, blanks);
        std::size_t at = span_to(one, begin, ends_tag_name);
        if (at == one.size() || at == begin) return false;
        tag.name = find_name<Name>(tag_names, one.substr(begin, at - begin));
        if (tag.name == Name::unknown) return false;
        tag.attributes.clear();
        tag.bare = true;
        const bool slash_in_name = one[at - 1] == '/';
        if (!slash_in_name && one[at] != '>') {
            if (read_attributes(one, at, tag) == one.size()) return false;
            at = one.size() - 1;
        }
        tag.form = one[at - 1] == '/' ? Form::empty : closing ? Form::closing : Form::opening;
        std::reverse(tag.attributes.begin(), tag.attributes.end());
        return true;
    }

    static std::size_t read_attributes(std::string_view one, std::size_t at, Tag& tag) {
        for (;;) {
            at = span_of(one, at, blanks);
            if (at == one.size() || one[at] == '=' || one[at] == '/' || one[at] == '>') return at;
            const std::size_t name = at;
            at = name_end(one, at);
            if (at == one.size() || one[at] == '/' || one[at] == '>') return at;
            const std::size_t quote = one.find('"', at);
            if (quote == std::string_view::npos) return at;
            const std::size_t end = one.find('"', quote + 1);  // a ">" is the last byte alone
            if (end == std::string_view::npos) return quote + 1;
            // An empty name cannot be kept, and its tag is taken for the end of memory; it does
            // not occur, as a name has at least one byte here.
            const Key key = find_name<Key>(attribute_names, one.substr(name, at - name));
            if (key != Key::unknown)
                tag.attributes.push_back({one.substr(quote + 1, end - quote - 1), key});
            tag.bare = false;
            at = end + 1;
        }
    }

    static std::size_t name_end(std::string_view one, std::size_t at) {
        for (;;) {
            at = span_to(one, at, ends_attribute_name);
            if (at == one.size() || one[at] != '/' || (at + 1 < one.size() && one[at + 1] == '>'))
                return at;
            ++at;
        }
    }

    std::string_view text_;
};

using Rectangle = std::array<int32_t, 4>;

struct Layout {
    int32_t width = 0, height = 0;
    std::unordered_map<std::string_view, Rectangle> regions;
};

MediaKind kind_of(Name name) {
    switch (name) {
        case Name::img:
            return MediaKind::image;
        case Name::audio:
            return MediaKind::audio;
        case Name::video:
            return MediaKind::video;
        default:
            return MediaKind::text;
    }
}

class ExactReader {
  public:
    ExactReader(std::string_view text, Parts& parts) : tags_(text), parts_(parts) {
        view_.shown.reserve(text.size() / std::string_view("<img src=\"a\">").size());
        view_.slides.reserve(text.size() / std::string_view("<par><img src=\"a\"></par>").size());
    }

    View read() {
        view_.whole = read_document();
        return std::move(view_);
    }

  private:
    enum class ParEnd { closed, failed, nested };

    bool read_document() {
        Tag tag;
        bool seen_smil = false;
        bool body = false;
        while (tags_.next(tag)) {
            if (tag.name == Name::head) read_head(body);
            if (tag.name == Name::body) {
                body = read_body();
                if (!body) return false;
            }
            if (tag.name == Name::smil) {
                if (seen_smil) return true;
                seen_smil = true;
            }
        }
        return body;
    }

    void read_head(bool& body) {
        Tag tag;
        while (tags_.next(tag)) {
            if (tag.name == Name::head) return;
            if (tag.name == Name::body) body = read_body();
            if (tag.name == Name::layout) read_layout();
        }
    }

    void read_layout() {
        Layout layout;
        Tag tag;
        while (tags_.next(tag) && !tag.closes(Name::layout)) {
            if (tag.name == Name::region) read_region(tag, layout);
            if (tag.name == Name::root_layout) read_root(tag, layout);
        }
        view_.width = layout.width;
        view_.height = layout.height;
        regions_ = std::move(layout.regions);
    }

    static void read_region(const Tag& tag, Layout& layout) {
        Rectangle place{};
        std::string_view id;
        bool named = false;
        for (const Attribute& a : tag.attributes) {
            if (a.key == Key::id) {
                id = a.value;
                named = true;
            }
            if (a.key == Key::left) place[0] = exact_number(a.value);
            if (a.key == Key::top) place[1] = exact_number(a.value);
            if (a.key == Key::width) place[2] = exact_number(a.value);
            if (a.key == Key::height) place[3] = exact_number(a.value);
        }
        if (named) layout.regions[id] = place;  // the last of one name is found
    }

    void read_root(const Tag& tag, Layout& layout) {
        for (const Attribute& a : tag.attributes) {
            if (a.key == Key::width) layout.width = exact_number(a.value);
            if (a.key == Key::height) layout.height = exact_number(a.value);
            if (a.key == Key::background_color || a.key == Key::backgroundcolor)
                view_.background = exact_colour(a.value);
        }
    }

    bool read_body() {
        Tag tag;
        while (tags_.next(tag)) {
            if (tag.name == Name::body) return true;
            if (tag.opens(Name::par) && !read_slides(tag)) return false;
        }
        return false;
    }

    bool read_slides(const Tag& tag) {
        int32_t duration = 0;
        for (const Attribute& a : tag.attributes)
            if (a.key == Key::dur) duration = exact_time(a.value);
        ParEnd end = ParEnd::nested;
        while (end == ParEnd::nested) {
            ShownSlide slide;
            slide.duration = duration;
            slide.first = static_cast<uint32_t>(view_.shown.size());
            view_.slides.push_back(slide);
            end = read_par();
        }
        if (end == ParEnd::failed) return false;
        if (view_.slides.back().count == 0) view_.slides.pop_back();
        return true;
    }

    ParEnd read_par() {
        Tag tag;
        while (tags_.next(tag)) {
            if (tag.closes(Name::par)) return ParEnd::closed;
            if (tag.opens(Name::par)) return ParEnd::nested;
            if (tag.name == Name::param)
                read_colour(tag, "background-color", view_.slides.back().background);
            if (!read_element(tag)) return ParEnd::failed;
        }
        return ParEnd::failed;
    }

    static void read_colour(const Tag& tag, std::string_view wanted, Colour& colour) {
        const Attribute* name = nullptr;
        const Attribute* value = nullptr;
        for (const Attribute& a : tag.attributes) {
            if (a.key == Key::name) name = &a;
            if (a.key == Key::value) value = &a;
        }
        if (name != nullptr && value != nullptr && same_for_names(name->value, wanted))
            colour = exact_colour(value->value);
    }

    bool read_element(const Tag& tag) {
        if (tag.bare) return true;
        switch (tag.name) {
            case Name::text:
                return read_media(tag) && (tag.form != Form::opening || read_text());
            case Name::img:
            case Name::audio:
            case Name::video:
                return read_media(tag);
            default:
                return true;
        }
    }

    bool read_text() {
        Tag tag;
        while (tags_.next(tag)) {
            if (tag.name == Name::text) return true;
            if (tag.name == Name::param)
                read_colour(tag, "foreground-color", view_.slides.back().foreground);
        }
        return false;
    }

    bool read_media(const Tag& tag) {
        Shown shown;
        shown.kind = kind_of(tag.name);
        for (const Attribute& a : tag.attributes) {
            if (a.key == Key::src) {
                if (a.value.empty() || parts_.none()) return false;
                const uint32_t part = parts_.take(a.value, shown.kind);
                if (part != no_part) shown.part = part;
            }
            if (a.key == Key::region && !a.value.empty() && shown.kind != MediaKind::audio) {
                const auto found = regions_.find(a.value);
                shown.place = found != regions_.end() ? found->second : Rectangle{};
            }
            if (a.key == Key::begin) shown.begin = exact_time(a.value);
            if (a.key == Key::end) shown.end = exact_time(a.value);
        }
        const bool hidden = shown.part == no_part ||
                            (shown.kind != MediaKind::text && !parts_.can_be_shown(shown.part));
        if (hidden) return true;
        ShownSlide& slide = view_.slides.back();
        shown.end = shown_end(shown.begin, shown.end, slide.duration);
        view_.shown.push_back(shown);
        ++slide.count;
        return true;
    }

    Tags tags_;
    Parts& parts_;
    View view_;
    std::unordered_map<std::string_view, Rectangle> regions_;
};

}  // namespace

int32_t shown_end(int32_t begin, int32_t end, int32_t duration) {
    constexpr int32_t default_shown_time = 5000;
    if (end > begin) return end;
    int32_t sum = 0;
    if (__builtin_add_overflow(begin, duration < 1 ? default_shown_time : duration, &sum))
        return begin < 0 ? INT32_MIN : INT32_MAX;
    return sum;
}

bool same_for_names(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (is_letter(a[i]) && (a[i] | 0x20) != (is_letter(b[i]) ? b[i] | 0x20 : 0)) return false;
    return true;
}

View exact_view(std::string_view presentation, Parts& parts) {
    return ExactReader(presentation, parts).read();
}

}  // namespace mmskit_anatomy
