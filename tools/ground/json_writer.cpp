#include "ground/json_writer.h"

#include "ground/file_io.h"
#include "ground/safe_text.h"

namespace mmskit_tool {

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
    append_json_string(out_, name);
    out_ += ": ";
    after_key_ = true;
    return *this;
}

JsonWriter& JsonWriter::text(std::string_view value) {
    begin_value();
    append_json_string(out_, value);
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
    Level& level = levels_.back();
    if (level.close == ']' && target_ != JsonTarget::text) write_grown_output(out_);
    if (!std::exchange(level.empty, false)) out_ += ',';
    begin_line();
}

// On one line it is the room behind a comma.
void JsonWriter::begin_line() {
    constexpr std::string_view line = "\n                                        ";  // no deeper
    if (target_ != JsonTarget::one_line_output)
        out_ += line.substr(0, 1 + 2 * levels_.size());
    else if (out_.ends_with(','))
        out_ += ' ';
}

}  // namespace mmskit_tool
