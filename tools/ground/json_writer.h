// Writes JSON text as it goes: two spaces an indent or all on one line, keys in the order of the
// calls, and no raw character that could drive a terminal. What is for standard output goes there
// in pieces, so that a document is never held whole.
#pragma once

#include <concepts>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mmskit_tool {

enum class JsonTarget { text, output, one_line_output };

class JsonWriter {
  public:
    explicit JsonWriter(JsonTarget target = JsonTarget::text) : target_(target) {}

    // Inside an object begin a member with its key, then write its value:
    // json.object().key("files").array() ... .end().end()
    JsonWriter& object() { return open('{'); }
    JsonWriter& array() { return open('['); }
    JsonWriter& end();
    JsonWriter& key(std::string_view name);
    JsonWriter& text(std::string_view value);  // made UTF-8 as json_text() does
    JsonWriter& boolean(bool value) { return raw(value ? "true" : "false"); }
    template <std::integral Number>
    JsonWriter& number(Number value) {
        return raw(std::to_string(value));
    }

    // The document and a line feed, or what of them did not go to standard output yet, once
    // everything is ended; it is given away.
    [[nodiscard]] std::string document() {
        out_ += '\n';
        return std::move(out_);
    }

  private:
    JsonWriter& open(char bracket);
    JsonWriter& raw(std::string_view value);
    void begin_value();
    void begin_line();

    struct Level {
        char close;
        bool empty = true;
    };
    JsonTarget target_;
    std::string out_;
    std::vector<Level> levels_;
    bool after_key_ = false;
};

}  // namespace mmskit_tool
