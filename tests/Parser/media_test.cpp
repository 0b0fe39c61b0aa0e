// Parts by name, DRM classes, playable kinds and file names. Lists of parts are built here; the
// look-up is asked once by walking and once through its index.
#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>
#include <vector>

#include "Parser/src/MMSPs_MediaIndex.h"
#include "Parser/src/smil_internal.h"
#include "scshare/common/src/limits.h"
#include "tests/support/bytes.h"
#include "tests/support/faults.h"
#include "tests/support/guarded.h"

namespace {

using namespace testing_support;
using mmskit::parser_state;

// Location, name and content id of a part; "-" for null.
using Names = std::array<std::string, 3>;

class Parts {
  public:
    explicit Parts(std::vector<Names> names) : names_(std::move(names)), media_(names_.size()) {
        const auto text = [](std::string& s) { return s == "-" ? nullptr : s.data(); };
        for (size_t i = 0; i < media_.size(); ++i) {
            media_[i].pContentLocation = text(names_[i][0]);
            media_[i].pName = text(names_[i][1]);
            media_[i].pContentId = text(names_[i][2]);
            if (i != 0) media_[i - 1].pNext = &media_[i];
        }
    }
    tMMS_MediaData* list() { return media_.data(); }
    tMMS_MediaData& operator[](size_t i) { return media_[i]; }
    // The number of the part that a reference takes; -1 for none.
    long take(const std::string& id) {
        const tMMS_MediaData* part = mmskit::take_part(list(), id.c_str());
        return part != nullptr ? part - list() : -1;
    }

  private:
    std::vector<Names> names_;
    std::vector<tMMS_MediaData> media_;
};

class Media : public testing::Test {
  protected:
    ~Media() override { mmskit::reset_parser_state(); }

    // Makes the list the message's; the index is built at the first look-up when `indexed`.
    static void hold(Parts& parts, bool indexed) {
        mmskit::reset_parser_state();
        parser_state.tpSMIL_Element = parts.list();
        if (indexed) parser_state.media_work = mmskit::limits::media_walk_plain;
    }
    // Takes the parts that the references name, one after another.
    static void expect_taken(const std::vector<Names>& names, const std::vector<std::string>& ids,
                             const std::vector<long>& expected) {
        for (const bool indexed : {false, true}) {
            Parts parts(names);
            hold(parts, indexed);
            std::vector<long> taken;
            for (const std::string& id : ids)
                taken.push_back(parts.take(id));
            EXPECT_EQ(taken, expected) << "first reference " << ids[0] << ", indexed " << indexed;
            EXPECT_EQ(parser_state.media_index != nullptr, indexed);
        }
    }
};

TEST_F(Media, PartsOfOneNameAreHandedOutInTurn) {
    expect_taken({{"a", "x", "-"}, {"-", "a", "-"}, {"A", "-", "-"}, {"-", "-", "a"}},
                 {"a", "a", "a", "X", "none", "", "cid:a"}, {0, 2, 0, 0, -1, -1, 3});
    EXPECT_EQ(parser_state.smilCount, 5);
}
TEST_F(Media, digits_do_not_tell_parts_apart) {
    expect_taken({{"img1.jpg", "-", "-"}, {"img2.jpg", "-", "-"}, {"img22.jpg", "-", "-"}},
                 {"img2.jpg", "IMG2.JPG", "img1.jpg"}, {0, 1, 0});
}
TEST_F(Media, content_id_takes_next_unmarked) {
    expect_taken({{"b", "-", "-"}, {"-", "-", "a"}, {"c", "-", "-"}, {"-", "-", "a"}},
                 {"a", "a", "a", "a", "b"}, {1, 2, 3, 1, 0});
}
TEST_F(Media, cid_reference_is_not_searched_further) {
    expect_taken({{"-", "-", "IMG"}, {"-", "-", "img"}, {"xcid:img", "-", "-"}},
                 {"cid:img", "xCid:img", "CID:img", "img", "img"}, {0, 0, 0, 1, 2});
}

TEST_F(Media, IndexAndWalkTakeTheSameParts) {
    std::mt19937 random(7);
    const auto pick = [&random](size_t n) { return static_cast<size_t>(random() % n); };
    const auto word = [&](size_t longest) {
        std::string out;
        for (size_t n = pick(longest + 1); n != 0; --n)
            out += "aAbB1."[pick(6)];
        return out;
    };
    for (int round = 0; round < 60; ++round) {
        std::vector<Names> names(20 + pick(60));
        for (Names& part : names)
            for (std::string& name : part)
                name = pick(4) == 0 ? "-" : (pick(8) == 0 ? "cid:" : "") + word(2);
        Parts walked(names), found(names);  // a list that is not the message's is walked
        hold(found, true);
        std::string asked;
        for (int i = 0; i < 200; ++i) {
            const std::string id = (pick(3) == 0 ? "cid:" : "") + word(2);
            asked += id + " ";
            const long expected = walked.take(id);
            ASSERT_EQ(found.take(id), expected) << "round " << round << ": " << asked;
            if (expected < 0 || pick(3) != 0) continue;
            asked += "(back) ";
            mmskit::unmark_part(&walked[static_cast<size_t>(expected)]);
            mmskit::unmark_part(&found[static_cast<size_t>(expected)]);
        }
        ASSERT_NE(parser_state.media_index, nullptr);
    }
}

TEST_F(Media, AnIndexOutOfMemoryChangesNothing) {
    const std::vector<Names> names(40, {"a", "b1", "-"});
    fail_each_allocation([&] {
        Parts parts(names);
        hold(parts, true);
        for (long i = 0; i < 40; ++i)
            EXPECT_EQ(parts.take(i < 20 ? "a" : "b7"), i);
        mmskit::reset_parser_state();
    });
}

TEST_F(Media, FailedLookUps) {
    const NoLeak check;
    tSMIL_Text text_element{};
    tSMIL_Media image{};
    Parts parts({{"a", "-", "-"}});
    EXPECT_EQ(SmilGetTextDataById(&text_element, "a") + SmilGetImgDataById(&image, "a"), 0)
        << "a null media list";
    hold(parts, false);
    EXPECT_EQ(SmilGetImgDataById(&image, "none") + SmilGetTextDataById(&text_element, "none"), 2);
    parts[0].pData = reinterpret_cast<uint8_t*>(parts[0].pContentLocation);
    parts[0].iDataLen = parts[0].bHasCharset = 1;
    parts[0].iCharset = 1000;
    EXPECT_EQ(SmilGetTextDataById(&text_element, "a"), 0)
        << "UCS-2 without its mark cannot be converted";
    EXPECT_TRUE(image.Data == nullptr && text_element.Data == nullptr);
    EXPECT_EQ(SmilGetElementById(parts.list(), "A"), parts.list());
    tMMS_MediaData* fresh = SmilGetElementById(parts.list(), "none");
    EXPECT_TRUE(fresh != nullptr && fresh->pNext == nullptr);
    fnSC_Free(&fresh);
}

TEST_F(Media, SeparateDeliveryIsToldWithItsValues) {
    Parts parts({{"a", "-", "-"}});
    hold(parts, false);
    parts[0].pContentType = const_cast<char*>("image/gif");
    parts[0].bDrmSeparate = 1;
    parts[0].iDrmInfo1 = 11;
    parts[0].iDrmInfo2 = 12;
    tSMIL_Media image{};
    parts[0].pData = reinterpret_cast<uint8_t*>(parts[0].pContentLocation);
    ASSERT_EQ(SmilGetImgDataById(&image, "a"), 1);
    EXPECT_EQ(parts[0].IsSmil, 1U);
    tSMIL_Par slide{};
    slide.Img = &image;
    tSMIL_ViewStruct.CurPar = &slide;
    tPAR_Image out{};
    EXPECT_EQ(fnPAR_GetCurParImg(&out), 1);
    EXPECT_TRUE(out.IsDrm == 1 && out.DrmType == 5 && out.DrmInfo1 == 11 && out.DrmInfo2 == 12);
    mmskit::clear_element(image);
    parts[0].IsSmil = 0;
    ASSERT_EQ(SmilParserNoSmilMMS(parts.list()), 1);
    const tSMIL_Attachment& listed = *tSMIL_ViewStruct.AttachmentList;
    EXPECT_TRUE(listed.DrmType == 5 && listed.DrmInfo1 == 11 && listed.DrmInfo2 == 12);
    SmilParserClean();
}

// ---- DRM ----------------------------------------------------------------------------------

const char* const message = "application/vnd.oma.drm.message";
const char* const content = "application/vnd.oma.drm.content";

// "class header-length inner-type".
std::string drm_class(const char* type, const std::string& data) {
    const Guarded guarded(data);
    int32_t header_length = -1;
    char inner[50] = {};
    const int32_t found =
        fnPAR_DrmType(type, guarded.data(), guarded.length(), &header_length, inner);
    EXPECT_EQ(fnPAR_DrmType(type, guarded.data(), guarded.length(), nullptr, nullptr), found);
    return std::to_string(found) + " " + std::to_string(header_length) + " " + inner;
}

TEST_F(Media, DrmClassIsInTheContentTypeLine) {
    const std::string ct = "Content-Type: ", oma = "application/vnd.oma.drm.", end = "\r\n";
    const std::string x60(60, 'x');
    const std::pair<std::string, std::string> cases[] = {
        {"--b\r\n" + ct + "Image/JPEG; a=b\r\n\r\ndata", "1 0 image/jpeg"},
        {ct + "image/jpeg; x=1; FWD=y" + end, "5 0 "},
        {ct + "a ;ringtone=1" + end, "5 0 "},
        {end + ct + oma + "rights+wbxml;x" + end, "2 0 "},
        {ct + x60 + ";" + end, "1 0 " + x60.substr(0, 49)},
        {std::string(120, 'y') + ct + "image/gif" + end, "0 0 "},
        {std::string(100, 'y') + ct + "image/gif" + end, "1 0 image/gif"},
        {ct + "image/gif\r", "0 0 "},
        {std::string(4090, 'y') + end + ct + "image/gif" + end, "0 0 "},
        {"", "0 0 "}};
    for (const auto& [data, expected] : cases)
        EXPECT_EQ(drm_class(message, data), expected) << data;
    EXPECT_EQ(drm_class(content, "x"), "3 0 ");
    EXPECT_EQ(drm_class("Application/vnd.oma.drm.message", ct + "a" + end), "0 0 ");
    EXPECT_EQ(fnPAR_DrmType(message, nullptr, 9, nullptr, nullptr), 0);
}

TEST_F(Media, drm_header_length_leaves_out_empty_line) {
    const std::string headers = std::string("--b\r\n\r\nContent-Type: ") + content +
                                "\r\nContent-Type: image/gif\r\n" + std::string(200, 'h') + "\r\n";
    EXPECT_EQ(drm_class(message, headers + "\r\ndata"),
              "4 " + std::to_string(headers.size()) + " ");
    EXPECT_EQ(drm_class(message, headers), "0 0 ") << "no empty line";
}

// ---- Kinds and names ----------------------------------------------------------------------

TEST_F(Media, only_bare_words_are_playable) {
    const std::string rows =
        "Text/PLAIN>1 text/plain2>5 text>5 text/html>5 IMAGE>2 im>2 image/jpeg>5 audio>3 a>3 "
        "Vid>4 video/3gpp>5 ";
    EXPECT_EQ(rows_made(rows, [](const char* s) { return print("%d", fnPAR_IsPlayedMedia(s)); }),
              rows);
    EXPECT_EQ(fnPAR_IsPlayedMedia(nullptr), -1);
    EXPECT_EQ(fnPAR_IsPlayedMedia(""), 2);
}

TEST_F(Media, name_rows_are_irregular) {
    const std::string rows =
        "image/jpeg>image-7.jpeg Image/jpeg>unKnown video/3gpp>video-7.mp4 Video/3gpp>video-7.3gp "
        "video/mp4>video-7.3gp audio/3gpp>audio-7.mp4 Audio/mp4>audio-7.mp4 "
        "video/x-ms-wmv>video-7.asf Video/asf>video-7.asf audio/basic>audio-7.wav "
        "Audio/basic>audio-7.au audio/asf>Audio-7.asf application/pdf>unKnown ";
    const auto name = [out = std::string(50, ' ')](const char* type) mutable {
        return fnPAR_CreatMediaObjName(out.data(), type, -7) == 1 ? out.data() : "refused";
    };
    EXPECT_EQ(rows_made(rows, name), rows);
    EXPECT_EQ(fnPAR_CreatMediaObjName(nullptr, "a", 1), 0);
}

}  // namespace
