// The facts of a message as text for a reader at a terminal: headers, slides, attachments. All
// that the message chose goes through visible(); only the line feeds of a slide's text break
// lines, and those lines are indented deeper than any other.
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <string_view>

#include "render.h"
#include "safe_text.h"

namespace mmskit_tool {
namespace {

constexpr std::string_view gap = "  ";

std::string seconds_text(int64_t milliseconds) {
    std::string text = milliseconds < 0 ? "-" : "";
    const int64_t size = milliseconds < 0 ? -milliseconds : milliseconds;
    text += std::to_string(size / 1000);
    if (size % 1000 == 0) return text;
    std::string fraction = std::to_string(1000 + size % 1000);
    fraction[0] = '.';
    fraction.erase(fraction.find_last_not_of('0') + 1);
    return text + fraction;
}

std::string padded(std::string_view text, std::size_t width) {
    std::string out(text);
    out.resize(std::max(width, out.size()), ' ');
    return out;
}

void append_timing(std::string& out, const Timing& timing) {
    out += gap;
    out += seconds_text(timing.begin) + " to " + seconds_text(timing.end) + " s";
}

void append_place(std::string& out, const Place& place) {
    if (!place.given()) return;
    out += gap;
    out += std::to_string(place.width) + 'x' + std::to_string(place.height) + " at " +
           std::to_string(place.left) + ',' + std::to_string(place.top);
}

void append_part(std::string& out, const char* name, const char* type, std::size_t size) {
    for (const char* text : {name, type}) {
        if (text == nullptr) continue;
        out += gap;
        out += visible(text);
    }
    out += gap;
    out += size_text(size);
}

void append_drm(std::string& out, int32_t drm_class) {
    if (drm_class == 0) return;
    out += gap;
    out += "DRM class " + std::to_string(drm_class);
}

void append_text_block(std::string& out, std::string_view text) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.ends_with('\r')) line.remove_suffix(1);
        if (!line.empty()) out += "    " + visible(line);
        out += '\n';
    }
}

void append_further(std::string& out, std::size_t count, const char* kind) {
    if (count == 0) return;
    out += "  and " + std::to_string(count) + " more " + kind + '\n';
}

void append_colour(std::string& out, const char* what, const std::optional<uint32_t>& colour) {
    if (!colour) return;
    out += gap;
    out += what + (' ' + colour_text(*colour));
}

void append_media(std::string& out, const MediaFact& media) {
    out += gap;
    out += media_kind_name(media.kind);
    append_part(out, media.name, media.type, media.data.size());
    append_timing(out, media.timing);
    append_place(out, media.place);
    append_drm(out, media.drm_class);
    out += '\n';
}

void append_slide(std::string& out, const SlideFact& slide, std::size_t number) {
    out += "\nSlide " + std::to_string(number);
    if (slide.duration != 0) out += "  " + seconds_text(slide.duration) + " s";
    append_colour(out, "background", slide.background);
    append_colour(out, "text", slide.foreground);
    out += '\n';
    if (slide.text) {
        out += "  text";
        append_timing(out, slide.text->timing);
        append_place(out, slide.text->place);
        out += '\n';
        if (slide.text->text != nullptr) append_text_block(out, slide.text->text);
    }
    append_further(out, slide.further_texts.size(), "text");
    for (const MediaKind kind : {MediaKind::image, MediaKind::audio, MediaKind::video}) {
        for (const MediaFact& media : slide.media) {
            if (media.kind == kind) append_media(out, media);
        }
        append_further(out, count_further(slide, kind), media_kind_name(kind));
    }
}

std::string header_value(const HeaderFact& header) {
    if (const Date* date = std::get_if<Date>(&header.value)) return iso_date(*date);
    if (const bool* flag = std::get_if<bool>(&header.value)) return *flag ? "yes" : "no";
    if (const Period* period = std::get_if<Period>(&header.value)) {
        return "in " + std::to_string(period->seconds) + " s";
    }
    if (const ByteCount* count = std::get_if<ByteCount>(&header.value)) {
        return size_text(count->bytes);
    }
    return visible(std::get<std::string>(header.value));
}

}  // namespace

std::string iso_date(Date date) {
    const std::time_t seconds = date.seconds;
    std::tm parts{};
    char buffer[sizeof "2106-02-07T06:28:15Z"] = "";
    if (gmtime_r(&seconds, &parts) != nullptr) {
        (void)std::strftime(buffer, sizeof buffer, "%Y-%m-%dT%H:%M:%SZ", &parts);
    }
    return buffer;
}

std::string size_text(std::size_t size) {
    return std::to_string(size) + (size == 1 ? " byte" : " bytes");
}

std::string colour_text(uint32_t colour) {
    char buffer[sizeof "#rrggbb"];
    (void)std::snprintf(buffer, sizeof buffer, "#%06x", colour & 0xFFFFFFU);
    return buffer;
}

std::size_t count_further(const SlideFact& slide, MediaKind kind) {
    return static_cast<std::size_t>(
        std::count_if(slide.further_media.begin(), slide.further_media.end(),
                      [&](const MediaFact& media) { return media.kind == kind; }));
}

std::string render_text(const MessageFacts& facts) {
    std::string out = std::string(facts.kind) + gap.data() + size_text(facts.size);
    if (facts.screen_width != 0 || facts.screen_height != 0) {
        out += "  screen " + std::to_string(facts.screen_width) + 'x' +
               std::to_string(facts.screen_height);
    }
    append_colour(out, "background", facts.screen_background);
    out += '\n';
    if (!facts.headers.empty()) out += '\n';
    for (const HeaderFact& header : facts.headers) {
        out += padded(header.name, 21) + gap.data() + header_value(header) + '\n';
    }
    for (std::size_t i = 0; i < facts.slides.size(); ++i) {
        append_slide(out, facts.slides[i], i + 1);
    }
    if (!facts.attachments.empty()) out += "\nAttachments\n";
    for (const AttachmentFact& attachment : facts.attachments) {
        append_part(out, attachment.name, attachment.type, attachment.data.size());
        append_drm(out, attachment.drm_class);
        out += '\n';
    }
    return out;
}

}  // namespace mmskit_tool
