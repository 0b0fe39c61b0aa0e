// The command line as data: a command says which words, options and flags it takes and which
// variables they fill; parsing, checking and help are done here, for all commands alike.
//
//     void declare(Command& command, ShowOptions& options) {
//         command.word("FILE", options.file, "A message; - is standard input").require();
//         command.flag("--json", options.json, "Print JSON");
//         command.option("--as", options.kind, "KIND", "Read it as a push").among({"si", "sl"});
//     }
//     Command show_command() { return Command::of("show", "Show a message", declare, show); }
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace mmskit_tool {

// A command line that is wrong, as one line; main() ends with exit code 2. Parsing throws it, and
// so may the work of a command, for what only it can know.
class WrongUsage : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The words of one --slide text=Hello image=a.jpg, without the option's name.
using Group = std::vector<std::string>;

// The variable that an option fills. What fills a vector may be given several times; an optional
// tells whether the option was given. Numbers are decimal.
using Target = std::variant<bool*, std::string*, std::optional<std::string>*,
                            std::vector<std::string>*, std::vector<int32_t>*, std::vector<Group>*>;

struct Option {
    std::string name;  // "--output"; without dashes it is a plain word of the line, "FILE"
    char letter = 0;   // 'o' for -o; 0: none
    std::string type;  // how help calls its value; empty for a flag
    std::string help;
    Target target;
    bool required = false;
    bool leading_word = false;  // of a group: its first word is no KEY=VALUE, and is needed
    std::vector<std::string> choices;
    bool hidden = false;  // from help
    bool given = false;
    std::string after;  // of a plain word: the group option right before it

    [[nodiscard]] bool is_word() const { return name[0] != '-'; }
    Option& require() { return required = true, *this; }
    Option& hide() { return hidden = true, *this; }
    Option& among(std::vector<std::string> words) { return choices = std::move(words), *this; }
};

// What a command line asks for: a help text to print, or a command to run.
class Command;
struct Asked {
    std::string help;
    const Command* command = nullptr;
};

class Command {
  public:
    // The options live as long as the command; `work` is called with them once the line is right.
    // What it returns, if anything, is the exit status.
    template <typename Options, typename Result>
    static Command of(const char* name, const char* help, void (*declare)(Command&, Options&),
                      Result (*work)(const Options&)) {
        Command command(name, help);
        auto job = std::make_unique<JobOf<Options, Result>>(work);
        declare(command, job->options);
        command.job_ = std::move(job);
        return command;
    }
    // One that only has commands below it.
    Command(std::string name, std::string help);
    void add(Command command) { commands_.push_back(std::move(command)); }
    // What help says of exit codes beyond those that every command has.
    void further_codes(std::string text) { codes_ = std::move(text); }

    // Each refers to a variable of the options, and what it returns is good until the next call.
    // `names` is "--output" or "-o,--output".
    Option& word(const char* name, Target target, std::string help);
    Option& flag(const char* names, bool& target, std::string help);
    template <typename T>
    Option& option(const char* names, T& target, const char* type, std::string help) {
        return add(names, &target, type, std::move(help));
    }
    // After the option KEY=VALUE words; with `leading_word` another word first.
    Option& groups(const char* names, std::vector<Group>& target, bool leading_word,
                   const char* type, std::string help);

    // Rules between options, by name. Help does not list them; a line that breaks one is told.
    using Names = std::vector<std::string>;
    void exclude(std::string name, Names others) { exclusions_.push_back({name, others}); }
    void need(std::string name, Names others) { needs_.push_back({name, others}); }
    void need_one_of(Names names) { alternatives_.push_back(std::move(names)); }

    // Fills the options of the command that the line names. A WrongUsage, of run() too, begins with
    // that command's name and names the word that is wrong.
    Asked parse(int argc, char** argv);
    int run() const;  // the exit status
    // The commands below this one and all that they take, a line each, with tabs between: what
    // docs/man/make makes pages and completions of.
    [[nodiscard]] std::string declarations() const;

  private:
    friend class LineParser;
    struct Job {
        Job() = default;
        Job(const Job&) = delete;
        Job& operator=(const Job&) = delete;
        virtual ~Job() = default;
        [[nodiscard]] virtual int run() const = 0;
    };
    template <typename Options, typename Result>
    struct JobOf final : Job {
        explicit JobOf(Result (*function)(const Options&)) : work(function) {}
        [[nodiscard]] int run() const override {
            if constexpr (std::is_void_v<Result>)
                return work(options), 0;
            else
                return work(options);
        }
        Options options;
        Result (*work)(const Options&);
    };
    struct Rule {
        std::string name;
        Names others;
    };

    Option& add(const std::string& names, Target target, std::string type, std::string help);
    Asked parse_commands(int argc, char** argv);
    [[noreturn]] void complain(const std::string& problem) const;
    [[nodiscard]] std::string help_text() const;
    [[nodiscard]] std::string usage_line() const;
    [[nodiscard]] const Option& find(const std::string& name) const;

    std::string name_, help_, path_;  // the path: "mmskit show"
    std::string codes_;
    std::vector<Command> commands_;
    std::vector<Option> options_;
    std::vector<Rule> exclusions_, needs_;
    std::vector<Names> alternatives_;
    std::unique_ptr<Job> job_;
};

}  // namespace mmskit_tool
