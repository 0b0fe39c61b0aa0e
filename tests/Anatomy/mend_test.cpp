// Mending through the C interface: what the exact decoders then read, that what they read rightly
// stays byte for byte, and that mending twice is mending once.
#include <gtest/gtest.h>
#include <mmskit/anatomy.h>
#include <mmskit/mmskit.h>

#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "tests/Anatomy/taken.h"
#include "tests/support/bytes.h"

using namespace testing_support;

namespace {

// A message with its anatomy and what became of it.
struct Mending {
    explicit Mending(std::string message)
        : input(std::move(message)), anatomy(dissected(input)), mended(fnMMS_Mend(anatomy.get())) {}

    [[nodiscard]] std::string bytes() const {
        return {reinterpret_cast<const char*>(mended->pData), mended->iLength};
    }
    [[nodiscard]] std::string body() const { return bytes().substr(mended->iBody); }
    [[nodiscard]] std::string notes(uint32_t flaw) const {
        std::string out;
        for (uint32_t i = 0; i < mended->iNotes; ++i)
            if (mended->pNotes[i].iFlaw == flaw) out += std::string(mended->pNotes[i].pText) + "\n";
        return out;
    }

    std::string input;
    OwnedAnatomy anatomy;
    OwnedMended mended;
};

const std::string nul(1, '\0');

std::string text(std::string_view value) {
    return std::string(value) + nul;
}
std::string sized(const std::string& value) {
    if (value.size() < 31) return std::string(1, static_cast<char>(value.size())) + value;
    return "\x1F" + uintvar(value.size()) + value;
}
std::string header(uint8_t code, const std::string& value) {
    return std::string(1, static_cast<char>(code)) + value;
}
std::string location(std::string_view name) {
    return "\x8E" + text(name);
}
std::string content_id(std::string_view id) {
    return "\xC0\"" + text("<" + std::string(id) + ">");
}

const std::string date = bytes("85 04 65 53 F1 00");
const std::string from = header(0x89, sized("\x80" + text("+15550100001/TYPE=PLMN")));
const std::string to = header(0x97, text("+15550100002/TYPE=PLMN"));

std::string retrieved(const std::string& headers, const std::string& body) {
    return "\x8C\x84\x98" + text("T1") + "\x8D\x92" + date + from + to + headers + body;
}

std::string multipart(const std::string& type, const std::vector<std::string>& parts) {
    std::string out = "\x84" + type + uintvar(parts.size());
    for (const std::string& p : parts)
        out += p;
    return out;
}
std::string mixed(const std::vector<std::string>& parts) {
    return multipart("\xA3", parts);
}
std::string related(const std::vector<std::string>& parts) {
    return multipart(sized("\xB3\x89" + text("application/smil") + "\x8A" + text("<smil>")), parts);
}

std::string picture(std::string_view name, std::string_view data, const std::string& headers = {}) {
    return part("\x9E" + (headers.empty() ? location(name) : headers), data);
}
std::string words(std::string_view name, std::string_view data) {
    return part("\x03\x83\x81\xEA" + location(name), data);
}
std::string presentation(std::string_view slides) {
    return part(sized(text("application/smil") + "\x81\xEA") + content_id("smil"),
                "<smil><head><layout><root-layout width=\"160\" height=\"120\"/></layout></head>"
                "<body>" +
                    std::string(slides) + "</body></smil>");
}

// Each slide as "picture|words", then what is attached: "a.jpg:SEA|Hello + b.jpg".
std::string seen(const Mending& m) {
    const std::string body = m.body();
    if (fnPAR_SmilParserEntry(reinterpret_cast<const uint8_t*>(body.data()),
                              static_cast<int32_t>(body.size())) == 0)
        return "nothing";
    std::string out;
    fnPAR_InitCurPar();
    for (int more = fnPAR_IsParEmpty() == 0; more != 0; more = fnPAR_ProceedNextPar()) {
        tPAR_Image image{};
        tPAR_Text letters{};
        out += out.empty() ? "" : ", ";
        if (fnPAR_GetCurParImg(&image) != 0)
            out.append(reinterpret_cast<const char*>(image.Data),
                       static_cast<size_t>(image.Length));
        if (fnPAR_GetCurParText(&letters) != 0)
            out += "|" + std::string(reinterpret_cast<const char*>(letters.Data));
    }
    for (int32_t i = 0; i < fnPAR_GetTotalAttachments(); ++i) {
        tPAR_Attachment attachment{};
        fnPAR_GetAttachment(&attachment, i);
        out += " + " + std::string(reinterpret_cast<const char*>(attachment.Data),
                                   static_cast<size_t>(attachment.Length));
    }
    fnPAR_SmilFree();
    return out;
}

std::string slide(std::string_view picture_source, std::string_view words_source = {}) {
    std::string out = "<par dur=\"5s\"><img src=\"" + std::string(picture_source) + "\"/>";
    if (!words_source.empty()) out += "<text src=\"" + std::string(words_source) + "\"/>";
    return out + "</par>";
}

void expect_stable(const Mending& m) {
    ASSERT_NE(m.mended->pData, nullptr);
    const Mending again(m.bytes());
    EXPECT_EQ(again.mended->bChanged, 0U) << hex(again.bytes());
    EXPECT_EQ(hex(again.bytes()), hex(m.bytes()));
    EXPECT_TRUE(is_taken(*m.anatomy, *m.mended)) << hex(m.bytes());
}

const std::string one = picture("1.jpg", "ONE"), two = picture("2.jpg", "TWO");
const std::string sea = picture("a.jpg", "SEA"), hi = words("a.txt", "Hi");

// Parts behind a presentation of these slides.
std::string shown(std::string_view slides, std::vector<std::string> parts) {
    parts.insert(parts.begin(), presentation(slides));
    return related(parts);
}

const struct {
    const char* name;
    std::string body, seen;
    bool changed = true;
    std::string lost = {};
} body_cases[] = {
    {"whole_and_right", shown(slide("a.jpg", "a.txt"), {sea, hi}), "SEA|Hi", false},
    {"digits_in_the_order_of_the_parts", shown(slide("1.jpg") + slide("2.jpg"), {one, two}),
     "ONE, TWO", false},
    {"digits_in_another_order", shown(slide("2.jpg") + slide("1.jpg"), {one, two}), "TWO, ONE"},
    {"digits_of_one_that_is_not_shown", shown(slide("2.jpg"), {one, two}), "TWO + ONE"},
    {"one_picture_on_several_slides",
     shown(slide("1.jpg") + slide("1.jpg") + slide("2.jpg"), {one, two}), "ONE, ONE, TWO"},
    {"other_script",
     shown(slide("река.jpg") + slide("мост.jpg"),
           {picture("мост.jpg", "BRIDGE"), picture("река.jpg", "RIVER")}),
     "RIVER, BRIDGE"},
    {"names_that_a_value_cannot_carry",
     shown(slide("a&amp;b.jpg") + slide("c&quot;d.jpg"),
           {picture("a&b.jpg", "AB"), picture("c\"d.jpg", "CD")}),
     "AB, CD"},
    {"new_names_stay_clear_of_old_ones",
     shown(slide("2.jpg") + slide("parta.jpg"), {picture("parta.jpg", "P"), one, two}),
     "TWO, P + ONE"},
    {"one_name_for_two_parts",
     shown(slide("a.jpg") + slide("a.jpg"), {picture("a.jpg", "ONE"), picture("a.jpg", "TWO")}),
     "ONE, TWO", false},
    {"one_name_for_three_parts",
     shown(slide("a.jpg") + slide("a.jpg") + slide("a.jpg"),
           {picture("a.jpg", "ONE"), picture("a.jpg", "TWO"), picture("a.jpg", "THREE")}),
     "ONE, TWO, THREE", false},
    {"content_id_before_the_same_names",
     shown(slide("cid:two") + slide("CID:one"),
           {picture("", "ONE", location("a.jpg") + content_id("one")),
            picture("", "TWO", location("a.jpg") + content_id("two"))}),
     "TWO, ONE", false},
    {"only_the_end_of_the_name", shown(slide("media/A.JPG"), {sea}), "SEA"},
    {"percent_encoding", shown(slide("my%20sea.jpg"), {picture("my sea.jpg", "SEA")}), "SEA"},
    {"no_part_of_that_name", shown(slide("1.jpg") + slide("gone.jpg"), {two, one}), "ONE + TWO",
     true, "gone.jpg: no part has this name\n"},
    {"a_picture_is_no_text", shown("<par dur=\"5s\"><text src=\"a.jpg\"/></par>", {sea}), "SEA"},
    {"a_ref_is_what_its_part_is",
     shown("<par dur=\"5s\"><ref src=\"a.jpg\"/><ref src=\"a.txt\"/></par>", {sea, hi}), "SEA|Hi"},
    {"the_texts_of_a_presentation_have_made_up_names",
     shown("<par dur=\"5s\"><text src=\"MMS_Text000.txt\"/></par>",
           {part("\x03\x83\x81\xEA", "Hi")}),
     "|Hi", false},
    {"texts_without_a_presentation_are_not_taken_for_others",
     mixed({picture("1", "ONE"), words("2", "two"), words("3", "three")}), "|two, |three + ONE"},
    {"text_without_a_character_set", mixed({part("\x83" + location("a.txt"), "gr\xFC\xDF")}),
     "|gr\xC3\xBC\xC3\x9F"},
    {"type_in_capitals",
     mixed({part(sized(text("TEXT/Plain") + "\x81\xEA") + location("a.txt"), "Hi")}), "|Hi"},
    {"nested",
     mixed({part("\xB3", uintvar(3) + presentation(slide("a.jpg", "a.txt")) + sea + hi),
            part("\x87" + location("me.vcf"), "CARD")}),
     "SEA|Hi + CARD"},
    {"a_parameter_that_ends_the_others",
     mixed({part(sized("\x9E" + text("few") + "\x85" + text("a.jpg")), "SEA"), hi}), "|Hi + SEA",
     false},
    {"a_parameter_that_does_not",
     mixed({part(sized("\x9E" + text("fwd") + "\x85" + text("a.jpg")), "SEA"), hi}), "|Hi + SEA"},
    {"count_too_small", std::string("\x84\xA3\x01") + words("a.txt", "one") + words("b.txt", "two"),
     "|one, |two"},
    {"the_presentation_that_start_names",
     shown(slide("a.jpg"), {picture("a.jpg", "A"), picture("b.jpg", "B"),
                            part(sized(text("application/smil") + "\x81\xEA") + content_id("other"),
                                 "<smil><body>" + slide("b.jpg") + "</body></smil>")}),
     "A + B"},
    {"unnamed_parts_are_attached", mixed({part("\x9E", "SEA"), hi}), "|Hi + SEA", false},
};

TEST(Mend, bodies) {
    for (const auto& c : body_cases) {
        SCOPED_TRACE(c.name);
        const Mending m(retrieved("", c.body));
        EXPECT_EQ(seen(m), c.seen) << hex(m.bytes());
        EXPECT_EQ(m.mended->bChanged != 0, c.changed);
        EXPECT_EQ(m.bytes() != m.input, c.changed);
        EXPECT_EQ(m.notes(MMS_FLAW_LOST), c.lost);
        expect_stable(m);
    }
}

TEST(Mend, original_names_and_places_of_the_parts_are_told) {
    const Mending m(retrieved("", shown(slide("2.jpg") + slide("1.jpg"), {one, two})));
    ASSERT_EQ(m.mended->iParts, 3U);
    std::string parts;
    for (const tMMS_MendedPart& p : std::span(m.mended->pParts, 3))
        parts += testing_support::text(p.pOriginal) + "=" +
                 m.bytes().substr(p.iOffset, p.iLength).substr(0, 5) + " ";
    EXPECT_EQ(parts, "smil=<smil 1.jpg=ONE 2.jpg=TWO ");
    EXPECT_STRNE(m.mended->pParts[1].pName, "1.jpg");
    EXPECT_EQ(static_cast<uint8_t>(m.body()[0]), 0x84);
}

std::string names(std::span<const tMMS_MendedPart> parts) {
    std::string out;
    for (const tMMS_MendedPart& p : parts)
        out += testing_support::text(p.pName) + "=" + testing_support::text(p.pOriginal) + " ";
    return out;
}

TEST(Mend, once_gives_the_same_and_keeps_the_message) {
    const Mending m(retrieved("", shown(slide("2.jpg") + slide("1.jpg"), {one, two})));
    const OwnedAnatomy anatomy = dissected(m.input);
    const OwnedMended once(fnMMS_MendOnce(anatomy.get()));
    EXPECT_EQ(fnMMS_MendOnce(anatomy.get()), nullptr);
    EXPECT_EQ(fnMMS_Mend(anatomy.get()), nullptr);
    ASSERT_NE(once, nullptr);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(once->pData), once->iLength), m.bytes());
    EXPECT_EQ(names({once->pParts, once->iParts}), names({m.mended->pParts, m.mended->iParts}));
    EXPECT_EQ(anatomy->iNodes, 0U);
    ASSERT_EQ(anatomy->iParts, 3U);
    EXPECT_STREQ(anatomy->pParts[1].pName, "1.jpg");
    EXPECT_EQ(std::string_view(reinterpret_cast<const char*>(anatomy->pParts[1].pData), 3), "ONE");
}

std::string encoded(uint8_t charset, const std::string& value) {
    return sized(std::string(1, static_cast<char>(charset)) + value + nul);
}

// What the exact decoder reads: "transaction id|sender|recipients|subject".
std::string read_back(const Mending& m) {
    const std::string bytes = m.bytes();
    tMMS_RetrieveConf* read = fnMMS_ParseRetrieveConf(
        reinterpret_cast<const uint8_t*>(bytes.data()), static_cast<int32_t>(bytes.size()));
    if (read == nullptr) return "null";
    std::string out;
    for (const char* value : {read->pTransactionId, read->From, read->pTo, read->pSubject})
        out += (out.empty() ? "" : "|") + testing_support::text(value);
    fnMMS_FreeMessageMem(read, 4);
    return out;
}

TEST(Mend, headers_of_a_retrieved_message) {
    const std::string people = "T1|+15550100001|+15550100002";
    const struct {
        const char* name;
        std::string headers, read;
        bool changed = true;
    } cases[] = {
        {"plain", header(0x96, encoded(0xEA, "Hi")), people + "|Hi", false},
        {"later_version", "\xBB\x80\xB2\x81" + header(0x96, text("Hi")), people + "|Hi"},
        {"code_below_all", "\x80\x81" + header(0x96, text("Hi")), people + "|Hi"},
        {"textual", text("X-Foo") + "\x80" + header(0x96, text("Hi")), people + "|Hi"},
        {"subject_in_latin_1", header(0x96, encoded(0x84, "gr\xFC\xDF")), people + "|grüß"},
        {"subject_in_words", header(0x96, text("=?utf-8?B?R3LDvMOfZQ==?=")), people + "|Grüße"},
        {"encoded_recipient", header(0x97, encoded(0xEA, "+15550100003/TYPE=PLMN")),
         people + ";+15550100003|(null)"},
        {"encoded_sender", header(0x89, sized("\x80" + encoded(0x84, "Zo\xEB <zoe@mail.example>"))),
         "T1|Zoë <zoe@mail.example>|+15550100002|(null)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const Mending m(retrieved(c.headers, mixed({words("a.txt", "Hi")})));
        EXPECT_EQ(read_back(m), c.read);
        EXPECT_EQ(m.mended->bChanged != 0, c.changed);
        expect_stable(m);
    }
}

// With each field that the decoder of the type takes, and in a form that it reads rightly.
TEST(Mend, headers_that_are_right_stay) {
    const std::string expiry = "\x88" + sized(bytes("81 03 03F480"));
    const std::string location = "\x83" + text("http://x"), subject = "\x96" + encoded(0xEA, "Hi");
    const std::string number = "\x98" + text("T1"), id = "\x8B" + text("m1");
    const std::string to_one = "\x97" + text("+1/TYPE=PLMN"), version = "\x8D\x92";
    const struct {
        const char* name;
        std::string right, wrong;  // headers, and what is left out of them
    } cases[] = {
        {"send-conf", "\x81" + number + version + "\x92\x80" + id + "\x93" + text("Good"),
         "\x85\x01\x05"},
        {"notification",
         "\x82" + number + version + from + subject + "\x8A\x80" + "\x8E\x02\x10\x01" + "\x8F\x81" +
             "\x86\x80" + expiry + location,
         text("X-Foo") + text("bar")},
        {"delivery", "\x86" + version + id + to_one + date + "\x95\x81", from},
        {"read-orig", "\x88" + version + id + to_one + from + date + "\x9B\x80", expiry},
        {"forward-conf", "\x8A" + number + version + "\x92\x80" + id + "\x93" + text("Good"), date},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const Mending right("\x8C" + c.right);
        EXPECT_EQ(right.mended->bChanged, 0U) << hex(right.bytes());
        const std::size_t end = c.right.find(version) + version.size();
        const Mending wrong("\x8C" + c.right.substr(0, end) + c.wrong + c.right.substr(end));
        EXPECT_EQ(hex(wrong.bytes()), hex("\x8C" + c.right));
        expect_stable(wrong);
    }
}

// Its length stands before the text, and an octet of zero in it would end the value.
TEST(Mend, a_subject_of_any_length_is_read_back_whole) {
    for (const size_t size : {1U,  27U,  28U,  29U,  30U,  31U,  60U,  61U,   62U,   63U,
                              64U, 125U, 126U, 127U, 128U, 190U, 500U, 8190U, 8191U, 20'000U}) {
        const Mending m(retrieved(header(0x96, encoded(0x84, std::string(size, '\xE9'))),
                                  mixed({words("a.txt", "Hi")})));
        EXPECT_TRUE(read_back(m).ends_with("|" + repeated("é", size))) << size;
        expect_stable(m);
    }
}

TEST(Mend, a_sent_message_has_no_date_and_a_delivery_report_no_sender) {
    const Mending sent("\x8C\x80\x98" + text("T1") + "\x8D\x92" + date + "\x89\x01\x81" + to +
                       mixed({words("a.txt", "Hi")}));
    expect_stable(sent);
    EXPECT_EQ(sent.bytes().find(date), std::string::npos);
    const Mending report("\x8C\x86\x8D\x92\x8B" + text("m1") + from + to + date + "\x95\x81");
    expect_stable(report);
    EXPECT_EQ(report.bytes().find(from), std::string::npos);
    EXPECT_EQ(sent.notes(MMS_FLAW_LOST) + report.notes(MMS_FLAW_LOST), "");
}

TEST(Mend, a_response_text_loses_its_character_set) {
    const Mending m("\x8C\x81\x98" + text("T1") + "\x8D\x92\x92\xE1\x93" +
                    encoded(0x84, "Geb\xFChr"));
    const std::string bytes = m.bytes();
    tMMS_SendConf* read = fnMMS_ParseSendConf(reinterpret_cast<const uint8_t*>(bytes.data()),
                                              static_cast<int32_t>(bytes.size()));
    ASSERT_NE(read, nullptr);
    EXPECT_STREQ(read->pResponseText, "Geb\xC3\xBChr");
    EXPECT_EQ(read->bResponseStatus, 0xE1);
    fnMMS_FreeMessageMem(read, 2);
    expect_stable(m);
}

TEST(Mend, what_is_no_message_has_no_bytes) {
    const Mending m("It was a bright cold day in April, and the clocks were striking thirteen.\n");
    EXPECT_EQ(m.mended->pData, nullptr);
    EXPECT_EQ(fnMMS_Mend(nullptr), nullptr);
    EXPECT_EQ(fnMMS_MendOnce(nullptr), nullptr);
    fnMMS_FreeMended(nullptr);
}

// Every prefix of every message that is at hand.
TEST(Mend, cut_messages_are_taken_and_mended_once) {
    for (const char* folder :
         {MMSKIT_SOURCE_DIR "/examples", MMSKIT_SAMPLES, MMSKIT_SAMPLES "/../odd"}) {
        std::error_code none;
        for (const auto& entry : std::filesystem::directory_iterator(folder, none)) {
            if (entry.path().extension() != ".mms") continue;
            const std::string whole = file_bytes(entry.path().string());
            const size_t step = 1 + whole.size() / 40;
            for (size_t length = whole.size() % step; length <= whole.size(); length += step) {
                SCOPED_TRACE(entry.path().filename().string() + " cut to " +
                             std::to_string(length));
                const Mending m(whole.substr(0, length));
                if (m.anatomy->iMessage != MMS_MESSAGE_PDU &&
                    m.anatomy->iMessage != MMS_MESSAGE_BODY)
                    continue;
                expect_stable(m);
                if (HasFailure()) return;
            }
        }
    }
}

// Many references and parts whose names are alike would cost their product if each were compared.
TEST(Mend, many_references_cost_their_number) {
    std::string slides;
    std::vector<std::string> parts = {""};
    for (int i = 0; i < 4000; ++i) {
        const std::string name = std::to_string(10'000 + i) + ".jpg";
        slides = slide(name) + slides;
        parts.push_back(picture(name, std::to_string(i)));
    }
    parts[0] = presentation(slides);
    const Mending m(retrieved("", related(parts)));
    EXPECT_TRUE(seen(m).starts_with("3999, 3998, 3997")) << seen(m).substr(0, 100);
    expect_stable(m);
}

}  // namespace
