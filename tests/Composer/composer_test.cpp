// The composer's fixed outcomes: its records' layout, the presentation byte for byte, the parts of
// a message, received messages that are edited, memory running out and calls out of order; and the
// editing calls, each with its result and what the getters then say. Calls in any sequence are run
// by fuzz/composing.cpp.
#include <mmskit/presentation.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>
#include <utility>

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

// What stands at the cursor and in the message, as the getters say it: "slide/slides duration
// #background #text-colour image text audio video +attachment total/estimate".
std::string state() {
    std::string out = print("%d/%d %d", fnCPS_GetCurSlideIndex(), fnCPS_GetTotalSlides(),
                            fnCPS_GetCurSlideDuration());
    const auto show = [&out](int32_t result, uint32_t exists, const char* sign, const auto& m) {
        EXPECT_EQ(exists, result == CPS_OK ? 1U : 0U);
        if (result != CPS_OK) return;
        out += std::string(" ") + sign;
        if constexpr (requires { m.pText; }) {
            out += m.pText + std::string(":") + std::to_string(m.iLength);
        } else {
            out += string_of(m.pData, m.iSize) + ":" + m.pType + ":" + m.pName;
        }
        out += print("[%d-%d]", m.iBegin, m.iEnd);
        if constexpr (requires { m.aiLayout; })
            for (const int32_t n : m.aiLayout)
                out += print("%d", n);
    };
    uint32_t rgb = 0;
    EXPECT_EQ(fnCPS_CurBgColorExist(), fnCPS_GetCurBgColor(&rgb));
    if (fnCPS_GetCurBgColor(&rgb) != 0) out += print(" #%X", rgb);
    EXPECT_EQ(fnCPS_CurForeColorExist(), fnCPS_GetCurForeColor(&rgb));
    if (fnCPS_GetCurForeColor(&rgb) != 0) out += print(" #%X", rgb);
    CPSMediaInfo picture = {}, film = {};
    CPSTextInfo letters = {};
    CPSAudioInfo sound = {};
    show(fnCPS_GetCurImage(&picture), fnCPS_CurImageExist(), "i ", picture);
    show(fnCPS_GetCurText(&letters), fnCPS_CurTextExist(), "t ", letters);
    show(fnCPS_GetCurAudio(&sound), fnCPS_CurAudioExist(), "a ", sound);
    show(fnCPS_GetCurVideo(&film), fnCPS_CurVideoExist(), "v ", film);
    for (int32_t i = 0; i < fnCPS_GetTotalAttachments(); ++i) {
        CPSAttachmentInfo info = {};
        EXPECT_EQ(fnCPS_GetAttachment(&info, i), CPS_OK);
        EXPECT_EQ(fnCPS_GetAttachmentName(i), text(info.pName));
        out += " +" + string_of(info.pData, info.iSize) + ":" + info.pType + ":" + info.pName;
    }
    return out + print(" %u/%d", fnCPS_GetTotalSize(), fnCPS_GetAllSize());
}

template <Kind kind>
int32_t put(Medium m) {
    return add(kind, std::move(m));
}
template <auto function, int32_t... arguments>
int32_t call(Medium) {
    return function(arguments...);
}

// A call that lacks memory for any of its allocations changes nothing.
TEST_F(Composer, editing_calls_do_what_the_getters_say) {
    const std::string i = " i I1:image/jpeg:i[1-9]1234", t = " t \xC3\xA4:5[3-8]5678",
                      a = " a A1:audio/amr:a[2-7]", v = " v V1:video/3gpp:v[6-7]1234",
                      x = " +X:x/y:m", y = " +YY:text/plain:n", one = "0/1 12000 #10 #0",
                      brief = "0/1 8 #10 #0";
    const Medium other{"O", "image/jpeg", "o"}, sound{"A1", "audio/amr", "a", 2, 7};
    const Medium picture{"I1", "image/jpeg", "i", 1, 9, 2, {1, 2, 3, 4}};
    const Medium film{"V1", "video/3gpp", "v", 6, 7, 2, {1, 2, 3, 4}};
    const Medium letters{"\xC3\xA4", "", "", 3, 8, 5, {5, 6, 7, 8}};
    const struct {
        int32_t (*call)(Medium);
        Medium medium;
        std::string after = "";  // when it is not as before
        int32_t result = CPS_OK;
    } rows[] = {
        {call<fnCPS_DeleteCurImage>, {}, one + " 0/512", CPS_NO_MEDIUM},
        {put<image>, picture, one + i + " 2/514"},
        {put<image>, other, "", CPS_MEDIUM_PRESENT},
        {put<video>, other, "", CPS_SLIDE_HAS_IMAGE_OR_AUDIO},
        {put<words>, letters, one + i + t + " 7/514"},
        {put<words>, other, "", CPS_MEDIUM_PRESENT},
        {put<audio>, sound, one + i + t + a + " 9/516"},
        {put<audio>, other, "", CPS_MEDIUM_PRESENT},
        {call<fnCPS_SetCurSlideDuration, 0>, {}, "", CPS_BAD_ARGUMENT},
        {call<fnCPS_SetCurSlideDuration, 8>, {}, brief + i + t + a + " 9/516"},
        {call<fnCPS_GoNextSlide>, {}, "", CPS_LAST_SLIDE},
        {call<fnCPS_AddSlide>, {}, "1/2 12000 9/1028"},
        {put<video>, film, "1/2 12000" + v + " 11/1030"},
        {put<video>, other, "", CPS_MEDIUM_PRESENT},
        {put<image>, other, "", CPS_SLIDE_HAS_VIDEO},
        {put<audio>, other, "", CPS_SLIDE_HAS_VIDEO},
        {call<fnCPS_GoPreSlide>, {}, "0/2 8 #10 #0" + i + t + a + " 11/1030"},
        {call<fnCPS_GoPreSlide>, {}, "", CPS_FIRST_SLIDE},
        {call<fnCPS_AddSlide>, {}, "1/3 12000 11/1542"},
        {attach, {"X", "x/y", "m"}, "1/3 12000" + x + " 12/1543"},
        {attach, {"YY", "text/plain", "n"}, "1/3 12000" + x + y + " 14/1545"},
        {call<fnCPS_DeleteAttachment, -1>, {}, "", CPS_BAD_INDEX},
        {call<fnCPS_DeleteAttachment, 2>, {}, "", CPS_BAD_INDEX},
        {call<fnCPS_DeleteAttachment, 0>, {}, "1/3 12000" + y + " 13/1544"},
        {call<fnCPS_DeleteCurSlide>, {}, "1/2 12000" + v + y + " 13/1032"},
        {call<fnCPS_DeleteCurVideo>, {}, "1/2 12000" + y + " 11/1030"},
        {call<fnCPS_DeleteCurVideo>, {}, "", CPS_NO_MEDIUM},
        {call<fnCPS_DeleteCurSlide>, {}, brief + i + t + a + y + " 11/518"},
        {call<fnCPS_DeleteCurImage>, {}, brief + t + a + y + " 9/516"},
        {call<fnCPS_DeleteCurText>, {}, brief + a + y + " 4/516"},
        {call<fnCPS_DeleteCurText>, {}, "", CPS_NO_MEDIUM},
        {call<fnCPS_DeleteCurAudio>, {}, brief + y + " 2/514"},
        {call<fnCPS_DeleteCurAudio>, {}, "", CPS_NO_MEDIUM},
    };
    fnCPS_SetCurBgColor(0x10);
    fnCPS_SetCurForeColor(0);
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "row " << &row - rows);
        const std::string before = state();
        int32_t result = CPS_NO_MEMORY;
        for (uint64_t n = 1; result == CPS_NO_MEMORY; ++n) {
            EXPECT_EQ(state(), before);
            mmskit::fail_allocation(n, true);
            result = row.call(row.medium);
            mmskit::fail_allocation(0, false);
        }
        EXPECT_EQ(result, row.result);
        EXPECT_EQ(state(), row.after.empty() ? before : row.after);
    }
    fnCPS_Empty();
    EXPECT_EQ(state(), "0/1 12000 #10 #0 0/512");
    for (int n = 1; n < CPS_MAX_SLIDES; ++n)
        EXPECT_EQ(fnCPS_AddSlide(), CPS_OK);
    EXPECT_EQ(fnCPS_AddSlide(), CPS_LIMIT_REACHED);
}

// Times are corrected and text_timing_is_not_taken_over; geometry, room behind a text, a text
// colour without text, and slides that show nothing are lost.
TEST_F(Composer, a_written_message_is_reedited_as_a_receiver_sees_it) {
    add(image, {"I1", "image/jpeg", "i", 1, 9, 2, {1, 2, 3, 4}});
    add(words, {"\xC3\xA4", "", "", 2000, 4000, 5, {5, 6, 7, 8}});
    add(audio, {"A1", "audio/amr", "a", 12, 17});
    fnCPS_SetCurSlideDuration(8);
    fnCPS_SetCurBgColor(0x10);
    fnCPS_SetCurForeColor(0);
    fnCPS_AddSlide();
    fnCPS_AddSlide();
    add(video, {"V1", "video/3gpp", "v", 6, 300000});
    fnCPS_SetCurSlideDuration(200000);
    fnCPS_SetCurForeColor(5);
    attach({"X", "x/y", "m"});
    for (const bool again : {false, true}) {
        const std::string body = written();
        ASSERT_EQ(reedit(body), CPS_OK);
        EXPECT_EQ(state(),
                  "0/2 8 #10 #0 i I1:image/jpeg:i[1-8]0000 t \xC3\xA4:2[0-5000]0000"
                  " a A1:audio/amr:a[0-8] +X:x/y:m 9/1031");
        EXPECT_EQ(fnCPS_GoNextSlide(), CPS_OK);
        EXPECT_EQ(state(), "1/2 120000 v V1:video/3gpp:v[6-120000]0000 +X:x/y:m 9/1031");
        EXPECT_EQ(written() == body, again);
    }
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

TEST_F(Composer, a_current_slide_that_is_not_in_use) {
    tCPS_NewMessage.iCurSlide = 9;
    EXPECT_EQ(fnCPS_AddSlide() + add(image, {"x", "y", "z"}), 2 * CPS_SLIDE_UNUSED);
    fnCPS_SetCurBgColor(1);
    EXPECT_EQ(state(), "9/1 12000 0/512");
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

}  // namespace
