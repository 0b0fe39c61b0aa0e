// What `mmskit preview` writes, as bytes. How the pages behave in a browser, their times, places,
// colours, media and policy, is held in tests/browser.
#include <gtest/gtest.h>

#include "tests/tools/tool_runner.h"

namespace testing_support {
namespace {

using std::string;

class Preview : public ToolRunner {
  protected:
    string page(const string& message) {
        write("in.mms", message);
        const Outcome outcome = run("preview in.mms -o out.html");
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        return read("out.html");
    }
    string from_base64(const string& text) {
        write("base64", text);
        return run("--version >/dev/null; base64 -d base64").out;
    }
};

std::size_t count(const string& text, const string& what) {
    std::size_t found = 0;
    for (std::size_t at = text.find(what); at != string::npos; at = text.find(what, at + 1))
        ++found;
    return found;
}

string between(const string& text, const string& open, const string& close) {
    const std::size_t start = text.find(open);
    if (start == string::npos) return "";
    const std::size_t from = start + open.size();
    return text.substr(from, text.find(close, from) - from);
}

// A body of one part, with a location, without a presentation (WAP-230 8.5.2).
string body(const string& type, const string& name, const string& data) {
    return bytes("84 A3 01") + part(type + '\0' + "\x8E" + name + '\0', data);
}

string example(const string& name) {
    return file_bytes(MMSKIT_SOURCE_DIR "/examples/" + name);
}

TEST_F(Preview, text_and_names_never_become_markup) {
    const string evil = "</script></style><b onclick=\"x\">'&{{script}}";
    const string html = page(body("application/x-evil\"><i>", evil, evil));
    EXPECT_EQ(count(html, "<b "), 0U);
    EXPECT_EQ(count(html, "<i>"), 0U);
    EXPECT_EQ(count(html, "</script>"), 1U);
    EXPECT_EQ(count(html, "</style>"), 1U);
    EXPECT_EQ(count(html, "{{script}}"), count(html, "&amp;{{script}}"));
    EXPECT_GT(count(html, "&amp;{{script}}"), 0U);
}

TEST_F(Preview, a_browser_is_told_a_type_of_ours_or_none) {
    const string jpeg = "\xFF\xD8\xFF\xE0....";
    const struct {
        const char* rule;
        string type, data, told;  // told is empty for what can only be saved
    } cases[] = {
        {"a_picture_by_its_bytes", "application/octet-stream", jpeg, "image/jpeg"},
        {"a_wrong_type", "image/gif", jpeg, "image/jpeg"},
        {"a_type_with_parameters", "Audio/X-WAV; rate=8000", "RIFF", "audio/wav"},
        {"html", "text/html", "<html>", ""},
        {"svg", "image/svg+xml", "<svg/>", ""},
        {"svg_called_a_picture", "image/png", "<svg/>", ""},
        {"script_type", "text/javascript", "alert()", ""},
        {"midi", "audio/midi", "MThd", ""},
        {"a_type_that_ends_the_attribute", "audio/mpeg\"x", "ID3", ""},
    };
    for (const auto& each : cases) {
        const string html = page(body(each.type, "part", each.data));
        EXPECT_EQ(between(html, " src=\"data:", ";"), each.told) << each.rule;
        EXPECT_EQ(count(html, "class=\"save\""), 1U) << each.rule;
    }
}

TEST_F(Preview, a_wireless_bitmap_becomes_one_that_browsers_know) {
    // 9 by 2 points, so each row has a second octet.
    const string wbmp("\0\0\x09\x02\xA5\x80\x5A\x00", 8);
    const string html = page(body("image/vnd.wap.wbmp", "a.wbmp", wbmp));
    const string bmp = from_base64(between(html, "data:image/bmp;base64,", "\""));
    ASSERT_EQ(bmp.size(), 62U + 8U);
    EXPECT_EQ(bmp.substr(0, 2), "BM");
    EXPECT_EQ(bmp.substr(62), string("\x5A\0\0\0\xA5\x80\0\0", 8)) << "the lowest row first";
    for (const string& damaged :
         {wbmp.substr(0, 7), string("\0\0\x00\x02\xA5", 5),
          string("\0\0\xFF\xFF\xFF\xFF\x7F\x01\x01", 9), string("\0\1ab")}) {
        EXPECT_EQ(count(page(body("image/vnd.wap.wbmp", "a", damaged)), " src=\"data:"), 0U);
    }
}

TEST_F(Preview, amr_speech_is_heard_where_the_decoder_is_and_said_to_be_unplayable_where_not) {
    const string frame = "\x04" + string(12, '\x11');  // 4.75 kbit/s, 20 ms
    const string amr = "#!AMR\n" + repeated(frame, 5);
    const string html = page(body("audio/amr", "a.amr", amr));
    const string wav = from_base64(between(html, "data:audio/wav;base64,", "\""));
    if (wav.empty()) {
        EXPECT_EQ(count(html, "<audio"), 0U);
        GTEST_SKIP() << "built without opencore-amr";
    }
    EXPECT_EQ(wav.size(), 44U + 5 * 160 * 2);
    EXPECT_EQ(wav.substr(0, 4), "RIFF");
    EXPECT_EQ(from_base64(between(html, "octet-stream;base64,", "\"")), amr) << "saved as it came";
    const string cut = page(body("audio/amr", "a.amr", amr.substr(0, amr.size() - 1)));
    EXPECT_EQ(from_base64(between(cut, "data:audio/wav;base64,", "\"")).size(), 44U + 4 * 160 * 2);
}

TEST_F(Preview, a_folder_becomes_an_index_with_a_page_for_each_message) {
    const Outcome outcome =
        run("preview in -o out", "mkdir -p in/a in/b && cp '" MMSKIT_SOURCE_DIR
                                 "/examples/postcard.mms' in/a/x.mms && cp in/a/x.mms in/b/X.mms "
                                 "&& echo no >in/index && cp in/a/x.mms in/.hidden");
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "out/index.html  2 of 3 files\n");
    const string index = read("out/index.html");
    EXPECT_EQ(count(index, "<li class=\"row\""), 3U);
    EXPECT_NE(index.find("href=\"x.mms.html\""), string::npos);
    EXPECT_NE(index.find("href=\"X-1.mms.html\""), string::npos) << "names differ without case too";
    EXPECT_NE(index.find("src=\"thumbs/x.mms.jpg\""), string::npos);
    EXPECT_EQ(read("out/thumbs/x.mms.jpg"), example("media/sunset.jpg"));
    EXPECT_FALSE(read("out/x.mms.html").empty());
    EXPECT_EQ(run("preview in -o out").code, 0) << "a second run replaces the pages";
    EXPECT_EQ(read("out/index.html"), index);
}

TEST_F(Preview, a_folder_inside_of_what_is_read_is_not_read_itself) {
    const string before = "mkdir -p in && cp '" MMSKIT_SOURCE_DIR "/examples/single-text.mms' in/";
    EXPECT_EQ(run("preview in -o in/out", before).out, "in/out/index.html  1 of 1 files\n");
    EXPECT_EQ(run("preview in -o in/out").out, "in/out/index.html  1 of 1 files\n");
}

TEST_F(Preview, what_is_missing_is_said_beside_the_slides_and_at_the_part_itself) {
    write("cut.mms", example("postcard.mms").substr(0, 9000));
    EXPECT_EQ(run("preview cut.mms -o out.html").code, 3);
    const string html = read("out.html");
    EXPECT_EQ(count(html, "Not all of this message is here"), 1U);
    EXPECT_EQ(count(html, "surf.mp3: 4918 of 6264 bytes"), 1U);
    EXPECT_EQ(count(html, "Only 4918 of 6264 bytes are there."), 1U);
    EXPECT_EQ(count(page(example("postcard.mms")), "are there"), 0U);
    const Outcome outcome = run("preview in -o out", "mkdir in && mv cut.mms in");
    EXPECT_EQ(outcome.code, 0) << "an index is whole";
    EXPECT_EQ(count(read("out/index.html"), "not all of it is here"), 1U);
}

TEST_F(Preview, a_long_text_attachment_is_shown_up_to_a_whole_character) {
    const string long_text = "x" + repeated("\xC3\xA9", 3000);
    write("words.txt", long_text);
    ASSERT_EQ(run("compose -o in.mms --retrieved --to +1555 --attach words.txt").code, 0);
    ASSERT_EQ(run("preview in.mms -o out.html").code, 0);
    const string html = read("out.html");
    EXPECT_EQ(between(html, "<p class=\"words\" dir=\"auto\">", "</p>"),
              long_text.substr(0, 3999) + " …");
}

TEST_F(Preview, what_cannot_be_done_is_said) {
    write("no.mms", "nothing of the kind");
    EXPECT_EQ(run("preview no.mms -o out.html").code, 1);
    EXPECT_TRUE(read("out.html").empty());
    const Outcome taken = run("preview in -o taken", "mkdir -p in taken && echo x >taken/mine");
    EXPECT_EQ(taken.code, 1);
    EXPECT_NE(taken.err.find("holds other files"), string::npos) << taken.err;
    EXPECT_EQ(run("preview no.mms").code, 2);
}

TEST_F(Preview, what_slides_repeat_is_bounded_by_the_message) {
    const string name(70'000, 'n'), slides = repeated("<par><img src=\"i\"/></par>", 2100);
    write("m.mms",
          bytes("84 A3 02") +
              part(string("application/smil") + '\0', "<smil><body>" + slides + "</body></smil>") +
              part(string("\xA0\x8E") + name + '\0' + "\xC0\"i" + '\0', "x"));
    const Outcome shown = run("show m.mms");
    EXPECT_EQ(shown.code, 3);
    EXPECT_EQ(count(shown.out, name), 2U);
    EXPECT_NE(shown.out.find("told with their parts alone"), string::npos) << shown.err;
    (void)run("preview m.mms -o out.html");
    EXPECT_EQ(count(read("out.html"), "<article"), 2000U);
    EXPECT_EQ(count(read("out.html"), "<p>And 100 more slides"), 1U);
}

}  // namespace
}  // namespace testing_support
