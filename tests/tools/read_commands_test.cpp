// The commands that read messages, one by one and by the folder: list, explain, show of several
// files, extract --all, decompose, and answers made from the message that they answer.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>

#include "tests/tools/tool_runner.h"

namespace {

using nlohmann::json;
using namespace testing_support;
namespace fs = std::filesystem;

const std::string examples = MMSKIT_SOURCE_DIR "/examples/";
const std::string postcard = examples + "postcard.mms";

class ReadCommands : public ToolRunner {
  protected:
    void SetUp() override {
        ToolRunner::SetUp();
        fs::create_directories(folder_ / "box/deeper");
        fs::copy(postcard, folder_ / "box/b.mms");
        fs::copy(examples + "no-smil.mms", folder_ / "box/a.mms");
        write("box/deeper/n.mms", notification);
        write("box/cut.mms", file_bytes(postcard).substr(0, 3000));
        write("box/.hidden", "no");
    }
    static std::vector<std::string> lines(const std::string& text) {
        std::vector<std::string> list;
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);)
            list.push_back(line);
        return list;
    }
    const std::string notification = bytes(
        "8C 82 98 'T9' 00 8D 92 89 03 80 '4' 00 8A 80 8E 02 1000 88 05 81 03 03F480 83 'http://x' "
        "00");
};

TEST_F(ReadCommands, list_is_a_line_a_message_in_the_order_of_names) {
    const Outcome outcome = run("list box");
    EXPECT_EQ(outcome.code, 3) << outcome.err;
    const auto rows = lines(outcome.out);
    ASSERT_EQ(rows.size(), 5U) << outcome.out;
    const char* ends[] = {"FILE", "box/a.mms", "box/b.mms", "box/cut.mms", "box/deeper/n.mms"};
    for (std::size_t i = 0; i < rows.size(); ++i)
        EXPECT_TRUE(rows[i].ends_with(ends[i])) << rows[i];
    for (const char* piece : {"m-retrieve-conf", "2025-07-31 17:00", "+15550100",
                              "Grüße vom Strand", "     3", "    8", "11063"})
        EXPECT_NE(rows[2].find(piece), std::string::npos) << piece << '\n' << rows[2];
    EXPECT_NE(rows[3].find(" lost  "), std::string::npos) << rows[3];

    // Those without a date come first.
    EXPECT_TRUE(lines(run("list --sort date box").out)[1].ends_with("n.mms"));
    write("box/x.jpg", bytes("FFD8FFE0"));
    const Outcome other = run("list box");
    EXPECT_EQ(other.code, 1);
    EXPECT_EQ(other.err, "mmskit: 1 of 5 files could not be read as a message\n");
    EXPECT_NE(other.out.find("a JPEG picture"), std::string::npos) << other.out;
}

TEST_F(ReadCommands, json_lines_are_a_document_a_line) {
    write("box/x", "no message");
    const Outcome outcome = run("show --json-lines box");
    EXPECT_EQ(outcome.code, 1);
    const auto rows = lines(outcome.out);
    ASSERT_EQ(rows.size(), 5U);
    json alone = shown("box/b.mms");
    alone["file"] = "box/b.mms";
    EXPECT_EQ(json::parse(rows[1]), alone);
    EXPECT_EQ(json::parse(rows[4]),
              json::parse(R"({"file": "box/x", "error": {"reason": "no message, but a text"}})"));
}

TEST_F(ReadCommands, several_files_end_with_the_worst_of_them) {
    const struct {
        const char* files;
        int code;
    } cases[] = {{"box/a.mms box/b.mms", 0},
                 {"box/a.mms box/cut.mms", 3},
                 {"box/cut.mms none box/a.mms", 1},
                 {"--json box/a.mms box/b.mms", 2}};
    for (const auto& [files, code] : cases)
        EXPECT_EQ(run(std::string("show ") + files).code, code) << files;
    const std::string both = run("show box/a.mms box/b.mms").out;
    EXPECT_TRUE(both.starts_with("box/a.mms:\nm-retrieve-conf  563 bytes\n")) << both;
    EXPECT_NE(both.find("\nbox/b.mms:\nm-retrieve-conf  11063 bytes"), std::string::npos);
}

TEST_F(ReadCommands, a_cut_picture_says_how_much_of_it_is_there) {
    const Outcome outcome = run("show box/cut.mms");
    EXPECT_EQ(outcome.code, 3);
    EXPECT_NE(outcome.out.find("\nNotes\n  lost      byte "), std::string::npos) << outcome.out;
    const json told = shown("box/cut.mms");
    const auto part = std::find_if(told["parts"].begin(), told["parts"].end(),
                                   [](const json& each) { return each.contains("missing_bytes"); });
    ASSERT_NE(part, told["parts"].end());
    const std::string of = std::to_string((*part)["bytes"].get<int>()) + " of 2575 bytes";
    EXPECT_EQ((*part)["bytes"].get<int>() + (*part)["missing_bytes"].get<int>(), 2575);
    EXPECT_NE(outcome.out.find("sunset.jpg  image/jpeg  " + of), std::string::npos) << outcome.out;
}

TEST_F(ReadCommands, texts_of_attachments_and_of_the_presentation_are_shown) {
    const std::string zero(1, '\0');
    const std::string text(5000, 'w');
    write("t.mms",
          bytes("84 A3 02") +
              part("application/smil" + zero, "<smil><head></head><body>\n\t<par/></body></smil>") +
              part(bytes("03 82 81 EA 8E 'page.html' 00"), text));
    const Outcome outcome = run("show t.mms");
    EXPECT_NE(outcome.out.find("\n    ... 1999 of 5000 bytes\n"), std::string::npos) << outcome.out;
    EXPECT_EQ(shown("t.mms")["attachments"][0]["text"], text);
    EXPECT_EQ(run("show --smil t.mms").out,
              "<smil><head></head><body>\n\\x09<par/></body></smil>\n");
}

TEST_F(ReadCommands, protected_media_are_told) {
    const std::string zero(1, '\0');
    write("d.mms", bytes("84 A3 03") +
                       part("application/smil" + zero,
                            "<smil><head></head><body><par><img src='a.dm'/></par>"
                            "<par><img src='b.jpg'/></par></body></smil>") +
                       part("application/vnd.oma.drm.message" + zero + "\x8E" + "a.dm" + zero,
                            "--b\r\nContent-Type: image/gif\r\n\r\nGIF89a\r\n--b--") +
                       part("\x9E\x8E" + ("b.jpg" + zero), "SEA"));
    const json slides = shown("d.mms")["slides"];
    ASSERT_EQ(slides.size(), 2U);
    EXPECT_EQ(slides[0]["image"]["drm_class"], 1);
    EXPECT_FALSE(slides[1]["image"].contains("drm_class"));
    const std::string out = run("show d.mms").out;
    const std::string told = "  DRM class 1\n";
    EXPECT_EQ(out.find(told), out.rfind(told)) << out;
    EXPECT_NE(out.find(told), std::string::npos) << out;
    EXPECT_EQ(run("forward d.mms --to a@b -o f.mms").err,
              "mmskit: warning: slide 1: image is protected; forwarding it may not be allowed\n");
}

TEST_F(ReadCommands, explain_tells_every_byte) {
    const json nodes = json::parse(run("explain --json " + postcard).out);
    EXPECT_EQ(nodes[0], json::parse(R"({"offset": 0, "length": 2, "depth": 0, "layer": 0,
        "name": "X-Mms-Message-Type", "value": "m-retrieve-conf"})"));
    const std::string text = run("explain " + postcard).out;
    EXPECT_EQ(text.find('\x1b'), std::string::npos) << "colour is for a terminal";
    EXPECT_TRUE(
        text.starts_with("     0  8C 84                     X-Mms-Message-Type  m-retrieve-conf\n"))
        << text.substr(0, 200);
    EXPECT_EQ(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')), nodes.size());
    for (const char* at : {"1", "0x1"})
        EXPECT_EQ(lines(run("explain " + postcard + " --at " + at).out).size(), 1U);
    EXPECT_EQ(run("explain " + postcard + " --at 11063").code, 1);
    EXPECT_EQ(run("explain " + postcard + " --at 1x").code, 2);
    write("cut.si", bytes("02 05 6A 00 45 C6 'a'"));
    EXPECT_EQ(run("explain cut.si").code, 1) << "a push document that does not decode";

    // A header that the exact decoder refuses, and where it says so.
    write("r.mms", bytes("8C 84 98 'T' 00 8D 92 A3 81 85 01 05 83 'x' 00"));
    const auto rows = lines(run("explain r.mms").out);
    const auto stop = std::find_if(rows.begin(), rows.end(), [](const std::string& row) {
        return row.find("the exact decoder stops here, at byte 7") != std::string::npos;
    });
    ASSERT_NE(stop, rows.end());
    EXPECT_TRUE((stop + 1)->starts_with("     7  A3 81")) << *(stop + 1);
}

// A request is read back by its exact decoder, which refuses one with a date.
TEST_F(ReadCommands, exact_shows_what_is_sent) {
    const std::string compose = "compose -o s.mms --to +12345 --subject Hi --slide text=words";
    ASSERT_EQ(run(compose).code, 0);
    const json exact = json::parse(run("show --json --exact s.mms").out);
    EXPECT_EQ(exact["kind"], "m-send-req");
    EXPECT_EQ(exact["headers"]["to"], "+12345");
    EXPECT_EQ(exact["slides"][0]["text"]["text"], "words");
    ASSERT_EQ(run(compose + " --date 2026-01-01T00:00:00Z").code, 0);
    EXPECT_EQ(run("show --exact s.mms").code, 1);
    EXPECT_EQ(run("show s.mms").code, 0);
}

TEST_F(ReadCommands, extract_all_writes_each_part_and_a_manifest_once) {
    EXPECT_EQ(run("extract --all " + postcard + " -o d").code, 0);
    const json manifest = json::parse(read("d/manifest.json"));
    json parts = shown(postcard)["parts"];
    ASSERT_EQ(manifest["parts"].size(), parts.size());
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const std::string file = manifest["parts"][i]["file"];
        parts[i]["file"] = file;
        EXPECT_EQ(manifest["parts"][i], parts[i]);
        EXPECT_EQ(read("d/" + file).size(), parts[i]["bytes"]);
    }
    EXPECT_EQ(read("d/sunset.jpg"), file_bytes(examples + "media/sunset.jpg"));
    const auto files = std::distance(fs::directory_iterator(folder_ / "d"), {});
    const Outcome again = run("extract --all " + postcard + " -o d");
    EXPECT_EQ(again.code, 1);
    EXPECT_EQ(again.err,
              "mmskit: d: a message was extracted to it already (manifest.json is "
              "there)\n");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_ / "d"), {}), files);
}

// What a message shows, without places: a composed message has a layout of its own.
json slides_of(const json& document) {
    json slides = document["slides"];
    for (json& slide : slides) {
        for (const char* kind : {"text", "image", "audio", "video"}) {
            if (slide.contains(kind)) slide[kind].erase("region");
        }
    }
    return slides;
}

// The bytes, texts and beginnings of what a slide shows; its duration as a composed message has it:
// 12 s where there was none, and 120 s at most.
json shape_of(const json& document) {
    json slides = json::array();
    for (const json& slide : document["slides"]) {
        const int duration = slide["duration_ms"];
        json shape{{"duration", duration == 0 ? 12000 : std::min(duration, 120000)}};
        for (const char* kind : {"text", "image", "audio", "video"}) {
            if (!slide.contains(kind)) continue;
            const json& element = slide[kind];
            shape[kind] = {element.value("text", json()), element.value("bytes", json()),
                           element.value("type", json()), element["begin_ms"]};
        }
        slides.push_back(shape);
    }
    return slides;
}

TEST_F(ReadCommands, what_is_decomposed_composes_to_the_same_slides) {
    for (const std::string box : {MMSKIT_SOURCE_DIR "/examples", MMSKIT_SAMPLES, MMSKIT_ODD}) {
        std::error_code none;
        for (const auto& entry : fs::directory_iterator(box, none)) {
            const std::string file = entry.path();
            if (!file.ends_with(".mms")) continue;
            SCOPED_TRACE(file);
            const Outcome document = run("show --json " + file);
            if (document.code == 1) continue;
            const json before = json::parse(document.out);
            if (!before.contains("parts")) continue;
            fs::remove_all(folder_ / "d");
            const Outcome taken = run("decompose " + file + " -o d");
            EXPECT_TRUE(taken.code == 0 || taken.code == 3) << taken.err;
            EXPECT_EQ(taken.out, "d/message.json\n");
            const Outcome made = run("compose --retrieved d/message.json -o made.mms");
            EXPECT_EQ(made.code, 0) << made.err;
            const json after = shown("made.mms");
            EXPECT_EQ(shape_of(after), shape_of(before));
            EXPECT_EQ(run("decompose " + file + " -o d").code, 1) << "nothing is replaced";
            if (!box.ends_with("examples")) continue;  // with flaws, which do not come back
            EXPECT_EQ(taken.code, 0);
            EXPECT_EQ(slides_of(after), slides_of(before));
            EXPECT_EQ(after["attachments"], before["attachments"]);
            for (const char* key : {"from", "to", "cc", "subject", "date", "read_report"})
                EXPECT_EQ(after["headers"].value(key, json()), before["headers"].value(key, json()))
                    << key;
        }
    }
}

// A list of a megabyte holds hundreds of thousands.
TEST_F(ReadCommands, recipients_that_cannot_be_sent_to_are_told_up_to_a_hundred) {
    std::string list = "ann@example.com;x0";
    for (int i = 0; i < 103; ++i)
        list += ";x" + std::to_string(i);
    write("m.mms", bytes("8C 84 98 'T' 00 8D 90 97 '" + list + "' 00 89 01 81 84 83 'text'"));
    const Outcome taken = run("decompose m.mms -o d");
    EXPECT_EQ(std::count(taken.err.begin(), taken.err.end(), '\n'), 101) << taken.err;
    EXPECT_TRUE(taken.err.ends_with("mmskit: warning: to: 3 more are left out\n")) << taken.err;
    EXPECT_EQ(json::parse(read("d/message.json"))["to"], json({"ann@example.com"}));
}

TEST_F(ReadCommands, answers_are_made_from_what_they_answer) {
    write("n.mms", notification);
    const std::pair<std::string, const char*> cases[] = {
        {"respond notify n.mms", "8C 83 98 'T9' 00 8D 92 91 80 95 81"},
        {"respond notify n.mms --status deferred --transaction-id X",
         "8C 83 98 'X' 00 8D 92 91 80 95 83"},
        {"respond ack " + postcard, "8C 85 98 'T-postcard' 00 8D 92 91 80"},
        {"respond read " + postcard + " --date 2025-12-31",
         "8C 87 8D 92 8B 'postcard@mmsc.example' 00 89 01 81 97 '+15550100/TYPE=PLMN' 00"
         "85 04 69546780 9B 80"},
    };
    for (const auto& [arguments, pdu] : cases)
        EXPECT_EQ(hex(run(arguments + " -o -").out), hex(bytes(pdu))) << arguments;
    EXPECT_EQ(run("respond ack n.mms -o -").err,
              "mmskit: n.mms: it is m-notification-ind, not m-retrieve-conf\n");
    EXPECT_EQ(run("respond ack -o -").code, 2);
}

}  // namespace
