// Whole message bodies to slides and attachments, through the host's calls. Bodies lie flush
// against an unmapped page; every message is released and must leave nothing behind.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "Parser/src/smil_internal.h"
#include "tests/support/bytes.h"
#include "tests/support/faults.h"
#include "tests/support/guarded.h"

namespace {

using namespace testing_support;

// A part of that type with a location ("" for none).
std::string media(const std::string& type, const std::string& name, const std::string& data) {
    return part(type + '\0' + (name.empty() ? "" : bytes("8E") + name + '\0'), data);
}
// text/plain in UTF-8, US-ASCII (3) or another character set below 128.
std::string plain(const std::string& name, const std::string& data, const char* charset = "EA") {
    return part(bytes(std::string("03 83 81") + charset) + bytes("8E") + name + '\0', data);
}
std::string smil(std::string body, const std::string& head = "") {
    body = "<smil><head>" + head + "</head><body>" + body + "</body></smil>";
    std::replace(body.begin(), body.end(), '\'', '"');
    return media("application/smil", "", body);
}
std::string body_of(const std::vector<std::string>& parts) {
    std::string out = bytes("84 A3") + uintvar(parts.size());
    for (const std::string& p : parts)
        out += p;
    return out;
}

template <typename Out>
std::string shown(const Out& o) {
    std::string out;
    if constexpr (requires { o.Name; }) {
        out = text(o.Name) + "=" +
              std::string(reinterpret_cast<char*>(o.Data), static_cast<size_t>(o.Length));
        if (o.IsDrm != 0) out += print(" drm%d", o.DrmType);
    } else {
        out = "'" + text(o.Data) + "'";
    }
    if constexpr (requires { o.Width; })
        if (o.Width != 0) out += print("@%d,%d,%d,%d", o.Left, o.Top, o.Width, o.Height);
    return out + print("[%d-%d]", o.Begin, o.End);
}

// What a host sees, "!" for a protected message: "! {dur #background #text-colour text image audio
// video} +name type=data".
std::string walk() {
    std::string out = fnPAR_IsDrmObjectIncluded() != 0 ? "! " : "";
    fnPAR_InitCurPar();
    for (int32_t more = 1 - fnPAR_IsParEmpty(); more != 0; more = fnPAR_ProceedNextPar()) {
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
    for (int32_t n = 0; n < fnPAR_GetTotalAttachments(); ++n) {
        tPAR_Attachment a{};
        EXPECT_EQ(fnPAR_GetAttachment(&a, n), 1);
        EXPECT_EQ(fnPAR_GetAttachmentName(n), a.Name);
        out += "+" + text(a.Name) + " " + text(a.Type) + "=" +
               std::string(reinterpret_cast<char*>(a.Data), static_cast<size_t>(a.Length));
        if (a.DrmType != 0) out += print(" drm%d", a.DrmType);
        out += " ";
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
    EXPECT_EQ(std::memcmp(&mmskit::parser_state, &idle, sizeof idle), 0) << "a pointer is left";
    EXPECT_EQ(walk(), "");
}

std::string seen(const std::vector<std::string>& parts) {
    const NoLeak check;
    const Guarded guarded(body_of(parts));
    const int32_t results = show(guarded) + show(guarded);  // the second takes the first's place
    const std::string out = (results != 2 ? "failed " : "") + walk();
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
    const std::string one = "{20000 'T'@0,0,160,30[0-20000]",
                      two = "{20000 'U'@0,0,160,30[0-20000]";
    const std::string image = " i i=I@0,0,160,170[0-5000]", audio = " a a=A[0-5000]";
    const std::string v = media("video", "v", "V");
    expect_seen({{{v, media("audio", "a", "A"), media("image", "i", "I"), u, t},
                  two + image + audio + "} " + one + " v v=V[0-20000]}"},
                 {{part(bytes("83"), "T")}, "+MMS_Text000.txt text/plain=T"},
                 {{media("image", "", "I"), v}, "{20000} {20000 v v=V[0-20000]} +unKnown image=I"},
                 {{wrapped("d", "text/plain")},
                  "! {20000 'Content-Type: text/plain\r\n\r\nX'@0,0,160,30[0-20000]}"},
                 {{t, part(bytes("BC"), "X")}, "failed "},
                 {{}, ""}});
}

TEST(SlideView, LayoutBySmil) {
    const std::string one = smil("<par><img src='p'/></par>");
    expect_seen(
        {{{p,
           smil("<par dur='2s'><text src='l' region='R'><param name='foreground-color' "
                "value='BLUE'/></text><img src='p' end='7'/></par>",
                "<layout><root-layout width='9' background-color='RED'/>"
                "<region id='R' left='1' top='2' width='3' height='4'/></layout>"),
           plain("l", "\xE9", "84")},
          "{2000 #FFFF0000 #FF0000FF '\xC3\xA9'@1,2,3,4[0-2000] i p=P[0-7]}"},
         {{one, u, p, q, t},
          "{0 i p=P[0-5000]} {20000 'U'@0,0,160,30[0-20000]} {20000 'T'@0,0,160,30[0-20000]} "
          "+q image/gif=Q"},
         {{smil("<par dur='1'><img src='p'/></par><par dur='2'><img src='P'/></par>"), p},
          "{1 i p=P[0-1]} {2 i p=P[0-2]}"},
         {{smil(""), p, part(bytes("BC"), "X")}, "failed +p image/gif=P"},
         {{smil(""), part(bytes("BC 8E 'n' 00"), "X")}, "+n (null)=X"},
         {{one}, ""}});
}
TEST(SlideView, last_of_a_kind_is_shown) {
    expect_seen({{{smil("<par><img src='p'/><img src='q'/><text src='t'/><text src='u'/></par>"), p,
                   q, t, u},
                  "{0 'U'[0-5000] i q=Q[0-5000]}"}});
}
TEST(SlideView, marks_of_a_failed_parse_stay) {
    const std::string broken = media("application/smil", "", "<smil><body><par><img src=\"p\"/>");
    expect_seen({{{broken, p, q, t}, "+q image/gif=Q +t text/plain=T"}});
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
    expect_seen(
        {{{slide, p, wrapped("d", drm_content)},
          "! {1 i p=P[0-1]} +d " + drm_message + "=\r\nX drm4"},
         {{slide, p, media(drm_content, "d", "X")}, "{1 i p=P[0-1]} +d " + drm_content + "=X drm3"},
         {{slide, wrapped("d", "audio/amr")},
          "! {1 a d=Content-Type: audio/amr\r\n\r\nX drm1[0-1]}"},
         {{slide, wrapped("d", "audio/amr;fwd=1")},
          "! {1 a d=" + data + "[0-1]} +d " + drm_message + "=" + data}});
}
TEST(SlideView, drm_fields_stay_as_the_caller_had_them) {
    const Guarded body(body_of({smil("<par><img src='p'/></par>"), p}));
    show(body);
    tPAR_Image out{};
    out.IsDrm = out.DrmType = 7;
    out.DrmInfo1 = out.DrmInfo2 = 8;
    EXPECT_EQ(fnPAR_GetCurParImg(&out), 1);
    EXPECT_TRUE(out.IsDrm == 7 && out.DrmType == 7 && out.DrmInfo1 == 8 && out.DrmInfo2 == 8);
    EXPECT_EQ(out.Data, body.data() + body.length() - 1) << "media bytes are borrowed";
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
    EXPECT_EQ(fnPAR_ProceedPrePar(), 1);
    EXPECT_EQ(fnPAR_ProceedPrePar(), 0);
    EXPECT_EQ(tSMIL_ViewStruct.CurPar, tSMIL_ViewStruct.ParList);
    std::string names;
    for (const int32_t index : {2, 0, 1, 2, 1, 3, -1, 0})
        names += text(fnPAR_GetAttachmentName(index)) + " ";
    EXPECT_EQ(names, "p p q p q (null) (null) p ");
    EXPECT_EQ(fnPAR_GetAttachment(nullptr, 0) + fnPAR_GetCurParText(nullptr), 0);
    release();
}

TEST(SlideView, ARefusedMessageLeavesAnEmptyView) {
    const Guarded good(body_of({smil("<par><text src='t'/></par>"), t, p}));
    const std::pair<const char*, int32_t> cases[] = {
        {nullptr, 9}, {"\x84", 0}, {"\x84", -1}, {"\x83", 1}};
    for (const auto& [bad, length] : cases) {
        const NoLeak check;
        ASSERT_EQ(show(good), 1);
        EXPECT_EQ(fnPAR_SmilParserEntry(reinterpret_cast<const uint8_t*>(bad), length), 0);
        EXPECT_EQ(walk(), "");
        release();
    }
}
TEST(SlideView, ANulInTheSmilTextHidesEveryTag) {
    std::string cut = "<smil><body><par>0<text src=\"t\"/></par></body></smil>";
    cut[cut.find('0')] = '\0';
    expect_seen({{{media("application/smil", "", cut), t}, "+t text/plain=T"},
                 {{media("application/smil", "", std::string(1, '\0')), t}, "+t text/plain=T"}});
}

// All kinds of parts, placed by a document; with another first part, laid out without one.
std::string every_kind(const std::string& first) {
    return body_of({first, t, u, p, wrapped("d", "image/gif"), wrapped("e", "text/plain"),
                    part(bytes("'audio/amr' 00 C0 22 '<i>' 00"), "A"),
                    media("application/x", "", "X")});
}
const std::string placed = every_kind(
    smil("<par dur='1'><text src=\"t\"><param name='foreground-color' value='RED'/></text>"
         "<img src='p' region='R'/></par><par><audio src='cid:i'/><img src='d'/></par>",
         "<layout><root-layout width='9'/><region id='R' left='1'/></layout>"));

void show_all(const uint8_t* data, int32_t length) {
    fnPAR_SmilParserEntry(data, length);
    walk();
    fnPAR_SmilFree();
}

TEST(SlideView, EveryAllocationMayFail) {
    for (const std::string& message : {placed, every_kind(q)}) {
        const Guarded body(message);
        fail_each_allocation([&body] { show_all(body.data(), body.length()); });
    }
}
TEST(SlideView, DamagedMessagesAreShownSafely) {
    damage_each_byte(placed, show_all);
}

TEST(SlideView, TenThousandPartsOnTenThousandSlides) {
    std::string pars, expected;
    std::vector<std::string> parts;
    for (int i = 0; i < 10000; ++i) {
        std::string name;  // in letters: digits do not tell parts apart
        for (const char c : print("%04d", i))
            name += static_cast<char>(c + 'a' - '0');
        pars += "<par><img src='" + name + "'/></par>";
        parts.push_back(media("image/gif", name, std::to_string(i)));
        expected += print("{0 i %s=%d[0-5000]} ", name.c_str(), i);
    }
    parts.push_back(smil(pars));
    std::reverse(parts.begin(), parts.end());  // the worst order for a walk
    EXPECT_TRUE(seen(parts) + " " == expected);
}

}  // namespace
