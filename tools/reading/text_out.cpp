// The facts of a message as text for a reader at a terminal: headers, slides, attachments. All
// that the message chose goes through visible(); only the line feeds of a slide's text break
// lines, and those lines are indented deeper than any other.
#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <string_view>
#include <utility>

#include "ground/file_io.h"
#include "ground/safe_text.h"
#include "reading/render.h"

namespace mmskit_tool {
namespace {

constexpr std::string_view gap = "  ";
constexpr std::size_t no_limit = static_cast<std::size_t>(-1);

void append_number(std::string& out, int64_t number) {
    std::array<char, 24> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    out.append(digits.data(), end);
}

// Thousandths are shown as far as they are not 0.
void append_seconds(std::string& out, int64_t milliseconds) {
    if (milliseconds < 0) out += '-';
    const int64_t size = milliseconds < 0 ? -milliseconds : milliseconds;
    append_number(out, size / 1000);
    if (size % 1000 == 0) return;
    const std::size_t point = out.size();
    append_number(out, 1000 + size % 1000);
    out[point] = '.';
    out.erase(out.find_last_not_of('0') + 1);
}

std::string padded(std::string_view text, std::size_t width) {
    std::string out(text);
    out.resize(std::max(width, out.size()), ' ');
    return out;
}

void append_timing(std::string& out, const Timing& timing) {
    out += gap;
    append_seconds(out, timing.begin);
    out += " to ";
    append_seconds(out, timing.end);
    out += " s";
}

void append_place(std::string& out, const Place& place) {
    if (!place.given()) return;
    out += gap;
    append_number(out, place.width);
    out += 'x';
    append_number(out, place.height);
    out += " at ";
    append_number(out, place.left);
    out += ',';
    append_number(out, place.top);
}

template <typename Part>
void append_part(std::string& out, const Part& part, const MessageFacts& facts) {
    for (const char* text : {part.name, part.type}) {
        if (text == nullptr) continue;
        out += gap;
        out += visible(text);
    }
    out += gap;
    out += size_text(part.data.size(),
                     part.part < facts.parts.size() ? facts.parts[part.part].missing : 0);
}

void append_drm(std::string& out, int32_t drm_class) {
    if (drm_class == 0) return;
    out += gap;
    out += "DRM class " + std::to_string(drm_class);
}

// Without its end; a line feed at the end of the text begins no line.
std::string_view take_line(std::string_view& text) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
}

// Long ones end after some lines, with their size.
void print_text_block(std::string& out, std::string_view text, std::size_t limit) {
    const std::size_t size = text.size();
    std::string beginning;
    if (size > limit) {
        beginning = text.substr(0, limit);
        cut_at_character(beginning, limit - 1);
        text = beginning;
    }
    while (!text.empty()) {
        const std::string_view line = take_line(text);
        if (!line.empty()) out.append(4, ' ') += visible_prose(line);
        out += '\n';
        write_grown_output(out);
    }
    if (size > limit)
        out += "    ... " + std::to_string(beginning.size()) + " of " + size_text(size) + '\n';
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

void append_media(std::string& out, const MediaFact& media, const MessageFacts& facts) {
    out += gap;
    out += media_kind_name(media.kind);
    append_part(out, media, facts);
    append_timing(out, media.timing);
    append_place(out, media.place);
    append_drm(out, media.drm_class);
    out += '\n';
}

void print_slide(std::string& out, const MessageFacts& facts, std::size_t number) {
    const SlideFact& slide = facts.slides[number - 1];
    out += "\nSlide ";
    append_number(out, static_cast<int64_t>(number));
    if (slide.duration != 0) {
        out += gap;
        append_seconds(out, slide.duration);
        out += " s";
    }
    append_colour(out, "background", slide.background);
    append_colour(out, "text", slide.foreground);
    out += '\n';
    if (slide.text) {
        out += "  text";
        append_timing(out, slide.text->timing);
        append_place(out, slide.text->place);
        out += '\n';
        if (slide.text->text != nullptr) print_text_block(out, slide.text->text, no_limit);
    }
    append_further(out, slide.further_texts.size(), "text");
    for (const TextFact& text : slide.further_texts) {
        if (text.text != nullptr) print_text_block(out, text.text, no_limit);
    }
    for (const MediaKind kind : {MediaKind::image, MediaKind::audio, MediaKind::video}) {
        for (const MediaFact& media : slide.media) {
            if (media.kind == kind) append_media(out, media, facts);
        }
        append_further(out, count_further(slide, kind), media_kind_name(kind));
        write_grown_output(out);
    }
}

// "3 days", "1 hour 30 minutes"
std::string period_text(int64_t seconds) {
    constexpr std::pair<int64_t, const char*> units[] = {
        {86'400, "day"}, {3'600, "hour"}, {60, "minute"}, {1, "second"}};
    std::string text;
    for (const auto& [size, name] : units) {
        const int64_t count = seconds / size;
        seconds %= size;
        if (count == 0) continue;
        text += (text.empty() ? "" : " ") + std::to_string(count) + ' ' + name;
        if (count != 1) text += 's';
    }
    return text.empty() ? "0 seconds" : text;
}

void print_headers(std::string& out, const MessageFacts& facts) {
    if (!facts.headers.empty()) out += '\n';
    for (const HeaderFact& header : facts.headers) {
        if (header.json_key == "message_type") continue;  // the first line has it
        out += padded(visible(header_label(header)), 21) + gap.data() + value_line(header) + '\n';
        write_grown_output(out);
    }
}

void print_attachments(std::string& out, const MessageFacts& facts) {
    constexpr std::size_t most_text = 2000;
    if (!facts.attachments.empty()) out += "\nAttachments\n";
    for (const AttachmentFact& attachment : facts.attachments) {
        append_part(out, attachment, facts);
        append_drm(out, attachment.drm_class);
        out += '\n';
        write_grown_output(out);
        if (attachment.text) print_text_block(out, text_of(attachment.data), most_text);
    }
}

void print_notes(std::string& out, const MessageFacts& facts) {
    if (!facts.notes.empty()) out += "\nNotes\n";
    for (const NoteFact& note : facts.notes) {
        out += gap;
        out += padded(note_kind_name(note.kind), 8) + "  byte " + std::to_string(note.byte);
        if (note.layer != 0 && note.layer < facts.layers.size())
            out += " of layer " + std::to_string(note.layer) + " (" +
                   visible(facts.layers[note.layer].name) + ')';
        out += gap;
        out += visible(note.text) + '\n';
        write_grown_output(out);
    }
}

}  // namespace

void print_presentation(const MessageFacts& facts) {
    std::string out;
    bool found = false;
    for (const PartFact& part : facts.parts) {
        if (!part.laid_out) continue;
        for (std::string_view text = text_of(part.data); !text.empty();) {
            out += visible(take_line(text)) + '\n';
            found = true;
            write_grown_output(out);
        }
    }
    if (!found) throw Failure("the message has no presentation");
    write_output(out);
}

std::string header_label(const HeaderFact& header) {
    return header.name.empty() ? "Header " + hex_code(header.code) : header.name;
}

std::string value_line(const HeaderFact& header) {
    if (const Date* date = std::get_if<Date>(&header.value)) return iso_date(*date);
    if (const bool* flag = std::get_if<bool>(&header.value)) return *flag ? "yes" : "no";
    if (const Period* period = std::get_if<Period>(&header.value))
        return "in " + period_text(period->seconds);
    if (const ByteCount* count = std::get_if<ByteCount>(&header.value))
        return size_text(static_cast<std::size_t>(count->bytes));
    if (const int64_t* number = std::get_if<int64_t>(&header.value)) return std::to_string(*number);
    return visible(std::get<std::string>(header.value));
}

std::string iso_date(Date date) {
    constexpr int64_t last_of_four_digits = 253'402'300'799;
    // Not by time_t, which ends in 2038 where it has 32 bits.
    const int64_t seconds = std::clamp<int64_t>(date.seconds, 0, last_of_four_digits);
    const auto clock = static_cast<int>(seconds % 86400);
    const std::chrono::year_month_day day{
        std::chrono::sys_days(std::chrono::days(static_cast<int>(seconds / 86400)))};
    char buffer[64] = "";
    (void)std::snprintf(buffer, sizeof buffer, "%04d-%02u-%02uT%02d:%02d:%02dZ", int{day.year()},
                        unsigned{day.month()}, unsigned{day.day()}, clock / 3600, clock / 60 % 60,
                        clock % 60);
    return buffer;
}

std::string size_text(std::size_t size, std::size_t missing) {
    if (missing == 0) return size_text(size);
    return std::to_string(size) + " of " + size_text(size + missing);
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

void print_text(const MessageFacts& facts) {
    std::string out = std::string(facts.kind) + gap.data() + size_text(facts.size);
    if (facts.screen_width != 0 || facts.screen_height != 0) {
        out += "  screen " + std::to_string(facts.screen_width) + 'x' +
               std::to_string(facts.screen_height);
    }
    append_colour(out, "background", facts.screen_background);
    out += '\n';
    print_headers(out, facts);
    for (std::size_t i = 0; i < facts.slides.size(); ++i)
        print_slide(out, facts, i + 1);
    print_attachments(out, facts);
    print_notes(out, facts);
    write_output(out);
}

}  // namespace mmskit_tool
