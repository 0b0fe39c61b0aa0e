// Values of a message description. Numbers are read with from_chars: no locale, no sign, nothing
// after the number goes unnoticed.
#include "writing/plan_values.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <ctime>
#include <limits>

#include "ground/file_io.h"
#include "ground/safe_text.h"

namespace mmskit_tool {
namespace {

using namespace std::string_view_literals;

struct Unit {
    std::string_view name;
    uint64_t size;
};

constexpr Unit millisecond_units[] = {{"ms", 1}, {"s", 1000}, {"m", 60000}};
constexpr Unit second_units[] = {{"s", 1}, {"m", 60}, {"h", 3600}, {"d", 86400}, {"w", 604800}};

[[noreturn]] void expected(std::string_view word, std::string_view what) {
    throw Failure('"' + visible(word) + "\" is not " + std::string(what));
}

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

// Digits at the start of the rest, taken off it; false for none and for more than the ten that
// the longest time needs.
bool take_number(std::string_view& rest, uint64_t& value) {
    constexpr std::size_t most_digits = 10;
    std::size_t digits = 0;
    while (digits < rest.size() && is_digit(rest[digits]))
        ++digits;
    if (digits == 0 || digits > most_digits) return false;
    (void)std::from_chars(rest.data(), rest.data() + digits, value);
    rest.remove_prefix(digits);
    return true;
}

// A number with at most three decimals, in thousandths.
bool take_thousandths(std::string_view& rest, uint64_t& value) {
    if (!take_number(rest, value)) return false;
    value *= 1000;
    if (!rest.starts_with('.')) return true;
    rest.remove_prefix(1);
    uint64_t scale = 100;
    bool any = false;
    for (; scale > 0 && !rest.empty() && is_digit(rest[0]); scale /= 10, any = true) {
        value += static_cast<uint64_t>(rest[0] - '0') * scale;
        rest.remove_prefix(1);
    }
    return any;
}

// A number and a unit; `limit` + 1 for more than the limit. Ten digits, in thousandths of the
// largest unit, stay far below 64 bits.
template <std::size_t N>
uint64_t duration(std::string_view word, const Unit (&units)[N], uint64_t limit, bool& valid) {
    uint64_t thousandths = 0;
    valid = take_thousandths(word, thousandths);
    const Unit* unit = std::find_if(std::begin(units), std::end(units),
                                    [&](const Unit& each) { return each.name == word; });
    valid = valid && unit != std::end(units);
    return valid ? std::min(thousandths * unit->size / 1000, limit + 1) : 0;
}

bool take(std::string_view& rest, char c) {
    if (!rest.starts_with(c)) return false;
    rest.remove_prefix(1);
    return true;
}

bool take_two_digits(std::string_view& rest, int& value, int most) {
    if (rest.size() < 2 || !is_digit(rest[0]) || !is_digit(rest[1])) return false;
    value = (rest[0] - '0') * 10 + (rest[1] - '0');
    rest.remove_prefix(2);
    return value <= most;
}

bool take_clock(std::string_view& rest, int64_t& seconds) {
    int hour = 0;
    int minute = 0;
    int second = 0;
    if (!take_two_digits(rest, hour, 23) || !take(rest, ':') || !take_two_digits(rest, minute, 59))
        return false;
    if (take(rest, ':') && !take_two_digits(rest, second, 59)) return false;
    seconds = hour * 3600 + minute * 60 + second;
    return true;
}

bool take_zone(std::string_view& rest, int64_t& offset) {
    if (take(rest, 'Z')) return true;
    const int sign = rest.starts_with('-') ? -1 : 1;
    int hour = 0;
    int minute = 0;
    if (!take(rest, '+') && !take(rest, '-')) return false;
    if (!take_two_digits(rest, hour, 23) || !take(rest, ':') || !take_two_digits(rest, minute, 59))
        return false;
    offset = int64_t{sign} * (hour * 3600 + minute * 60);
    return true;
}

// ISO 8601: a date, or a date and a time with its zone.
bool take_date(std::string_view rest, int64_t& seconds) {
    int century = 0;
    int year = 0;
    int month = 0;
    int day = 0;
    if (!take_two_digits(rest, century, 99) || !take_two_digits(rest, year, 99) ||
        !take(rest, '-') || !take_two_digits(rest, month, 12) || !take(rest, '-') ||
        !take_two_digits(rest, day, 31)) {
        return false;
    }
    const std::chrono::year_month_day date{std::chrono::year(century * 100 + year),
                                           std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day))};
    if (!date.ok()) return false;
    int64_t clock = 0;
    int64_t zone = 0;
    if (!rest.empty() && (!take(rest, 'T') || !take_clock(rest, clock) || !take_zone(rest, zone)))
        return false;
    seconds =
        std::chrono::sys_days(date).time_since_epoch().count() * int64_t{86400} + clock - zone;
    return rest.empty();
}

uint32_t carried_date(std::string_view word, int64_t seconds) {
    if (seconds < 1 || seconds > max_seconds)
        expected(word, "a time that a message can carry: 1970 to 2038-01-19T03:14:07Z");
    return static_cast<uint32_t>(seconds);
}

bool is_printable(char c) {
    return c > ' ' && c < '\x7F';
}

constexpr bool is_control(char c) {
    return static_cast<unsigned char>(c) < ' ' || c == '\x7F';
}

// A number as it is dialled, with the separators that are written in one (OMA-MMS-ENC 8).
bool is_phone_number(std::string_view word) {
    if (word.starts_with('+')) word.remove_prefix(1);
    return std::any_of(word.begin(), word.end(), is_digit) &&
           word.find_first_not_of("0123456789*#-.()") == std::string_view::npos;
}

bool is_mail_address(std::string_view word) {
    const std::size_t at = word.find('@');
    return at != 0 && at != std::string_view::npos && at + 1 < word.size() &&
           word.find('@', at + 1) == std::string_view::npos;
}

constexpr std::string_view markup = "\"'<>&/\\";

// What no part's name has.
constexpr auto barred_bytes = [] {
    std::array<bool, 256> barred{};
    for (std::size_t byte = 0; byte != barred.size(); ++byte)
        barred[byte] = is_control(static_cast<char>(byte));
    for (const char c : markup)
        barred[static_cast<unsigned char>(c)] = true;
    return barred;
}();

}  // namespace

int32_t parse_milliseconds(std::string_view word) {
    constexpr uint64_t limit = std::numeric_limits<int32_t>::max();
    bool valid = false;
    const uint64_t value = duration(word, millisecond_units, limit, valid);
    if (!valid || value > limit) expected(word, "a time such as 5s, 1.5s or 500ms");
    return static_cast<int32_t>(value);
}

When parse_when(std::string_view word) {
    bool valid = false;
    const uint64_t value = duration(word, second_units, max_seconds, valid);
    if (valid && value >= 1 && value <= max_seconds) return {true, static_cast<uint32_t>(value)};
    int64_t seconds = 0;
    if (valid || !take_date(word, seconds))
        expected(word, "a time such as 12h, 3d or 2026-12-01T00:00:00Z");
    return {false, carried_date(word, seconds)};
}

uint32_t parse_date(std::string_view word) {
    int64_t seconds = 0;
    if (word == "now") return now_seconds();
    if (!take_date(word, seconds)) expected(word, "a date such as 2026-12-01T00:00:00Z");
    return carried_date(word, seconds);
}

uint32_t now_seconds() {
    return carried_date("now", std::time(nullptr));
}

uint32_t parse_colour(std::string_view word) {
    uint32_t colour = 0;
    const char* end = word.data() + word.size();
    if (word.size() != "#rrggbb"sv.size() || word[0] != '#' ||
        std::from_chars(word.data() + 1, end, colour, 16).ptr != end) {
        expected(word, "a colour such as #ffcc00");
    }
    return colour;
}

std::size_t parse_choice(std::string_view word, std::initializer_list<std::string_view> choices) {
    const auto* found = std::find(choices.begin(), choices.end(), word);
    if (found != choices.end()) return static_cast<std::size_t>(found - choices.begin());
    std::string all;
    for (const std::string_view choice : choices)
        all += (all.empty() ? "" : ", ") + std::string(choice);
    expected(word, "one of " + all);
}

namespace {

// An entry of 60 characters already ends the recipient list that it stands in.
constexpr std::size_t longest_address = 59;

// What the word is not; null for an address, or one that is only too long.
const char* missed_by_address(std::string_view word) {
    if (word.empty() || !is_utf8(word) || std::any_of(word.begin(), word.end(), is_control) ||
        word.find_first_of(" ;") != std::string_view::npos)
        return "an address: a phone number or name@host, without blanks and \";\"";
    if (word.find(',') != std::string_view::npos)
        return "one address: each of several is given on its own";
    if (word.size() > longest_address) return nullptr;
    // The type of a phone number is added on the wire.
    if (word.find("/TYPE=") != std::string_view::npos) return "an address: leave \"/TYPE=...\" out";
    return nullptr;
}

}  // namespace

std::string parse_address(std::string_view word) {
    if (const char* const missed = missed_by_address(word)) expected(word, missed);
    if (word.size() > longest_address) throw Failure("the address is longer than 59 bytes");
    return std::string(word);
}

bool is_recipient(std::string_view word) {
    return missed_by_address(word) == nullptr && word.size() <= longest_address &&
           (is_phone_number(word) || is_mail_address(word));
}

std::string parse_recipient(std::string_view word) {
    std::string address = parse_address(word);
    if (!is_phone_number(address) && !is_mail_address(address))
        expected(word, "an address: a phone number or name@host");
    return address;
}

std::string_view bare_address(std::string_view word) {
    const std::size_t open = word.rfind('<');
    const std::size_t close = word.rfind('>');
    if (open == std::string_view::npos || close == std::string_view::npos || close < open)
        return word;
    return word.substr(open + 1, close - open - 1);
}

std::string parse_line(std::string_view word) {
    if (word.empty()) throw Failure("the text is empty");
    if (!is_utf8(word) || std::any_of(word.begin(), word.end(), is_control))
        expected(word, "one line of UTF-8 text");
    return std::string(word);
}

std::string parse_token(std::string_view word) {
    if (word.empty() || !std::all_of(word.begin(), word.end(), is_printable))
        expected(word, "a word of printable ASCII characters");
    return std::string(word);
}

std::string parse_type(std::string_view word) {
    const std::size_t slash = word.find('/');
    if (slash == 0 || slash == std::string_view::npos || slash + 1 == word.size() ||
        !std::all_of(word.begin(), word.end(), is_printable)) {
        expected(word, "a content type such as image/jpeg");
    }
    return std::string(word);
}

bool is_part_name(std::string_view word) {
    const auto is_barred = [](char c) { return barred_bytes[static_cast<unsigned char>(c)]; };
    return !word.empty() && static_cast<unsigned char>(word[0]) < 0x7F &&
           std::none_of(word.begin(), word.end(), is_barred) && is_utf8(word);
}

std::string parse_part_name(std::string_view word) {
    if (!is_part_name(word)) {
        expected(word, "a part's name: UTF-8 that begins with an ASCII character, without any of " +
                           std::string(markup));
    }
    return std::string(word);
}

std::string part_name_of(std::string_view file) {
    std::string name = safe_file_name(file);
    for (char& c : name) {
        if (markup.find(c) != std::string_view::npos) c = '_';
    }
    if (name.empty()) return "part";
    return static_cast<unsigned char>(name[0]) >= 0x7F ? '_' + name : name;
}

}  // namespace mmskit_tool
