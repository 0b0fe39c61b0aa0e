// Push documents as a user meets them: `mmskit show` on both kinds in both forms.
#include "tests/tools/tool_runner.h"

namespace {

using nlohmann::json;
using testing_support::bytes;

class PushShow : public testing_support::ToolRunner {
  protected:
    // The exit code; the command's own temporary folder is made in tmp/.
    int show(const std::string& options, const std::string& document) {
        write("document", document);
        outcome_ = run("show document " + options, "mkdir -p tmp && export TMPDIR=\"$PWD/tmp\"");
        EXPECT_TRUE(std::filesystem::is_empty(folder_ / "tmp")) << "temporary files are left";
        return outcome_.code;
    }
    std::string out() { return outcome_.out; }

    testing_support::Outcome outcome_;
};

const std::string wbxml_si = bytes(
    "02 05 04 00 45 C6 0C 03 'a' 00 11 03 'i' 00 08 0A C3 04 20 11 05 17 01 03 47 72 FC 00 "
    "01 01");

TEST_F(PushShow, says_what_the_document_says) {
    const json si = {{"text", "Grü"},
                     {"href", "http://a"},
                     {"si_id", "i"},
                     {"action", "signal-high"},
                     {"created", "2011-05-17T00:00:00Z"},
                     {"charset", "ISO-8859-1"}};
    const json xml_si = {{"text", "T"}, {"si_expires", "2011-05-17T10:20:30Z"}};
    const struct {
        const char* options;
        std::string document;
        const char* kind;
        json headers;
    } cases[] = {
        {"", wbxml_si, "service indication", si},
        {"",
         bytes("03 06 6A 00 85 07 01"),
         "service loading",
         {{"action", "cache"}, {"charset", "UTF-8"}}},
        {"--as sl",
         bytes("03 01 11 00 85 07 01"),
         "service loading",
         {{"action", "cache"}, {"charset", "17"}}},
        {"",
         "<?xml version='1.0'?><!-- <sl --><si><indication si-expires='2011-05-17T10:20:30Z'>"
         "T</indication></si>",
         "service indication", xml_si},
        {"",
         "\n<x:sl xmlns:x='u' href='b' action='execute-low'/>",
         "service loading",
         {{"href", "b"}, {"action", "execute-low"}}},
    };
    for (const auto& c : cases) {
        ASSERT_EQ(show(std::string("--json ") + c.options, c.document), 0) << c.document;
        const json shown = json::parse(out());
        EXPECT_EQ(shown["kind"], c.kind);
        EXPECT_EQ(shown["headers"], c.headers);
    }
    ASSERT_EQ(show("", wbxml_si), 0);
    EXPECT_EQ(out().substr(0, out().find('\n')), "service indication  30 bytes");
}

TEST_F(PushShow, refuses_what_is_none) {
    EXPECT_EQ(show("", "<html/>"), 1);
    EXPECT_EQ(show("", "<si><indication></si>"), 1);
    EXPECT_EQ(show("", bytes("03 05 6A 00 45 FF")), 1);
    EXPECT_EQ(show("--as mms", wbxml_si), 2);
    EXPECT_EQ(out(), "");
}

}  // namespace
