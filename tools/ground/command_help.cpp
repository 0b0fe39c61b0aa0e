// The help of a command, wrapped for a terminal of 80 columns, and the same facts as a table for
// the programs that make manual pages and completions of it.
#include <algorithm>

#include "ground/command_line.h"

namespace mmskit_tool {
namespace {

constexpr std::size_t line_width = 80;
constexpr std::size_t text_column = 28;

// Puts words on a line until it is full, then on the next, which begins at the column.
void append_wrapped(std::string& out, std::size_t column, std::string_view text) {
    std::size_t at = out.size() - (out.rfind('\n') + 1);
    while (!text.empty()) {
        const std::size_t length = std::min(text.find(' '), text.size());
        if (at + 1 + length > line_width) {
            out += '\n' + std::string(column, ' ');
            at = column;
        } else if (at > column) {
            out += ' ';
            ++at;
        }
        out += text.substr(0, length);
        at += length;
        text.remove_prefix(std::min(length + 1, text.size()));
    }
}

void append_entry(std::string& out, const std::string& name, const std::string& text) {
    out += "  " + name;
    const std::size_t used = 2 + name.size();
    if (used + 2 > text_column) {
        out += '\n' + std::string(text_column, ' ');
    } else {
        out += std::string(text_column - used, ' ');
    }
    append_wrapped(out, text_column, text);
    out += '\n';
}

bool fills_a_list(const Option& option) {
    return std::holds_alternative<std::vector<std::string>*>(option.target) ||
           std::holds_alternative<std::vector<int32_t>*>(option.target) ||
           std::holds_alternative<std::vector<Group>*>(option.target);
}

std::string heading(const Option& option) {
    std::string text = option.letter != 0 ? std::string{'-', option.letter, ',', ' '} : "";
    text += option.name;
    return option.type.empty() ? text : text + ' ' + option.type;
}

std::string description(const Option& option) {
    std::string text = option.help;
    for (std::size_t i = 0; i < option.choices.size(); ++i)
        text += (i == 0 ? ": " : ", ") + option.choices[i];
    if (fills_a_list(option) && !option.is_word()) text += " (may be given several times)";
    return text;
}

// As the line of usage has it.
std::string short_form(const Option& option) {
    if (option.is_word()) return option.name + (fills_a_list(option) ? "..." : "");
    const std::string name = option.letter != 0 ? std::string{'-', option.letter} : option.name;
    return option.type.empty() ? name : name + ' ' + option.type;
}

void append_row(std::string& out, const std::vector<std::string>& cells) {
    for (std::size_t i = 0; i < cells.size(); ++i)
        out += (i == 0 ? "" : "\t") + cells[i];
    out += '\n';
}

std::string joined_by_spaces(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

}  // namespace

std::string Command::declarations() const {
    std::string out;
    for (const Command& command : commands_) {
        const std::string& name = command.name_;
        std::string usage = command.usage_line();
        usage.replace(0, usage.find(name), path_ + ' ');
        append_row(out, {"command", name, command.help_, usage, command.codes_});
        for (const Option& option : command.options_) {
            if (option.is_word()) append_row(out, {"word", name, option.name, description(option)});
        }
        for (const Option& option : command.options_) {
            if (option.is_word() || option.hidden) continue;
            append_row(out, {"option", name, option.name,
                             option.letter != 0 ? std::string{option.letter} : "", option.type,
                             joined_by_spaces(option.choices), fills_a_list(option) ? "list" : "",
                             description(option)});
        }
    }
    return out;
}

std::string Command::usage_line() const {
    std::string line = "Usage: " + path_;
    if (!commands_.empty()) return line + " COMMAND ...";
    line += " [OPTIONS]";
    const auto is_alternative = [&](const Option& option) {
        return std::any_of(alternatives_.begin(), alternatives_.end(), [&](const Names& names) {
            return std::find(names.begin(), names.end(), option.name) != names.end();
        });
    };
    for (const Option& option : options_) {
        if (option.required) line += ' ' + short_form(option);
    }
    for (const Names& names : alternatives_) {
        for (std::size_t i = 0; i < names.size(); ++i)
            line += (i == 0 ? " (" : " | ") + short_form(find(names[i]));
        line += ')';
    }
    for (const Option& option : options_) {
        if (option.is_word() && !option.required && !is_alternative(option))
            line += " [" + short_form(option) + ']';
    }
    return line;
}

std::string Command::help_text() const {
    std::string out = help_ + '\n';
    append_wrapped(out, 4, usage_line());
    out += "\n\n";
    for (const Option& option : options_) {
        if (option.is_word()) append_entry(out, option.name, description(option));
    }
    for (const Command& command : commands_)
        append_entry(out, command.name_, command.help_);
    for (const Option& option : options_) {
        if (!option.is_word() && !option.hidden)
            append_entry(out, heading(option), description(option));
    }
    append_entry(out, "-h, --help", "Print this help");
    if (path_ == name_ && !commands_.empty()) append_entry(out, "--version", "Print the version");
    return out + "\nExit codes: 0 done, 1 failed, 2 wrong usage" + codes_ + ".\n";
}

}  // namespace mmskit_tool
