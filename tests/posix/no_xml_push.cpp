// A build without an XML parser refuses push documents as XML text, and says so in its log.
#include <gtest/gtest.h>

#include "tests/support/push_facts.h"

using namespace testing_support;

namespace {

TEST(NoXmlPush, text_is_refused_with_a_reason_and_left_as_it_is) {
    std::string lines;
    fnSC_SetLogSink([](const char* line, void* to) { *static_cast<std::string*>(to) += line; },
                    &lines);
    std::string text = "<?xml version='1.0'?><sl href='a'/>";
    EXPECT_EQ(fnMMSPush_DecodeXmlSl(text.data(), 35), nullptr);
    fnMMSPush_ReleaseXml();
    EXPECT_EQ(text, "<?xml version='1.0'?><sl href='a'/>");
    EXPECT_EQ(lines, "push documents as XML text are not in this build");
    lines.clear();
    EXPECT_EQ(decode_xml_si("<si><indication>a</indication></si>"), "null");
    EXPECT_EQ(lines, "push documents as XML text are not in this build");
    fnSC_SetLogSink(nullptr, nullptr);
}

TEST(NoXmlPush, wbxml_is_read) {
    const std::string sl("\x03\x06\x6A\x00\x85\x08\x03h\x00\x01", 10);
    EXPECT_EQ(decode_sl(sl), "href=h action=5 106");
}

}  // namespace
