// Presentations in every form that is met, as the flat list that they mean; and what is written
// from that list, read by the exact library's rules.
#include <gtest/gtest.h>

#include <string>

#include "Anatomy/src/smil.h"
#include "Anatomy/src/view.h"
#include "tests/support/bytes.h"

using namespace mmskit_anatomy;
using testing_support::rows_made;

namespace {

std::string place_of(const std::array<int32_t, 4>& p) {
    std::string out;
    for (const int32_t n : p)
        out += (out.empty() ? "" : ",") + std::to_string(n);
    return out;
}

constexpr const char* kinds[] = {"text", "image", "audio", "video", "ref"};

std::string colours(const Colour& background, const Colour& foreground) {
    std::string out;
    if (background) out += " bg=" + colour_text(*background);
    if (foreground) out += " fg=" + colour_text(*foreground);
    return out;
}

// " 1500-6000", or nothing for as long as the slide.
std::string times_of(int32_t begin, int32_t end, int32_t duration) {
    end = shown_end(begin, end, duration);
    if (begin == 0 && end == shown_end(0, 0, duration)) return {};
    return " " + std::to_string(begin) + "-" + std::to_string(end);
}

// "5000: image sun.jpg@0,0,160,90 text note.txt@0,90,160,30 1500-6000"
std::string as_meant(std::string_view text) {
    const Presentation p = read_presentation(text);
    std::string out;
    for (const SmilSlide& slide : p.slides) {
        out += (out.empty() ? "" : " | ") + std::to_string(slide.duration) + ":";
        out += colours(slide.background, slide.foreground);
        for (uint32_t i = 0; i < slide.media; ++i) {
            const SmilMedia& m = p.media[slide.first_media + i];
            out.append(" ").append(kinds[static_cast<size_t>(m.kind)]).append(" ").append(m.source);
            for (uint32_t more = 0; more < m.more; ++more)
                out.append(",").append(p.more_sources[m.first_more + more]);
            if (m.region >= 0) {
                const SmilRegion& r = p.regions[static_cast<size_t>(m.region)];
                out += "@" + place_of({r.left, r.top, r.width, r.height});
            }
            out += times_of(m.begin, m.end, slide.duration);
        }
    }
    return out;
}

// Gives every reference its own part, in the order in which they are met.
class AllParts : public Parts {
  public:
    uint32_t take(std::string_view reference, MediaKind) override {
        names.emplace_back(reference);
        return static_cast<uint32_t>(names.size() - 1);
    }
    [[nodiscard]] bool can_be_shown(uint32_t) const override { return true; }
    [[nodiscard]] bool none() const override { return false; }
    std::vector<std::string> names;
};

std::string as_exactly_read(std::string_view text) {
    AllParts parts;
    const View view = exact_view(text, parts);
    std::string out;
    for (const ShownSlide& slide : view.slides) {
        out += (out.empty() ? "" : " | ") + std::to_string(slide.duration) + ":";
        out += colours(slide.background, slide.foreground);
        for (uint32_t i = 0; i < slide.count; ++i) {
            const Shown& m = view.shown[slide.first + i];
            out +=
                std::string(" ") + kinds[static_cast<size_t>(m.kind)] + " " + parts.names[m.part];
            if (place_of(m.place) != "0,0,0,0") out += "@" + place_of(m.place);
            out += times_of(m.begin, m.end, slide.duration);
        }
    }
    return view.whole ? out : out + " (failed)";
}

const std::string layout =
    "<layout><root-layout width=\"160\" height=\"120\"/><region id=\"Image\" left=\"0\" top=\"0\" "
    "width=\"160\" height=\"90\"/><region id=\"Text\" left=\"0\" top=\"90\" width=\"160\" "
    "height=\"30\"/></layout>";
const std::string refs =
    "<img src=\"sun.jpg\" region=\"Image\"/><text src=\"note.txt\" region=\"Text\"/>";
const std::string refs_meant = " image sun.jpg@0,0,160,90 text note.txt@0,90,160,30";

std::string document(const std::string& body) {
    return "<smil><head>" + layout + "</head><body>" + body + "</body></smil>";
}
std::string slide(const std::string& media, const std::string& attributes = "dur=\"5s\"") {
    return "<par " + attributes + ">" + media + "</par>";
}

std::string shown(const std::string& media, const std::string& attributes = "dur=\"5s\"") {
    return document(slide(media, attributes));
}

std::string written_anew(const Presentation& p) {
    std::vector<std::string_view> sources;
    for (const SmilMedia& m : p.media)
        sources.push_back(m.source);
    return write_presentation(p, sources);
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

const std::string one = "5000:" + refs_meant;
const std::string par = slide(refs);
const std::string utf8_mark = "\xEF\xBB\xBF";

const struct {
    const char* name;
    std::string text, meant;
    bool plain = false;  // the exact reader reads it as it is meant
} cases[] = {
    {"plain", document(par), one, true},
    {"single_quotes", document(replaced(par, "\"", "'")), one},
    {"no_quotes",
     document("<par dur=5s><img src=sun.jpg region=Image/><text src=note.txt region=Text /></par>"),
     one},
    {"tabs", document(replaced(par, " ", "\t")), one},
    {"blanks_around_the_sign", document(replaced(par, "=", " \n= ")), one, true},
    {"greater_in_a_value", document(replaced(par, "<img ", "<img alt=\"a > b\" ")), one},
    {"empty_par_in_one_word", document("<par/>" + par + "<par/>"), one, true},
    {"comment", document("<!-- " + slide(refs, "dur=\"9s\"") + " -->" + par), one, true},
    {"comment_in_a_slide", shown("<!-- a > b -->" + refs + "<!-- <text src=\"x\"/> -->"), one,
     true},
    {"comment_without_end", document("<!-- " + par), one},
    {"cdata", document("<![CDATA[ <par dur=\"9s\"><img src=\"x\"/></par> ]]>" + par), one, true},
    {"instruction", "<?xml version=\"1.0\"?><?x > ?>" + document(par), one, true},
    {"document_type_with_subset",
     "<!DOCTYPE smil [<!ENTITY par 'x'><!ELEMENT par (img|text)*>]>" + document(par), one, true},
    {"mark", utf8_mark + document(par), one, true},
    {"entities", document(replaced(par, "5s", "5&#115;")), one},
    {"upper_case", document(replaced(replaced(par, "par", "PAR"), "img src", "IMG SRC")), one,
     true},
    {"prefix", document(replaced(replaced(par, "<", "<s:"), "<s:/", "</s:")), one},
    {"no_end_of_par", document("<par dur=\"5s\">" + refs), one},
    {"no_end_of_anything", "<smil><head>" + layout + "</head><body><par dur=\"5s\">" + refs, one},
    {"cut_in_a_tag",
     "<smil><head>" + layout + "</head><body>" + par + "<par dur=\"5s\"><img src=\"x",
     one + " | 5000: image x"},
    {"par_opened_in_par",
     document("<par dur=\"5s\"><img src=\"a\"/><par dur=\"2s\"><text src=\"b\"/>"),
     "5000: image a | 2000: text b"},
    {"par_around_par",
     document("<par dur=\"9s\">" + slide("<text src=\"b\"/>", "dur=\"2s\"") + "</par>"),
     "2000: text b"},
    {"text_not_closed",
     shown("<text src=\"note.txt\" region=\"Text\"><img src=\"sun.jpg\" region=\"Image\"/>"),
     "5000: text note.txt@0,90,160,30 image sun.jpg@0,0,160,90"},
    {"seq_switch_and_anchor_around_slides",
     document("<seq><switch><a href=\"http://mail.example/\">" + par + "</a></switch></seq>"), one,
     true},
    {"media_outside_a_slide", document("<img src=\"a\" dur=\"3s\"/><text src=\"b\"/>"),
     "3000: image a | 0: text b"},
    {"ref", shown("<ref src=\"a\"/>"), "5000: ref a"},
    {"several_sources", shown("<img src=\"a\" src=\"b\"/>"), "5000: image a,b"},
    {"slash_in_a_bare_value", shown("<img src=a/b.jpg/>"), "5000: image a/b.jpg"},
    {"quote_not_closed", shown("<img src=\"a/><text src=\"b\"/>"), "5000: image a text b"},
    {"unknown_entity_stays", shown("<img src=\"a&uuml;b&c\"/>"), "5000: image a&uuml;b&c", true},
    {"numeric_entities", shown("<img src=\"&#x65E5;&#106;&amp;&#0;\"/>"),
     "5000: image \xE6\x97\xA5j&&#0;"},
    {"text_colour",
     shown("<text src=\"b\"><param name=\"foreground-color\" value=\"#ff0000\"/></text>"),
     "5000: fg=#ff0000 text b", true},
    {"slide_colour", shown("<param name=\"background-color\" value=\"RED\"/><img src=\"b\"/>"),
     "5000: bg=RED image b", true},
    {"colours_of_the_web",
     shown("<param name='background-color' value='rgb(255, 0,10)'/><text src='b'><param "
           "name='foreground-color' value='navy'/></text>"),
     "5000: bg=#ff000a fg=NAVY text b"},
    {"short_colour", shown("<param name='background-color' value='#f0a'/><img src='b'/>"),
     "5000: bg=#ff00aa image b"},
    {"colour_of_a_text_that_is_none",
     shown("<img src=\"b\"/><text region=\"Text\"><param name=\"foreground-color\" "
           "value=\"#ff0000\"/></text>"),
     "5000: fg=#ff0000 image b", true},
    {"percent_of_the_root",
     "<smil><head><layout><root-layout width='200' height='120'/><region id='I' left='10%' "
     "top='75%' width='50%' height='12.5%'/></layout></head><body><par dur='1s'><img src='a' "
     "region='I'/></par></body></smil>",
     "1000: image a@20,90,100,15"},
    {"pixels",
     "<smil><head><layout><root-layout width=\"200px\" height=\"120px\"/><region id=\"I\" "
     "left=\"1px\" top=\"2px\" width=\"3px\" height=\"4px\"/></layout></head><body><par "
     "dur=\"1s\"><img src=\"a\" region=\"I\"/></par></body></smil>",
     "1000: image a@1,2,3,4", true},
    {"region_by_another_case", shown("<img src=\"a\" region=\"image\"/>"),
     "5000: image a@0,0,160,90"},
    {"times_of_media",
     shown("<img src=\"a\" begin=\"1.5s\" end=\"0:06\"/><text src=\"b\" begin=\"2\"/>"),
     "5000: image a 1500-6000 text b 2000-7000"},
    {"duration_of_media", shown("<audio src=\"a\" begin=\"1s\" dur=\"2s\"/>"),
     "5000: audio a 1000-3000"},
    {"end_before_begin", shown("<audio src=\"a\" begin=\"3s\" end=\"2s\"/>"),
     "5000: audio a 3000-8000", true},
    {"clip_is_no_begin", shown("<audio src=\"a\" clipBegin=\"3s\" clip-end=\"4s\"/>"),
     "5000: audio a", true},
    {"slide_as_long_as_its_media", shown("<audio src=\"a\" dur=\"2s\"/>", ""), "2000: audio a"},
    {"end_of_a_slide", shown("<img src=\"a\"/>", "end=\"4s\""), "4000: image a"},
};

TEST(Smil, every_form_is_read_as_meant_and_written_as_the_exact_reader_reads_it) {
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(as_meant(c.text), c.meant);
        EXPECT_EQ(as_exactly_read(c.text) == c.meant, c.plain) << as_exactly_read(c.text);
        // What several sources or a `ref` mean is decided by the parts, before writing.
        Presentation p = read_presentation(c.text);
        std::string written_meant = c.meant;
        for (SmilMedia& m : p.media)
            if (m.kind == MediaKind::by_type) m.kind = MediaKind::image;
        bool carried = true;
        for (const SmilMedia& m : p.media)
            carried = carried && can_stand_in_value(m.source);
        if (!carried) continue;
        const std::string written = written_anew(p);
        written_meant = replaced(replaced(written_meant, "ref ", "image "), ",b", "");
        if (written_meant.find('@') == std::string::npos || written_meant == c.meant) {
            EXPECT_EQ(as_exactly_read(written), written_meant) << written;
        }
        EXPECT_EQ(as_meant(written), as_exactly_read(written)) << written;
        EXPECT_EQ(written_anew(read_presentation(written)), written);
    }
}

TEST(Smil, clock_values) {
    const std::string rows =
        ":30>0 5s>5000 5>5000 2.5s>2500 300ms>300 1min>60000 0.5min>30000 1h>3600000 0:05>5000 "
        "02:30>150000 00:00:05.5>5500 1:02:03.250>3723250 10sec>10000 +4s>4000 -4s>-4000 "
        "indefinite>0 media>0 a.end+2s>0 >0 .5s>500 99999999999h>2147483647 "
        "99999999999:99:99>2147483647 ";
    EXPECT_EQ(rows_made(rows, [](const char* s) { return std::to_string(clock_value(s)); }), rows);
    EXPECT_EQ(clock_value("300 MS"), 300);
    EXPECT_EQ(clock_value(" 4s "), 4000);
    EXPECT_EQ(clock_value("3s; 5s"), 3000);
}

TEST(Smil, colours) {
    const std::string rows =
        "#ff8000>#ff8000 #FF8000>#ff8000 #f80>#ff8800 #ffff>#00ffff red>RED White>WHITE "
        "nonsense>WHITE transparent>none rgb(1,2,3)>#010203 80ff00>#80ff00 >none ";
    const auto shown = [](const char* text) {
        const Colour colour = colour_value(text);
        EXPECT_EQ(exact_colour(colour_text(colour.value_or(0))), colour.value_or(0)) << text;
        return colour ? colour_text(*colour) : "none";
    };
    EXPECT_EQ(rows_made(rows, shown), rows);
    EXPECT_EQ(shown("rgb(100%, 0%, 0%)"), "#ff0000");
}

// Shapes that would cost the square of their length if anything were searched twice.
TEST(Smil, hostile_texts_cost_their_length) {
    for (const char* piece : {"<!--", "<![CDATA[", "<?", "<!DOCTYPE [", "<a b=\"", "<a b='>",
                              "<par>", "<par dur='1s'><img src=a>", "&", "&#", "<a b=\"<", "<par ",
                              "</par>", "<region id='r'/>", "<text src='a'>", "\"", "<", "a=b "}) {
        std::string text = "<smil><par ";
        while (text.size() < 1'000'000)
            text += piece;
        const Presentation p = read_presentation(text);
        EXPECT_LE(p.media.size(), text.size() / 10) << piece;
        AllParts parts;
        (void)exact_view(text, parts);
    }
}

}  // namespace
