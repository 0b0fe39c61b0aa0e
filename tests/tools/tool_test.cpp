// The mmskit command as a user meets it: command lines in, exit code, output and files out. Each
// test works in a fresh folder; the messages are built here byte by byte.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "Push/src/put_utf8.h"
#include "tests/tools/tool_runner.h"

namespace {

using nlohmann::json;
using namespace testing_support;
namespace fs = std::filesystem;

const std::string zero(1, '\0');
const std::string jpeg_type = "\x9E";
const std::string utf8_text_type = "\x03\x83\x81\xEA";

std::string located(const std::string& type, const std::string& name) {
    return type + "\x8E" + name + zero;
}
std::string multipart(const std::vector<std::string>& parts) {
    std::string body = bytes("84 A3") + uintvar(parts.size());
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

class Tool : public ToolRunner {
  protected:
    void SetUp() override {
        ToolRunner::SetUp();
        write("m.mms", message);
    }
    auto files_in(const std::string& name) {
        return std::distance(fs::directory_iterator(folder_ / name), {});
    }
};

TEST_F(Tool, exit_codes_and_one_line_reasons) {
    write("empty.mms", "");
    write("text.mms", "Hello");
    write("bad.mms", bytes("8C 84 98 'T' 00 B0 00"));
    EXPECT_EQ(run("--version").out, "mmskit 0.1.0\n");
    EXPECT_NE(run("--help").out.find("extract"), std::string::npos);
    EXPECT_EQ(run("show - <m.mms").out, run("show m.mms").out);
    const std::tuple<const char*, int, const char*> cases[] = {
        {"--version >/dev/full", 1, "mmskit: standard output: No space left on device\n"},
        {"show m.mms \"--$(printf '\\033')\"", 2, "\\x1b"},
        {"show none.mms", 1, "mmskit: none.mms: No such file or directory\n"},
        {"show empty.mms", 1, "mmskit: empty.mms: the file is empty\n"},
        {"show - <text.mms", 1, "mmskit: standard input: no message, but a text\n"},
        {"show --exact bad.mms", 1, ", at byte 5\n"},
        {"extract bad.mms -o x", 1, "mmskit: bad.mms: the message has no parts\n"},
        {"show --smil bad.mms", 1, "mmskit: the message has no presentation\n"},
        {"extract m.mms -o m.mms", 1, "mmskit: m.mms: Not a directory\n"},
    };
    for (const auto& [arguments, code, piece] : cases) {
        SCOPED_TRACE(arguments);
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.code, code);
        EXPECT_EQ(outcome.out, "");
        EXPECT_NE(outcome.err.find(piece), std::string::npos) << outcome.err;
        const auto lines = std::count(outcome.err.begin(), outcome.err.end(), '\n');
        EXPECT_TRUE(code != 1 || lines == 1) << outcome.err;
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
X-Mms-MMS-Version      1.2
X-Mms-Message-Class    advertisement
X-Mms-Priority         high
X-Mms-Delivery-Report  yes
X-Mms-Read-Report      no
Content-Type           application/vnd.wap.multipart.mixed

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
    const json told = shown("m.mms");
    EXPECT_EQ(told["screen"],
              json::parse(R"({"width": 160, "height": 120, "background": "#0000ff"})"));
    EXPECT_EQ(told["slides"][0]["more"], json({{"image", 1}}));
    EXPECT_EQ(told["slides"][0]["text"]["text"], "one\r\ntwo \x1b[2J\n\nfour");
    write("two.mms", multipart({part("application/smil" + zero,
                                     "<smil><body><par><text src=\"a\"/><text src=\"b\"/></par>"
                                     "</body></smil>"),
                                part(located(utf8_text_type, "a"), "one"),
                                part(located(utf8_text_type, "b"), "two")}));
    EXPECT_EQ(json::parse(run("show --json --exact two.mms").out)["slides"][0]["more"],
              json({{"text", 1}}));
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

    const std::string escaped =
        all.substr(0, 0x5B) + R"(\\)" + all.substr(0x5C, 0x23) + R"(\x80\x81)";
    const json exact = json::parse(run("show --json --exact all.mms").out);
    for (const json& told : {exact["headers"]["message_id"], exact["slides"][0]["text"]["text"]})
        EXPECT_LE(told.get<std::string>().find(escaped), 1U) << told;
    const json parsed = json::parse(document.out);
    for (const json& told : {parsed["headers"]["message_id"], parsed["slides"][0]["text"]["text"]})
        EXPECT_NE(told.get<std::string>().find("{|}~\x7F€"), std::string::npos) << told;
    EXPECT_EQ(parsed["attachments"][1]["name"], turned);
}

TEST_F(Tool, extract_writes_each_part_once) {
    EXPECT_EQ(run("extract m.mms -o new/d").out,
              "new/d/slide1.txt  text/plain  19 bytes\nnew/d/b.jpg  image/jpeg  5 bytes\n"
              "new/d/a.jpg  image/jpeg  4 bytes\n"
              "new/d/c.bin  application/x-c  2 bytes\n");
    EXPECT_EQ(read("new/d/slide1.txt"), "one\r\ntwo \x1b[2J\n\nfour");
    EXPECT_EQ(read("new/d/a.jpg") + read("new/d/b.jpg") + read("new/d/c.bin"), "AAAABBBBBCC");
    EXPECT_EQ(files_in("new/d"), 4);

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
    const std::pair<std::string, std::string> cases[] = {
        {"../../etc/passwd", "passwd"},
        {"/abs/photo.jpg", "photo.jpg"},
        {"a\\b\\photo.jpg", "photo-2.jpg"},
        {"..", "image4.jpeg"},
        {".-.profile", "profile"},
        {"e\x1b[2J\x07.jpg", "e_[2J_.jpg"},
        {"gpj.\xE2\x80\xAEtxt", "gpj._txt"},
        {"\xFF\xC0\xAF.jpg", "ÿÀ¯.jpg"},
        {"link.jpg", "link-2.jpg"},
        {accents + ".jpg", accents.substr(0, 196) + ".jpg"},
        {accents + "x.jpg", accents.substr(0, 184) + "-2.jpg"},
        {accents + ".15_letters_here", accents.substr(0, 184) + ".15_letters_here"},
        {accents + ".16_letters_heree", accents.substr(0, 200)},
    };
    std::vector<std::string> parts;
    // Distinct data each: the same part is written once.
    for (const auto& [name, file] : cases)
        parts.push_back(part(located(jpeg_type, name), file));
    write("names.mms", multipart(parts));
    fs::create_directory(folder_ / "d");
    fs::create_symlink("../outside", folder_ / "d/link.jpg");
    EXPECT_EQ(run("extract names.mms -o d").code, 0);
    EXPECT_FALSE(fs::exists(folder_ / "outside"));
    for (const auto& [name, file] : cases)
        EXPECT_EQ(read("d/" + file), file) << name;
    EXPECT_EQ(files_in("d"), std::ssize(cases) + 1);
}

TEST_F(Tool, failed_write_leaves_no_half_file) {
    write("big.mms", multipart({part(located(jpeg_type, "small.jpg"), "S"),
                                part(located(jpeg_type, "big.jpg"), std::string(5000, 'B'))}));
    const Outcome outcome = run("extract big.mms -o d", "ulimit -f 2");
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err, "mmskit: d/: File too large\n");
    EXPECT_EQ(outcome.out, "d/small.jpg  image/jpeg  1 byte\n");
    EXPECT_EQ(files_in("d"), 1);
}

TEST_F(Tool, output_takes_any_name_and_replaces_no_link) {
    const std::string compose = "compose --slide text=hi --to x@y -o ";
    const std::string longest(255, 'n');
    EXPECT_EQ(run(compose + longest).code, 0);
    EXPECT_EQ(run(compose + longest).code, 0) << "and again";
    EXPECT_EQ(run(compose + longest + "n").code, 1);
    write("kept.mms", "old");
    fs::create_symlink("kept.mms", folder_ / "link");
    EXPECT_EQ(run(compose + "link").code, 0);
    EXPECT_TRUE(fs::is_symlink(folder_ / "link"));
    EXPECT_EQ(read("kept.mms").size(), read(longest).size()) << "the file behind it is replaced";
    fs::create_symlink("nowhere", folder_ / "dangling");
    const Outcome refused = run(compose + "dangling");
    EXPECT_EQ(refused.err, "mmskit: dangling: a symbolic link that leads to no file\n");
    EXPECT_TRUE(fs::is_symlink(folder_ / "dangling"));
    EXPECT_FALSE(fs::exists(folder_ / "nowhere"));
    for (const auto& entry : fs::directory_iterator(folder_))
        EXPECT_FALSE(entry.path().filename().string().ends_with(".part")) << entry.path();
}

// What fails behind the write() that took the bytes must fail the command too.
TEST_F(Tool, failed_output_is_told_and_leaves_nothing) {
    const Outcome full =
        run("compose --to x@y --slide text=$(head -c 60000 /dev/zero | tr '\\0' x) -o /dev/full");
    EXPECT_EQ(full.code, 1);
    EXPECT_EQ(full.err, "mmskit: /dev/full: No space left on device\n");
    write("long.mms",
          headers + multipart({part(located(utf8_text_type, "t"), std::string(300'000, 'x'))}));
    run("show --json long.mms 2>.err2; echo $? >&3; } 3>.code | true; { :");
    EXPECT_EQ(read(".code"), "1\n") << "a closed pipe is an error of the write";
    EXPECT_EQ(read(".err2"), "mmskit: standard output: Broken pipe\n");
    for (const auto& entry : fs::directory_iterator(folder_))
        EXPECT_FALSE(entry.path().filename().string().ends_with(".part")) << entry.path();
}

TEST_F(Tool, invisible_and_overlong_characters_in_names_are_shown) {
    // The ends of each range that shows nothing or turns the direction; and what stands beside
    // them.
    constexpr uint32_t unseen[] = {0x80,    0x9F,    0xAD,    0x34F,   0x61C,   0x115F,  0x1160,
                                   0x17B4,  0x17B5,  0x180B,  0x180F,  0x200B,  0x200E,  0x200F,
                                   0x2028,  0x202E,  0x2060,  0x206F,  0x3164,  0xFEFF,  0xFFA0,
                                   0xFFF0,  0xFFFB,  0x1BCA0, 0x1BCA3, 0x1D173, 0x1D17A, 0xE0000,
                                   0xE00FF, 0xE01F0, 0xE0FFF};
    constexpr uint32_t beside[] = {
        0x7E,    0xA0,    0xAC,    0xAE,    0x34E,   0x350,   0x61B,   0x61D,   0x115E,  0x1161,
        0x17B3,  0x17B6,  0x180A,  0x1810,  0x200A,  0x200C,  0x200D,  0x2010,  0x2027,  0x202F,
        0x205F,  0x2070,  0x3163,  0x3165,  0xFEFE,  0xFF00,  0xFF9F,  0xFFA1,  0xFFEF,  0xFFFC,
        0x7FF,   0x800,   0xFFF,   0x1000,  0xD7FF,  0xE000,  0x10000, 0x3FFFF, 0x40000, 0x1BC9F,
        0x1BCA4, 0x1D172, 0x1D17B, 0xDFFFF, 0xE0100, 0xE01EF, 0xE1000, 0x10FFFF};
    char utf8[4], code[16];
    std::string hidden = "a", told = "a", seen;
    for (const uint32_t c : unseen) {
        hidden.append(&utf8[0], mmskit::put_utf8(utf8, c));
        told.append(code, static_cast<size_t>(std::snprintf(code, sizeof code, "\\u{%x}", c)));
    }
    for (const uint32_t c : beside)
        seen.append(&utf8[0], mmskit::put_utf8(utf8, c));
    hidden += seen;
    const std::string overlong = "\xC0\xAF\xE0\x80\xAF\xF0\x80\x80\xAF\xED\xA0\x80\xF4\x90\x80\x80";
    write("n.mms", headers + multipart({part(located(jpeg_type, hidden), "A"),
                                        part(located(jpeg_type, overlong), "B")}));
    const Outcome text = run("show --exact n.mms");
    EXPECT_NE(text.out.find(told + seen), std::string::npos) << text.out;
    EXPECT_NE(
        text.out.find("\\xc0\\xaf\\xe0\\x80\\xaf\\xf0\\x80\\x80\\xaf\\xed\\xa0\\x80\\xf4\\x90"),
        std::string::npos)
        << text.out;
    const Outcome document = run("show --json --exact n.mms");
    EXPECT_NE(document.out.find("\\udb40\\udc00"), std::string::npos) << "escaped as a pair";
    EXPECT_NE(json::parse(document.out).dump().find(hidden), std::string::npos);
    EXPECT_NE(run("extract n.mms -o d").out.find("a" + std::string(std::size(unseen), '_') + seen),
              std::string::npos);
}

TEST_F(Tool, extract_writes_more_than_ten_thousand_files_only_when_told) {
    for (const size_t count : {10000UL, 10001UL}) {
        write("parts.mms",
              headers + bytes("84 A3") + uintvar(count) + repeated(part(jpeg_type, "J"), count));
        const Outcome outcome = run("extract parts.mms -o d" + std::to_string(count));
        EXPECT_EQ(outcome.code, count > 10000 ? 1 : 0);
        EXPECT_EQ(outcome.err, count > 10000 ? "mmskit: parts.mms: the message has 10001 parts; "
                                               "--many writes as many files\n"
                                             : "");
        EXPECT_EQ(fs::exists(folder_ / ("d" + std::to_string(count))), count <= 10000);
    }
    EXPECT_EQ(run("extract parts.mms --many -o many >/dev/null").code, 0);
    EXPECT_EQ(files_in("many"), 10001);
}

}  // namespace
