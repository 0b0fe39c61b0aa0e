// Parts by name, DRM classes, playable kinds and file names. Lists of parts are built here.
#include <gtest/gtest.h>

#include <array>
#include <list>
#include <string>
#include <vector>

#include "Parser/src/MMSPs_Reference.h"
#include "Parser/src/smil_internal.h"
#include "tests/support/bytes.h"
#include "tests/support/faults.h"
#include "tests/support/guarded.h"

namespace {

using namespace testing_support;
using mmskit::parser_state;

// Location, name and content id of a part; "-" for null.
using Names = std::array<std::string, 3>;

// Borrows the names.
struct Parts : std::vector<tMMS_MediaData> {
    explicit Parts(const std::vector<Names>& names) : vector(names.size()) {
        const auto text = [](const std::string& s) {
            return s == "-" ? nullptr : const_cast<char*>(s.c_str());
        };
        for (size_t i = 0; i < size(); ++i) {
            at(i).pContentLocation = text(names[i][0]);
            at(i).pName = text(names[i][1]);
            at(i).pContentId = text(names[i][2]);
            if (i != 0) at(i - 1).pNext = &at(i);
        }
    }
    // The number of the part that a reference takes; -1 for none.
    long take(const std::string& id) {
        ids.push_back(id);
        const auto* part = mmskit::take_part(parser_state.visual, data(), ids.back().c_str());
        return part != nullptr ? part - data() : -1;
    }
    std::list<std::string> ids;
};

// References, each with the number of the part that it takes, one after another.
void expect_taken(const std::vector<Names>& names, const std::string& rows) {
    mmskit::reset_parser_state();
    Parts parts(names);
    const auto take = [&parts](const char* id) { return std::to_string(parts.take(id)); };
    EXPECT_EQ(rows_made(rows, take), rows);
}

TEST(Media, PartsOfOneNameAreHandedOutInTurn) {
    expect_taken({{"a", "x", "-"}, {"-", "a", "-"}, {"A", "-", "-"}, {"-", "-", "a"}},
                 "a>0 a>2 a>0 X>0 none>-1 >-1 cid:a>3 ");
    EXPECT_EQ(parser_state.smilCount, 5);
    // The next is one that the same name tells, not one that another does.
    expect_taken({{"-", "a", "-"}, {"a", "-", "-"}, {"-", "A", "a"}, {"-", "-", "A"}},
                 "a>0 a>2 a>0 cid:a>2 ");
}
TEST(Media, digits_do_not_tell_parts_apart) {
    expect_taken({{"img1.jpg", "-", "-"}, {"img2.jpg", "-", "-"}, {"img22.jpg", "-", "-"}},
                 "img2.jpg>0 IMG2.JPG>1 img1.jpg>0 img11.jpg>2 img3.jpg>0 imgx.jpg>-1 ");
    // References are of one pattern only where their "cid:" is at the same place.
    expect_taken({{"-", "-", "b"}}, "cid1b>-1 cid:b>0 cxd:b>-1 cid1b>-1 ");
}
TEST(Media, content_id_takes_next_unmarked) {
    expect_taken({{"b", "-", "-"}, {"-", "-", "a"}, {"c", "-", "-"}, {"-", "-", "a"}},
                 "a>1 a>2 a>3 a>1 b>0 ");
}
TEST(Media, cid_reference_is_not_searched_further) {
    expect_taken({{"-", "-", "IMG"}, {"-", "-", "img"}, {"xcid:img", "-", "-"}},
                 "cid:img>0 xCid:img>0 CID:img>0 img>1 img>2 ");
}

TEST(Media, AReferenceToNoPartGivesAFreshRecord) {
    const NoLeak check;
    tMMS_MediaData part{};
    part.pName = const_cast<char*>("a");
    EXPECT_EQ(SmilGetElementById(&part, "A"), &part);
    EXPECT_EQ(SmilGetElementById(&part, ""), nullptr);
    tMMS_MediaData* fresh = SmilGetElementById(&part, "none");
    EXPECT_TRUE(fresh != nullptr && fresh->pNext == nullptr);
    fnSC_Free(&fresh);
}

// ---- DRM ----------------------------------------------------------------------------------

TEST(Media, DrmClassIsInTheContentTypeLine) {
    const std::string ct = "Content-Type: ", oma = "application/vnd.oma.drm.", end = "\r\n";
    const std::string x60(60, 'x'), message = oma + "message";
    const auto drm_class = [](const std::string& type, const std::string& data) {
        const Guarded guarded(data);
        char inner[50] = {};
        const int32_t found =
            fnPAR_DrmType(type.c_str(), guarded.data(), guarded.length(), nullptr, inner);
        return std::to_string(found) + " " + inner;
    };
    const std::pair<std::string, std::string> cases[] = {
        {"--b\r\n" + ct + "Image/JPEG; a=b\r\n\r\ndata", "1 image/jpeg"},
        {ct + "a ;x=1; RingTone=1" + end, "5 "},
        {end + ct + oma + "rights+wbxml;x" + end, "2 "},
        {ct + x60 + ";" + end, "1 " + x60.substr(0, 49)},
        {std::string(120, 'y') + ct + "image/gif" + end, "0 "},
        {std::string(104, 'y') + ct + "image/gif" + end, "1 image/gif"},  // 127 characters
        {std::string(105, 'y') + ct + "image/gif" + end, "1 image/gi"},
        {ct + "image/gif\r", "0 "},
        {ct + oma + "rights+xml" + end, "2 "},
        {std::string(4090, 'y') + end + ct + "image/gif" + end, "0 "},
        {ct + oma + "content" + end, "0 "}};
    for (const auto& [data, expected] : cases)
        EXPECT_EQ(drm_class(message, data), expected) << data;
    EXPECT_EQ(drm_class("Application/vnd.oma.drm.message", cases[0].first), "0 ");
    EXPECT_EQ(fnPAR_DrmType(message.c_str(), nullptr, 9, nullptr, nullptr), 0);
}

// ---- Kinds and names ----------------------------------------------------------------------

TEST(Media, only_bare_words_are_playable) {
    const std::string rows =
        "Text/PLAIN>1 text/plain2>5 text>5 IMAGE>2 im>2 image/jpeg>5 a>3 Vid>4 video/3gpp>5 >2 ";
    EXPECT_EQ(rows_made(rows, [](const char* s) { return print("%d", fnPAR_IsPlayedMedia(s)); }),
              rows);
}

TEST(Media, name_rows_are_irregular) {
    const std::string rows =
        "image/jpeg>image-7.jpeg Image/jpeg>unKnown video/3gpp>video-7.mp4 Video/3gpp>video-7.3gp "
        "audio/basic>audio-7.wav Audio/basic>audio-7.au audio/asf>Audio-7.asf a/b>unKnown ";
    const auto name = [out = std::string(50, ' ')](const char* type) mutable {
        return fnPAR_CreatMediaObjName(out.data(), type, -7) == 1 ? out.data() : "refused";
    };
    EXPECT_EQ(rows_made(rows, name), rows);
    EXPECT_EQ(fnPAR_CreatMediaObjName(nullptr, "a", 1), 0);
}

}  // namespace
