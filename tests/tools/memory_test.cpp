// Every allocation of the command fails in turn, also those of the parsers and the standard library
// below it: the command does its work or ends with exit code 1 and one line, and leaves nothing.
// Needs MMSKIT_BREAK_MALLOC_LIBRARY, which takes the C library's place; a sanitizer has its own.
#include "tests/tools/tool_runner.h"

namespace {

using namespace testing_support;
namespace fs = std::filesystem;

class Memory : public ToolRunner {
  protected:
    void SetUp() override {
        if (std::string(MMSKIT_BREAK_MALLOC_LIBRARY).empty())
            GTEST_SKIP() << "a sanitizer's malloc";
        ToolRunner::SetUp();
        fs::create_directory(folder_ / "tmp");
    }
    Outcome without(long number, const std::string& arguments) {
        return run(arguments, "export TMPDIR=\"$PWD/tmp\" LD_PRELOAD='" MMSKIT_BREAK_MALLOC_LIBRARY
                              "' MMSKIT_BREAK_MALLOC=" +
                                  std::to_string(number));
    }
    long count(const std::string& arguments) {
        run(arguments + " 9>.count", "export LD_PRELOAD='" MMSKIT_BREAK_MALLOC_LIBRARY "'");
        return std::atol(read(".count").c_str());
    }
    // At most some hundred of them; a large job's are thinned out by a step that is prime to two.
    void sweep(const std::string& arguments) {
        const long all = count(arguments);
        ASSERT_GT(all, 100) << arguments;
        const long step = all / 100 * 2 + 1;
        for (long n = 1; n <= all && !HasFailure(); n += step) {
            for (const long number : {n, -n}) {
                SCOPED_TRACE(arguments + ", allocation " + std::to_string(number));
                const Outcome outcome = without(number, arguments);
                const auto lines = std::count(outcome.err.begin(), outcome.err.end(), '\n');
                // 3: the one that failed was the exact decoder's, and the tolerant side went on.
                EXPECT_TRUE(outcome.code == 0 || outcome.code == 1 || outcome.code == 3)
                    << outcome.code;
                EXPECT_EQ(lines, outcome.code == 1 ? 1 : 0) << outcome.err;
                EXPECT_TRUE(outcome.err.empty() || outcome.err.back() == '\n') << outcome.err;
                EXPECT_TRUE(fs::is_empty(folder_ / "tmp")) << "a temporary is left";
            }
        }
    }
};

TEST_F(Memory, each_command_ends_with_one_line) {
    write("si.xml", file_bytes(MMSKIT_SOURCE_DIR "/tests/Push/si-high.xml"));
    write("d.json",
          R"({"to": ["a@b"], "slides": [{"text": "one"}, {"text": "two", "duration": "8s"}]})");
    ASSERT_EQ(run("compose d.json -o m.mms").code, 0);
    for (const char* line :
         {"show si.xml", "compose d.json -o x.mms", "show --json m.mms", "show m.mms"})
        sweep(line);
    // Alone at its full extent: the parser of such texts checks nothing itself.
    for (long n = 1; n <= count("show si.xml"); ++n)
        EXPECT_LE(without(n, "show si.xml").code, 1) << n;
    for (const auto& entry : fs::directory_iterator(folder_))
        EXPECT_FALSE(entry.path().filename().string().ends_with(".part")) << entry.path();
}

}  // namespace
