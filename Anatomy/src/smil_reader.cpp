// The tolerant reader: tags to slides. What stands around slides (seq, switch, a, excl) is seen
// through; a slide that is not closed ends where the next one begins; media outside of any slide
// are slides of their own, as the body is a sequence.
#include <algorithm>
#include <array>
#include <iterator>
#include <unordered_map>

#include "Anatomy/src/letters.h"
#include "Anatomy/src/smil.h"
#include "Anatomy/src/smil_scanner.h"

namespace mmskit_anatomy {
namespace {

constexpr std::size_t deepest_par = 64;  // pars in pars that are told apart

enum class Element { none, par, body, text, media, param, region, root_layout };

struct ElementRow {
    std::string_view name;
    Element element;
    MediaKind kind = MediaKind::by_type;
};
constexpr ElementRow element_rows[] = {
    {"par", Element::par},
    {"body", Element::body},
    {"smil", Element::body},
    {"text", Element::text, MediaKind::text},
    {"textstream", Element::text, MediaKind::text},
    {"img", Element::media, MediaKind::image},
    {"image", Element::media, MediaKind::image},
    {"animation", Element::media, MediaKind::image},
    {"audio", Element::media, MediaKind::audio},
    {"video", Element::media, MediaKind::video},
    {"ref", Element::media, MediaKind::by_type},
    {"param", Element::param},
    {"region", Element::region},
    {"root-layout", Element::root_layout},
    {"rootlayout", Element::root_layout},
    {"toplayout", Element::root_layout},
};

const ElementRow* row_of(std::string_view name) {
    constexpr std::size_t shortest = 3;
    if (name.size() < shortest) return nullptr;
    for (const ElementRow& row : element_rows)
        if (name.size() == row.name.size() && same_word(name, row.name)) return &row;
    return nullptr;
}

enum class Attr : uint8_t {
    src,
    begin,
    end,
    dur,
    region,
    name,
    value,
    id,
    regionname,
    fit,
    left,
    top,
    width,
    height,
    background_colour,
    backgroundcolour,
    none
};
constexpr std::string_view attr_names[] = {"src",
                                           "begin",
                                           "end",
                                           "dur",
                                           "region",
                                           "name",
                                           "value",
                                           "id",
                                           "regionname",
                                           "fit",
                                           "left",
                                           "top",
                                           "width",
                                           "height",
                                           "background-color",
                                           "backgroundcolor"};

Attr attr_of(std::string_view name) {
    for (std::size_t i = 0; i < std::size(attr_names); ++i)
        if (name.size() == attr_names[i].size() && same_word(name, attr_names[i]))
            return static_cast<Attr>(i);
    return Attr::none;
}

// The attributes of a tag: of one name the first.
class Values {
  public:
    explicit Values(const SmilTag& tag) {
        for (const SmilAttribute& attribute : tag.attributes) {
            const Attr key = attr_of(attribute.name);
            std::string_view& value = values_[static_cast<std::size_t>(key)];
            if (key != Attr::none && value.data() == nullptr) value = stripped(attribute.value);
        }
    }
    // Nothing where it is not there or says nothing.
    std::string_view operator[](Attr key) const { return values_[static_cast<std::size_t>(key)]; }
    [[nodiscard]] bool has(Attr key) const { return (*this)[key].data() != nullptr; }

  private:
    std::array<std::string_view, std::size(attr_names) + 1> values_;
};

class SmilReader {
  public:
    explicit SmilReader(std::string_view text) : scanner_(text, out_.undone) {
        // What is not touched costs nothing, what is moved again and again does.
        out_.media.reserve(text.size() / std::string_view("<img src=a>").size());
    }

    Presentation read() {
        for (SmilTag tag; scanner_.next(tag);)
            if (const ElementRow* row = row_of(tag.name)) read_tag(*row, tag);
        end_slide();
        lay_out();
        return std::move(out_);
    }

  private:
    struct Par {
        int32_t duration = 0;
        bool timed = false;  // the duration was given
    };
    // A region whose geometry waits for the size of the root layout.
    struct RegionText {
        std::string_view left, top, width, height;
    };

    void read_tag(const ElementRow& row, const SmilTag& tag) {
        switch (row.element) {
            case Element::par:
                if (tag.opens) open_par(tag);
                if (tag.closes) close_par();
                break;
            case Element::body:
                if (tag.closes) end_slide();
                break;
            case Element::text:
            case Element::media:
                if (tag.opens) read_media(row.kind, tag);
                in_text_ = row.element == Element::text && tag.opens && !tag.closes;
                break;
            case Element::param:
                if (tag.opens) read_param(tag);
                break;
            case Element::region:
                if (tag.opens) read_region(tag);
                break;
            case Element::root_layout:
                if (tag.opens) read_root(tag);
                break;
            case Element::none:
                break;
        }
    }

    // ---- Slides -------------------------------------------------------------------------------

    void open_par(const SmilTag& tag) {
        end_slide();
        Par par = pars_.empty() ? Par{} : pars_.back();
        const Values values(tag);
        const std::string_view duration = values[Attr::dur], end = values[Attr::end];
        if (!duration.empty()) {
            par = {clock_value(duration), true};
        } else if (!end.empty()) {
            par = {clock_value(end) - std::max(0, clock_value(values[Attr::begin])), true};
        }
        if (pars_.size() < deepest_par) {
            pars_.push_back(par);
        } else {
            ++deeper_;
        }
        begin_slide(par);
    }

    void close_par() {
        end_slide();
        if (deeper_ > 0) {
            --deeper_;
        } else if (!pars_.empty()) {
            pars_.pop_back();
        }
    }

    void begin_slide(const Par& par) {
        slide_ = {};
        slide_.duration = par.duration;
        slide_.first_media = static_cast<uint32_t>(out_.media.size());
        slide_open_ = true;
        slide_timed_ = par.timed;
    }

    // Without a duration of its own a slide lasts as long as what says how long it lasts.
    void end_slide() {
        in_text_ = false;
        if (!slide_open_) return;
        slide_open_ = false;
        slide_.media = static_cast<uint32_t>(out_.media.size()) - slide_.first_media;
        if (slide_.media == 0) return;
        if (!slide_timed_)
            for (uint32_t i = slide_.first_media; i < out_.media.size(); ++i)
                slide_.duration = std::max(slide_.duration, out_.media[i].end);
        out_.slides.push_back(slide_);
    }

    void read_media(MediaKind kind, const SmilTag& tag) {
        if (pars_.empty()) end_slide();
        if (!slide_open_) begin_slide(pars_.empty() ? Par{} : pars_.back());
        SmilMedia media;
        media.kind = kind;
        media.first_more = static_cast<uint32_t>(out_.more_sources.size());
        for (const SmilAttribute& attribute : tag.attributes) {
            if (!same_word(attribute.name, "src")) continue;
            const std::string_view source = stripped(attribute.value);
            if (media.source.empty())
                media.source = source;
            else if (!source.empty())
                out_.more_sources.push_back(source);
        }
        if (media.source.empty()) return;
        media.more = static_cast<uint32_t>(out_.more_sources.size()) - media.first_more;
        if (tag.attributes.size() > 1U + media.more) {
            const Values values(tag);
            read_times(media, values);
            media.region = region_number(values[Attr::region]);
        }
        out_.media.push_back(media);
    }

    static void read_times(SmilMedia& media, const Values& values) {
        media.begin = clock_value(values[Attr::begin]);
        media.end = clock_value(values[Attr::end]);
        const int32_t duration = clock_value(values[Attr::dur]);
        if (values[Attr::end].empty() && duration > 0)
            __builtin_add_overflow(media.begin, duration, &media.end);
        if (media.end <= media.begin) media.end = 0;
    }

    // Colours of the slide and, inside a text, of its letters.
    void read_param(const SmilTag& tag) {
        const Values values(tag);
        const std::string_view name = values[Attr::name];
        if (!values.has(Attr::value) || !slide_open_) return;
        const bool background =
            same_word(name, "background-color") || same_word(name, "backgroundcolor");
        const bool foreground =
            same_word(name, "foreground-color") || same_word(name, "foregroundcolor");
        const Colour colour = colour_value(values[Attr::value]);
        if (!colour) return;
        if (background && !in_text_) slide_.background = colour;
        if (foreground && in_text_) slide_.foreground = colour;
    }

    // ---- Layout -------------------------------------------------------------------------------

    void read_root(const SmilTag& tag) {
        const Values values(tag);
        if (!values[Attr::width].empty()) out_.width = exact_number(values[Attr::width]);
        if (!values[Attr::height].empty()) out_.height = exact_number(values[Attr::height]);
        for (const Attr key : {Attr::background_colour, Attr::backgroundcolour})
            if (const Colour colour = colour_value(values[key])) out_.background = colour;
    }

    void read_region(const SmilTag& tag) {
        const Values values(tag);
        SmilRegion region;
        region.id = values[values[Attr::id].empty() ? Attr::regionname : Attr::id];
        region.fit = values[Attr::fit];
        out_.regions.push_back(region);
        region_texts_.push_back(
            {values[Attr::left], values[Attr::top], values[Attr::width], values[Attr::height]});
    }

    // Regions are looked up when all are known; until then a media's region is the number of its
    // name.
    int32_t region_number(std::string_view name) {
        if (name.empty()) return -1;
        if (name == last_wanted_) return last_number_;  // one that follows itself
        last_wanted_ = name;
        last_number_ =
            wanted_.try_emplace(name, static_cast<int32_t>(wanted_.size())).first->second;
        return last_number_;
    }

    void lay_out() {
        // Only of names that a medium has, in letters of one case.
        std::unordered_map<std::string, int32_t> by_folded_id;
        for (const auto& [name, number] : wanted_)
            by_folded_id.try_emplace(lower_case(name), -1);
        std::vector<int32_t> found(wanted_.size(), -1);
        for (std::size_t i = 0; i < out_.regions.size(); ++i) {
            SmilRegion& region = out_.regions[i];
            const RegionText& text = region_texts_[i];
            region.left = length_value(text.left, out_.width);
            region.top = length_value(text.top, out_.height);
            region.width = length_value(text.width, out_.width);
            region.height = length_value(text.height, out_.height);
            // The last of one name holds.
            if (const auto exact = wanted_.find(region.id); exact != wanted_.end())
                found[static_cast<std::size_t>(exact->second)] = static_cast<int32_t>(i);
            if (wanted_.empty()) continue;
            const auto loose = by_folded_id.find(lower_case(region.id));
            if (loose != by_folded_id.end()) loose->second = static_cast<int32_t>(i);
        }
        for (const auto& [name, number] : wanted_) {
            int32_t& region = found[static_cast<std::size_t>(number)];
            if (region < 0) region = by_folded_id[lower_case(name)];
        }
        for (SmilMedia& media : out_.media)
            if (media.region >= 0) media.region = found[static_cast<std::size_t>(media.region)];
    }

    SmilScanner scanner_;
    Presentation out_;
    std::vector<RegionText> region_texts_;
    std::unordered_map<std::string_view, int32_t> wanted_;  // names of regions, numbered
    std::string_view last_wanted_;
    int32_t last_number_ = -1;
    std::vector<Par> pars_;
    std::size_t deeper_ = 0;
    SmilSlide slide_;
    bool slide_open_ = false;
    bool slide_timed_ = false;
    bool in_text_ = false;
};

}  // namespace

Presentation read_presentation(std::string_view utf8) {
    return SmilReader(utf8).read();
}

}  // namespace mmskit_anatomy
