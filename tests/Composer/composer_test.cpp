// The composer's fixed outcomes: its records' layout, the presentation byte for byte, the parts of
// a message, received messages that are edited, memory running out and calls out of order. That
// the editing calls do what they should in any sequence is the random walk's to show.
#include <mmskit/presentation.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>

#include "Composer/src/composer_internal.h"
#include "scshare/common/src/owned.h"
#include "tests/Composer/composition.h"
#include "tests/support/faults.h"

namespace {

using namespace testing_support;

std::string smil() {
    const mmskit::OwnedText smil_text(CPSCreateSmil());
    return text(smil_text.get());
}
// "type name=data;" of each part but the presentation, in order.
std::string parts() {
    tMMS_ContentUnion* content = CPSRes2StructLink();
    std::string out;
    for (const auto* m = content->pMediaList; m != nullptr; m = m->pNext)
        out += text(m->pContentType) + " " + text(m->pContentLocation) + "=" +
               std::string(reinterpret_cast<char*>(m->pData), m->iDataLen) + ";";
    fnMMS_FreeContentUnion(content);
    return out;
}

class Composer : public testing::Test {
  protected:
    NoLeak check_;
    Composer() { EXPECT_EQ(fnCPS_NewMms(), CPS_OK); }
    ~Composer() override { fnCPS_Quit(); }
};

TEST_F(Composer, presentation_is_written_byte_for_byte) {
    add(image, {"data", "image/jpeg", "a&b.jpg", 6000, 9000});
    add(audio, {"data", "audio/amr", "s.amr", 0, 100});
    add(words, {"x", "", "", 7000, 3000});
    fnCPS_SetCurSlideDuration(5000);
    fnCPS_SetCurBgColor(0x0000FF);
    fnCPS_SetCurForeColor(0);
    fnCPS_AddSlide();
    add(video, {"data", "video/3gpp", "v.3gp", -1, 200001});
    fnCPS_SetCurSlideDuration(200000);
    EXPECT_EQ(
        smil(),
        "<smil>\r\n<head>\r\n<meta name=\"title\" content=\"mms info\" />\r\n<meta name=\"author\" "
        "content=\"Tamsor Corporation\" />\r\n<layout>\r\n<root-layout width=\"176\" "
        "height=\"220\"/>\r\n<region id=\"Image\" width=\"160\" height=\"170\" left=\"0\" "
        "top=\"0\" fit=\"meet\" />\r\n<region id=\"Text\" width=\"160\" height=\"30\" left=\"0\" "
        "top=\"170\" fit=\"meet\" />\r\n</layout>\r\n</head>\r\n<body>\r\n"
        "<par dur=\"5000ms\">\r\n <param name=\"background-color\" value=\"#ff\" />\r\n "
        "<img src=\"a&b.jpg\" region=\"Image\" begin=\"0ms\" end=\"5000ms\" />\r\n"
        "<audio src=\"s.amr\"  begin=\"0ms\" end=\"100ms\" />\r\n"
        "<text src=\"Text0.txt\" region=\"Text\" begin=\"7000ms\" end=\"3000ms\" >\r\n"
        " <param name=\"foreground-color\" value=\"#0\" />\r\n </text>\r\n</par>\r\n"
        "<par dur=\"120000ms\">\r\n<video src=\"v.3gp\" region=\"Image\" begin=\"120000ms\" "
        "end=\"120000ms\" />\r\n</par>\r\n</body>\r\n</smil>");
    EXPECT_EQ(tCPS_SlideStruct[1].iVideoEnd, 200000);
}

TEST_F(Composer, text_corrects_image_timing) {
    add(words, {"x", "", "", 0, 90000});
    fnCPS_SetCurSlideDuration(3000);
    EXPECT_NE(smil().find("begin=\"0ms\" end=\"90000ms\" />"), std::string::npos);
    EXPECT_EQ(tCPS_SlideStruct[0].iImageEnd, 3000);
}

TEST_F(Composer, long_names_are_whole_in_the_presentation_and_cut_in_the_parts) {
    const std::string name(4000, 'n'), type = "image/a-very-long-type-indeed";
    add(image, {"data", type, name});
    attach({"data", type, name});
    EXPECT_NE(smil().find(name + "\" region"), std::string::npos);
    const std::string cut = " " + name.substr(0, 49) + "=data;";
    EXPECT_EQ(parts(), type.substr(0, 24) + cut + type + cut);
}

TEST_F(Composer, text_attachment_ends_at_nul) {
    attach({std::string("a\0cde", 5), "text/plain", "t"});
    add(image, {std::string("a\0cde", 5), "text/plain", "i"});  // a medium is copied whole
    add(audio, {"data", "audio/amr", "s.amr"});
    fnCPS_AddSlide();
    add(words, {"cut to two", "", "", 0, 1, 2});
    EXPECT_EQ(hex(parts()), hex(bytes("'text/plain i=a' 00 'cde;audio/amr s.amr=data;text/plain "
                                      "Text1.txt=cu;text/plain t=a' 00000000 ';'")));
}

TEST_F(Composer, incomplete_and_refused_media) {
    uint32_t length = 7;
    EXPECT_EQ(fnCPS_AddVideo(nullptr), CPS_BAD_ARGUMENT);
    EXPECT_EQ(add(words, {"t", "", "", 0, 1, UINT32_MAX}), CPS_NO_MEMORY);
    EXPECT_EQ(add(image, {"", "image/gif", "empty"}), CPS_OK);
    EXPECT_EQ(fnCPS_GetMmsContentPdu(&length), nullptr);
    EXPECT_EQ(length, 7U);
}

TEST_F(Composer, only_slide_zeroes_the_total) {
    attach({"data", "x/y", "a"});
    fnCPS_DeleteCurSlide();
    EXPECT_EQ(fnCPS_GetTotalSize(), 0U);
    fnCPS_DeleteAllAttachments();
    EXPECT_EQ(fnCPS_GetTotalSize(), uint32_t{0} - 4);
}

TEST_F(Composer, calls_out_of_order_do_no_harm) {
    EXPECT_EQ(fnCPS_NewMms() + fnCPS_ReEditMms(nullptr, 0), 2 * CPS_IN_USE);
    fnCPS_Quit();
    fnCPS_Quit();
    attach({"dropped by a failed opening", "x/y", "a"});
    EXPECT_EQ(fnCPS_ReEditMms(nullptr, 1), CPS_BAD_ARGUMENT);
    add(words, {"dropped when opened", "", ""});
    EXPECT_EQ(fnCPS_NewMms(), CPS_OK);
    EXPECT_EQ(fnCPS_GetTotalSize() + fnCPS_CurTextExist(), 0U);
}

TEST_F(Composer, slot_advances_past_the_count) {
    // Count and names of the ten slots, as received and after an add; d: protected, left out.
    const char* const cases[][3] = {{"db", "1-b--------", "2-N--------"},
                                    {"adcd", "2a-c-------", "3a-N-------"},
                                    {"dddde", "1-e--------", "2-N--------"},
                                    {"dd", "0----------", "1N---------"},
                                    {"abcefghidjk", "9abcefghi-j", "10abcefghi-N"},
                                    {"abcefghijklm", "10abcefghijk", "10abcefghijk"}};
    const auto slots = [] {
        std::string out = std::to_string(fnCPS_GetTotalAttachments());
        for (int32_t i = 0; i < CPS_MAX_ATTACHMENTS; ++i)
            out += fnCPS_GetAttachmentName(i) != nullptr ? fnCPS_GetAttachmentName(i) : "-";
        return out;
    };
    for (const auto& [received, before, after] : cases) {
        std::string body = bytes("84 A3") + uintvar(std::strlen(received));
        for (const char name : std::string(received)) {
            const char* type = name == 'd' ? "application/vnd.oma.drm.rights+xml" : "x/y";
            body += part(type + bytes("00 8E") + name + '\0', "data");
        }
        ASSERT_EQ(reedit(body), CPS_OK);
        EXPECT_EQ(slots(), before);
        attach({"data", "x/y", "N"});
        EXPECT_EQ(slots(), after);
        CPSAttachmentInfo own = {};  // what stands in a slot may itself be added there
        fnCPS_GetAttachment(&own, fnCPS_GetTotalAttachments());
        EXPECT_EQ(fnCPS_AddAttachment(&own) == CPS_OK, own.pData != nullptr);
        const auto filled = std::ranges::count_if(slots(), [](int ch) { return std::isalpha(ch); });
        EXPECT_EQ(fnCPS_GetTotalSize(), 4 * filled);
    }
}

TEST_F(Composer, received_messages) {
    EXPECT_EQ(reedit("") + reedit("no message"), 2 * CPS_NOT_A_MESSAGE);
    EXPECT_EQ(reedit(bytes("84 A3 00")), CPS_OK);
    EXPECT_EQ(fnCPS_GetAllSize(), 512);
    std::string twelve_texts = bytes("84 A3 0C");
    for (int i = 0; i < 12; ++i)
        twelve_texts += part(bytes("06 83 85 't' 00 81 EA"), "x");
    EXPECT_EQ(reedit(twelve_texts), CPS_OK);
    EXPECT_EQ(fnCPS_GetTotalSlides(), CPS_MAX_SLIDES);
    EXPECT_EQ(fnCPS_GetCurSlideIndex(), 0);
}

TEST_F(Composer, no_message_leaves_the_view_of_another) {
    const Guarded viewed(bytes("84 A3 01") + part(bytes("06 83 85 't' 00 81 EA"), "x"));
    ASSERT_EQ(fnPAR_SmilParserEntry(viewed.data(), viewed.length()), 1);
    EXPECT_EQ(reedit("") + fnCPS_ReEditMms(viewed.data(), -1), 2 * CPS_NOT_A_MESSAGE);
    EXPECT_EQ(fnPAR_IsParEmpty(), 0);
    EXPECT_EQ(reedit("no message"), CPS_NOT_A_MESSAGE);
    EXPECT_EQ(fnPAR_IsParEmpty(), 1);
}

TEST_F(Composer, text_timing_is_not_taken_over) {
    add(words, {"x", "", "", 2000, 4000});
    EXPECT_EQ(reedit(written()), CPS_OK);
    EXPECT_NE(smil().find("begin=\"0ms\" end=\"5000ms\""), std::string::npos);
}

TEST_F(Composer, out_of_memory_leaves_a_composer_that_can_be_used) {
    const auto compose = [] {
        fnCPS_Quit();
        EXPECT_EQ(fnCPS_NewMms(), CPS_OK);
        add(image, {"data", "image/jpeg", "i.jpg"});
        add(words, {"text", "", ""});
        attach({"data", "text/plain", "a.txt"});
        const std::string made = written();
        fnCPS_Quit();
        return made;
    };
    const std::string body = compose();
    fail_each_allocation(compose);
    fail_each_allocation([&] {
        const bool open = reedit(body) == CPS_OK;
        EXPECT_TRUE(open || fnCPS_GetAllSize() + fnCPS_NewMms() == 512);
        fnCPS_Quit();
    });
}

}  // namespace
