#include "ground/json_writer.h"

#include <cstdio>

#include "ground/safe_text.h"

namespace mmskit_tool {
namespace {

// Most strings are printable ASCII in which nothing is escaped.
bool stands_for_itself(std::string_view text) {
    for (const char c : text)
        if (c < ' ' || c >= 0x7F || c == '"' || c == '\\') return false;
    return true;
}

}  // namespace

JsonWriter& JsonWriter::open(char bracket) {
    begin_value();
    out_ += bracket;
    levels_.push_back({bracket == '{' ? '}' : ']'});
    return *this;
}

JsonWriter& JsonWriter::end() {
    const Level level = levels_.back();
    levels_.pop_back();
    if (!level.empty) begin_line();
    out_ += level.close;
    return *this;
}

JsonWriter& JsonWriter::key(std::string_view name) {
    begin_value();
    quote(name);
    out_ += ": ";
    after_key_ = true;
    return *this;
}

JsonWriter& JsonWriter::text(std::string_view value) {
    begin_value();
    if (stands_for_itself(value))
        quote(value);
    else
        quote(json_text(value));
    return *this;
}

JsonWriter& JsonWriter::raw(std::string_view value) {
    begin_value();
    out_ += value;
    return *this;
}

// The value of a member stands on the line of its key, all else on a line of its own.
void JsonWriter::begin_value() {
    if (after_key_ || levels_.empty()) {
        after_key_ = false;
        return;
    }
    if (!levels_.back().empty) out_ += ',';
    levels_.back().empty = false;
    begin_line();
}

void JsonWriter::begin_line() {
    if (one_line_) {
        if (out_.back() == ',') out_ += ' ';
        return;
    }
    out_ += '\n';
    out_.append(2 * levels_.size(), ' ');
}

// RFC 8259, 7.
void JsonWriter::quote(std::string_view value) {
    if (stands_for_itself(value)) {
        out_ += '"';
        out_ += value;
        out_ += '"';
        return;
    }
    constexpr std::string_view escaped = "\"\\\b\f\n\r\t";
    constexpr std::string_view letters = "\"\\bfnrt";
    std::string text;
    for (const char c : value) {
        if (const std::size_t at = escaped.find(c); at != std::string_view::npos) {
            text += {'\\', letters[at]};
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char code[8];
            (void)std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned char>(c));
            text += code;
        } else {
            text += c;
        }
    }
    out_ += '"' + json_for_terminal(text) + '"';
}

}  // namespace mmskit_tool
