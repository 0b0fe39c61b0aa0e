// The small values that a message is described with, from the words of a user: times, colours,
// addresses, names. Each throws a Failure that says what is expected and names no option: the
// caller knows where the word stood.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace mmskit_tool {

// The latest time that a message can carry, and the longest (the library counts in int32).
inline constexpr uint32_t max_seconds = 0x7FFFFFFF;

// "5s", "1.5s", "500ms", "2m" in milliseconds, at most INT32_MAX.
int32_t parse_milliseconds(std::string_view word);

// Seconds from now ("45s", "30m", "12h", "3d", "2w") or since 1970-01-01 UTC
// ("2026-12-01T00:00:00Z", "2026-12-01T00:00:00+02:00", "2026-12-01"); never 0.
struct When {
    bool relative = true;
    uint32_t seconds = 0;
};
When parse_when(std::string_view word);

// The same without the relative form, and "now".
uint32_t parse_date(std::string_view word);

uint32_t now_seconds();

// "#rrggbb" as 0xRRGGBB.
uint32_t parse_colour(std::string_view word);

// The place of the word in the list.
std::size_t parse_choice(std::string_view word, std::initializer_list<std::string_view> choices);

// One address as a sender has it: no blanks, no list, short enough for a recipient list.
std::string parse_address(std::string_view word);

// One that a message can be sent to: a phone number or name@host.
std::string parse_recipient(std::string_view word);
bool is_recipient(std::string_view word);

// The address of "Zoe <zoe@mail.example>"; the word itself when it has no brackets.
std::string_view bare_address(std::string_view word);

// A text of one line: UTF-8 without control characters, not empty.
std::string parse_line(std::string_view word);

// An identifier or a URI: printable ASCII without blanks, not empty.
std::string parse_token(std::string_view word);

// The same with a slash inside: "image/jpeg".
std::string parse_type(std::string_view word);

// A part's name. It stands in markup and opens a header value, so it has no markup characters and
// begins with an ASCII character.
std::string parse_part_name(std::string_view word);

bool is_part_name(std::string_view word);

// A part's name made from a file's: what parse_part_name refuses is replaced.
std::string part_name_of(std::string_view file);

}  // namespace mmskit_tool
