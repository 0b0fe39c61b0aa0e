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
        const char* rule;
        const char* line;
        const char* complaint;
    } cases[] = {
        {"command_missing", "", "mmskit: a command is missing: show, "},
        {"command_unknown", "shwo m",
         "mmskit: \"shwo\" is no command: show, preview, list, explain, "},
        {"command_below_unknown", "respond x",
         "mmskit respond: \"x\" is no command: notify, ack, "},
        {"word_missing", "show", "mmskit show: FILE is missing"},
        {"word_empty", "forward '' -o x", "mmskit forward: FILE is an empty word"},
        {"word_too_many", "forward m.json '' -o x", "mmskit forward: \"\" is one word too many"},
        {"word_after_the_options", "forward m.json -o x -- -x", "\"-x\" is one word too many"},
        {"option_unknown", "show m.json --jsno", "\"--jsno\" is no option of this command"},
        {"option_shortened", "show m.json --jso", "\"--jso\" is no option of this command"},
        {"option_shortened_with_value", "compose --subj=a -o x", "\"--subj=a\" is no option"},
        {"letter_unknown", "compose -xo x", "\"-x\" is no option of this command"},
        {"value_missing", "compose -o x --subject", "--subject needs TEXT after it;"},
        {"value_missing_for_letter", "compose --to +1 -o", "--output needs FILE after it;"},
        {"value_of_a_flag", "show m.json --json=1", "\"--json=1\": --json takes no value"},
        {"option_for_a_value", "compose -o x --attach --subject a",
         "--attach needs FILE [KEY=VALUE...] after it, not the option \"--subject\""},
        {"letter_for_a_value", "compose --to -o x",
         "--to needs ADDRESS after it, not the option \"-o\""},
        {"option_missing", "compose m.json", "--output FILE is missing"},
        {"option_twice", "compose -o x --to +1 --subject a --subject b",
         "--subject is given twice"},
        {"choice", "show m.json --as s", "--as: \"s\" is not si or sl"},
        {"number", "forward m.json -o x --drop-slide 1x", "--drop-slide: \"1x\" is no number"},
        {"number_too_large", "forward m.json -o x --drop-text 2147483648", "\"2147483648\" is no"},
        {"text_in_two_words", "compose -o x --to +1 --slide text=Hello world",
         "\"world\" after --slide is no KEY=VALUE; --slide takes KEY=VALUE..."},
        {"slide_without_key", "compose --slide hello -o x",
         "\"hello\" after --slide is no KEY=VAL"},
        {"slide_of_a_forward", "forward a.txt -o x --add-slide text=a b",
         "\"b\" after --add-slide is no KEY=VALUE"},
        {"second_file", "compose -o x --attach a.txt b", "\"b\" after --attach is no KEY=VALUE"},
        {"slide_key_unknown", "compose -o x --to +1 --slide txt=a",
         "slide 1: txt: there is no such"},
        {"attachment_key_unknown", "compose -o x --to +1 --attach a.txt n=b", "attachment 1: n: "},
        {"exclusive", "compose -o x m.json --to +1", "FILE and --to cannot both be given"},
        {"one_of", "forward -o x", "FILE or --by-location is missing"},
        {"only_one_of", "forward a.txt --by-location u -o x", "only one of FILE and --by-location"},
        {"store_action", "store a.txt gte",
         "\"gte\" is not get KEY, set KEY VALUE, unset KEY or list"},
        {"store_words", "store a.txt get", "get takes 1 word, not 0"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.rule);
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
    const std::string folder = "MMSKIT_BUILD_DIR='" + (folder_ / "built").string() + "' ";
    const auto script = [&](const std::string& arguments) {
        const std::string line = folder + MMSKIT_SOURCE_DIR "/run " + arguments + " >'" +
                                 (folder_ / ".out").string() + "' 2>'" +
                                 (folder_ / ".err").string() + '\'';
        const int status = std::system(line.c_str());
        return Outcome{WEXITSTATUS(status), read(".out"), read(".err")};
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
