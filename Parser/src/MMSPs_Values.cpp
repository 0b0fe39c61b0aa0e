// Values of SMIL attributes: numbers, times and colours. All texts come from the message; every
// text has a value, and none is rejected.
#include "Parser/src/smil_internal.h"
#include "scshare/common/src/log.h"

namespace mmskit {
namespace {

constexpr int32_t saturate(int64_t value) {
    if (value > INT32_MAX) return INT32_MAX;
    return value < INT32_MIN ? INT32_MIN : static_cast<int32_t>(value);
}

struct NamedColour {
    char name[8];
    uint32_t value;
};
constexpr NamedColour named_colours[] = {
    {"AQUA", 0xFF00FFFF},    {"GRAY", 0xFF808080},   {"NAVY", 0xFF000080},   {"SILVER", 0xFFC0C0C0},
    {"BLACK", 0xFF000000},   {"GREEN", 0xFF008000},  {"OLIVE", 0xFF808000},  {"TEAL", 0xFF008080},
    {"BLUE", 0xFF0000FF},    {"LIME", 0xFF00FF00},   {"PURPLE", 0xFF800080}, {"YELLOW", 0xFFFFFF00},
    {"FUCHSIA", 0xFFFF00FF}, {"MAROON", 0xFF800000}, {"RED", 0xFFFF0000},
};
constexpr uint32_t white = 0xFFFFFFFF;

constexpr bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

// QUIRK colour_digits_are_not_checked: a character that is no hexadecimal digit counts with its
// own code.
constexpr uint32_t digit_value(char c) {
    if (is_digit(c)) return static_cast<uint32_t>(c - '0');
    const char lower = static_cast<char>(c | 0x20);
    if (lower >= 'a' && lower <= 'f') return static_cast<uint32_t>(lower - 'a' + 10);
    return static_cast<unsigned char>(c);
}

// QUIRK hash_colour_has_no_alpha: "#FF0000" is 0x00FF0000 while "RED" is 0xFFFF0000. Digits before
// the last eight leave the 32 bits.
uint32_t hex_colour(TextView digits) {
    uint32_t value = 0;
    for (size_t i = 0; i < digits.size; ++i)
        value = value * 16 + digit_value(digits.data[i]);
    for (size_t i = digits.size; log_enabled && i-- > 0;) {
        log_line("strColor[len-i-1]:%c", digits.data[i]);
        log_line("chr:%d", static_cast<int>(digit_value(digits.data[i])));
    }
    return value;
}

// The leading integer, and what stands behind it.
struct Number {
    int32_t value;
    const char* rest;
};

Number leading_number(const char* p, const char* end) {
    bool negative = false;
    if (p != end && !is_digit(*p)) {
        while (p != end && (*p == ' ' || (*p >= '\t' && *p <= '\r')))
            ++p;
        negative = p != end && *p == '-';
        if (p != end && (*p == '-' || *p == '+')) ++p;
    }
    int64_t value = 0;
    for (; p != end; ++p) {
        const auto digit = static_cast<uint32_t>(*p - '0');
        if (digit > 9) break;
        if (value <= INT32_MAX) value = value * 10 + digit;
    }
    return {saturate(negative ? -value : value), p};
}

}  // namespace

int32_t number_value(TextView text) {
    return leading_number(text.data, text.end()).value;
}

// QUIRK time_is_leading_integer: "1.5s" is one second, a clock value or a word is 0, and "5Ms" is
// five seconds since only "ms" and "MS" mean milliseconds.
int32_t time_value(TextView text) {
    const Number number = leading_number(text.data, text.end());  // a unit before it leaves 0
    const TextView unit(number.rest, static_cast<size_t>(text.end() - number.rest));
    if (unit.size == 2 && unit.data[0] == 'm' && unit.data[1] == 's') return number.value;
    bool milliseconds = false;
    bool seconds = false;
    for (size_t i = 0; i < unit.size; ++i) {
        if (unit.data[i] != 's' && unit.data[i] != 'S') continue;
        seconds = true;
        if (i != 0 && unit.data[i - 1] == unit.data[i] - ('s' - 'm')) milliseconds = true;
    }
    return saturate(int64_t{number.value} * (seconds && !milliseconds ? 1000 : 1));
}

uint32_t colour_value(TextView text) {
    if (text.size != 0 && *text.data == '#') return hex_colour({text.data + 1, text.size - 1});
    for (const NamedColour& colour : named_colours)
        if (text.equals(colour.name)) return colour.value;
    return white;
}

}  // namespace mmskit

extern "C" uint32_t ColorToInt(const char* text) {
    return mmskit::colour_value(text);
}
