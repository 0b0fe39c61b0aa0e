// Text from a message made safe for a terminal, for JSON and for a file system. Whoever sent the
// message chose these bytes: nothing here trusts them to be UTF-8, and no character that drives a
// terminal, turns the reading direction or walks out of a folder comes through.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace mmskit_tool {

// The longest file name made from a message. File systems take 255 bytes.
inline constexpr std::size_t max_file_name = 200;

// One line of text: control characters and bytes that are not UTF-8 as \xNN; C1 controls,
// characters that turn the direction or break the line, and those that show nothing as \u{...}.
std::string visible(std::string_view text);

// As visible() for what is read as a text and not compared as a name: what shows nothing stays, as
// soft hyphens and the tags of a flag do their work there.
std::string visible_prose(std::string_view text);

struct CharacterRange {
    char32_t first, last;
};
template <std::size_t count>
bool in_any(char32_t c, const CharacterRange (&ranges)[count]) {
    for (const CharacterRange& range : ranges) {
        if (c >= range.first && c <= range.last) return true;
    }
    return false;
}

// Whether the text is UTF-8 throughout (RFC 3629).
bool is_utf8(std::string_view text);

// Text as it stands when it is UTF-8; otherwise its stray bytes become \xNN and its backslashes
// are doubled, so that the two can be told apart.
std::string json_text(std::string_view text);

// The text of json_text() as a JSON string, without a raw character that visible() would escape:
// they become \uXXXX, which a JSON reader turns back.
void append_json_string(std::string& out, std::string_view text);

// A file name for what a message calls `raw`: its last path component without separators, control,
// direction and invisible characters, "..", leading dots and dashes; at most max_file_name bytes,
// cut between characters, the extension kept. Empty when nothing is left.
std::string safe_file_name(std::string_view raw);

// Shortens the text to at most `limit` bytes, and not within a character.
void cut_at_character(std::string& text, std::size_t limit);

// The name in at most `limit` bytes, which hold an extension and more: what is too much is cut from
// its stem. From 2 on `number` stands between stem and extension.
std::string fitting_name(const std::string& name, std::size_t limit, uint32_t number);

// A safe file name in two pieces, so that a number can go between them. The stem is short enough
// for any 32-bit number.
struct NumberedName {
    std::string stem;
    std::string extension;
    [[nodiscard]] std::string with(uint32_t number) const {
        return stem + '-' + std::to_string(number) + extension;
    }
};
NumberedName numbered_name(const std::string& safe_name);

}  // namespace mmskit_tool
