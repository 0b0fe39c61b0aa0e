// Takes a command line apart with the C library's getopt_long, in the order of its words, so that a
// group of words ends at the first that is no KEY=VALUE.
#include "ground/command_line.h"

#include <getopt.h>

#include <algorithm>
#include <charconv>

namespace mmskit_tool {
namespace {

constexpr int plain_word = 1;  // getopt's code for it when the short options begin with "-"
constexpr int help_code = 256;
constexpr int first_option_code = 257;

std::string in_quotes(std::string_view word) {
    return '"' + std::string(word) + '"';
}

std::string joined(const std::vector<std::string>& words, const char* last_separator) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (i > 0) text += i + 1 < words.size() ? ", " : last_separator;
        text += words[i];
    }
    return text;
}

int32_t number_of(const Option& option, const std::string& word) {
    int32_t number = 0;
    const char* end = word.data() + word.size();
    const auto [at, error] = std::from_chars(word.data(), end, number);
    if (error != std::errc() || at != end)
        throw WrongUsage(option.name + ": " + in_quotes(word) + " is no number");
    return number;
}

// Fills the variable of an option with one word; a flag has none.
struct Fill {
    const Option& option;
    const std::string& word;

    void operator()(bool* flag) const { *flag = true; }
    void operator()(std::string* text) const { *text = once(); }
    void operator()(std::optional<std::string>* text) const { *text = once(); }
    void operator()(std::vector<std::string>* list) const { list->push_back(word); }
    void operator()(std::vector<int32_t>* list) const { list->push_back(number_of(option, word)); }
    void operator()(std::vector<Group>* list) const {
        list->emplace_back();
        if (!word.empty() || option.leading_word) list->back().push_back(word);
    }

  private:
    [[nodiscard]] const std::string& once() const {
        if (option.given) throw WrongUsage(option.name + " is given twice");
        return word;
    }
};

bool takes_several_words(const Option& option) {
    return std::holds_alternative<std::vector<std::string>*>(option.target);
}

}  // namespace

class LineParser {
  public:
    LineParser(Command& command, int argc, char** argv)
        : command_(command), argc_(argc), argv_(argv) {
        list_options();
    }

    // False: help is asked for. The first word is the command's name.
    bool parse() {
        optind = 0;
        opterr = 0;
        int at = 1;
        for (int code = 0; (code = next()) != -1; at = optind) {
            if (code == help_code) return false;
            if (code == '?' || code == ':') complain(code, at);
            if (code == plain_word) {
                take_word(optarg);
            } else {
                take_option(code, at);
            }
        }
        group_ = nullptr;
        for (int i = optind; i < argc_; ++i)
            take_word(argv_[i]);
        check_rules();
        return true;
    }

  private:
    void list_options() {
        letters_ = "-:h";
        long_options_.push_back({"help", no_argument, nullptr, help_code});
        for (std::size_t i = 0; i < command_.options_.size(); ++i) {
            const Option& option = command_.options_[i];
            if (option.is_word()) continue;
            const bool group = std::holds_alternative<std::vector<Group>*>(option.target);
            const int value = option.type.empty()             ? no_argument
                              : group && !option.leading_word ? optional_argument
                                                              : required_argument;
            const int code = first_option_code + static_cast<int>(i);
            long_options_.push_back({option.name.c_str() + 2, value, nullptr, code});
            if (option.letter == 0) continue;
            letters_ += option.letter;
            if (value == required_argument) letters_ += ':';
        }
        long_options_.push_back({});
    }

    // One code for an option, however it is written.
    int next() {
        const int code = getopt_long(argc_, argv_, letters_.c_str(), long_options_.data(), nullptr);
        if (code == 'h') return help_code;
        for (std::size_t i = 0; i < command_.options_.size(); ++i) {
            if (code > plain_word && code == command_.options_[i].letter)
                return first_option_code + static_cast<int>(i);
        }
        return code;
    }

    // The option that a word names in full; nullptr for any other word.
    [[nodiscard]] const Option* named(std::string_view word) const {
        for (const Option& option : command_.options_) {
            const bool letter = word.size() == 2 && word[0] == '-' && word[1] == option.letter;
            if (!option.is_word() && (word == option.name || letter)) return &option;
        }
        return nullptr;
    }

    [[noreturn]] void complain(int code, int at) const {
        const std::string word = optopt > 0 && optopt < help_code
                                     ? std::string{'-', static_cast<char>(optopt)}
                                     : argv_[at];
        const Option* option = named(word.substr(0, word.find('=')));
        if (code == ':' && option != nullptr)
            throw WrongUsage(option->name + " needs " + option->type + " after it");
        if (option != nullptr)
            throw WrongUsage(in_quotes(word) + ": " + option->name + " takes no value");
        throw WrongUsage(in_quotes(word) + " is no option of this command");
    }

    void take_option(int code, int at) {
        Option& option = command_.options_[static_cast<std::size_t>(code - first_option_code)];
        const std::string_view written = argv_[at];
        // getopt would take a beginning of a name for the name.
        if (written.starts_with("--") && written.substr(0, written.find('=')) != option.name)
            throw WrongUsage(in_quotes(written) + " is no option of this command");
        const std::string word = optarg != nullptr ? optarg : "";
        // Its value was forgotten, and the next option taken for it.
        const bool own_word = optarg != nullptr && optind == at + 2;
        if (own_word && named(word) != nullptr)
            throw WrongUsage(option.name + " needs " + option.type + " after it, not the option " +
                             in_quotes(word));
        fill(option, word);
        group_ = std::holds_alternative<std::vector<Group>*>(option.target) ? &option : nullptr;
    }

    void fill(Option& option, const std::string& word) {
        const auto& choices = option.choices;
        if (!choices.empty() && std::find(choices.begin(), choices.end(), word) == choices.end())
            throw WrongUsage(option.name + ": " + in_quotes(word) + " is not " +
                             joined(choices, " or "));
        std::visit(Fill{option, word}, option.target);
        option.given = true;
    }

    void take_word(const std::string& word) {
        if (group_ != nullptr && word.find('=') != std::string::npos) {
            std::get<std::vector<Group>*>(group_->target)->back().push_back(word);
            return;
        }
        const std::string after = group_ != nullptr ? group_->name : "";
        group_ = nullptr;
        for (Option& option : command_.options_) {
            if (!option.is_word() || (option.given && !takes_several_words(option))) continue;
            if (word.empty() && !takes_several_words(option))
                throw WrongUsage(option.name + " is an empty word");
            fill(option, word);
            option.after = after;
            return;
        }
        if (!after.empty()) complain_after(word, after);
        throw WrongUsage(in_quotes(word) + " is one word too many");
    }

    [[noreturn]] void complain_after(const std::string& word, const std::string& after) const {
        throw WrongUsage(in_quotes(word) + " after " + after + " is no KEY=VALUE; " + after +
                         " takes " + command_.find(after).type +
                         ", and what has spaces goes in quotes");
    }

    void check_rules() const {
        for (const Command::Rule& rule : command_.exclusions_)
            check_exclusion(rule);
        for (const Option& option : command_.options_) {
            if (option.required && !option.given)
                throw WrongUsage(option.is_word()
                                     ? option.name + " is missing"
                                     : option.name + ' ' + option.type + " is missing");
        }
        for (const Command::Rule& rule : command_.needs_) {
            for (const std::string& other : rule.others) {
                if (command_.find(rule.name).given && !command_.find(other).given)
                    throw WrongUsage(rule.name + " needs " + other + " too");
            }
        }
        for (const Command::Names& names : command_.alternatives_) {
            const auto given = std::count_if(names.begin(), names.end(), [&](const auto& name) {
                return command_.find(name).given;
            });
            if (given == 0) throw WrongUsage(joined(names, " or ") + " is missing");
            if (given > 1)
                throw WrongUsage("only one of " + joined(names, " and ") + " can be given");
        }
    }

    void check_exclusion(const Command::Rule& rule) const {
        const Option& one = command_.find(rule.name);
        if (!one.given) return;
        for (const std::string& name : rule.others) {
            const Option& other = command_.find(name);
            if (!other.given) continue;
            for (const Option* word : {&one, &other}) {
                if (!word->after.empty()) complain_after(word_of(*word), word->after);
            }
            throw WrongUsage(one.name + " and " + other.name + " cannot both be given");
        }
    }

    static std::string word_of(const Option& option) {
        if (const auto* text = std::get_if<std::string*>(&option.target)) return **text;
        if (const auto* text = std::get_if<std::optional<std::string>*>(&option.target))
            return (*text)->value_or("");
        return option.name;
    }

    Command& command_;
    int argc_;
    char** argv_;
    std::string letters_;
    std::vector<::option> long_options_;
    const Option* group_ = nullptr;  // takes the KEY=VALUE words that follow
};

// ---- A command ---------------------------------------------------------------------------------

Command::Command(std::string name, std::string help)
    : name_(std::move(name)), help_(std::move(help)), path_(name_) {}

Option& Command::add(const std::string& names, Target target, std::string type, std::string help) {
    Option option;
    const std::size_t comma = names.find(',');
    option.name = names.substr(comma == std::string::npos ? 0 : comma + 1);
    if (comma != std::string::npos) option.letter = names[1];
    option.type = std::move(type);
    option.help = std::move(help);
    option.target = target;
    options_.push_back(std::move(option));
    return options_.back();
}

Option& Command::word(const char* name, Target target, std::string help) {
    return add(name, target, "", std::move(help));
}

Option& Command::flag(const char* names, bool& target, std::string help) {
    return add(names, &target, "", std::move(help));
}

Option& Command::groups(const char* names, std::vector<Group>& target, bool leading_word,
                        const char* type, std::string help) {
    Option& option = add(names, &target, type, std::move(help));
    option.leading_word = leading_word;
    return option;
}

const Option& Command::find(const std::string& name) const {
    const auto found = std::find_if(options_.begin(), options_.end(),
                                    [&](const Option& each) { return each.name == name; });
    if (found == options_.end()) throw std::logic_error(name_ + " has no option " + name);
    return *found;
}

void Command::complain(const std::string& problem) const {
    throw WrongUsage(path_ + ": " + problem + "; " + path_ + " --help tells more");
}

Asked Command::parse(int argc, char** argv) {
    if (!commands_.empty()) return parse_commands(argc, argv);
    try {
        if (LineParser(*this, argc, argv).parse()) return {"", this};
    } catch (const WrongUsage& wrong) {
        complain(wrong.what());
    }
    return {help_text(), nullptr};
}

Asked Command::parse_commands(int argc, char** argv) {
    const std::string word = argc > 1 ? argv[1] : "";
    if (word == "-h" || word == "--help") return {help_text(), nullptr};
    Names names;
    for (Command& command : commands_) {
        names.push_back(command.name_);
        if (word != command.name_) continue;
        command.path_ = path_ + ' ' + command.name_;
        return command.parse(argc - 1, argv + 1);
    }
    const std::string expected = joined(names, " or ");
    complain(argc < 2 ? "a command is missing: " + expected
                      : in_quotes(word) + " is no command: " + expected);
}

int Command::run() const {
    try {
        return job_->run();
    } catch (const WrongUsage& wrong) {
        complain(wrong.what());
    }
}

}  // namespace mmskit_tool
