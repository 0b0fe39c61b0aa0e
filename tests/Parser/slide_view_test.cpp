// Whole message bodies to slides and attachments, through the host's calls. Bodies lie flush
// against an unmapped page; every message is released and must leave nothing behind. Those of
// fuzz/corpus are shown damaged and without memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "Parser/src/smil_internal.h"
#include "fuzz/walk.h"
#include "scshare/common/src/limits.h"
#include "tests/support/bytes.h"
#include "tests/support/faults.h"
#include "tests/support/guarded.h"

namespace {

using namespace testing_support;

using mmskit::parser_state;

// A part of that type with a location ("" for none).
std::string media(const std::string& type, const std::string& name, const std::string& data) {
    return part(type + '\0' + (name.empty() ? "" : bytes("8E") + name + '\0'), data);
}
// text/plain in UTF-8, US-ASCII (3) or another character set below 128.
std::string plain(const std::string& name, const std::string& data, const char* charset = "EA") {
    return part(bytes(std::string("03 83 81") + charset) + bytes("8E") + name + '\0', data);
}
// A SMIL part with ' for ".
std::string raw(std::string document) {
    std::replace(document.begin(), document.end(), '\'', '"');
    return media("application/smil", "", document);
}
std::string smil(const std::string& body, const std::string& head = "") {
    return raw("<smil><head>" + head + "</head><body>" + body + "</body></smil>");
}
std::string body_of(const std::vector<std::string>& parts) {
    std::string out = bytes("84 A3") + uintvar(parts.size());
    for (const std::string& p : parts)
        out += p;
    return out;
}

// "=data", with the class and the values of a protected part.
template <typename Out>
std::string data(const Out& o) {
    std::string out =
        "=" + std::string(reinterpret_cast<char*>(o.Data), static_cast<size_t>(o.Length));
    if (o.DrmType != 0) out += print(" drm%d", o.DrmType);
    return o.DrmInfo1 == 0 ? out : out + print(":%u,%u", o.DrmInfo1, o.DrmInfo2);
}

template <typename Out>
std::string shown(const Out& o) {
    std::string out;
    if constexpr (requires { o.Name; }) {
        EXPECT_EQ(o.IsDrm, o.DrmType != 0);
        out = text(o.Name) + data(o);
    } else {
        out = "'" + text(o.Data) + "'";
    }
    if constexpr (requires { o.Width; })
        if (o.Left != 0 || o.Width != 0)
            out += print("@%d,%d,%d,%d", o.Left, o.Top, o.Width, o.Height);
    return o.Begin == 0 && o.End == 5000 ? out : out + print("[%d-%d]", o.Begin, o.End);
}

// What a host sees, "!" for a protected message: "! screen region:fit {dur #background #text-colour
// text image audio video} +name type=data"; the times of an element are left out when they are
// the usual 0 to 5000.
std::string walk() {
    std::string out = fnPAR_IsDrmObjectIncluded() != 0 ? "! " : "";
    const tSMIL_View& view = tSMIL_ViewStruct;
    if (view.RootWidth != 0) out += print("%dx%d ", view.RootWidth, view.RootHeight);
    for (const auto* r = view.RegionList; r != nullptr; r = r->Next)
        if (r->Fit != nullptr) out += text(r->Id) + ":" + r->Fit + " ";
    fnPAR_InitCurPar();
    int32_t slides = 0;
    for (int32_t more = 1 - fnPAR_IsParEmpty(); more != 0; more = fnPAR_ProceedNextPar()) {
        ++slides;
        out += print("{%d", fnPAR_GetCurParDur());
        uint32_t colour = 0;
        if (fnPAR_GetCurParBgColor(&colour) != 0) out += print(" #%X", colour);
        if (fnPAR_GetCurParForeColor(&colour) != 0) out += print(" #%X", colour);
        tPAR_Text t{};
        if (fnPAR_GetCurParText(&t) != 0) out += " " + shown(t);
        tPAR_Image i{};
        if (fnPAR_GetCurParImg(&i) != 0) out += " i " + shown(i);
        tPAR_Audio a{};
        if (fnPAR_GetCurParAudio(&a) != 0) out += " a " + shown(a);
        tPAR_Video v{};
        if (fnPAR_GetCurParVideo(&v) != 0) out += " v " + shown(v);
        out += "} ";
    }
    while (slides-- > 0)
        EXPECT_EQ(fnPAR_ProceedPrePar(), slides > 0 ? 1 : 0);
    for (int32_t n = 0; n < fnPAR_GetTotalAttachments(); ++n) {
        tPAR_Attachment a{};
        EXPECT_EQ(fnPAR_GetAttachment(&a, n), 1);
        EXPECT_EQ(fnPAR_GetAttachmentName(n), a.Name);
        out += "+" + text(a.Name) + " " + text(a.Type) + data(a) + " ";
    }
    if (!out.empty()) out.pop_back();
    return out;
}

int32_t show(const Guarded& body) {
    return fnPAR_SmilParserEntry(body.data(), body.length());
}

void release() {
    EXPECT_EQ(fnPAR_SmilFree() + fnPAR_SmilFree(), 2);
    const tSMIL_View none{};
    EXPECT_EQ(std::memcmp(&tSMIL_ViewStruct, &none, sizeof none), 0);
    static const mmskit::ParserState idle{};
    EXPECT_EQ(std::memcmp(&parser_state, &idle, sizeof idle), 0) << "a pointer is left";
    EXPECT_EQ(walk(), "");
    fuzz::walk_slide();
    EXPECT_EQ(fnPAR_ProceedNextPar() + fnPAR_ProceedPrePar(), 0);
}

std::string seen(const std::vector<std::string>& parts) {
    const NoLeak check;
    const Guarded guarded(body_of(parts));
    const int32_t results = show(guarded) + show(guarded);  // the second takes the first's place
    std::string out = (results != 2 ? "failed " : "") + walk();
    release();
    return out;
}

const std::string drm_message = "application/vnd.oma.drm.message";
const std::string drm_content = "application/vnd.oma.drm.content";
std::string wrapped(const std::string& name, const std::string& type) {
    return media(drm_message, name, "Content-Type: " + type + "\r\n\r\nX");
}
const std::string p = media("image/gif", "p", "P"), q = media("image/gif", "q", "Q");
const std::string t = plain("t", "T"), u = plain("u", "U");

void expect_seen(const std::vector<std::pair<std::vector<std::string>, std::string>>& messages) {
    for (const auto& [parts, expected] : messages)
        EXPECT_EQ(seen(parts), expected);
}

TEST(SlideView, LayoutWithoutSmil) {
    const std::string v = media("video", "v", "V");
    expect_seen(
        {{{v, media("audio", "a", "A"), media("image", "i", "I"), u, t},
          "{20000 'U'@0,0,160,30[0-20000] i i=I@0,0,160,170 a a=A} "
          "{20000 'T'@0,0,160,30[0-20000] v v=V[0-20000]}"},
         {{part(bytes("83"), "T")}, "+MMS_Text000.txt text/plain=T"},
         {{media("image", "", "I"), v}, "{20000} {20000 v v=V[0-20000]} +unKnown image=I"},
         {{v, media("audio", "a", "A")}, "{20000 a a=A} {20000 v v=V[0-20000]}"},
         {{wrapped("d", "text/plain")},
          "! {20000 'Content-Type: text/plain\r\n\r\nX'@0,0,160,30[0-20000]}"},
         {{t, part(bytes("BC"), "X")}, "failed "},
         {{part(bytes("05 83 81 02 03 E8 8E 'n' 00"), "X")}, "failed {20000}"},  // UCS-2, no mark
         {{}, ""}});
}

TEST(SlideView, LayoutBySmil) {
    expect_seen(
        {{{p,
           smil("<par dur='2s'><text src='l' region='R'><param name='foreground-color' "
                "value='BLUE'/></text><img src='p' end='7'/></par>",
                "<layout><root-layout width='9' background-color='RED'/>"
                "<region id='R' left='1' top='2' width='3' height='4'/></layout>"),
           plain("l", "\xE9", "84")},
          "9x0 {2000 #FFFF0000 #FF0000FF '\xC3\xA9'@1,2,3,4[0-2000] i p=P[0-7]}"},
         {{smil("<par><img src='p'/></par>"), u, p, q, t},
          "{0 i p=P} {20000 'U'@0,0,160,30[0-20000]} {20000 'T'@0,0,160,30[0-20000]} "
          "+q image/gif=Q"},
         {{smil("<par dur='1'><img src='p'/></par><par dur='2'><img src='P'/></par>"), p},
          "{1 i p=P[0-1]} {2 i p=P[0-2]}"},
         {{smil(""), p, part(bytes("BC"), "X")}, "failed +p image/gif=P"},
         {{smil(""), part(bytes("BC 8E 'n' 00"), "X")}, "+n (null)=X"},
         {{smil("<par><img src='p' src='q'/></par>"), p, q}, "{0 i p=P}"},
         // last_of_a_kind_is_shown
         {{smil("<par><img src='p'/><img src='q'/><text src='t'/><text src='u'/></par>"), p, q, t,
           u},
          "{0 'U' i q=Q}"},
         // marks_of_a_failed_parse_stay
         {{raw("<smil><body><par><img src='p'/>"), p, q, t}, "+q image/gif=Q +t text/plain=T"},
         {{smil("<par><img src='p'/></par>", "<layout><root-layout width='9'/></layout>")}, ""}});
}
// The slides that each document makes of the parts p q a s v; "failed" when it does not count: text
// that it does not place then gets no slide.
void expect_slides(const std::vector<std::pair<std::string, std::string>>& documents) {
    const std::string a = media("text/plain", "a", "A"), s = media("audio/amr", "s", "S"),
                      v = media("video/3gpp", "v", "V");
    for (const auto& [document, expected] : documents) {
        const std::string out = seen({p, q, a, s, v, t, document}) + " ";
        const size_t unplaced = out.find("{20000");
        EXPECT_EQ(unplaced == std::string::npos ? "failed " : out.substr(0, unplaced), expected)
            << document;
    }
}

TEST(SlideView, LayoutOfTheRootAndRegions) {
    const auto layout = [](const std::string& text) {
        return smil("<par><img src='p' region='I'/></par>", "<layout>" + text + "</layout>");
    };
    expect_slides(
        {{layout("<root-layout width='160' height='50%' backgroundcolor='#00ff00' />"),
          "160x50 {0 #FF00 i p=P} "},
         {layout("<Region ID='I' left='1' top='2' width='3' height='4' fit='meet' />"),
          "I:meet {0 i p=P@1,2,3,4} "},
         {layout("<region id='i' left='9' /><region id='I' left='1' ></region>"),
          "{0 i p=P@1,0,0,0} "},
         {layout("<region id='I' left='1' id='x' left='2' /><layout /><region id='I' left='5' />"),
          "{0 i p=P@5,0,0,0} "},
         {layout("<region id='I' left='1'/></layout><layout><root-layout width='7'/>"),
          "7x0 {0 i p=P} "}});
}
TEST(SlideView, SlidesOfTheBody) {
    const auto body = [](const std::string& text) {
        return smil(text, "<layout><region id='T' left='1'/></layout>");
    };
    expect_slides(
        {{body("<par dur='5s'><img src='p' begin='500ms' end='2s'/></par>"),
          "{5000 i p=P[500-2000]} "},
         {body("<par><audio src='s' region='T'/><ref src='p'/><Video src='v' region='T'/></par>"),
          "{0 a s=S v v=V@1,0,0,0} "},
         {body("<par></par><par dur='5' /><img src='p'/><par><img src='missing'/></par>"), ""},
         {body("<par><img/><text/><par /><img src='p'/><x/></par></par>"), "{0 i p=P} "},
         {body("<par><img src='none' src='q' region='' region='T'/></par>"), "{0 i q=Q@1,0,0,0} "},
         {body("<par><param name='background-color' value='#5'/><img src='p'/>"
               "<param name='background-color'/><param value='RED'/></par>"),
          "{0 #5 i p=P} "},
         {body("<par><text src='none'><img src='p'/></text><img src='q'/></par>"), "{0 i q=Q} "},
         // nested_par_takes_the_outer_dur
         {body("<par dur='5s'><par dur='9s'><img src='p'/></par><par dur='1'><img src='q'/></par>"),
          "{5000} {5000 i p=P} {1 i q=Q[0-1]} "}});
}
TEST(SlideView, BrokenMarkup) {
    const std::string image = "<par><img src='p'/></par>", slide = "{0 i p=P} ", failed = "failed ";
    expect_slides({{raw("\xEF\xBB\xBF\n<!-- <par> --><a <b><body>" + image + "</body>x"), slide},
                   {raw("<body>" + image + "</body><par"), slide},
                   {raw("<body>" + image + "</body"), failed},
                   {raw("<body>" + bytes("00") + image + "</body>"), failed},
                   {raw(bytes("00")), failed},
                   {raw("<smil></smil>"), ""},
                   {raw("<smil><body>" + image + "</smil>"), failed},
                   {raw("<smil><head><body>" + image + "</body></smil>"), slide},
                   {raw("<smil><head><layout></layout><body></smil>"), failed},
                   {raw("<smil><body></body><body>"), failed},
                   {raw("<smil><body><par><img src=''/></par></body></smil>"), failed},
                   {raw("<smil><body><par><text src='a'></par></body></smil>"), failed}});
}

TEST(SlideView, EndBehindBegin) {
    const auto timed = [](const std::string& times) { return smil("<par " + times + "/></par>"); };
    expect_seen({{{timed("dur='8000'><text src='t' begin='2000'"), t}, "{8000 'T'[2000-10000]}"},
                 {{timed("><text src='t' begin='2000'"), t}, "{0 'T'[2000-7000]}"},
                 {{timed("dur='-1'><text src='t' begin='-9' end='-8'"), t}, "{-1 'T'[-9--8]}"},
                 {{timed("dur='1'><text src='t' begin='7' end='7'"), t}, "{1 'T'[7-8]}"},
                 {{timed("dur='9'><text src='t' begin='2147483647'"), t},
                  "{9 'T'[2147483647-2147483647]}"}});
}

TEST(SlideView, ProtectedParts) {
    const std::string slide = smil("<par dur='1'><img src='p'/><audio src='d'/></par>");
    const std::string data = "Content-Type: audio/amr;fwd=1\r\n\r\nX drm5";
    const std::string headers = "--b\r\n\r\nContent-Type: " + drm_content +
                                "\r\nContent-Type: image/gif\r\n" + std::string(200, 'h') + "\r\n";
    expect_seen(
        {{{slide, p, media(drm_content, "d", "X")}, "{1 i p=P[0-1]} +d " + drm_content + "=X drm3"},
         {{slide, wrapped("d", "audio/amr")},
          "! {1 a d=Content-Type: audio/amr\r\n\r\nX drm1[0-1]}"},
         {{slide, wrapped("d", "audio/amr;fwd=1")},
          "! {1 a d=" + data + "[0-1]} +d " + drm_message + "=" + data},
         // drm_header_length_leaves_out_empty_line
         {{slide, p, media(drm_message, "d", headers + "\r\nX")},
          "! {1 i p=P[0-1]} +d " + drm_message + "=\r\nX drm4"}});
}
TEST(SlideView, drm_fields_stay_as_the_caller_had_them) {
    const Guarded body(body_of({smil("<par><img src='p'/></par>"), q, p}));
    ASSERT_EQ(show(body), 1);
    tPAR_Image out{};
    out.IsDrm = out.DrmType = 7;
    out.DrmInfo1 = out.DrmInfo2 = 8;
    EXPECT_EQ(fnPAR_GetCurParImg(&out), 1);
    EXPECT_TRUE(out.IsDrm == 7 && out.DrmType == 7 && out.DrmInfo1 == 8 && out.DrmInfo2 == 8);
    EXPECT_EQ(out.Data, body.data() + body.length() - 1) << "media bytes are borrowed";
    // A host that has a part delivered separately marks it, and has the slides made again.
    for (auto* part = parser_state.tpSMIL_Element; part != nullptr; part = part->pNext) {
        part->IsSmil = 0;
        part->bDrmSeparate = 1;
        part->iDrmInfo1 = 11;
        part->iDrmInfo2 = 12;
    }
    SmilParserClean();
    EXPECT_EQ(SmilParserSmilMMS(parser_state.tpSMIL_Union), 1);
    EXPECT_EQ(walk(), "{0 i p=P drm5:11,12} +q image/gif=Q drm5:11,12");
    tSMIL_Media media{};
    EXPECT_EQ(SmilGetImgDataById(&media, "q") + SmilGetVideoDataById(&media, "q"), 2);
    mmskit::clear_element(media);
    release();
}

TEST(SlideView, AttachmentsAreNamed) {
    const std::string name = bytes("85 'n' 00"), id = bytes("C0 22 '<i>' 00");
    const std::string type = bytes("'image/jpg' 00");
    expect_seen(
        {{{p, t, media("application/x", "", "X"), media("image/jpg", "", "J"), part(type + id, "I"),
           part(char(10 + 3) + type + name + id, "N"), part(type + id + bytes("8E 'l' 00"), "L")},
          "{20000 'T'@0,0,160,30[0-20000]} +p image/gif=P +unKnown application/x=X "
          "+image3.jpg image/jpg=J +i image/jpg=I +n image/jpg=N +l image/jpg=L"}});
}

TEST(SlideView, WalkingStopsAtBothEnds) {
    const Guarded body(body_of({t, u, p, q, p}));
    ASSERT_EQ(show(body), 1);
    EXPECT_EQ(fnPAR_ProceedNextPar(), 0) << "the last slide is current";
    std::string names;
    for (const int32_t index : {2, 0, 1, 2, 1, 3, -1, 0})
        names += text(fnPAR_GetAttachmentName(index)) + " ";
    EXPECT_EQ(names, "p p q p q (null) (null) p ");
    release();
}

TEST(SlideView, NoMessageLeavesTheViewAndARefusedOneAnEmptyView) {
    const Guarded good(body_of({smil("<par><text src='t'/></par>"), t, p}));
    const std::tuple<const char*, int32_t, bool> cases[] = {
        {nullptr, 9, true}, {"\x84", 0, true}, {"\x84", -1, true}, {"\x83", 1, false}};
    for (const auto& [bad, length, stays] : cases) {
        const NoLeak check;
        ASSERT_EQ(show(good), 1);
        const std::string held = walk();
        EXPECT_EQ(fnPAR_SmilParserEntry(reinterpret_cast<const uint8_t*>(bad), length), 0);
        EXPECT_EQ(walk(), stays ? held : "");
        release();
    }
}

// Attributes in the fewest bytes that they can have, around the number that needs no memory.
TEST(SlideView, DenseAttributesAreReadInTheirRoom) {
    for (const size_t count : {0U, 11U, 12U, 13U, 14U, 1000U}) {
        for (const char* shortest : {"a=''", "a ''"})
            EXPECT_EQ(seen({smil("<par><img " + repeated(shortest, count) + "src='i'/></par>"),
                            media("image/gif", "i", "1")}),
                      "{0 i i=1}")
                << count << shortest;
    }
}

TEST(SlideView, TextsBeyondTheCopyLimitAreLeftOut) {
    const std::string large(200000, 'x');
    std::string pars, expected;
    for (int i = 0; i < 20; ++i) {
        pars += "<par><text src='t'/><img src='i'/></par>";
        expected += i < 7 ? "{0 '" + large + "' i i=1} " : "{0 i i=1} ";
    }
    const std::vector<std::string> parts{smil(pars), plain("t", large),
                                         media("image/gif", "i", "1")};
    namespace limits = mmskit::limits;
    ASSERT_EQ((limits::slide_copy_base + limits::slide_copy_factor * body_of(parts).size()) /
                  (large.size() + 1),
              7);
    EXPECT_TRUE(seen(parts) + " " == expected);
}

std::string last_error() {
    uint32_t offset = 0;
    const char* reason = fnMMS_GetLastError(&offset);
    return std::string(reason) + " at " + std::to_string(offset);
}

// 1,400 parts and regions, each referred to, in the worst order for a walk; they pass 979300 parts
// and as many regions. Further references, to what comes last and is placed, pass 1,400 parts once
// and 1,399 regions each.
TEST(SlideView, ReferencesBeyondTheWorkLimitNameNothing) {
    constexpr uint64_t fit = (mmskit::limits::reference_work - 2 * 979300 - 1400) / 1400;
    const std::string again = "<par><img src='aaaab' region='1'/></par>";
    std::string pars, regions, expected;
    std::vector<std::string> parts;
    for (int i = 1; i <= 1400; ++i) {
        std::string name = print("%05d", i);
        for (char& c : name)
            c = static_cast<char>(c + 'a' - '0');  // digits do not tell parts apart
        regions += print("<region id='%d' left='%d'/>", i, i);
        pars += print("<par><img src='%s' region='%d'/></par>", name.c_str(), i);
        parts.push_back(media("image/gif", name, std::to_string(i)));
        expected += print("{0 i %s=%d@%d,0,0,0} ", name.c_str(), i, i);
    }
    parts.push_back(smil(pars + repeated(again, 120) + "<par><img src='p'/></par>",
                         "<layout>" + regions + "</layout>"));
    std::reverse(parts.begin(), parts.end());
    parts.push_back(p);
    EXPECT_TRUE(seen(parts) + " " ==
                expected + repeated("{0 i aaaab=1@1,0,0,0} ", fit) + "+p image/gif=P ");
    const std::string reason = "more references than can be looked up at ";
    ASSERT_TRUE(last_error().starts_with(reason)) << last_error();
    const std::string body = body_of(parts);
    const size_t first =
        body.find("<par><img src=\"aaaab\" region=\"1\"/></par><par><img src=\"aaaab\"");
    const size_t tag_end =
        first + static_cast<size_t>(fit) * again.size() + again.size() - std::strlen("</par>");
    EXPECT_EQ(last_error(), reason + std::to_string(tag_end));
}

TEST(SlideView, WhyAMessageHasNoSlidesIsTold) {
    const auto told = [](const std::vector<std::string>& parts) {
        const Guarded body(body_of(parts));
        const int32_t result = show(body);
        const std::string out = std::to_string(result) + " " + last_error();
        fnPAR_SmilFree();
        return out;
    };
    const std::string ucs2 = part(bytes("05 83 81 02 03 E8 8E 'n' 00"), "X");
    const std::string nameless = part(bytes("BC"), "X");
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{t, p}, "1 no error at 0"},
        {{smil("<par><img src='p'/></par>"), p}, "1 no error at 0"},
        {{ucs2}, "0 text that cannot be converted at 14"},
        {{nameless}, "0 part without a content type at 6"},
        {{smil(""), nameless}, "0 part without a name and a content type at "},
        {{raw("<smil><body><par>"), p}, "1 presentation breaks off at "},
        {{raw(bytes("'<body>' 00 '</body>'")), p}, "1 presentation breaks off at 22"},
        {{smil("<par><text src='n'/></par>"), ucs2}, "1 text that cannot be converted at "},
    };
    for (const auto& [parts, expected] : cases)
        EXPECT_TRUE(told(parts).starts_with(expected)) << told(parts) << " is not " << expected;
    EXPECT_EQ(fnPAR_SmilParserEntry(nullptr, 0), 0);
    EXPECT_EQ(last_error(), "no body at 0");
}

}  // namespace
