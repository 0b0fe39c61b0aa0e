// The index of a folder of messages: one row each. Rows that are not in view cost a browser nothing
// (content-visibility), their pictures are loaded when they come into view.
#include <algorithm>

#include "ground/safe_text.h"
#include "reading/page.h"
#include "reading/page_parts.h"
#include "reading/page_text.h"
#include "reading/render.h"

namespace mmskit_tool {
namespace {

constexpr std::size_t longest_excerpt = 90;  // bytes of a text that stands for a picture
constexpr std::size_t longest_line = 300;    // bytes of a subject or an address list

// Cut between characters.
std::string excerpt(std::string_view text, std::size_t most) {
    if (text.size() <= most) return std::string(text);
    return std::string(text.substr(0, whole_characters(text, most))) + "…";
}

std::string data(const char* name, const std::string& value) {
    return value.empty() ? "" : std::string(" data-") + name + "=\"" + html_line(value) + '"';
}

// A file name in a link: everything but unreserved characters is percent-encoded.
std::string link(const std::string& name) {
    constexpr std::string_view hex = "0123456789ABCDEF";
    std::string out;
    for (const char c : name) {
        const auto byte = static_cast<uint8_t>(c);
        const bool plain = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') ||
                           (c >= 'a' && c <= 'z') ||
                           std::string_view("-._~/").find(c) != std::string_view::npos;
        if (plain) {
            out += c;
        } else {
            out += {'%', hex[byte >> 4U], hex[byte & 15U]};
        }
    }
    return out;
}

std::string heading(const IndexRow& row) {
    if (!row.error.empty()) return row.file;
    return row.subject.empty() ? row.kind : row.subject;
}

std::string thumb(const IndexRow& row) {
    std::string out = "<span class=\"thumb\" aria-hidden=\"true\"" +
                      data("background", row.background) + data("colour", row.colour) + '>';
    const bool picture = !row.thumb.empty();
    if (picture) {
        out += "<img loading=\"lazy\" decoding=\"async\" alt=\"\" src=\"" + link(row.thumb) + "\">";
    }
    const std::string hidden = picture ? " hidden" : "";
    if (row.text.empty()) {
        out += "<span class=\"sort\"" + hidden + ">" + html_line(row.kind) + "</span>";
    } else {
        out += "<span dir=\"auto\"" + hidden + ">" + html_text(row.text) + "</span>";
    }
    return out + "</span>";
}

}  // namespace

IndexRow index_row(const MessageFacts& facts) {
    IndexRow row;
    row.kind = kind_name(facts);
    row.subject = excerpt(header_text(facts, "Subject"), longest_line);
    row.from = excerpt(header_text(facts, "From"), longest_line);
    row.to = excerpt(header_text(facts, "To"), longest_line);
    row.date = header_text(facts, "Date");
    row.lost = anything_lost(facts);
    if (facts.slides.empty()) return row;
    const SlideFact& slide = facts.slides.front();
    if (slide.background) row.background = colour_text(*slide.background);
    if (slide.foreground) row.colour = colour_text(*slide.foreground);
    if (slide.text && slide.text->text != nullptr) {
        row.text = excerpt(slide.text->text, longest_excerpt);
    }
    return row;
}

std::span<const uint8_t> thumbnail(const MessageFacts& facts) {
    const auto shown = [](const auto& part) {
        return part.drm_class == 0 && picture_type(part.data) != nullptr;
    };
    for (const SlideFact& slide : facts.slides) {
        const auto found = std::find_if(slide.media.begin(), slide.media.end(), shown);
        if (found != slide.media.end()) return found->data;
    }
    const auto found = std::find_if(facts.attachments.begin(), facts.attachments.end(), shown);
    return found != facts.attachments.end() ? found->data : std::span<const uint8_t>();
}

std::string render_index_row(const IndexRow& row) {
    std::string out = "<li class=\"row\"" + data("date", row.date) + data("from", row.from) +
                      data("subject", row.subject) + data("file", row.file) + '>';
    const bool whole = row.error.empty();
    out += whole ? "<a href=\"" + link(row.page) + "\">" : "<div>";
    out += thumb(row) + "<span><strong dir=\"auto\">" + html_line(heading(row)) + "</strong>";
    if (whole) {
        out += "<span class=\"from\">" +
               html_line(row.from.empty() ? row.to.empty() ? row.kind : "to " + row.to : row.from) +
               "</span><small>" + html_line(row.file) +
               (row.lost ? " <span class=\"why\">not all of it is here</span>" : "") + "</small>";
    } else {
        out += "<small class=\"why\">" + html_line(row.error) + "</small>";
    }
    out += "</span><time>" + html_line(row.date) + "</time>";
    return out + (whole ? "</a></li>\n" : "</div></li>\n");
}

std::string render_index(std::string_view folder, std::size_t count, const std::string& rows) {
    return filled(index_html, {{"policy", page_policy(index_js, "data: 'self' file:")},
                               {"title", "Messages in " + html_line(folder)},
                               {"style", std::string(player_css)},
                               {"count", std::to_string(count) + " files"},
                               {"rows", rows},
                               {"script", std::string(index_js)}});
}

}  // namespace mmskit_tool
