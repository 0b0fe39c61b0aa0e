// The sending commands as a user meets them: messages made from options and from JSON, forwarded
// and answered; what is made is read back by `mmskit show`. Each test works in a fresh folder.
#include <gtest/gtest.h>

#include <algorithm>
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
    std::string eleven = "--to +1";
    for (int i = 0; i < 11; ++i)
        eleven += " --slide text=a";
    const struct {
        std::string input;  // a document, or the command's arguments
        int code;
        std::string complaint;
    } cases[] = {
        {R"({"to": )", 1, "parse error at line 1, column 8"},
        {R"({"too": "+1"})", 1, "too: there is no such key"},
        {R"({"to": ["+1", "+1;+2"]})", 1, "to[1]: \"+1;+2\" is not an address"},
        {R"({"slides": [{"image": "no"}]})", 1, "slides[0].image: in/no: No such file or dir"},
        {R"({"slides": [{"image": "b.amr"}]})", 1, "slides[0].image: in/b.amr: it is audio/amr"},
        {R"({"slides": [{"text": "a\u0000b"}]})", 1, "slides[0].text: the text holds a NUL"},
        {R"({"slides": [{"duration": "5"}]})", 1, "slides[0].duration: \"5\" is not a time"},
        {R"({"slides": [{"text": "a", "text_begin": "2s", "text_end": "1s"}]})", 1,
         "slides[0].text_end: it is not after the beginning"},
        {R"({"attachments": [{"file": "t.txt", "name": "a/b"}]})", 1, "attachments[0].name: \"a/b"},
        {"--subject a", 1, "the message has no recipient"},
        {eleven, 1, "slide 11: a message has at most 10 of them"},
        {"--to +1 --slide image=in/a.jpg video=in/c.3gp", 1, "slide 1: video: the slide"},
        {"--to +1 --date 2025-02-29", 1, "--date: \"2025-02-29\" is not a date"},
        {"--to +1 --expiry 2038-01-20", 1, "--expiry: \"2038-01-20\" is not a time"},
        {"--to +1 --date 2026-01-02 --delivery-time 2026-01-01", 1, "the delivery time has"},
        {"in/m.json --to +1", 2, "--to"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.input);
        const bool is_document = test.input[0] == '{';
        if (is_document) write("in/m.json", test.input);
        const Outcome outcome =
            run("compose -o out.mms " + (is_document ? "in/m.json" : test.input));
        EXPECT_EQ(outcome.code, test.code);
        if (test.code == 1) {
            const std::string start = is_document ? "mmskit: in/m.json: " : "mmskit: ";
            EXPECT_EQ(outcome.err.find(start + test.complaint), 0U) << outcome.err;
            EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
        }
        EXPECT_NE(outcome.err.find(test.complaint), std::string::npos) << outcome.err;
    }
    EXPECT_FALSE(fs::exists(folder_ / "out.mms"));
}

TEST_F(Compose, what_the_wire_cannot_hold_is_warned_of) {
    const std::string name(50, 'n');
    const Outcome outcome = run("compose -o out.mms --to +1 --subject " + std::string(126, 's') +
                                " --slide dur=3m image=in/a.jpg image-name=" + name +
                                " image-type=image/x-more-than-24-bytes");
    EXPECT_EQ(outcome.code, 0);
    for (const char* piece : {"duration is sent as 120 s", "nnn is cut at 49 bytes",
                              "cut at 24 characters", "subject is longer than 125 bytes"})
        EXPECT_NE(outcome.err.find(piece), std::string::npos) << outcome.err;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 4) << outcome.err;
    EXPECT_EQ(run("compose -o out.mms --to +1 --subject " + std::string(125, 's')).err, "");
}

TEST_F(Compose, output_is_replaced_whole_or_not_at_all) {
    write("real.mms", "old");
    fs::create_symlink("real.mms", folder_ / "link.mms");
    EXPECT_EQ(run("compose --to +1 -o link.mms").code, 0);
    EXPECT_TRUE(fs::is_symlink(folder_ / "link.mms"));
    EXPECT_EQ(read("real.mms").substr(0, 2), bytes("8C 80"));
    write("big", std::string(5000, 'b'));
    const std::string before = read("real.mms");
    const Outcome outcome = run("compose --to +1 --attach big -o real.mms", "ulimit -f 2");
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err, "mmskit: real.mms: File too large\n");
    EXPECT_EQ(read("real.mms"), before);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_), {}), 6) << "nothing is left over";
}

TEST_F(Compose, forward_drops_and_adds) {
    (void)run(
        "compose --retrieved -o in.mms --subject Hi --to +1 --slide text=one image=in/a.jpg"
        " --slide text=two bg=#ff0000 --slide text=three --attach in/z.vcf --attach in/t.txt");
    const auto forwarded = [&](const std::string& edits) {
        const Outcome outcome = run("forward in.mms --to +2 -o out.mms " + edits);
        EXPECT_EQ(outcome.err, "");
        const std::string sent = read("out.mms");
        const std::size_t body = sent.find(bytes("90 81 84"));
        EXPECT_LT(sent.find("Fwd: Hi"), body);
        write("body.mms", sent.substr(body + 2));
        std::string told;
        const json message = shown("body.mms");
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
        {"forward --by-location http://h/1 --to +1 --transaction-id T1 --delivery-time 2025-12-31",
         "8C 89 98 'T1' 00 8D 92 89 01 81 97 '+1/TYPE=PLMN' 00 87 06 80 04 69546780 86 81 90 81"
         "83 'http://h/1' 00"},
    };
    for (const auto& [arguments, pdu] : cases)
        EXPECT_EQ(hex(run(arguments + " -o -").out), hex(bytes(pdu))) << arguments;
    EXPECT_EQ(run("respond ack --transaction-id '' -o -").code, 1);
}

TEST_F(Compose, content_types_come_from_the_bytes_then_from_the_name) {
    const std::tuple<std::string, std::string, const char*> cases[] = {
        {"jpeg.gif", jpeg, "image/jpeg"},
        {"c", bytes("'BM' 00000000 00000000 00"), "image/bmp"},
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
