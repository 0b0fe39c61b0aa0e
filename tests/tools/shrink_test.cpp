// `compose --max-size` and `size`. The pictures are made and measured with libvips' command, and
// the tests that need it are skipped where it is not.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <string>

#include "tests/tools/tool_runner.h"

namespace {

using namespace testing_support;
namespace fs = std::filesystem;

class Shrink : public ToolRunner {
  protected:
    // Made once. Noise does not get small; the photograph lies on its side by its orientation mark.
    static void SetUpTestSuite() {
        made_ = fs::temp_directory_path() / ("mmskit-pictures" + std::to_string(getpid()));
        fs::create_directory(made_);
        made_well_ = std::system(("cd '" + made_.string() +
                                  "' && vips gaussnoise n.v 1200 900 --mean 128 --sigma 60 && "
                                  "vips cast n.v g.v uchar && vips bandjoin 'g.v g.v g.v' rgb.v && "
                                  "vips copy rgb.v photo.v --interpretation srgb && "
                                  "vips crop photo.v crop.v 0 0 500 400 && "
                                  "vips jpegsave photo.v photo.jpg --Q 97 && "
                                  "vips jpegsave crop.v small.jpg --Q 85 && "
                                  "vips pngsave crop.v photo.png --compression 1 && "
                                  "vips webpsave crop.v photo.webp --Q 97 --effort 0 && "
                                  "vips black b.v 1200 900 && vips pngsave b.v flat.png")
                                     .c_str()) == 0;
        const std::string photo = file_bytes((made_ / "photo.jpg").string());
        if (made_well_)
            std::ofstream(made_ / "photo.jpg", std::ios::binary) << with_orientation(photo);
    }
    static void TearDownTestSuite() { fs::remove_all(made_); }
    void SetUp() override {
        ToolRunner::SetUp();
        if (std::system("command -v vips vipsthumbnail vipsheader >/dev/null") != 0)
            GTEST_SKIP() << "libvips' commands are not there";
        ASSERT_TRUE(made_well_);
        for (const char* name : {"photo.jpg", "small.jpg", "photo.png", "photo.webp", "flat.png"})
            fs::copy(made_ / name, folder_ / name);
    }
    // An Exif segment with the orientation 6 (to be turned right) and the word "PLACE" behind it.
    static std::string with_orientation(const std::string& jpeg) {
        const std::string segment = bytes(
            "FFE1 0033 'Exif' 0000 'II' 2A00 08000000 0200 1201 0300 01000000 06000000"
            " 0F01 0200 05000000 00000000 00000000 'PLACE'");
        return jpeg.substr(0, 2) + segment + jpeg.substr(2);
    }
    // "photo.jpg 768x1024" of each picture, in the order of their names.
    std::string pictures(const std::string& message) {
        fs::remove_all(folder_ / "out");
        return run("extract " + message +
                   " -o out >.list && cd out && for f in *.[!t]*; do echo"
                   " $f $(vipsheader -f width $f)x$(vipsheader -f height $f); done")
            .out;
    }
    Outcome compose(const std::string& words) {
        return run("compose --to +1 -o m.mms --transaction-id T " + words);
    }
    inline static fs::path made_;
    inline static bool made_well_ = false;
    size_t size() { return read("m.mms").size(); }
};

TEST_F(Shrink, what_fits_is_not_touched) {
    ASSERT_EQ(compose("--slide image=photo.jpg").code, 0);
    const std::string untouched = read("m.mms");
    ASSERT_EQ(compose("--slide image=photo.jpg --max-size 9M").err, "");
    EXPECT_TRUE(read("m.mms") == untouched);
}

TEST_F(Shrink, a_picture_keeps_its_orientation_and_loses_its_metadata) {
    ASSERT_EQ(compose("--slide image=photo.jpg --max-size 400K").err, "");
    EXPECT_LE(size(), 400U * 1024);
    EXPECT_EQ(pictures("m.mms"), "photo.jpg 768x1024\n");
    EXPECT_EQ(read("m.mms").find("PLACE"), std::string::npos);
}

TEST_F(Shrink, each_format_and_neither_side_below_the_smallest) {
    const struct {
        const char *words, *made;
    } rows[] = {{"--slide image=photo.jpg --max-size 250K", "photo.jpg 641x854\n"},
                {"--slide image=photo.png --max-size 100K", "photo.jpg 500x400\n"},
                {"--slide image=photo.webp --max-size 40K --min-side 200", "photo.jpg 250x200\n"},
                {"--slide image=flat.png --max-size 3K", "flat.png 1200x900\n"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.words);
        const Outcome outcome = compose(row.words);
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(pictures("m.mms"), row.made) << size();
    }
}

TEST_F(Shrink, the_largest_comes_first) {
    ASSERT_EQ(compose("--slide image=photo.jpg --slide image=small.jpg --max-size 800K").err, "");
    EXPECT_EQ(pictures("m.mms").find("small.jpg 500x400\n") != std::string::npos, true);
    EXPECT_LE(size(), 800U * 1024);
}

TEST_F(Shrink, what_cannot_fit_is_said_with_the_sizes_of_all_parts) {
    write("a.txt", "hello");
    const Outcome outcome =
        compose("--slide image=photo.jpg text=@a.txt --attach flat.png --max-size 50K");
    EXPECT_EQ(outcome.code, 1);
    for (const char* part : {"more than 51200", "text of slide 1 5", "photo.jpg ", "flat.png "})
        EXPECT_NE(outcome.err.find(part), std::string::npos) << outcome.err;
    EXPECT_FALSE(fs::exists(folder_ / "m.mms"));
}

TEST_F(Shrink, without_the_command_it_says_what_is_missing) {
    const Outcome outcome = run("compose --to +1 -o m.mms --slide image=photo.jpg --max-size 50K",
                                "export PATH=/nowhere");
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find("libvips-tools"), std::string::npos) << outcome.err;
}

class Size : public ToolRunner {};

TEST_F(Size, what_makes_a_message_large_comes_first) {
    write("a.jpg", bytes("FF D8 FF") + std::string(3000, 'j'));
    write("b.amr", "#!AMR\n" + std::string(6000, 's'));
    ASSERT_EQ(run("compose --to +1 -o m.mms --slide image=a.jpg audio=b.amr text=Hi").code, 0);
    const Outcome outcome = run("size m.mms");
    EXPECT_EQ(outcome.code, 0);
    size_t at = 0;
    for (const char* row : {" bytes\n\n", "  6006  ", "b.amr  audio/", "  3003  ",
                            "a.jpg  image/jpeg", "presentation", "     2    0%  "}) {
        at = outcome.out.find(row, at);
        ASSERT_NE(at, std::string::npos) << row << " in\n" << outcome.out;
    }
    std::istringstream lines(outcome.out);
    size_t whole = 0, sum = 0;
    lines >> whole >> std::ws;
    std::string line;
    for (std::getline(lines, line); std::getline(lines, line);)
        if (!line.empty()) sum += std::stoul(line);
    EXPECT_EQ(whole, read("m.mms").size());
    EXPECT_EQ(sum, whole);
}

TEST_F(Size, what_is_no_message_fails_and_wrong_sizes_are_wrong_usage) {
    write("x", "hello");
    EXPECT_EQ(run("size x").code, 1);
    for (const char* words :
         {"--max-size much", "--max-size 0", "--max-size 3G", "--min-side 100", "--keep-metadata"})
        EXPECT_EQ(run(std::string("compose --to +1 -o m --slide text=a ") + words).code, 2)
            << words;
}

}  // namespace
