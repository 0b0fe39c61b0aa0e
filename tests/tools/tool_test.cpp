// The mmskit command as a user meets it: command lines in, exit code, output and files out. Each
// test works in a fresh folder; the messages are built here byte by byte.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/bytes.h"

namespace {

using nlohmann::json;
using testing_support::bytes;
using testing_support::file_bytes;
using testing_support::part;
namespace fs = std::filesystem;

const std::string zero(1, '\0');
const std::string jpeg_type = "\x9E";
const std::string utf8_text_type = "\x03\x83\x81\xEA";

std::string located(const std::string& type, const std::string& name) {
    return type + "\x8E" + name + zero;
}
std::string multipart(const std::vector<std::string>& parts) {
    std::string body = bytes("84 A3") + testing_support::uintvar(parts.size());
    for (const std::string& entry : parts)
        body += entry;
    return body;
}

// Two slides that share a picture; the first has a picture more than a viewer shows.
const std::string slides_body = multipart(
    {part("application/smil" + zero,
          "<smil><head><layout><root-layout width=\"160\" height=\"120\""
          " background-color=\"#0000ff\"/><region id=\"I\" left=\"1\" top=\"2\" width=\"30\""
          " height=\"40\"/></layout></head><body><par dur=\"5s\"><text src=\"a.txt\""
          " region=\"I\" begin=\"500ms\"/><img src=\"a.jpg\" region=\"I\"/><img src=\"b.jpg\"/>"
          "</par><par><img src=\"a.jpg\"/></par></body></smil>"),
     part(located(utf8_text_type, "a.txt"), "one\r\ntwo \x1b[2J\n\nfour"),
     part(located(jpeg_type, "a.jpg"), "AAAA"), part(located(jpeg_type, "b.jpg"), "BBBBB"),
     part(located("application/x-c" + zero, "c.bin"), "CC")});
const std::string headers = bytes(
    "8C 84 98 'T1' 00 8D 92 85 04 65E07540 89 06 80 '+123' 00 97 'to@x' 00 97 'b' 00 96 'Hi' 00"
    "8B 'id' 00 8A 81 8F 82 86 80 90 81");
const std::string message = headers + slides_body;

struct Outcome {
    int code;
    std::string out, err;
};

class Tool : public testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "mmskit-tool-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder_ = pattern;
        write("m.mms", message);
    }
    void TearDown() override { fs::remove_all(folder_); }

    void write(const std::string& name, const std::string& data) {
        std::ofstream(folder_ / name, std::ios::binary) << data;
    }
    std::string read(const std::string& name) { return file_bytes((folder_ / name).string()); }
    // `arguments` is shell text, so that it can redirect; `before` runs in the same shell.
    Outcome run(const std::string& arguments, const std::string& before = ":") {
        const std::string line = "cd '" + folder_.string() + "' && " + before + " && { '" +
                                 MMSKIT_TOOL + "' " + arguments + "; } >.out 2>.err";
        const int status = std::system(line.c_str());
        return {WEXITSTATUS(status), read(".out"), read(".err")};
    }
    std::vector<std::string> list(const std::string& name) {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder_ / name))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    fs::path folder_;
};

TEST_F(Tool, exit_codes_and_one_line_reasons) {
    write("empty.mms", "");
    write("text.mms", "Hello");
    write("short.mms", "\x8C");
    write("notification.mms", bytes("8C 82 98 'T' 00 85 00"));
    write("unknown.mms", bytes("8C 99"));
    write("bad.mms", bytes("8C 84 98 'T' 00 B0 00"));
    const std::string size = std::to_string(message.size());
    const struct {
        const char* arguments;
        int code;
        std::string out, err;  // pieces; no piece means that nothing is printed
    } cases[] = {
        {"--version", 0, "mmskit 0.1.0\n", ""},
        {"--help", 0, "extract", ""},
        {"show --help", 0, "--json", ""},
        {"--version >/dev/full", 1, "", "mmskit: standard output: No space left on device\n"},
        {"", 2, "", "subcommand"},
        {"show", 2, "", "FILE"},
        {"show m.mms more", 2, "", "more"},
        {"extract m.mms", 2, "", "--output"},
        {"show m.mms \"$(printf '\\033')\"", 2, "", "\\x1b"},
        {"show - <m.mms", 0, "m-retrieve-conf  " + size + " bytes", ""},
        {"show m.mms >/dev/full", 1, "", "mmskit: standard output: No space left on device\n"},
        {"show m.mms >&-", 1, "", "mmskit: standard output: Bad file descriptor\n"},
        {"show none.mms", 1, "", "mmskit: none.mms: No such file or directory\n"},
        {"show .", 1, "", "mmskit: .: Is a directory\n"},
        {"show empty.mms", 1, "", "mmskit: empty.mms: the file is empty, at byte 0\n"},
        {"show - <text.mms", 1, "", "mmskit: standard input: neither a message"},
        {"show short.mms", 1, "", "the message type is missing, at byte 1\n"},
        {"show notification.mms", 1, "",
         "mmskit: notification.mms: no content location, at byte 5\n"},
        {"show unknown.mms", 1, "", "unknown message type 0x99, at byte 1\n"},
        {"show bad.mms", 1, "", ", at byte 5\n"},
        {"extract bad.mms -o x", 1, "", ", at byte 5\n"},
        {"extract m.mms -o m.mms", 1, "", "mmskit: m.mms: Not a directory\n"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.arguments);
        const Outcome outcome = run(test.arguments);
        EXPECT_EQ(outcome.code, test.code);
        EXPECT_NE(outcome.out.find(test.out), std::string::npos) << outcome.out;
        EXPECT_EQ(outcome.out.empty(), test.out.empty()) << outcome.out;
        EXPECT_NE(outcome.err.find(test.err), std::string::npos) << outcome.err;
        EXPECT_EQ(outcome.err.empty(), test.err.empty()) << outcome.err;
        const auto lines = std::count(outcome.err.begin(), outcome.err.end(), '\n');
        EXPECT_TRUE(test.code != 1 || lines == 1) << outcome.err;
    }
    EXPECT_FALSE(fs::exists(folder_ / "x")) << "nothing is made for a message that fails";
}

TEST_F(Tool, show_tells_headers_slides_and_attachments) {
    const std::string expected = "m-retrieve-conf  " + std::to_string(message.size()) +
                                 " bytes  screen 160x120  background #0000ff\n"
                                 R"(
From                   +123
To                     to@x;b
Subject                Hi
Date                   2024-02-29T12:14:56Z
Message-ID             id
X-Mms-Transaction-Id   T1
X-Mms-Message-Class    advertisement
X-Mms-Priority         high
X-Mms-Delivery-Report  yes
X-Mms-Read-Report      no

Slide 1  5 s  background #0000ff
  text  0.5 to 5.5 s  30x40 at 1,2
    one
    two \x1b[2J

    four
  image  b.jpg  image/jpeg  5 bytes  0 to 5 s
  and 1 more image

Slide 2  background #0000ff
  image  a.jpg  image/jpeg  4 bytes  0 to 5 s

Attachments
  c.bin  application/x-c  2 bytes
)";
    EXPECT_EQ(run("show m.mms").out, expected);
}

TEST_F(Tool, json_tells_the_same) {
    write("body.mms", slides_body);
    json expected = json::parse(R"({"kind": "m-retrieve-conf", "headers": {"from": "+123",
        "to": "to@x;b", "subject": "Hi", "message_id": "id", "transaction_id": "T1",
        "date": {"seconds": 1709208896, "iso": "2024-02-29T12:14:56Z"}, "priority": "high",
        "message_class": "advertisement", "delivery_report": true, "read_report": false},
        "screen": {"width": 160, "height": 120, "background": "#0000ff"}, "slides": [
        {"duration_ms": 5000, "background": "#0000ff", "more": {"image": 1}, "text":
         {"text": "one\r\ntwo \u001b[2J\n\nfour", "begin_ms": 500, "end_ms": 5500,
          "region": {"left": 1, "top": 2, "width": 30, "height": 40}}, "image":
         {"name": "b.jpg", "type": "image/jpeg", "bytes": 5, "begin_ms": 0, "end_ms": 5000}},
        {"duration_ms": 0, "background": "#0000ff", "image":
         {"name": "a.jpg", "type": "image/jpeg", "bytes": 4, "begin_ms": 0, "end_ms": 5000}}],
        "attachments": [{"name": "c.bin", "type": "application/x-c", "bytes": 2}]})");
    expected["bytes"] = message.size();
    EXPECT_EQ(json::parse(run("show --json m.mms").out), expected);

    expected["kind"] = "message body";
    expected["bytes"] = slides_body.size();
    expected["headers"] = json::object();
    EXPECT_EQ(json::parse(run("show --json body.mms").out), expected);
}

TEST_F(Tool, hostile_bytes_never_reach_the_terminal_raw) {
    std::string all;
    for (int c = 1; c < 256; ++c)
        all += static_cast<char>(c);
    const std::string turned = "\xE2\x80\xAE\xC2\x9B\xE2\x81\xA6\xC3\xA9";  // U+202E 9B 2066 E9
    const std::string body = multipart(
        {part("application/smil" + zero, "<smil><body><par><text src=\"t\"/></par></body></smil>"),
         part(located("\x83", "t"), all), part(located(jpeg_type, "n" + all), "J"),
         part(located(jpeg_type, turned), "K")});
    write("all.mms", bytes("8C 84 98") + all + zero + bytes("8B 'm'") + all + zero + body);

    const Outcome text = run("show all.mms");
    const Outcome document = run("show --json all.mms");
    for (const std::string& out : {text.out, document.out, run("extract all.mms -o d").out}) {
        EXPECT_NO_THROW((void)json(out).dump()) << "not UTF-8";
        for (std::size_t i = 0; i < out.size(); ++i) {
            const auto c = static_cast<unsigned char>(out[i]);
            EXPECT_TRUE((c >= 0x20 && c != 0x7F) || c == '\n') << "byte " << int{c};
            EXPECT_TRUE(c != 0xC2 || static_cast<unsigned char>(out[i + 1]) >= 0xA0);
        }
        for (const char* sign : {"\xE2\x80\xAE", "\xE2\x81\xA6"})
            EXPECT_EQ(out.find(sign), std::string::npos);
    }
    EXPECT_NE(text.out.find("\\u{202e}\\u{9b}\\u{2066}\xC3\xA9"), std::string::npos);

    std::string escaped;
    for (const char c : all) {
        char hex[8];
        (void)std::snprintf(hex, sizeof hex, "\\x%02x", static_cast<unsigned char>(c));
        escaped += static_cast<unsigned char>(c) >= 0x80 ? hex
                   : c == '\\'                           ? "\\\\"
                                                         : std::string(1, c);
    }
    const json parsed = json::parse(document.out);
    EXPECT_EQ(parsed["headers"]["message_id"], "m" + escaped);
    EXPECT_EQ(parsed["slides"][0]["text"]["text"], escaped);
    EXPECT_EQ(parsed["attachments"][1]["name"], turned);
}

TEST_F(Tool, extract_writes_each_part_once) {
    EXPECT_EQ(run("extract m.mms -o new/d").out,
              "new/d/slide1.txt  text/plain  19 bytes\nnew/d/b.jpg  image/jpeg  5 bytes\n"
              "new/d/a.jpg  image/jpeg  4 bytes\n"
              "new/d/c.bin  application/x-c  2 bytes\n");
    EXPECT_EQ(read("new/d/slide1.txt"), "one\r\ntwo \x1b[2J\n\nfour");
    EXPECT_EQ(read("new/d/a.jpg") + read("new/d/b.jpg") + read("new/d/c.bin"), "AAAABBBBBCC");
    EXPECT_EQ(list("new/d"), (std::vector<std::string>{"a.jpg", "b.jpg", "c.bin", "slide1.txt"}));

    write("new/d/a-2.jpg", "mine");
    const json again = json::parse(run("extract --json m.mms -o new/d").out);
    EXPECT_EQ(again["files"][2], json::parse(R"({"file": "new/d/a-3.jpg", "type": "image/jpeg",
        "bytes": 4, "slide": 1})"));
    EXPECT_EQ(read("new/d/a.jpg") + read("new/d/a-2.jpg"), "AAAAmine");
}

TEST_F(Tool, extracted_names_are_safe) {
    std::string accents;
    for (int i = 0; i < 150; ++i)
        accents += "\xC3\xA9";
    const struct {
        std::string name, file;
    } cases[] = {
        {"../../etc/passwd", "passwd"},
        {"/abs/photo.jpg", "photo.jpg"},
        {"a\\b\\photo.jpg", "photo-2.jpg"},
        {"..", "image4.jpeg"},
        {"-rf", "rf"},
        {".-.profile", "profile"},
        {"x..y. ", "x.y"},
        {"\x1b[2J\x07.jpg", "_[2J_.jpg"},
        {"gpj.\xE2\x80\xAE"
         "exe",
         "gpj._exe"},
        {"\xFF\xC0\xAF.jpg", "___.jpg"},
        {"link.jpg", "link-2.jpg"},
        {accents + ".jpg", accents.substr(0, 196) + ".jpg"},
        {accents + "x.jpg", accents.substr(0, 184) + "-2.jpg"},
    };
    std::vector<std::string> parts;
    // Distinct data each: the same part is written once.
    for (const auto& test : cases)
        parts.push_back(part(located(jpeg_type, test.name), test.file));
    write("names.mms", multipart(parts));
    fs::create_directory(folder_ / "d");
    fs::create_symlink("../outside", folder_ / "d/link.jpg");
    EXPECT_EQ(run("extract names.mms -o d").code, 0);
    EXPECT_FALSE(fs::exists(folder_ / "outside"));
    for (const auto& test : cases)
        EXPECT_EQ(read("d/" + test.file), test.file) << test.name;
    EXPECT_EQ(list("d").size(), std::size(cases) + 1);
}

TEST_F(Tool, failed_write_leaves_no_half_file) {
    write("big.mms", multipart({part(located(jpeg_type, "small.jpg"), "S"),
                                part(located(jpeg_type, "big.jpg"), std::string(5000, 'B'))}));
    const Outcome outcome = run("extract big.mms -o d", "ulimit -f 2");
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err, "mmskit: d/: File too large\n");
    EXPECT_EQ(outcome.out, "d/small.jpg  image/jpeg  1 byte\n");
    EXPECT_EQ(list("d"), std::vector<std::string>{"small.jpg"});
}

}  // namespace
