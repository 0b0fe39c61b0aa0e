// Command lines as people mistype them: exit code 2, one line that names the word that is wrong and
// what was expected, and nothing written.
#include "tests/tools/tool_runner.h"

namespace {

using testing_support::Outcome;
using testing_support::ToolRunner;

class CommandLine : public ToolRunner {};

TEST_F(CommandLine, a_wrong_line_names_the_word) {
    write("m.json", R"({"to": "+1"})");
    write("a.txt", "a");
    const struct {
        const char *line, *complaint;
    } cases[] = {
        {"", "mmskit: a command is missing: show, "},
        {"shwo m", "mmskit: \"shwo\" is no command: show, preview, list, explain, "},
        {"respond x", "mmskit respond: \"x\" is no command: notify, ack, "},
        {"show", "mmskit show: FILE is missing"},
        {"forward '' -o x", "mmskit forward: FILE is an empty word"},
        {"forward m.json '' -o x", "mmskit forward: \"\" is one word too many"},
        {"forward m.json -o x -- -x", "\"-x\" is one word too many"},
        {"show m.json --jsno", "\"--jsno\" is no option of this command"},
        {"show m.json --jso", "\"--jso\" is no option of this command"},
        {"compose --subj=a -o x", "\"--subj=a\" is no option"},
        {"compose -xo x", "\"-x\" is no option of this command"},
        {"compose -o x --subject", "--subject needs TEXT after it;"},
        {"compose --to +1 -o", "--output needs FILE after it;"},
        {"show m.json --json=1", "\"--json=1\": --json takes no value"},
        {"compose -o x --attach --subject a",
         "--attach needs FILE [KEY=VALUE...] after it, not the option \"--subject\""},
        {"compose --to -o x", "--to needs ADDRESS after it, not the option \"-o\""},
        {"compose m.json", "--output FILE is missing"},
        {"compose -o x --to +1 --subject a --subject b", "--subject is given twice"},
        {"show m.json --as s", "--as: \"s\" is not si or sl"},
        {"forward m.json -o x --drop-slide 1x", "--drop-slide: \"1x\" is no number"},
        {"forward m.json -o x --drop-text 2147483648", "\"2147483648\" is no"},
        {"compose -o x --to +1 --slide text=Hello world",
         "\"world\" after --slide is no KEY=VALUE; --slide takes KEY=VALUE..."},
        {"compose --slide hello -o x", "\"hello\" after --slide is no KEY=VAL"},
        {"forward a.txt -o x --add-slide text=a b", "\"b\" after --add-slide is no KEY=VALUE"},
        {"compose -o x --attach a.txt b", "\"b\" after --attach is no KEY=VALUE"},
        {"compose -o x --to +1 --slide txt=a", "slide 1: txt: there is no such"},
        {"compose -o x --to +1 --attach a.txt n=b", "attachment 1: n: "},
        {"compose -o x m.json --to +1", "FILE and --to cannot both be given"},
        {"forward -o x", "FILE or --by-location is missing"},
        {"forward a.txt --by-location u -o x", "only one of FILE and --by-location"},
        {"store a.txt gte", "\"gte\" is not get KEY, set KEY VALUE, unset KEY or list"},
        {"store a.txt get", "get takes 1 word, not 0"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.line);
        const Outcome outcome = run(test.line, "ulimit -t 10");
        EXPECT_EQ(outcome.code, 2);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err.find("mmskit"), 0U);
        EXPECT_NE(outcome.err.find(test.complaint), std::string::npos) << outcome.err;
        EXPECT_NE(outcome.err.find("--help tells more\n"), std::string::npos) << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    }
    EXPECT_FALSE(std::filesystem::exists(folder_ / "x"));
}

// Lines that say the same in other ways write the same message.
TEST_F(CommandLine, words_may_be_written_in_several_ways) {
    write("in.txt", "file");
    const std::string common = " --transaction-id T --to +1 ";
    ASSERT_EQ(run("compose -o 1" + common +
                  "--subject=-5 --slide text=Hello dur=5s --slide "
                  "--attach in.txt name=a=b")
                  .err,
              "");
    const char* const others[] = {
        "compose -o2 --subject -5 --slide=text=Hello dur=5s --slide --attach=in.txt name=a=b",
        "compose --output=2 --slide dur=5s text=Hello --slide --subject -5 --attach in.txt "
        "name=a=b",
    };
    for (const char* line : others) {
        SCOPED_TRACE(line);
        EXPECT_EQ(run(line + common).err, "");
        EXPECT_EQ(read("2"), read("1"));
        std::filesystem::remove(folder_ / "2");
    }
    EXPECT_EQ(shown("1")["attachments"][0]["name"], "a=b");
}

TEST_F(CommandLine, help_fits_a_terminal_and_lists_no_rules) {
    for (const std::string command : {"", "show", "extract", "compose", "forward", "respond",
                                      "respond notify", "respond read-message", "store"}) {
        SCOPED_TRACE(command);
        const Outcome outcome = run(command + " --help");
        EXPECT_EQ(outcome.code, 0);
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(outcome.out, run(command + " -h").out);
        EXPECT_NE(outcome.out.find("\nUsage: mmskit "), std::string::npos);
        EXPECT_NE(outcome.out.find("\nExit codes: "), std::string::npos);
        EXPECT_EQ(outcome.out.find("xclude"), std::string::npos);
        std::istringstream lines(outcome.out);
        for (std::string line; std::getline(lines, line);)
            EXPECT_LE(line.size(), 80U) << line;
    }
}

// The script that builds the command knows its names, and so a wrong one before anything is built.
TEST_F(CommandLine, the_script_refuses_what_is_no_command) {
    const auto script = [&](const std::string& arguments) {
        return run("--version >/dev/null; MMSKIT_BUILD_DIR=built '" MMSKIT_SOURCE_DIR "/run' " +
                   arguments);
    };
    const Outcome outcome = script("shwo x");
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_NE(outcome.err.find("\"shwo\" is no job"), std::string::npos) << outcome.err;
    EXPECT_FALSE(std::filesystem::exists(folder_ / "built"));
    EXPECT_NE(script("help").out.find("MMSKIT_BUILD_DIR"), std::string::npos);

    std::istringstream help(run("--help").out);
    int commands = 0;
    for (std::string line; std::getline(help, line);) {
        if (!line.starts_with("  ") || line[2] == ' ' || line[2] == '-') continue;
        ++commands;
        const std::string name = line.substr(2, line.find(' ', 2) - 2);
        EXPECT_NE(outcome.err.find(' ' + name + ' '), std::string::npos) << name;
    }
    EXPECT_GE(commands, 6);
}

}  // namespace
