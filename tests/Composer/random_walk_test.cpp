// Thousands of random editing calls beside a model of plain containers. After each step every
// getter agrees with the model; now and then the message is written and re-edited, which must give
// the same slides through the slide view and the same body again.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <vector>

#include "tests/Composer/composition.h"
#include "tests/support/faults.h"

namespace {

using namespace testing_support;

struct Slide {
    std::optional<Medium> media[kinds];
    int32_t duration = 12000;
    std::optional<uint32_t> colours[2];  // background, text
};

int32_t (*const delete_call[])() = {fnCPS_DeleteCurImage, fnCPS_DeleteCurText, fnCPS_DeleteCurAudio,
                                    fnCPS_DeleteCurVideo};
uint32_t (*const exist_call[])() = {fnCPS_CurImageExist, fnCPS_CurTextExist, fnCPS_CurAudioExist,
                                    fnCPS_CurVideoExist};
void (*const set_colour_call[])(uint32_t) = {fnCPS_SetCurBgColor, fnCPS_SetCurForeColor};
uint32_t (*const get_colour_call[])(uint32_t*) = {fnCPS_GetCurBgColor, fnCPS_GetCurForeColor};
uint32_t (*const colour_exist_call[])() = {fnCPS_CurBgColorExist, fnCPS_CurForeColorExist};

std::optional<Medium> get(Kind kind) {
    CPSMediaInfo m = {};
    CPSAudioInfo a = {};
    CPSTextInfo t = {};
    const int32_t result = kind == words   ? fnCPS_GetCurText(&t)
                           : kind == audio ? fnCPS_GetCurAudio(&a)
                           : kind == image ? fnCPS_GetCurImage(&m)
                                           : fnCPS_GetCurVideo(&m);
    if (result != CPS_OK) return {};
    if (kind == words)
        return Medium{t.pText, "", "", t.iBegin, t.iEnd, t.iLength, std::to_array(t.aiLayout)};
    if (kind == audio) m = {a.pData, a.pType, a.pName, a.iBegin, a.iEnd, a.iSize, {}};
    return Medium{string_of(m.pData, m.iSize), m.pType, m.pName, m.iBegin, m.iEnd, m.iSize,
                  std::to_array(m.aiLayout)};
}
class RandomWalk : public testing::TestWithParam<uint32_t> {
  protected:
    std::mt19937 random_{GetParam()};
    std::vector<Slide> slides_{1};
    std::vector<Medium> attachments_;
    size_t cursor_ = 0;
    uint32_t total_ = 0;
    uint32_t names_ = 0;

    int32_t below(int32_t n) { return static_cast<int32_t>(random_() % static_cast<uint32_t>(n)); }
    Slide& here() { return slides_[cursor_]; }

    // Names differ in letters: digits do not tell parts apart.
    Medium random_medium(Kind kind) {
        Medium m;
        m.data.resize(static_cast<size_t>(1 + below(40)));
        for (char& c : m.data)
            c = static_cast<char>(kind == words ? 'A' + below(40) : below(256));
        if (kind == words && below(2) == 0) m.data += "\xC3\xA4\xE2\x82\xAC";
        for (uint32_t n = ++names_; kind != words && n != 0; n /= 26)
            m.name += static_cast<char>('a' + n % 26);
        m.type = std::array{"image/jpeg", "", "audio/amr", "video/3gpp"}[kind];
        m.size = static_cast<uint32_t>(m.data.size());
        if (kind == words) m.size += static_cast<uint32_t>(below(3));
        if (kind != words || below(3) == 0) m.begin = below(8000);
        if (kind != words || below(3) == 0) m.end = 1 + below(below(4) == 0 ? 300000 : 12000);
        for (int32_t& l : m.layout)
            l = kind == audio ? 0 : below(99);
        return m;
    }
    // True when `call` added the medium. Now and then an allocation that it needs fails.
    template <typename Call>
    bool added(const Medium& m, int32_t refusal, int32_t allocations, Call call) {
        const bool fail = below(6) == 0;
        if (fail) mmskit::fail_allocation(static_cast<uint64_t>(1 + below(allocations)), true);
        const int32_t result = call();
        mmskit::fail_allocation(0, false);
        EXPECT_EQ(result, refusal == CPS_OK && fail ? CPS_NO_MEMORY : refusal);
        total_ += result == CPS_OK ? m.size : 0;
        return result == CPS_OK;
    }
    void add_medium(Kind kind) {
        Medium m = random_medium(kind);
        auto& media = here().media;
        int32_t refusal = CPS_OK;
        if (kind == video && (media[image] || media[audio])) refusal = CPS_SLIDE_HAS_IMAGE_OR_AUDIO;
        if (media[kind]) refusal = CPS_MEDIUM_PRESENT;
        if ((kind == image || kind == audio) && media[video]) refusal = CPS_SLIDE_HAS_VIDEO;
        if (added(m, refusal, kind == words ? 1 : 3, [&] { return add(kind, m); })) media[kind] = m;
    }
    void add_attachment() {
        Medium m = random_medium(image);
        if (below(2) == 0) m.type = "text/plain";
        const int32_t refusal = attachments_.size() == 10 ? CPS_LIMIT_REACHED : CPS_OK;
        if (added(m, refusal, 3, [&] { return attach(m); })) attachments_.push_back(m);
    }
    void delete_medium(Kind kind) {
        auto& m = here().media[kind];
        EXPECT_EQ(delete_call[kind](), m ? CPS_OK : CPS_NO_MEDIUM);
        total_ -= m ? m->size : 0;
        m.reset();
    }
    void add_slide() {
        const bool full = slides_.size() == 10;
        EXPECT_EQ(fnCPS_AddSlide(), full ? CPS_LIMIT_REACHED : CPS_OK);
        if (!full) slides_.insert(slides_.begin() + static_cast<ptrdiff_t>(++cursor_), Slide());
    }
    void delete_slide() {
        EXPECT_EQ(fnCPS_DeleteCurSlide(), CPS_OK);
        for (const auto& m : here().media)
            total_ -= m ? m->size : 0;
        if (slides_.size() == 1) return only_empty_slide();
        slides_.erase(slides_.begin() + static_cast<ptrdiff_t>(cursor_));
        cursor_ = std::min(cursor_, slides_.size() - 1);
    }
    // QUIRK only_slide_zeroes_the_total: with attachments left the total is that of nothing.
    void only_empty_slide() {
        slides_.resize(1);
        std::ranges::fill(slides_[0].media, std::nullopt);
        slides_[0].duration = 12000;
        cursor_ = total_ = 0;
    }
    void move_cursor(bool forwards) {
        const bool at_end = cursor_ == (forwards ? slides_.size() - 1 : 0);
        const int32_t stop = forwards ? CPS_LAST_SLIDE : CPS_FIRST_SLIDE;
        EXPECT_EQ(forwards ? fnCPS_GoNextSlide() : fnCPS_GoPreSlide(), at_end ? stop : CPS_OK);
        if (!at_end) cursor_ += forwards ? size_t{1} : SIZE_MAX;
    }
    void set_duration(int32_t ms) {
        EXPECT_EQ(fnCPS_SetCurSlideDuration(ms), ms < 1 ? CPS_BAD_ARGUMENT : CPS_OK);
        if (ms >= 1) here().duration = ms;
    }
    void set_colour(int32_t which) {
        set_colour_call[which](here().colours[which].emplace(random_() & 0xFFFFFF));
    }
    void delete_attachment() {
        const int32_t index = below(12) - 1;
        const bool there = index >= 0 && static_cast<size_t>(index) < attachments_.size();
        EXPECT_EQ(fnCPS_DeleteAttachment(index), there ? CPS_OK : CPS_BAD_INDEX);
        if (!there) return;
        total_ -= attachments_[static_cast<size_t>(index)].size;
        attachments_.erase(attachments_.begin() + index);
    }
    void empty(bool slides_too) {
        slides_too ? fnCPS_Empty() : fnCPS_DeleteAllAttachments();
        for (const Medium& m : attachments_)
            total_ -= m.size;
        attachments_.clear();
        if (slides_too) only_empty_slide();
    }
    void step() {
        const int32_t which = below(160);
        if (which < 48) return add_medium(static_cast<Kind>(which % kinds));
        if (which < 64) return delete_medium(static_cast<Kind>(which % kinds));
        if (which < 80) return add_slide();
        if (which < 88) return delete_slide();
        if (which < 112) return move_cursor(which % 2 == 0);
        if (which < 120) return set_duration(below(150000) - 9000);
        if (which < 136) return set_colour(which % 2);
        if (which < 148) return add_attachment();
        if (which < 155) return delete_attachment();
        if (which < 157) return empty(which % 2 == 0);
        write_and_reedit();
    }

    void compare() {
        ASSERT_EQ(static_cast<size_t>(fnCPS_GetTotalSlides()), slides_.size());
        ASSERT_EQ(static_cast<size_t>(fnCPS_GetCurSlideIndex()), cursor_);
        ASSERT_EQ(static_cast<size_t>(fnCPS_GetTotalAttachments()), attachments_.size());
        EXPECT_EQ(fnCPS_GetTotalSize(), total_);
        EXPECT_EQ(fnCPS_GetCurSlideDuration(), here().duration);
        uint32_t rgb = 0;
        for (const int c : {0, 1}) {
            EXPECT_EQ(get_colour_call[c](&rgb), here().colours[c] ? 1U : 0U);
            EXPECT_EQ(colour_exist_call[c](), here().colours[c] ? 1U : 0U);
            EXPECT_EQ(here().colours[c].value_or(rgb), rgb);
        }
        for (const Kind kind : {image, words, audio, video}) {
            EXPECT_EQ(exist_call[kind](), here().media[kind] ? 1U : 0U);
            EXPECT_TRUE(get(kind) == here().media[kind]) << "medium " << kind;
        }
        uint32_t estimate = 512 * static_cast<uint32_t>(slides_.size());
        for (const Slide& slide : slides_)
            for (const Kind kind : {image, audio, video})
                estimate += slide.media[kind] ? slide.media[kind]->size : 0;
        for (const Medium& m : attachments_) {
            CPSAttachmentInfo info = {};
            const auto index = static_cast<int32_t>(&m - attachments_.data());
            ASSERT_EQ(fnCPS_GetAttachment(&info, index), CPS_OK);
            EXPECT_EQ(hex(info.pData, info.iSize), hex(m.data));
            EXPECT_EQ(text(info.pType) + text(fnCPS_GetAttachmentName(index)), m.type + m.name);
            estimate += m.size;
        }
        EXPECT_EQ(static_cast<uint32_t>(fnCPS_GetAllSize()), estimate);
    }

    // What a trip through a message changes of a slide: times are corrected and capped; geometry,
    // the timing of a text, room beyond its end and a text colour without text are lost. True when
    // the body is the same again, which the text's timing can prevent.
    static bool through_a_message(Slide& slide) {
        for (const Kind kind : {image, audio, video}) {
            auto& m = slide.media[kind];
            if (!m) continue;
            m->end = std::min(m->end, slide.duration);
            if (m->begin >= m->end) m->begin = 0;
            m->end = std::min(m->end, 120000);
            m->layout = {};
        }
        slide.duration = std::min(slide.duration, 120000);
        auto& t = slide.media[words];
        if (!t) slide.colours[1].reset();
        if (!t) return true;
        const bool same = t->begin == 0 && t->end == 5000;
        t = Medium{t->data, "", "", 0, 5000, static_cast<uint32_t>(t->data.size()), {}};
        return same;
    }
    void write_and_reedit() {
        const std::string first = written();
        if (first == bytes("84 A3 00")) return;
        bool same = true;
        total_ = 0;
        // A receiver drops slides that show nothing.
        if (std::erase_if(slides_, [](const Slide& s) {
                return std::ranges::none_of(s.media, [](const auto& m) { return m.has_value(); });
            }) != 0)
            same = false;
        slides_.resize(std::max<size_t>(slides_.size(), 1));
        for (Slide& slide : slides_) {
            same = through_a_message(slide) && same;
            for (const auto& m : slide.media)
                total_ += m ? m->size : 0;
        }
        for (Medium& m : attachments_) {
            total_ += m.size;
            if (m.type == "text/plain") m.data = std::string(m.data.c_str());
            m.data.resize(m.size);
        }
        ASSERT_EQ(reedit(first), CPS_OK);
        EXPECT_TRUE(!same || hex(written()) == hex(first));
        for (cursor_ = 0; !HasFailure(); move_cursor(true)) {
            compare();
            if (cursor_ + 1 == slides_.size()) break;
        }
    }
};

TEST_P(RandomWalk, agrees_with_the_model) {
    SCOPED_TRACE(testing::Message() << "seed " << GetParam());
    const NoLeak check;
    ASSERT_EQ(fnCPS_NewMms(), CPS_OK);
    for (int i = 0; i < 5000 && !HasFailure(); ++i) {
        SCOPED_TRACE(testing::Message() << "step " << i);
        step();
        compare();
    }
    fnCPS_Quit();
}
INSTANTIATE_TEST_SUITE_P(Composer, RandomWalk, testing::Values(1, 2, std::random_device{}()));

}  // namespace
