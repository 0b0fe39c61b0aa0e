// Random command lines, made of the commands and options that help lists, of words that are hard to
// take and of files real, missing and odd: the command never crashes, hangs or ends without a word.
// MMSKIT_RANDOM_LINES is how many (300), MMSKIT_RANDOM_SEED where they begin (1). What they write
// stays below the temporary folder: no word leads further up than that.
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

Words split(const char* text) {
    std::istringstream in(text);
    Words words;
    for (std::string word; std::getline(in, word, '|');)
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

struct Subject {
    Words path;
    Words usage;  // after the path: -o FILE and so on
    Words flags, options;
};

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

    // What the help of a command lists, and of the commands below it.
    void learn(const Words& path) {
        std::string line;
        for (const std::string& word : path)
            line += word + ' ';
        const std::string help = run(line + "--help").out;
        const auto found = [](const std::string& text, const char* pattern) {
            const std::regex regex(pattern);
            Words all;
            for (std::sregex_iterator at(text.begin(), text.end(), regex), end; at != end; ++at)
                all.push_back((*at)[1]);
            return all;
        };
        // "Usage: mmskit show [OPTIONS] FILE": from the second word after the path.
        const std::size_t usage = help.find("Usage: mmskit ") + 14 + line.size();
        subjects_.push_back({path,
                             found(help.substr(usage, help.find("\n\n") - usage), "\\s(\\S+)"),
                             found(help, "\n  (?:-., )?(-[\\w-]+)(?=\n|  )"),
                             found(help, "\n  (?:-., )?(-[\\w-]+) \\S")});
        for (const std::string& command : found(help, "\n  ([a-z]\\S*)")) {
            if (command == "send" || command == "fetch") continue;  // those go to the network
            Words below = path;
            below.push_back(command);
            learn(below);
        }
    }

    std::size_t below(std::size_t limit) { return random_() % limit; }
    const std::string& one_of(const Words& words) { return words[below(words.size())]; }

    // Mostly what the command needs, then more of what it takes, and sometimes anything.
    Words random_line() {
        // A command that only has others below it is good for an unknown one.
        const Subject* chosen = &subjects_[below(subjects_.size())];
        if (chosen->options.empty() && below(4) != 0) chosen = &subjects_[below(subjects_.size())];
        const Subject& subject = *chosen;
        Words line = subject.path;
        if (below(8) != 0) {
            // Of "(FILE | --by-location URI)" only the first.
            for (const std::string& word : subject.usage) {
                if (word == "|") break;
                if (below(30) != 0) line.push_back(usage_word(word));
            }
        }
        for (std::size_t left = below(2) * below(5); left > 0; --left) {
            const std::size_t kind = below(16);
            if (kind < 10 && !subject.options.empty()) {
                line.push_back(one_of(subject.options));
                if (kind == 0) line.back() += '=' + one_of(values);
                if (kind > 1) line.push_back(below(3) == 0 ? one_of(files) : one_of(values));
            }
            if (kind == 10 || kind == 11) line.push_back(one_of(subject.flags));
            if (kind == 12) line.push_back(one_of(files));
            if (kind == 13) line.push_back(one_of(values));
        }
        if (below(20) == 0) std::shuffle(line.begin(), line.end(), random_);
        return line;
    }

    std::string usage_word(const std::string& word) {
        static const std::map<std::string, const char*> right{
            {"DIR", "out"}, {"ID", "T1"}, {"ADDRESS", "+1"}, {"STATUS", "retrieved"}};
        if (word[0] == '-') return word;
        const auto found = right.find(word);
        if (found != right.end() && below(10) != 0) return found->second;
        return below(5) == 0 ? one_of(values) : one_of(files);
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
    std::vector<Subject> subjects_;
    int ends_[4] = {};  // lines by their exit code
};

unsigned setting(const char* name, unsigned otherwise) {
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise : static_cast<unsigned>(std::stoul(text));
}

TEST_F(RandomLines, end_with_a_known_code_and_a_word) {
    random_.seed(setting("MMSKIT_RANDOM_SEED", 1));
    learn({});
    ASSERT_GE(subjects_.size(), 12U) << "help lists the commands";
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
