// Random command lines, made of what the commands need, of the options that help lists, of words
// that are hard to take and of files real, missing and odd: the command never crashes, hangs or
// ends without a word. MMSKIT_RANDOM_LINES is how many (300), MMSKIT_RANDOM_SEED where they begin
// (1). What they write stays below the temporary folder: no word leads further up than that.
#include <map>
#include <random>
#include <regex>
#include <sstream>
#include <vector>

#include "tests/tools/tool_runner.h"

namespace {

using testing_support::file_bytes;
using testing_support::ToolRunner;
namespace fs = std::filesystem;
using Words = std::vector<std::string>;

constexpr int lines_a_folder = 100;  // then the files are made anew

Words split(const std::string& text, char at = '|') {
    std::istringstream in(text);
    Words words;
    for (std::string word; std::getline(in, word, at);)
        words.push_back(word);
    return words;
}

const Words files =
    split("card.mms|push.xml|m.json|a.jpg|store|cut.mms|noise|empty|folder|none|no/way|-|loop|.");
const Words values = [] {
    Words words = split(
        "|-|--|---|=|==|-=|--=x|-1|0|1|+1|2147483648|99999999999999999999|1e9|5s|3d|0.0000001s|"
        "2026-12-01T00:00:00Z|1970-01-01|now|none|a@b|+1,+2|+1/"
        "TYPE=PLMN|text=Hello|text=|text=@a.jpg|"
        "text=@@|text=@|image=a.jpg|image=card.mms|video=-|dur=0|bg=#ffffff|bg=|name=x|name=../x|"
        "type=a/"
        "b|=x|image-name=|text-begin=9999999999s|si|sl|retrieved|get|set|list|%s%n%d|[a,b]|{}|"
        "'|\"|\\|\x1b[2J|\x80\xff|\xe2\x80\xae|\xc3\xa4\xf0\x9f\x8c\x85|\n|a b|..");
    words.push_back(std::string(300, 'n'));
    words.push_back(std::string(20000, 'x'));
    return words;
}();

// FILE stands for any file or value.
const Words commands = split(
    "show FILE|list FILE|explain FILE|extract FILE -o out|preview FILE -o out|size FILE|show FILE "
    "FILE|"
    "decompose FILE -o out|compose FILE -o out|compose --to +1 -o out|forward FILE --to +1 -o out|"
    "forward --by-location FILE --to +1 -o out|respond notify FILE -o out|respond ack FILE -o out|"
    "respond read FILE --to +1 -o out|respond read-message --transaction-id T1 --to +1 -o out|"
    "store FILE list|store FILE get FILE|store FILE set FILE FILE|store FILE unset "
    "FILE|respond|FILE");

class RandomLines : public ToolRunner {
  protected:
    void make_files() {
        fs::remove_all(folder_ / "in");
        fs::create_directories(folder_ / "in" / "folder");
        const std::string card = file_bytes(MMSKIT_SOURCE_DIR "/examples/postcard.mms");
        write("in/card.mms", card);
        write("in/cut.mms", card.substr(0, 1000));
        std::string noise;
        for (int i = 0; i < 500; ++i)
            noise += static_cast<char>(random_());
        write("in/noise", noise);
        write("in/empty", "");
        write("in/a.jpg", "\xFF\xD8\xFF\xE0 bytes");
        write("in/store", "key=value\nother=\n");
        write("in/m.json", R"({"to": "+1", "slides": [{"text": "a", "image": "a.jpg"}]})");
        write("in/push.xml", R"(<si><indication href="http://a/" created="2026-01-01T00:00:00Z">a)"
                             "</indication></si>");
        fs::create_symlink("loop", folder_ / "in" / "loop");
    }

    // What help lists for a command.
    const Words& options_of(const std::string& command) {
        Words& options = options_[command];
        const std::string help = options.empty() ? run(command + " --help").out : "";
        const std::regex option("[\\s,(](--?[a-z][a-z-]*)");
        for (std::sregex_iterator at(help.begin(), help.end(), option), end; at != end; ++at)
            options.push_back((*at)[1]);
        return options;
    }

    std::size_t below(std::size_t limit) { return random_() % limit; }
    const std::string& one_of(const Words& words) { return words[below(words.size())]; }

    // Mostly what the command needs, then more of what it takes, and sometimes anything.
    Words random_line() {
        Words line;
        const std::string& command = one_of(commands);
        const std::string path = command.substr(0, command.find_first_of("F-"));
        for (const std::string& word : split(command, ' '))
            if (below(30) != 0)
                line.push_back(word != "FILE" ? word : one_of(below(5) == 0 ? values : files));
        for (std::size_t left = below(2) * below(5); left > 0; --left) {
            const std::size_t kind = below(12);
            line.push_back(one_of(kind < 10 ? options_of(path) : kind == 10 ? files : values));
            if (kind == 0) line.back() += '=' + one_of(values);
            if (kind > 0 && kind < 8) line.push_back(one_of(below(3) == 0 ? files : values));
        }
        if (below(20) == 0) std::shuffle(line.begin(), line.end(), random_);
        return line;
    }

    void check(const Words& words) {
        std::string line;
        for (const std::string& word : words)
            line += '\'' + std::regex_replace(word, std::regex("'"), R"('\'')") + "' ";
        SCOPED_TRACE(line);
        line += below(4) == 0 ? "<card.mms" : "<empty";
        const int code = run(line, "cd in && ulimit -t 10").code;
        const std::string err = read("in/.err");
        ASSERT_LE(code, 3) << err;
        ++ends_[code];
        EXPECT_EQ(err.find("runtime error"), std::string::npos) << err;
        EXPECT_EQ(err.find("Sanitizer"), std::string::npos) << err;
        // What is lost of a message is told where the message is shown.
        EXPECT_TRUE(code == 0 || code == 3 || err.starts_with("mmskit")) << code << err;
        EXPECT_TRUE(code != 2 || (read("in/.out").empty() && err.ends_with("--help tells more\n")))
            << err;
        for (const char c : err)
            ASSERT_TRUE(c == '\n' || static_cast<unsigned char>(c) >= 0x20) << err;
    }

    std::mt19937 random_;
    std::map<std::string, Words> options_;
    int ends_[4] = {};  // lines by their exit code
};

unsigned setting(const char* name, unsigned otherwise) {
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise : static_cast<unsigned>(std::stoul(text));
}

TEST_F(RandomLines, end_with_a_known_code_and_a_word) {
    random_.seed(setting("MMSKIT_RANDOM_SEED", 1));
    EXPECT_GT(options_of("compose").size(), 12U) << "help lists the options";
    const auto lines = static_cast<int>(setting("MMSKIT_RANDOM_LINES", 300));
    for (int i = 0; i < lines && !HasFailure(); ++i) {
        if (i % lines_a_folder == 0) make_files();
        check(random_line());
    }
    std::printf("exit codes 0 to 3: %d %d %d %d\n", ends_[0], ends_[1], ends_[2], ends_[3]);
    for (const int code : {0, 1, 2})
        EXPECT_GT(ends_[code], lines / 20) << "few lines end with " << code;
}

}  // namespace
