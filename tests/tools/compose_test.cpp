// The sending commands as a user meets them: messages made from options and from JSON, forwarded
// and answered; what is made is read back by `mmskit show`. Each test works in a fresh folder.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <tuple>
#include <utility>

#include "tests/tools/tool_runner.h"

namespace {

using nlohmann::json;
using namespace testing_support;
namespace fs = std::filesystem;

const std::string jpeg = bytes("FF D8 FF 'jpeg'");
const std::string vcard = "BEGIN:VCARD\r\nEND:VCARD\r\n";

class Compose : public ToolRunner {
  protected:
    void SetUp() override {
        ToolRunner::SetUp();
        fs::create_directory(folder_ / "in");
        write("in/a.jpg", jpeg);
        write("in/b.amr", "#!AMR\nsound");
        write("in/c.3gp", bytes("00000014 'ftyp3gp4' 00000000"));
        write("in/t.txt", "from a file");
        write("in/z.vcf", vcard);
    }
};

const char* const options =
    "--to +123 --to a@b --cc c@d --bcc e@f --from +9 --subject 'Grüße' --class informational"
    " --priority high --expiry 3d --delivery-time 2026-01-01T01:00:00+01:00 --date 2025-12-31"
    " --hide-sender --delivery-report --read-report --transaction-id T1 --message-id m1"
    " --slide text='a b=c' image=in/a.jpg audio=in/b.amr dur=5s bg=#ffffff fg=#0000ff"
    " image-end=1.5s text-begin=500ms --slide text=@in/t.txt video=in/c.3gp --attach in/z.vcf"
    " --attach in/z.vcf name=z.bin type=application/x-z ";
const char* const document = R"({"to": ["+123", "a@b"], "cc": "c@d", "bcc": ["e@f"],
    "from": "+9", "subject": "Grüße", "class": "informational", "priority": "high",
    "expiry": "3d", "delivery_time": "2026-01-01", "date": "2025-12-31T00:00:00Z",
    "hide_sender": true, "delivery_report": true, "read_report": true, "transaction_id": "T1",
    "message_id": "m1", "slides": [{"text": "a b=c", "image": "a.jpg", "audio": "b.amr",
    "duration": "5s", "background": "#ffffff", "foreground": "#0000ff", "image_end": "1500ms",
    "text_begin": "0.5s"}, {"text_file": "t.txt", "video": "c.3gp"}], "attachments":
    [{"file": "z.vcf"}, {"file": "z.vcf", "name": "z.bin", "type": "application/x-z"}]})";

TEST_F(Compose, options_and_json_make_the_same_message) {
    write("in/m.json", document);
    for (const char* form : {"", "--body-only", "--retrieved"}) {
        SCOPED_TRACE(form);
        const std::string made = "a" + std::string(form) + ".mms";
        EXPECT_EQ(run("compose " + std::string(options) + form + " -o " + made).err, "");
        EXPECT_EQ(run("compose in/m.json -o - >b.mms " + std::string(form)).err, "");
        EXPECT_FALSE(read(made).empty());
        EXPECT_EQ(hex(read(made)), hex(read("b.mms")));
    }
    const std::string headers = bytes(
        "8C 80 98 'T1' 00 8D 92 85 04 69546780 89 0E 80 '+9/TYPE=PLMN' 00 97 '+123/TYPE=PLMN' 00"
        "97 'a@b' 00 82 'c@d' 00 81 'e@f' 00 96 09 EA 'Grüße' 00 8A 82 88 05 81 03 03F480"
        "87 05 81 03 015180 8F 82 94 80 86 80 90 80");
    EXPECT_EQ(hex(read("a.mms")), hex(headers + read("a--body-only.mms")));
}

TEST_F(Compose, show_tells_what_was_composed) {
    (void)run("compose " + std::string(options) + "--retrieved -o m.mms");
    const json expected = json::parse(R"([{"duration_ms": 5000, "background": "#ffffff",
        "foreground": "#0000ff", "text": {"text": "a b=c", "begin_ms": 500, "end_ms": 5000,
        "region": {"left": 0, "top": 170, "width": 160, "height": 30}}, "image": {"name": "a.jpg",
        "type": "image/jpeg", "bytes": 7, "begin_ms": 0, "end_ms": 1500, "region": {"left": 0,
        "top": 0, "width": 160, "height": 170}}, "audio": {"name": "b.amr", "type": "audio/amr",
        "bytes": 11, "begin_ms": 0, "end_ms": 5000}}, {"duration_ms": 12000, "text": {"text":
        "from a file", "begin_ms": 0, "end_ms": 12000, "region": {"left": 0, "top": 170, "width":
        160, "height": 30}}, "video": {"name": "c.3gp", "type": "video/3gpp", "bytes": 16,
        "begin_ms": 0, "end_ms": 12000, "region": {"left": 0, "top": 0, "width": 160,
        "height": 170}}}])");
    const json message = shown("m.mms");
    EXPECT_EQ(message["slides"], expected);
    EXPECT_EQ(message["attachments"], json::parse(R"([{"name": "z.vcf", "type": "text/x-vCard",
        "bytes": 24}, {"name": "z.bin", "type": "application/x-z", "bytes": 24}])"));
    EXPECT_EQ(message["headers"]["date"]["iso"], "2025-12-31T00:00:00Z");
    EXPECT_FALSE(message["headers"].contains("from")) << "the sender is hidden";
}

TEST_F(Compose, complaints_name_the_key) {
    const struct {
        std::string input;  // a document, or the command's arguments
        std::string complaint;
    } cases[] = {
        {R"({"to": )", "parse error at line 1, column 7: "},
        {"{\"to\": \"+1\",\n}", "parse error at line 2, column 1: "},
        {"{\"subject\": \"\xC0\x80\"}", "parse error at line 1, column 13: "},
        {R"({"subject": -0})", "subject: it is not a string"},
        {R"({"read_report": "yes"})", "read_report: it is not true or false"},
        {R"({"slides": [{"text": "a", "text": "b"}]})",
         "parse error at line 1, column 32: duplicate object key near '\"text\"'"},
        {R"({"slides": [[]]})", "slides[0]: it is not an object"},
        {R"({"slides": [{},{},{},{},{},{},{},{},{},{},{}]})", "slides: a message has at most 10"},
        {R"({"to": [1)" + repeated(",1", 32'766) + "]}", "more than 32768 values"},
        {R"({"to": ["[,{\\\"")" + repeated(",1", 32'765) + "]}", "to[1]: it is not a string"},
        {R"({"too": "+1"})", "too: there is no such key"},
        {R"({"to": ["+1", "+1;+2"]})", "to[1]: \"+1;+2\" is not an address"},
        {R"({"to": "+1,+2"})", "to[0]: \"+1,+2\" is not one address"},
        {"--to Bob", "--to: \"Bob\" is not an address"},
        {"--to +", "--to: \"+\" is not an address"},
        {"--to +1 --cc @host", "--cc: \"@host\" is not an address"},
        {"--to +1 --expiry 2025-12-31", "--expiry: the time has passed"},
        {"--to +1 --date 2037-01-02 --expiry 2037-01-01", "--expiry: it is not after the"},
        {R"({"to": "+1", "subject": ")" + std::string(126, 's') + "\"}",
         "subject: the subject has 126 bytes, and a message carries 125; cut_subject"},
        {"--to +1 --subject ä" + std::string(123, 's'),
         "--subject: the subject has 125 bytes, and a message carries 124; --cut-subject"},
        // Counted before a single file is read.
        {R"({"to": "+1", "slides": [)" + repeated(R"({"image": "no"},)", 4000) + "{}]}",
         "slides: a message has at most 10 of them"},
        {R"({"to": "+1", "attachments": [)" + repeated(R"({"file": "no"},)", 4000) + "{}]}",
         "attachments: a message has at most 10 of them"},
        {R"({"slides": [{"image": "no"}]})", "slides[0].image: in/no: No such file or dir"},
        {R"({"slides": [{"image": "b.amr"}]})", "slides[0].image: in/b.amr: it is audio/amr"},
        {R"({"slides": [{"text": "a\u0000b"}]})", "slides[0].text: the text holds a NUL"},
        {R"({"slides": [{"duration": "5"}]})", "slides[0].duration: \"5\" is not a time"},
        {R"({"slides": [{"text": "a", "text_begin": "2s", "text_end": "1s"}]})",
         "slides[0].text_end: it is not after the beginning"},
        {R"({"attachments": [{"file": "t.txt", "name": "a/b"}]})", "attachments[0].name: \"a/b"},
        {"--subject a", "the message has no recipient"},
        {"--to +1" + repeated(" --slide text=a", 11), "slide 11: a message has at most 10 of them"},
        {"--to +1 --slide image=in/a.jpg video=in/c.3gp", "slide 1: video: the slide"},
        {"--to +1 --date 2025-02-29", "--date: \"2025-02-29\" is not a date"},
        {"--to +1 --expiry 2038-01-20", "--expiry: \"2038-01-20\" is not a time"},
        {"--to +1 --delivery-time 2025-12-31", "the delivery time has passed"},
        {"--to +1 --date 2026-01-02 --delivery-time 2026-01-01", "the delivery time has"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.input);
        const bool is_document = test.input[0] == '{';
        if (is_document) write("in/m.json", test.input);
        const Outcome outcome =
            run("compose -o out.mms " + (is_document ? "in/m.json" : test.input));
        EXPECT_EQ(outcome.code, 1);
        const std::string start = is_document ? "mmskit: in/m.json: " : "mmskit: ";
        EXPECT_EQ(outcome.err.find(start + test.complaint), 0U) << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    }
    EXPECT_FALSE(fs::exists(folder_ / "out.mms"));
}

TEST_F(Compose, what_the_wire_cannot_hold_is_warned_of) {
    const Outcome outcome =
        run("compose -o out.mms --to +1 --cut-subject --subject " + std::string(126, 's') +
            " --slide dur=3m image=in/a.jpg image-name=" + std::string(50, 'n') +
            " image-type=image/x-more-than-24-bytes --slide image=in/a.jpg image-type=image/gif"
            " --date 2025-01-01 --expiry 2025-02-01");
    EXPECT_EQ(outcome.code, 0);
    for (const char* piece :
         {"duration is sent as 120 s", "nnn is sent as nnn", "cut at 24 characters",
          "subject has 126 bytes and is cut to", "--expiry: the time has passed",
          "image-type: in/a.jpg is sent as image/x-",
          "slide 2: image-type: in/a.jpg is sent as "
          "image/gif, but its bytes are those of image/jpeg"})
        EXPECT_NE(outcome.err.find(piece), std::string::npos) << piece << "\n" << outcome.err;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 7) << outcome.err;
    EXPECT_EQ(run("compose -o out.mms --to +1 --subject " + std::string(125, 's')).err, "");
}

// What strict decoders read back whole: the length octet counts the text, its character set, a
// quote before a first character that is not ASCII, and the NUL, and holds seven bits.
TEST_F(Compose, subjects_are_cut_where_the_length_octet_ends) {
    const struct {
        std::string given, sent;
    } cases[] = {
        {std::string(125, 's'), std::string(125, 's')},
        {std::string(126, 's'), std::string(125, 's')},
        {"ä" + std::string(122, 's'), "ä" + std::string(122, 's')},
        {"ä" + std::string(123, 's'), "ä" + std::string(122, 's')},
        {std::string(122, 's') + "🌅", std::string(122, 's')},
        {std::string(121, 's') + "🌅", std::string(121, 's') + "🌅"},
    };
    for (const auto& [given, sent] : cases) {
        SCOPED_TRACE(given);
        const Outcome outcome =
            run("compose --retrieved -o m.mms --cut-subject --subject '" + given + "'");
        EXPECT_EQ(outcome.err.empty(), given == sent) << outcome.err;
        EXPECT_EQ(shown("m.mms")["headers"]["subject"], sent);
        const std::size_t room = sent.size() + (static_cast<uint8_t>(sent[0]) >= 0x80 ? 1 : 0) + 2;
        EXPECT_NE(read("m.mms").find(std::string("\x96\x1F") + static_cast<char>(room) + "\xEA"),
                  std::string::npos);
        EXPECT_LE(room, 127U);
    }
    write("m.json", R"({"to": "+1", "cut_subject": true, "subject": "\u0041\ud83d\ude00\/\\\")" +
                        std::string(130, 's') + "\"}");
    EXPECT_EQ(run("compose m.json -o m.mms").code, 0);
    EXPECT_EQ(shown("m.mms")["headers"]["subject"], "A😀/\\\"" + std::string(117, 's'));
}

TEST_F(Compose, forwarded_subjects_lose_what_was_added_first) {
    const std::string fits(120, 's');
    const std::string full(125, 's');
    const std::string cases[][2] = {{fits, "Fwd: " + fits}, {full, full}};
    for (const auto& [received, sent] : cases) {
        (void)run("compose --retrieved --slide text=a -o in.mms --subject " + received);
        const Outcome refused = run("forward in.mms --to +2 -o refused.mms");
        EXPECT_EQ(refused.code, received == fits ? 0 : 1);
        EXPECT_EQ(refused.err, received == fits
                                   ? ""
                                   : "mmskit: the subject has 130 bytes, and a message "
                                     "carries 125; --cut-subject shortens it\n");
        EXPECT_EQ(run("forward in.mms --to +2 --cut-subject -o out.mms").code, 0);
        EXPECT_EQ(shown("out.mms")["headers"]["subject"], sent);
    }
}

// A part is found on its slide by its name, of which the wire carries 49 bytes.
TEST_F(Compose, long_names_are_shortened_in_the_stem_and_stay_apart) {
    const std::string stem(60, 'n');
    const std::string sent = std::string(45, 'n') + ".jpg";
    write(stem + "a.jpg", jpeg);
    write(stem + "b.jpg", jpeg + "b");
    const auto names = [&](const std::string& file) {
        return run("show " + file + " | grep -o 'nnn[^ ]*'").out;
    };
    const std::string expected =
        sent + '\n' + std::string(43, 'n') + "-2.jpg\n" + std::string(43, 'n') + "-3.jpg\n";
    const Outcome outcome = run("compose --retrieved -o in.mms --slide image=" + stem +
                                "a.jpg --slide image=" + stem + "b.jpg --attach " + stem + "a.jpg");
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 3) << outcome.err;
    EXPECT_EQ(names("in.mms"), expected);

    // The same for names that another program sent longer.
    const std::string type = "\x9E\x8E";
    std::string smil = "<smil><body>";
    std::string body;
    for (const char* end : {"a.jpg", "b.jpg"}) {
        smil += "<par><img src=\"" + stem + end + "\"/></par>";
        body += part(type + stem + end + '\0', jpeg + end);
    }
    body += part(type + stem + "c.jpg" + '\0', jpeg);
    write("in.mms", bytes("84 A3 04") +
                        part("application/smil" + std::string(1, '\0'), smil + "</body></smil>") +
                        body);
    EXPECT_EQ(run("forward in.mms --to +2 -o out.mms").code, 0);
    EXPECT_EQ(names("out.mms"), expected);
}

// The presentation carries names as they are: one that is markup would end it for a strict reader.
TEST_F(Compose, received_names_that_are_markup_are_replaced) {
    const std::string zero(1, '\0');
    const std::string type = "\x9E\x8E";
    write("in.mms", bytes("84 A3 03") +
                        part("application/smil" + zero,
                             "<smil><body><par><img src=\"a&'b.jpg\"/></par></body></smil>") +
                        part(type + "a&'b.jpg" + zero, jpeg) +
                        part(type + "x/\xFF.jpg" + zero, jpeg));
    const Outcome outcome = run("forward in.mms --to +2 -o out.mms");
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 2) << outcome.err;
    const json message = shown("out.mms");
    EXPECT_EQ(message["slides"][0]["image"]["name"], "a__b.jpg");
    EXPECT_EQ(message["attachments"][0]["name"], "_ÿ.jpg");
}

TEST_F(Compose, every_message_has_an_id_of_its_own_and_a_retrieved_one_a_date) {
    std::set<std::string> ids;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(run("compose --retrieved --to +1 -o m.mms").code, 0);
        ids.insert(shown("m.mms")["headers"]["transaction_id"].get<std::string>());
    }
    EXPECT_EQ(ids.size(), 3U);
    EXPECT_GT(shown("m.mms")["headers"]["date"]["seconds"], 1700000000);
    (void)run("compose --retrieved --to +1 --date none -o m.mms");
    EXPECT_FALSE(shown("m.mms")["headers"].contains("date"));
    (void)run("compose --to +1 -o m.mms");
    EXPECT_FALSE(shown("m.mms")["headers"].contains("date"));
}

TEST_F(Compose, relative_times_are_told_as_a_person_counts) {
    const std::pair<const char*, const char*> cases[] = {
        {"1s", "1 second"},
        {"1m", "1 minute"},
        {"2h", "2 hours"},
        {"1d", "1 day"},
        {"3d", "3 days"},
        {"2w", "14 days"},
        {"61s", "1 minute 1 second"},
        {"1.5h", "1 hour 30 minutes"},
        {"36h", "1 day 12 hours"},
    };
    for (const auto& [given, told] : cases) {
        (void)run("compose --to +1 -o m.mms --expiry " + std::string(given));
        const std::string line = "\nX-Mms-Expiry           in " + std::string(told) + "\n";
        EXPECT_NE(run("show m.mms").out.find(line), std::string::npos) << given;
    }
}

TEST_F(Compose, output_is_replaced_whole_or_not_at_all) {
    write("real.mms", "old");
    write("big", std::string(5000, 'b'));
    const Outcome outcome = run("compose --to +1 --attach big -o real.mms", "ulimit -f 2");
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err, "mmskit: real.mms: File too large\n");
    EXPECT_EQ(read("real.mms"), "old");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_), {}), 5) << "nothing is left over";
}

TEST_F(Compose, forward_drops_and_adds) {
    (void)run(
        "compose --retrieved -o in.mms --subject Hi --to +1 --slide text=one image=in/a.jpg"
        " --slide text=two bg=#ff0000 --slide text=three --attach in/z.vcf --attach in/t.txt");
    const auto forwarded = [&](const std::string& edits) {
        const Outcome outcome = run("forward in.mms --to +2 -o out.mms " + edits);
        EXPECT_EQ(outcome.err, "");
        std::string told;
        const json message = shown("out.mms");
        EXPECT_EQ(message["headers"]["subject"], "Fwd: Hi");
        for (const json& slide : message["slides"]) {
            told += slide.contains("text") ? slide["text"]["text"].get<std::string>() : "-";
            if (slide.contains("image")) told += '+' + slide["image"]["name"].get<std::string>();
            told += slide.contains("background") ? "! " : " ";
        }
        for (const json& attachment : message["attachments"])
            told += '/' + attachment["name"].get<std::string>();
        return told;
    };
    EXPECT_EQ(forwarded(""), "one+a.jpg two! three /z.vcf/t.txt");
    EXPECT_EQ(forwarded("--drop-slide 2 --drop-text 1 --drop-attachment 1"),
              "-+a.jpg three /t.txt");
    EXPECT_EQ(forwarded("--drop-slide 1 --drop-slide 3 --add-slide text=new image=in/a.jpg"
                        " --attach in/z.vcf"),
              "two! new+a.jpg /z.vcf/t.txt/z-2.vcf");
    EXPECT_EQ(run("forward in.mms --to +2 -o x --drop-slide 4").err,
              "mmskit: --drop-slide: there is no slide 4\n");
}

TEST_F(Compose, answers_are_the_bytes_of_the_wire) {
    const std::pair<std::string, const char*> cases[] = {
        {"respond notify --transaction-id T1 --status unrecognised --no-report",
         "8C 83 98 'T1' 00 8D 92 91 81 95 84"},
        {"respond ack --transaction-id T1", "8C 85 98 'T1' 00 8D 92 91 80"},
        {"respond read --message-id m --to a@b --deleted --date 2025-12-31",
         "8C 87 8D 92 8B 'm' 00 89 01 81 97 'a@b' 00 85 04 69546780 9B 81"},
        {"respond read-message --transaction-id T1 --to +1 --subject Read",
         "8C 80 98 'T1' 00 8D 92 89 01 81 97 '+1/TYPE=PLMN' 00 96 06 EA 'Read' 00 8A 83 86 81"
         "90 81 84 A3 00"},
        {"forward --by-location http://h/1 --to +1 --transaction-id T1 --delivery-time 2037-12-31",
         "8C 89 98 'T1' 00 8D 92 89 01 81 97 '+1/TYPE=PLMN' 00 87 06 80 04 7FE6C600 86 81 90 81"
         "83 'http://h/1' 00"},
    };
    for (const auto& [arguments, pdu] : cases)
        EXPECT_EQ(hex(run(arguments + " -o -").out), hex(bytes(pdu))) << arguments;
    EXPECT_EQ(run("respond ack --transaction-id '' -o -").code, 1);
    for (const auto& [time, told] : {std::pair("--delivery-time", "the delivery time has passed"),
                                     std::pair("--expiry", "--expiry: the time has passed")})
        EXPECT_EQ(
            run(std::string("forward --by-location u --to +1 -o x ") + time + " 2025-12-31").err,
            std::string("mmskit: ") + told + '\n');
    EXPECT_EQ(run("respond read-message --transaction-id T --to +1 -o x --subject " +
                  std::string(126, 's'))
                  .err,
              "mmskit: --subject: the subject has 126 bytes, and a message carries 125\n");
    // When a message was read is now unless the user says otherwise.
    (void)run("respond read --message-id m --to +1 -o now.mms");
    EXPECT_GT(shown("now.mms")["headers"]["date"]["seconds"], 1700000000);
    (void)run("respond read --message-id m --to +1 -o none.mms --date none");
    EXPECT_FALSE(shown("none.mms")["headers"].contains("date"));
}

TEST_F(Compose, content_types_come_from_the_bytes_then_from_the_name) {
    const std::tuple<std::string, std::string, const char*> cases[] = {
        {"jpeg.gif", jpeg, "image/jpeg"},
        {"c", bytes("'BM' 00000000 00000000 00"), "image/bmp"},
        {"heic", bytes("00000018 'ftypheic' 00000000 'mif1heic'"), "image/heic"},
        {"mif1", bytes("00000018 'ftypmif1' 00000000 'mif1heic'"), "image/heic"},
        {"mif1.heif", bytes("00000014 'ftypmif1' 00000000 'mif1'"), "image/heif"},
        {"avif", bytes("0000001C 'ftypmif1' 00000000 'mif1miafavif'"), "image/avif"},
        {"avif.jpg", bytes("00000018 'ftypavif' 00000000 'mif1'"), "image/avif"},
        {"a.m4a", bytes("00000018 'ftypmp42' 00000000 'isom'"), "audio/mp4"},
        {"a.mov", bytes("00000014 'ftypqt  ' 00000000"), "video/quicktime"},
        {"w.webm", bytes("1A45DFA3 9F 4282 84 'webm'"), "video/webm"},
        {"w.mkv", bytes("1A45DFA3 9F 4282 88 'matroska'"), "video/x-matroska"},
        {"r.webp", bytes("'RIFF' 04000000 'WEBP'"), "image/webp"},
        {"r.wav", bytes("'RIFF' 04000000 'WAVE'"), "audio/x-wav"},
        {"o.opus", bytes("'OggS'"), "audio/ogg"},
        {"cal1", "BEGIN:VCALENDAR\r\nVERSION:1.0\r\n", "text/x-vCalendar"},
        {"cal2", "begin:vcalendar\r\nPRODID:x\r\nversion:2.0\r\n", "text/calendar"},
        {"cal2.vcs", "BEGIN:VCALENDAR\nVERSION:2.0\n", "text/calendar"},
        {"bom", bytes("EF BB BF 'BEGIN:VCARD'"), "text/x-vCard"},
        {"d.docx", bytes("'PK' 0304"),
         "application/vnd.openxmlformats-officedocument.wordprocessingml.document"},
        {"d.jpg", bytes("'PK' 0304"), "application/zip"},
        {"d.pdf.txt", "%PDF-1.4", "application/pdf"},
        {"g", bytes("FF FB 90 00"), "audio/mpeg"},
        {"j", bytes("00000014 'ftypisom'"), "video/mp4"},
        {"l.WBMP", bytes("00 00 01 01 80"), "image/vnd.wap.wbmp"},
        {"n", bytes("C3 28"), "application/octet-stream"},
    };
    for (const auto& [name, data, type] : cases) {
        write(name, data);
        EXPECT_EQ(run("compose --body-only -o m.mms --attach " + name).err, "");
        EXPECT_EQ(shown("m.mms")["attachments"][0]["type"], type) << name;
    }
}

}  // namespace
