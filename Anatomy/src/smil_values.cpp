// Values of SMIL attributes, in the forms of the standard and as the exact reader reads them.
#include <algorithm>
#include <array>
#include <cstdio>

#include "Anatomy/src/letters.h"
#include "Anatomy/src/smil.h"
#include "Anatomy/src/smil_scanner.h"

namespace mmskit_anatomy {
namespace {

constexpr bool is_digit(char c) {
    return c >= '0' && c <= '9';
}
constexpr int32_t saturated(int64_t value) {
    return static_cast<int32_t>(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
}

struct NamedColour {
    std::string_view name;
    uint32_t value;
};
constexpr std::array<NamedColour, 15> named_colours = {{{"AQUA", 0xFF00FFFF},
                                                        {"GRAY", 0xFF808080},
                                                        {"NAVY", 0xFF000080},
                                                        {"SILVER", 0xFFC0C0C0},
                                                        {"BLACK", 0xFF000000},
                                                        {"GREEN", 0xFF008000},
                                                        {"OLIVE", 0xFF808000},
                                                        {"TEAL", 0xFF008080},
                                                        {"BLUE", 0xFF0000FF},
                                                        {"LIME", 0xFF00FF00},
                                                        {"PURPLE", 0xFF800080},
                                                        {"YELLOW", 0xFFFFFF00},
                                                        {"FUCHSIA", 0xFFFF00FF},
                                                        {"MAROON", 0xFF800000},
                                                        {"RED", 0xFFFF0000}}};
constexpr uint32_t white = 0xFFFFFFFF;

constexpr uint32_t digit_value(char c) {
    const int digit = hex_digit(c);
    return digit >= 0 ? static_cast<uint32_t>(digit) : static_cast<unsigned char>(c);
}
constexpr bool is_hex(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return digit_value(c) < 16; });
}

// Modulo 2^32: the digits before the last eight count for nothing.
uint32_t hex_value(std::string_view digits) {
    uint32_t value = 0;
    for (const char c : digits)
        value = value * 16 + digit_value(c);
    return value;
}

// A number in millionths, and where it ends.
struct Quantity {
    int64_t whole = 0;
    int64_t millionths = 0;
    bool any = false;
};

constexpr int64_t largest = int64_t{1} << 40;  // times an hour still fits 64 bits

Quantity read_number(std::string_view& text) {
    Quantity number;
    std::size_t at = 0;
    for (; at < text.size() && is_digit(text[at]); ++at, number.any = true)
        number.whole = std::min(largest, number.whole * 10 + (text[at] - '0'));
    if (at < text.size() && text[at] == '.') {
        int64_t weight = 100'000;
        for (++at; at < text.size() && is_digit(text[at]); ++at, weight /= 10, number.any = true)
            number.millionths += weight * (text[at] - '0');
    }
    text.remove_prefix(at);
    return number;
}

int64_t milliseconds(const Quantity& number, int64_t unit) {
    return number.whole * unit + number.millionths * unit / 1'000'000;
}

// The unit of a count, in ms. What is not written out is taken by its first letters.
int64_t unit_of(std::string_view text) {
    text = stripped(text);
    const char first = text.empty() ? 's' : to_lower(text[0]);
    const char second = text.size() > 1 ? to_lower(text[1]) : '\0';
    if (first == 'h') return 3'600'000;
    if (first == 'm') return second == 's' ? 1 : 60'000;
    return 1000;
}

int64_t clock_parts(std::string_view text) {
    Quantity number = read_number(text);
    if (!number.any) return 0;
    if (text.empty() || text[0] != ':') return milliseconds(number, unit_of(text));
    int64_t sum = 0;  // of what stands before, in units of the next
    while (!text.empty() && text[0] == ':') {
        text.remove_prefix(1);
        sum = std::min(largest, (sum + number.whole) * 60);
        number = read_number(text);
    }
    return sum * 1000 + milliseconds(number, 1000);
}

// "rgb(255, 0, 10%)"
Colour rgb_value(std::string_view text) {
    uint32_t colour = 0;
    for (int part = 0; part < 3; ++part) {
        text.remove_prefix(std::min(text.size(), text.find_first_of("0123456789")));
        const Quantity number = read_number(text);
        if (!number.any) return white;
        const bool percent = !text.empty() && text[0] == '%';
        const int64_t value = percent ? (number.whole * 255 + 50) / 100 : number.whole;
        colour = colour << 8 | static_cast<uint32_t>(std::min<int64_t>(value, 255));
    }
    return colour;
}

}  // namespace

std::string_view stripped(std::string_view text) {
    while (!text.empty() && is_blank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && is_blank(text.back()))
        text.remove_suffix(1);
    return text;
}

int32_t clock_value(std::string_view text) {
    text = stripped(text.substr(0, text.find(';')));  // the first of a list
    if (text.empty()) return 0;
    const bool negative = text[0] == '-';
    if (negative || text[0] == '+') text = stripped(text.substr(1));
    const int64_t value = clock_parts(text);
    return saturated(negative ? -value : value);
}

int32_t length_value(std::string_view text, int32_t whole) {
    text = stripped(text);
    const bool percent = !text.empty() && text.back() == '%';
    if (!percent || whole <= 0) return exact_number(text);
    const bool negative = text[0] == '-';
    if (negative || text[0] == '+') text.remove_prefix(1);
    const Quantity number = read_number(text);
    constexpr int64_t most_percent = 1'000'000;
    const int64_t thousandths =
        std::min(number.whole, most_percent) * 1000 + number.millionths / 1000;
    const int64_t value = thousandths * whole / 100'000;
    return saturated(negative ? -value : value);
}

Colour colour_value(std::string_view text) {
    text = stripped(text);
    if (text.empty() || same_word(text, "transparent") || same_word(text, "inherit"))
        return std::nullopt;
    if (same_word(text.substr(0, 4), "rgb(")) return rgb_value(text);
    if (text[0] == '#') {
        if (text.size() != 4 || !is_hex(text.substr(1))) return exact_colour(text);
        const char doubled[] = {'#', text[1], text[1], text[2], text[2], text[3], text[3]};
        return exact_colour({doubled, sizeof doubled});
    }
    for (const NamedColour& colour : named_colours)
        if (same_word(text, colour.name)) return colour.value;
    if (same_word(text, "grey")) return 0xFF808080;
    if (text.size() == 6 && is_hex(text)) return hex_value(text);
    return white;
}

int32_t exact_number(std::string_view text) {
    text = stripped(text);
    if (text.empty()) return 0;
    const bool negative = text[0] == '-';
    if (negative || text[0] == '+') text.remove_prefix(1);
    int64_t value = 0;
    for (std::size_t at = 0; at < text.size() && is_digit(text[at]); ++at)
        value = saturated(value * 10 + (negative ? '0' - text[at] : text[at] - '0'));
    return static_cast<int32_t>(value);
}

int32_t exact_time(std::string_view text) {
    constexpr std::size_t npos = std::string_view::npos;
    const bool in_ms = text.find("ms") != npos || text.find("MS") != npos;
    const bool in_seconds = !in_ms && text.find_first_of("sS") != npos;
    return saturated(int64_t{exact_number(text)} * (in_seconds ? 1000 : 1));
}

uint32_t exact_colour(std::string_view text) {
    if (!text.empty() && text[0] == '#') return hex_value(text.substr(1));
    for (const NamedColour& colour : named_colours)
        if (text == colour.name) return colour.value;
    return white;
}

std::string colour_text(uint32_t colour) {
    if (colour == white) return "WHITE";
    for (const NamedColour& named : named_colours)
        if (colour == named.value) return std::string(named.name);
    char text[16];
    std::snprintf(text, sizeof text, colour >> 24 == 0 ? "#%06x" : "#%08x", colour);
    return text;
}

}  // namespace mmskit_anatomy
