// The page is plain HTML that reads well without its script: slides one below the other, each with
// its media. Times, places and colours are data- attributes, which the script turns into a player;
// style attributes the policy would refuse. All that the message chose goes through html_text() or
// html_line(), its bytes only ever through base64.
#include "reading/page.h"

#include <mmskit/presentation.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>

#include "ground/file_io.h"
#include "ground/safe_text.h"
#include "reading/page_parts.h"
#include "reading/page_text.h"
#include "reading/render.h"

namespace mmskit_tool {
namespace {

std::string attribute(const char* name, const std::string& value) {
    return std::string(" ") + name + "=\"" + value + '"';
}

std::string attribute(const char* name, int64_t value) {
    return attribute(name, std::to_string(value));
}

std::string element(const char* tag, const std::string& content) {
    return std::string("<") + tag + '>' + content + "</" + tag + '>';
}

// A page repeats names and types; of what no sender would write the beginning is enough.
std::string short_line(std::string_view text) {
    constexpr std::size_t longest = 255;  // bytes
    if (text.size() <= longest) return html_line(text);
    return html_line(text.substr(0, whole_characters(text, longest))) + "…";
}

std::string display_name(const char* name, const char* type) {
    if (name != nullptr && *name != '\0') return short_line(name);
    return type != nullptr ? short_line(type) : "without a name";
}

// The name under which a part is saved. HTML and SVG keep theirs: the page never opens them.
std::string save_name(const char* name, const char* type, std::size_t number) {
    std::string safe = safe_file_name(name != nullptr ? name : "");
    if (!safe.empty()) return html_line(safe);
    std::array<char, 50> made{};  // the size that the library asks for
    if (fnPAR_CreatMediaObjName(made.data(), type, static_cast<int32_t>(number)) == 0) {
        return "part";
    }
    safe = safe_file_name(made.data());
    return safe.empty() ? "part" : html_line(safe);
}

constexpr std::size_t longest_text = 4000;  // bytes of a text attachment that is shown
// Slides, further elements and attachments, of each so many: far more than a person looks at, and
// each is some hundred bytes of the page however short it is in the message.
constexpr std::size_t most_shown = 2000;

std::string left_out(const char* tag, std::size_t count, const char* what) {
    if (count <= most_shown) return "";
    return element(tag, "And " + std::to_string(count - most_shown) + " more " + what +
                            ", which are too many for a page.") +
           '\n';
}

// Writes one page, in pieces. Ids count up: t and m are texts and media, each with its line l.
class PageWriter {
  public:
    PageWriter(const MessageFacts& facts, OutputFile& file) : facts_(facts), file_(file) {
        for (const RegionFact& region : facts.regions) {
            if (region.fit != nullptr) fits_.try_emplace(key(region.place), region.fit);
        }
    }

    void write() {
        fill(
            player_html, [&](std::string_view text) { out_ += text; },
            [&](std::string_view name) { put(name); });
        file_.write(out_);
    }

  private:
    void put(std::string_view name) {
        using Put = void (*)(PageWriter&);
        static constexpr std::pair<std::string_view, Put> fields[] = {
            {"policy", [](PageWriter& it) { it.out_ += page_policy(player_js, "data:"); }},
            {"title", [](PageWriter& it) { it.out_ += html_line(it.title()); }},
            {"style", [](PageWriter& it) { it.out_ += player_css; }},
            {"shape", [](PageWriter& it) { it.out_ += it.shape(); }},
            {"who", [](PageWriter& it) { it.out_ += it.who(); }},
            {"screen", [](PageWriter& it) { it.out_ += it.screen(); }},
            {"slides", [](PageWriter& it) { it.put_slides(); }},
            {"notes", [](PageWriter& it) { it.put_notes(); }},
            {"further", [](PageWriter& it) { it.put_further(); }},
            {"attachments", [](PageWriter& it) { it.put_attachments(); }},
            {"headers", [](PageWriter& it) { it.put_headers(); }},
            {"made", [](PageWriter& it) { it.out_ += it.made(); }},
            {"script", [](PageWriter& it) { it.out_ += player_js; }}};
        for (const auto& [field, put_field] : fields) {
            if (field == name) put_field(*this);
        }
    }

    using PlaceKey = std::array<int32_t, 4>;
    static PlaceKey key(const Place& place) {
        return {place.left, place.top, place.width, place.height};
    }
    // Where the bytes lie: the same ones are the same part.
    using DataKey = std::pair<const uint8_t*, std::size_t>;
    static DataKey key(std::span<const uint8_t> data) { return {data.data(), data.size()}; }

    [[nodiscard]] bool laid_out() const {
        return !facts_.regions.empty() || (facts_.screen_width > 0 && facts_.screen_height > 0);
    }

    [[nodiscard]] std::string shape() const {
        if (facts_.slides.empty()) return "bare";
        return laid_out() ? "laid-out" : "column";
    }

    [[nodiscard]] std::string title() const {
        std::string subject = header_text(facts_, "Subject");
        if (!subject.empty()) return subject;
        const std::string from = header_text(facts_, "From");
        return kind_name(facts_) + (from.empty() ? "" : " from " + from);
    }

    [[nodiscard]] std::string who() const {
        std::string out;
        const auto add = [&](const char* name, const std::string& value) {
            out += "<div>" + element("dt", name) + element("dd", html_line(value)) + "</div>";
        };
        if (facts_.slides.empty() && facts_.attachments.empty()) add("Kind", kind_name(facts_));
        for (const char* name : {"From", "To", "Cc", "Date"}) {
            const std::string value = header_text(facts_, name);
            if (!value.empty()) add(name, value);
        }
        return out;
    }

    [[nodiscard]] std::string screen() const {
        return "data-width=\"" + std::to_string(facts_.screen_width) + '"' +
               attribute("data-height", facts_.screen_height);
    }

    [[nodiscard]] std::string made() const {
        return html_line(facts_.kind) + ", " + short_size(facts_.size) +
               ". Made by mmskit " MMSKIT_VERSION ".";
    }

    // ---- Slides ---------------------------------------------------------------------------

    void put_slides() {
        const std::size_t count = facts_.slides.size();
        for (std::size_t i = 0; i < std::min(count, most_shown); ++i) {
            const std::string label =
                "Slide " + std::to_string(i + 1) + " of " + std::to_string(count);
            append_slide(out_, facts_.slides[i], label);
            file_.write_grown(out_);
        }
        out_ += left_out("p", count, "slides");
    }

    void append_slide(std::string& out, const SlideFact& slide, const std::string& label) {
        out += "<article class=\"slide" + std::string(laid_out() ? "" : " flowing") + '"';
        out += attribute("aria-label", label) + attribute("data-duration", slide.duration);
        if (slide.background) out += attribute("data-background", colour_text(*slide.background));
        if (slide.foreground) out += attribute("data-colour", colour_text(*slide.foreground));
        out += ">\n<h2>" + label + "</h2>\n<div class=\"stage\">\n";
        std::string strip;
        // Pictures lie below the text where the message lets them overlap.
        for (const MediaFact& media : slide.media)
            append_media(out, strip, media);
        if (slide.text) append_text(out, *slide.text);
        out += "</div>\n";
        if (!strip.empty()) out += "<div class=\"strip\">\n" + strip + "</div>\n";
        out += "</article>\n";
    }

    void append_item(std::string& out, const char* kind, const Timing& timing,
                     const Place& place) const {
        const bool placed = laid_out() && std::string_view(kind) != "audio";
        const auto fit = fits_.find(key(place));
        out += std::string("<div class=\"item ") + kind + (placed ? " placed" : "");
        // Only the fits of SMIL 2.0 become a name in the page.
        const std::string name = placed && fit != fits_.end() ? known_fit(fit->second) : "";
        if (!name.empty()) out += " fit-" + name;
        out += '"';
        out += attribute("data-begin", timing.begin) + attribute("data-end", timing.end);
        if (placed) {
            out += attribute("data-place",
                             std::to_string(place.left) + ' ' + std::to_string(place.top) + ' ' +
                                 std::to_string(place.width) + ' ' + std::to_string(place.height));
        }
        if (!name.empty()) out += attribute("data-fit", name);
    }

    static std::string known_fit(std::string_view fit) {
        for (const char* known : {"fill", "hidden", "meet", "scroll", "slice"}) {
            if (fit == known) return known;
        }
        return "";
    }

    void append_text(std::string& out, const TextFact& text) {
        append_item(out, "text", text.timing, text.place);
        out +=
            "><p dir=\"auto\">" + html_text(text.text != nullptr ? text.text : "") + "</p></div>\n";
    }

    void append_media(std::string& out, std::string& strip, const MediaFact& media) {
        const BrowserMedia& told = looked_at(media);
        const std::size_t number = ++number_;
        const std::string line = "l" + std::to_string(number);
        const bool plays = told.type != nullptr;
        // A sound is not seen: its item and its line are one, in the strip.
        const bool sound = told.kind == MediaKind::audio;
        if (!sound) {
            append_item(out, media_kind_name(told.kind), media.timing, media.place);
            if (!plays) out.insert(out.rfind("item "), "broken ");
            out += attribute("data-line", line) + '>';
            if (plays) append_element(out, media, told, number);
            out += element_lack(media) + "</div>\n";
        }
        std::string strip_class = sound ? "sound" : "seen";
        if (!plays) strip_class += " cannot";
        if (missing_of(media) != 0) strip_class += " partial";
        strip += "<div id=\"" + line + "\" class=\"" + strip_class + '"';
        if (sound) {
            strip += attribute("data-begin", media.timing.begin) +
                     attribute("data-end", media.timing.end) + attribute("data-line", line);
        }
        strip += "><p>";
        if (sound) strip += "<span class=\"note-sign\" aria-hidden=\"true\">♪ </span>";
        strip +=
            "<bdi>" + display_name(media.name, media.type) + "</bdi> " + part_facts(media) + ' ';
        strip += "<span class=\"why\"" + std::string(plays ? " hidden>" : ">") +
                 (plays ? (told.kind == MediaKind::image ? "This browser cannot show it."
                                                         : "This browser cannot play it.")
                        : short_line(told.why_not)) +
                 "</span> ";
        append_save(strip, media, plays && told.converted.empty() ? number : 0);
        strip += "</p>";
        if (sound && plays) append_element(strip, media, told, number);
        strip += "</div>\n";
    }

    // Looked at, and converted, once however many slides show it.
    const BrowserMedia& looked_at(const MediaFact& media) {
        const auto found = told_.find(key(media.data));
        if (found != told_.end()) return found->second;
        return told_.try_emplace(key(media.data), browser_media(media, budget_)).first->second;
    }

    static std::string element_lack(const MediaFact& media) {
        return "<p class=\"lack\">" + display_name(media.name, media.type) + "</p>";
    }

    // The picture, sound or video itself. One that stands in the page already is pointed to.
    void append_element(std::string& out, const MediaFact& media, const BrowserMedia& told,
                        std::size_t number) {
        const std::span<const uint8_t> bytes =
            told.converted.empty() ? media.data : std::span<const uint8_t>(told.converted);
        const auto [first, fresh] = shown_.try_emplace(key(media.data), number);
        std::string source;
        if (fresh) {
            source = " src=\"data:" + std::string(told.type) + ";base64,";
            append_base64(source, bytes);
            source += '"';
        } else {
            source = attribute("data-same", "m" + std::to_string(first->second));
        }
        const std::string id = attribute("id", "m" + std::to_string(number));
        const std::string name = display_name(media.name, media.type);
        if (told.kind == MediaKind::image) {
            out += "<img" + id + attribute("alt", "Picture " + name) + " decoding=\"async\"" +
                   source + '>';
            return;
        }
        const bool video = told.kind == MediaKind::video;
        const std::string tag = video ? "video" : "audio";
        out += '<' + tag + id + attribute("aria-label", (video ? "Video " : "Sound ") + name) +
               " controls preload=\"metadata\"" + (video ? " playsinline" : "") + source + "></" +
               tag + '>';
    }

    // The link under which the bytes are saved as they came: `shown` is the element of the page
    // that holds them already, 0 when none does.
    template <typename Part>
    void append_save(std::string& out, const Part& part, std::size_t shown) {
        if (part.data.empty()) return;
        const std::string id = "s" + std::to_string(++saves_);
        out += "<a class=\"save\" download=\"" + save_name(part.name, part.type, saves_) + '"';
        out += attribute("aria-label", "Save " + display_name(part.name, part.type));
        if (shown != 0) {
            out += attribute("data-of", "m" + std::to_string(shown)) + attribute("href", "#");
        } else if (const auto [first, fresh] = saved_.try_emplace(key(part.data), id); !fresh) {
            out += attribute("data-of", first->second) + attribute("href", "#");
        } else {
            out += attribute("id", id) + " href=\"data:application/octet-stream;base64,";
            append_base64(out, part.data);
            out += '"';
        }
        out += ">Save</a>";
    }

    template <typename Part>
    [[nodiscard]] std::size_t missing_of(const Part& part) const {
        return part.part < facts_.parts.size() ? facts_.parts[part.part].missing : 0;
    }

    // Type and size, and how much of it was cut off.
    template <typename Part>
    [[nodiscard]] std::string part_facts(const Part& part) const {
        std::string out = "<span class=\"facts\">";
        if (part.type != nullptr) out += short_line(part.type) + ", ";
        const std::size_t missing = missing_of(part);
        out += missing == 0 ? short_size(part.data.size()) : "cut";
        if (part.drm_class != 0) out += ", protected";
        out += "</span>";
        if (missing != 0) {
            out += " <span class=\"why\">Only " + size_text(part.data.size(), missing) +
                   " are there.</span>";
        }
        return out;
    }

    // ---- What stands beside the slides ------------------------------------------------------

    // What is missing is told at once, what was mended or not understood on request.
    void put_notes() {
        const auto told = [](const NoteFact& note) { return note.kind != NoteKind::lost; };
        const auto folded = std::count_if(facts_.notes.begin(), facts_.notes.end(), told);
        if (facts_.body_flaw || anything_lost(facts_)) {
            out_ += "<section class=\"card notes\"><h2>Not all of this message is here</h2><ul>\n";
            if (facts_.body_flaw) {
                out_ += "<li><span class=\"kind\">Not shown:</span> " +
                        html_line(describe(*facts_.body_flaw)) + "</li>\n";
            }
            put_notes_that([&](const NoteFact& note) { return !told(note); });
            out_ += "</ul></section>\n";
        }
        if (folded != 0) {
            out_ += "<details class=\"card\"><summary>Notes <span>" + std::to_string(folded) +
                    "</span></summary><ul>\n";
            put_notes_that(told);
            out_ += "</ul></details>\n";
        }
    }

    template <typename Wanted>
    void put_notes_that(Wanted wanted) {
        for (const NoteFact& note : facts_.notes) {
            if (!wanted(note)) continue;
            out_ += note_item(note);
            file_.write_grown(out_);
        }
    }

    [[nodiscard]] std::string note_item(const NoteFact& note) const {
        std::string where = "byte " + std::to_string(note.byte);
        if (note.layer != 0 && note.layer < facts_.layers.size()) {
            where += std::string(" of ") + facts_.layers[note.layer].name;
        }
        return "<li><span class=\"kind\">" + std::string(note_kind_name(note.kind)) + ":</span> " +
               html_line(note.text) + " <span class=\"facts\">" + html_line(where) +
               "</span></li>\n";
    }

    void put_further() {
        std::size_t count = 0;
        std::string where;
        const auto begin_item = [&] {
            if (++count > most_shown) return false;
            file_.write_grown(out_);
            if (count == 1)
                out_ += "<section class=\"card further\"><h2>Also on the slides</h2><ul>\n";
            out_ += "<li>" + where;
            return true;
        };
        for (std::size_t i = 0; i < facts_.slides.size(); ++i) {
            const SlideFact& slide = facts_.slides[i];
            where = "<span class=\"facts\">Slide " + std::to_string(i + 1) + "</span>";
            for (const TextFact& text : slide.further_texts) {
                if (text.text == nullptr || !begin_item()) continue;
                out_ += "<p dir=\"auto\">" + html_text(text.text) + "</p></li>\n";
            }
            for (const MediaFact& media : slide.further_media) {
                if (!begin_item()) continue;
                append_further(out_, media);
                out_ += "</li>\n";
            }
        }
        if (count != 0) out_ += left_out("li", count, "elements") + "</ul></section>\n";
    }

    void append_further(std::string& out, const MediaFact& media) {
        const BrowserMedia& told = looked_at(media);
        const std::size_t number = ++number_;
        if (told.type != nullptr) append_element(out, media, told, number);
        out +=
            "<p><bdi>" + display_name(media.name, media.type) + "</bdi> " + part_facts(media) + ' ';
        if (told.type == nullptr) out += short_line(told.why_not) + ' ';
        append_save(out, media, told.type != nullptr && told.converted.empty() ? number : 0);
        out += "</p>";
    }

    void put_attachments() {
        if (facts_.attachments.empty()) return;
        out_ += "<section class=\"card\"><h2>Attachments</h2><ul class=\"files\">\n";
        const std::size_t count = facts_.attachments.size();
        for (std::size_t i = 0; i < std::min(count, most_shown); ++i) {
            append_attachment(out_, facts_.attachments[i]);
            file_.write_grown(out_);
        }
        out_ += left_out("li", count, "attachments") + "</ul></section>\n";
    }

    // What a browser can show of an attachment is seen without saving it.
    void append_attachment(std::string& out, const AttachmentFact& part) {
        const MediaFact media{.type = part.type,
                              .name = part.name,
                              .data = part.data,
                              .timing = {},
                              .place = {},
                              .drm_class = part.drm_class};
        const BrowserMedia& told = looked_at(media);
        const std::size_t number = ++number_;
        out += "<li><span><bdi>" + display_name(part.name, part.type) + "</bdi><br>" +
               part_facts(part);
        if (part.text) append_text_attachment(out, part);
        if (told.type != nullptr) append_element(out, media, told, number);
        out += "</span>";
        append_save(out, part, told.type != nullptr && told.converted.empty() ? number : 0);
        out += "</li>\n";
    }

    // Read like the text of a slide; of a long one the beginning, the rest is in the file.
    static void append_text_attachment(std::string& out, const AttachmentFact& part) {
        std::string_view text = text_of(part.data);
        const bool cut = text.size() > longest_text;
        if (cut) text = text.substr(0, whole_characters(text, longest_text));
        out += "<p class=\"words\" dir=\"auto\">" + html_text(text) + (cut ? " …" : "") + "</p>";
    }

    void put_headers() {
        if (facts_.headers.empty()) return;
        out_ += std::string("<details class=\"card\"") +
                (facts_.slides.empty() && facts_.attachments.empty() ? " open" : "") +
                "><summary>Headers <span>" + std::to_string(facts_.headers.size()) +
                "</span></summary><dl class=\"headers\">\n";
        for (const HeaderFact& header : facts_.headers) {
            out_ += element("dt", html_line(header_label(header))) +
                    element("dd", html_line(value_text(header))) + '\n';
            file_.write_grown(out_);
        }
        out_ += "</dl></details>\n";
    }

    const MessageFacts& facts_;
    OutputFile& file_;
    std::string out_;
    std::map<PlaceKey, std::string_view> fits_;
    ConversionBudget budget_;
    std::size_t number_ = 0, saves_ = 0;
    std::map<DataKey, BrowserMedia> told_;
    // The element and the link that first held the bytes.
    std::map<DataKey, std::size_t> shown_;
    std::map<DataKey, std::string> saved_;
};

}  // namespace

std::string page_policy(std::string_view script, std::string_view images) {
    return "default-src 'none'; script-src " + policy_hash(script) + "; style-src " +
           policy_hash(player_css) + "; img-src " + std::string(images) +
           "; media-src data: blob:; base-uri 'none'; form-action 'none'; "
           "require-trusted-types-for 'script'; trusted-types 'none'";
}

std::string value_text(const HeaderFact& header) {
    if (const Date* date = std::get_if<Date>(&header.value)) {
        std::string text = iso_date(*date);  // 2025-07-31T17:00:00Z
        if (text.size() < 20) return text;
        return text.replace(10, 1, " ").replace(16, 4, " UTC");
    }
    if (const auto* text = std::get_if<std::string>(&header.value)) return *text;
    return value_line(header);
}

std::string header_text(const MessageFacts& facts, std::string_view name) {
    for (const HeaderFact& header : facts.headers) {
        if (name == header.name) return value_text(header);
    }
    return "";
}

std::string kind_name(const MessageFacts& facts) {
    struct Kind {
        std::string_view name;
        const char* words;
    };
    constexpr std::array kinds{
        Kind{"m-retrieve-conf", "Message"},
        Kind{"m-send-req", "Message to send"},
        Kind{"m-send-conf", "Answer to a message sent"},
        Kind{"m-notification-ind", "Notification"},
        Kind{"m-notifyresp-ind", "Answer to a notification"},
        Kind{"m-acknowledge-ind", "Acknowledgement"},
        Kind{"m-delivery-ind", "Delivery report"},
        Kind{"m-read-rec-ind", "Read report"},
        Kind{"m-read-orig-ind", "Read report"},
        Kind{"m-forward-req", "Request to forward"},
        Kind{"m-forward-conf", "Answer to a request to forward"},
        Kind{"m-cancel-req", "Request to cancel"},
        Kind{"m-cancel-conf", "Answer to a request to cancel"},
        Kind{"m-delete-req", "Request to delete"},
        Kind{"m-delete-conf", "Answer to a request to delete"},
        Kind{"m-mbox-descr", "Message of a mailbox"},
        Kind{"message body", "Message without headers"},
    };
    const auto* found = std::find_if(kinds.begin(), kinds.end(),
                                     [&](const Kind& kind) { return kind.name == facts.kind; });
    return found != kinds.end() ? found->words : facts.kind;
}

std::string short_size(std::size_t bytes) {
    if (bytes < 1000) return size_text(bytes);
    constexpr double kilo = 1000;
    const bool mega = bytes >= 999950;
    std::array<char, 32> text{};
    (void)std::snprintf(text.data(), text.size(), "%.1f %s",
                        static_cast<double>(bytes) / (mega ? kilo * kilo : kilo),
                        mega ? "MB" : "KB");
    return text.data();
}

void write_page(const MessageFacts& facts, OutputFile& file) {
    PageWriter(facts, file).write();
}

}  // namespace mmskit_tool
