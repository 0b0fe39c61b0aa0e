// Writes a presentation for the exact reader: double quotes, a blank before "/>", times in ms,
// places in pixels.
#include <algorithm>
#include <string>
#include <unordered_set>

#include "Anatomy/src/smil.h"

namespace mmskit_anatomy {
namespace {

class Writer {
  public:
    Writer(const Presentation& from, const std::vector<std::string_view>& sources)
        : from_(from), sources_(sources) {}

    std::string write() {
        out_ = "<smil>\n";
        write_head();
        out_ += "<body>\n";
        for (const SmilSlide& slide : from_.slides)
            write_slide(slide);
        out_ += "</body>\n</smil>\n";
        return std::move(out_);
    }

  private:
    void text(std::string_view name, std::string_view value) {
        out_ += ' ';
        out_ += name;
        out_ += "=\"";
        out_ += value;
        out_ += '"';
    }
    void number(std::string_view name, int32_t value, std::string_view unit = {}) {
        text(name, std::to_string(value).append(unit));
    }
    void param(std::string_view name, uint32_t colour) {
        out_ += "<param";
        text("name", name);
        text("value", colour_text(colour));
        out_ += " />\n";
    }

    void write_head() {
        const bool has_root = from_.width != 0 || from_.height != 0 || from_.background;
        if (!has_root && from_.regions.empty()) return;
        name_regions();
        out_ += "<head>\n<layout>\n";
        if (has_root) {
            out_ += "<root-layout";
            if (from_.width != 0) number("width", from_.width);
            if (from_.height != 0) number("height", from_.height);
            if (from_.background) text("background-color", colour_text(*from_.background));
            out_ += " />\n";
        }
        for (std::size_t i = 0; i < from_.regions.size(); ++i)
            write_region(from_.regions[i], ids_[i]);
        out_ += "</layout>\n</head>\n";
    }

    // Their own names where these are all fit to be written, else "r0", "r1" ...
    void name_regions() {
        std::unordered_set<std::string_view> seen;
        const bool own = std::all_of(
            from_.regions.begin(), from_.regions.end(), [&seen](const SmilRegion& region) {
                return can_stand_in_value(region.id) && seen.insert(region.id).second;
            });
        for (std::size_t i = 0; i < from_.regions.size(); ++i)
            ids_.push_back(own ? std::string(from_.regions[i].id) : "r" + std::to_string(i));
    }

    void write_region(const SmilRegion& region, std::string_view id) {
        out_ += "<region";
        text("id", id);
        number("left", region.left);
        number("top", region.top);
        number("width", region.width);
        number("height", region.height);
        if (can_stand_in_value(region.fit)) text("fit", region.fit);
        out_ += " />\n";
    }

    void write_slide(const SmilSlide& slide) {
        const auto first = sources_.begin() + slide.first_media, end = first + slide.media;
        if (std::all_of(first, end, [](std::string_view source) { return source.empty(); })) return;
        out_ += "<par";
        number("dur", slide.duration, "ms");
        out_ += ">\n";
        if (slide.background) param("background-color", *slide.background);
        bool coloured = !slide.foreground.has_value();  // the first text has the colour inside
        for (uint32_t i = 0; i < slide.media; ++i) {
            const SmilMedia& media = from_.media[slide.first_media + i];
            if (first[i].empty()) continue;
            begin_media(media, first[i]);
            if (media.kind == MediaKind::text && !coloured) {
                end_coloured(*slide.foreground);
                coloured = true;
            } else {
                out_ += " />\n";
            }
        }
        if (!coloured) {
            out_ += "<text region=\"\"";
            end_coloured(*slide.foreground);
        }
        out_ += "</par>\n";
    }

    void end_coloured(uint32_t colour) {
        out_ += " >\n";
        param("foreground-color", colour);
        out_ += "</text>\n";
    }

    void begin_media(const SmilMedia& media, std::string_view source) {
        constexpr std::string_view starts[] = {"<text src=\"", "<img src=\"", "<audio src=\"",
                                               "<video src=\"", "<ref src=\""};
        out_ += starts[static_cast<std::size_t>(media.kind)];
        out_ += source;
        out_ += '"';
        if (media.region >= 0) text("region", ids_[static_cast<std::size_t>(media.region)]);
        if (media.begin != 0) number("begin", media.begin, "ms");
        if (media.end != 0) number("end", media.end, "ms");
    }

    const Presentation& from_;
    const std::vector<std::string_view>& sources_;
    std::vector<std::string> ids_;
    std::string out_;
};

}  // namespace

bool can_stand_in_value(std::string_view text) {
    if (text.empty() || stripped(text).size() != text.size()) return false;
    return std::none_of(text.begin(), text.end(), [](char c) {
        return c == '"' || c == '<' || c == '>' || c == '&' || static_cast<unsigned char>(c) < ' ';
    });
}

std::string write_presentation(const Presentation& presentation,
                               const std::vector<std::string_view>& sources) {
    return Writer(presentation, sources).write();
}

}  // namespace mmskit_anatomy
