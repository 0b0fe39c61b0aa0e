// The tolerant reader: tags to slides. What stands around slides (seq, switch, a, excl) is seen
// through; a slide that is not closed ends where the next one begins; media outside of any slide
// are slides of their own, as the body is a sequence.
#include <algorithm>
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
    for (const ElementRow& row : element_rows)
        if (name.size() == row.name.size() && same_word(name, row.name)) return &row;
    return nullptr;
}

// An attribute's value, or nothing where it is not there or says nothing.
std::string_view value_in(const SmilTag& tag, std::string_view name) {
    const std::string* value = tag.value_of(name);
    return value != nullptr ? stripped(*value) : std::string_view();
}

class SmilReader {
  public:
    explicit SmilReader(std::string_view text) : scanner_(text) {}

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
        std::string left, top, width, height;
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
        const std::string_view duration = value_in(tag, "dur"), end = value_in(tag, "end");
        if (!duration.empty()) {
            par = {clock_value(duration), true};
        } else if (!end.empty()) {
            par = {clock_value(end) - std::max(0, clock_value(value_in(tag, "begin"))), true};
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
        bool any = false;
        for (const SmilAttribute& attribute : tag.attributes) {
            if (!same_word(attribute.name, "src")) continue;
            const std::string_view source = stripped(attribute.value);
            if (source.empty()) continue;
            if (any) {
                media.more_sources.emplace_back(source);
            } else {
                media.source = source;
            }
            any = true;
        }
        if (!any) return;
        read_times(media, tag);
        media.region = region_number(value_in(tag, "region"));
        out_.media.push_back(std::move(media));
    }

    static void read_times(SmilMedia& media, const SmilTag& tag) {
        media.begin = clock_value(value_in(tag, "begin"));
        media.end = clock_value(value_in(tag, "end"));
        const int32_t duration = clock_value(value_in(tag, "dur"));
        if (value_in(tag, "end").empty() && duration > 0)
            __builtin_add_overflow(media.begin, duration, &media.end);
        if (media.end <= media.begin) media.end = 0;
    }

    // Colours of the slide and, inside a text, of its letters.
    void read_param(const SmilTag& tag) {
        const std::string_view name = value_in(tag, "name");
        const std::string* value = tag.value_of("value");
        if (value == nullptr || !slide_open_) return;
        const bool background =
            same_word(name, "background-color") || same_word(name, "backgroundcolor");
        const bool foreground =
            same_word(name, "foreground-color") || same_word(name, "foregroundcolor");
        const Colour colour = colour_value(*value);
        if (!colour) return;
        if (background && !in_text_) slide_.background = colour;
        if (foreground && in_text_) slide_.foreground = colour;
    }

    // ---- Layout -------------------------------------------------------------------------------

    void read_root(const SmilTag& tag) {
        if (const auto width = value_in(tag, "width"); !width.empty())
            out_.width = exact_number(width);
        if (const auto height = value_in(tag, "height"); !height.empty())
            out_.height = exact_number(height);
        for (const std::string_view name : {"background-color", "backgroundcolor"})
            if (const std::string* value = tag.value_of(name))
                if (const Colour colour = colour_value(*value)) out_.background = colour;
    }

    void read_region(const SmilTag& tag) {
        std::string_view id = value_in(tag, "id");
        if (id.empty()) id = value_in(tag, "regionname");
        SmilRegion region;
        region.id = id;
        region.fit = value_in(tag, "fit");
        out_.regions.push_back(std::move(region));
        region_texts_.push_back(
            {std::string(value_in(tag, "left")), std::string(value_in(tag, "top")),
             std::string(value_in(tag, "width")), std::string(value_in(tag, "height"))});
    }

    // Regions are looked up when all are known; until then a media's region is the number of its
    // name.
    int32_t region_number(std::string_view name) {
        if (name.empty()) return -1;
        const auto [at, added] =
            wanted_.try_emplace(std::string(name), static_cast<int32_t>(wanted_.size()));
        (void)added;
        return at->second;
    }

    void lay_out() {
        std::unordered_map<std::string_view, int32_t> by_id;
        std::unordered_map<std::string, int32_t> by_folded_id;
        for (std::size_t i = 0; i < out_.regions.size(); ++i) {
            SmilRegion& region = out_.regions[i];
            const RegionText& text = region_texts_[i];
            region.left = length_value(text.left, out_.width);
            region.top = length_value(text.top, out_.height);
            region.width = length_value(text.width, out_.width);
            region.height = length_value(text.height, out_.height);
            by_id[region.id] = static_cast<int32_t>(i);  // the last of one name holds
            by_folded_id[lower_case(region.id)] = static_cast<int32_t>(i);
        }
        std::vector<int32_t> found(wanted_.size(), -1);
        for (const auto& [name, number] : wanted_) {
            const auto exact = by_id.find(name);
            const auto loose = by_folded_id.find(lower_case(name));
            if (loose == by_folded_id.end()) continue;
            found[static_cast<std::size_t>(number)] =
                exact != by_id.end() ? exact->second : loose->second;
        }
        for (SmilMedia& media : out_.media)
            if (media.region >= 0) media.region = found[static_cast<std::size_t>(media.region)];
    }

    SmilScanner scanner_;
    Presentation out_;
    std::vector<RegionText> region_texts_;
    std::unordered_map<std::string, int32_t> wanted_;  // names of regions, numbered
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
