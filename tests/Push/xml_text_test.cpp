// What happens to a push document's text before a file is needed; on this file layer the decoders
// end at the failed opening.
#include <gtest/gtest.h>

#include <string>

#include "Push/src/push_internal.h"
#include "scshare/common/src/limits.h"
#include "tests/support/faults.h"
#include "tests/support/push_facts.h"

using namespace testing_support;

namespace {

// removeXmlUnusedTag() called more often than there can be comments: what strip_comments() must
// equal.
std::string stripped_step_by_step(std::string text) {
    for (size_t i = 0; i <= text.size(); ++i)
        removeXmlUnusedTag(text.data(), "<!--", ">", static_cast<int32_t>(text.size()));
    return text;
}

TEST(PushXmlText, declaration_is_taken_out) {
    const struct {
        const char* rule;
        std::string text, rest;
        int32_t claim;
        uint32_t left;
    } cases[] = {
        {"declared_encoding_is_ignored", " <?xml encoding='latin1'?><a/>", " <a/>", 30, 5},
        {"the whole text", "<?xml?>", "", 7, 0},
        {"not closed", "<?xml ", "<?xml ", 6, 99},
        {"nothing is claimed", "<?xml?>ab", "<?xml?>ab", 0, 0},
        {"less than it is claimed", "<?xml?>ab", bytes("000000 'ml?>ab'"), 3, 0},
        {"a claim beyond the text is counted and not touched", "<?xml?>ab", "ab", 1000, 993},
    };
    for (const auto& c : cases) {
        const Guarded text(c.text + '\0');
        uint32_t left = 99;
        EXPECT_EQ(getXmlEncodingCharset(text.chars(), c.claim, &left), 166U);
        EXPECT_EQ(left, c.left) << c.rule;
        const std::string freed(c.text.size() - c.rest.size() + 1, '\0');
        EXPECT_EQ(std::string(text.chars(), text.size()), c.rest + freed) << c.rule;
    }
}

TEST(PushXmlText, span_ends_at_first_close) {
    std::string text = "a<!DOCTYPE si [<!ENTITY b 'c'>]>d";
    EXPECT_EQ(removeXmlUnusedTag(text.data(), "<!DOCTYPE", ">", 33), 4);
    EXPECT_EQ(text, std::string("a]>d") + std::string(29, '\0'));
    EXPECT_EQ(removeXmlUnusedTag(text.data(), "<!DOCTYPE", ">", 4), 4);
    EXPECT_EQ(removeXmlUnusedTag(text.data(), "a", "", 4), 4);
    EXPECT_EQ(removeXmlUnusedTag(text.data() + 4, "", ">", 4), 4);
}

TEST(PushXmlText, comments_go_in_one_pass_as_they_go_one_by_one) {
    for (const std::string text :
         {"a<!-- b -->c<!---->d", "<<!-->!-->--x>y", "a<!-- b > c -->d", "a<!-- b", "<!--><!--",
          "<!-<!-->- a> b > <!-- ", "", "-->", "<!<!<!-->-->-->z"}) {
        std::string once = text;
        mmskit::strip_comments(once.data());
        EXPECT_EQ(once, stripped_step_by_step(text)) << text;
    }
    std::string many = repeated("<!-- 12 -->", 100'000) + "x";  // too slow unless linear
    mmskit::strip_comments(many.data());
    EXPECT_STREQ(many.c_str(), "x");
}

TEST(PushXmlText, limits_let_the_last_through_and_stop_the_next) {
    using namespace mmskit::limits;
    std::string distinct;
    for (uint32_t i = 0; i < push_xml_element_attributes; ++i)
        distinct += " a" + std::to_string(i) + "='>='";
    const uint32_t full = push_xml_attributes / push_xml_element_attributes;
    const struct {
        const char* limit;
        std::string most, more;
    } cases[] = {
        {"size", std::string(push_xml_text, 'x'), "x"},
        {"depth", repeated("<a>", push_xml_depth - 1) + "<b/><b/></a><a><a>", "<a>"},
        {"markup", repeated("<a/>", push_xml_markup - 2) + "<![CDATA[<a><a>]]><?x <a><a>?>",
         "<a/>"},
        {"references", repeated("&x;", push_xml_markup - 1) + "<a b='", "&x;'/>"},
        {"attributes", repeated("<a" + distinct + "/>", full), "<a b=''/>"},
        {"attributes of an element", "<a" + distinct, " b=''/>"},
    };
    for (const auto& c : cases) {
        EXPECT_TRUE(mmskit::xml_within_limits(c.most.c_str())) << c.limit;
        EXPECT_FALSE(mmskit::xml_within_limits((c.most + c.more).c_str())) << c.limit;
    }
    for (const char* refused :
         {"<![CDATA[<!DOCTYPE]]>", "<a b='<!ENTITY'/>", "<!-- x", "<a><!DOCTYP></a>"})
        EXPECT_FALSE(mmskit::xml_within_limits(refused)) << refused;
}

TEST(PushXmlText, decoders_end_at_the_failed_opening) {
    if (!MMSKIT_READS_XML) GTEST_SKIP() << "xml_none_tests tell what a build without a parser does";
    std::string lines;
    fnSC_SetLogSink([](const char* line, void* to) { *static_cast<std::string*>(to) += line; },
                    &lines);
    std::string text = "<?xml version='1.0'?><!DOCTYPE sl><!-- x --><sl href='a'/>";
    EXPECT_EQ(fnMMSPush_DecodeXmlSl(text.data(), 58), nullptr);
    EXPECT_STREQ(text.c_str(), "<sl href='a'/>") << "the text is cleaned all the same";
    EXPECT_EQ(decode_xml_si("<si><indication>a</indication></si>"), "null");
    fnSC_SetLogSink(nullptr, nullptr);
    EXPECT_EQ(lines, "failed to write the file:xmlsl.xmlfailed to write the file:xmlsic.xml");
}

}  // namespace
