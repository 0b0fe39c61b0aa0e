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
    const char* name;
    uint32_t value;
};
constexpr NamedColour named_colours[] = {
    {"AQUA", 0xFF00FFFF},    {"GRAY", 0xFF808080},   {"NAVY", 0xFF000080},   {"SILVER", 0xFFC0C0C0},
    {"BLACK", 0xFF000000},   {"GREEN", 0xFF008000},  {"OLIVE", 0xFF808000},  {"TEAL", 0xFF008080},
    {"BLUE", 0xFF0000FF},    {"LIME", 0xFF00FF00},   {"PURPLE", 0xFF800080}, {"YELLOW", 0xFFFFFF00},
    {"FUCHSIA", 0xFFFF00FF}, {"MAROON", 0xFF800000}, {"RED", 0xFFFF0000},
};
constexpr uint32_t white = 0xFFFFFFFF;

// QUIRK colour_digits_are_not_checked: a character that is no hexadecimal digit counts with its
// own code.
constexpr uint32_t digit_value(char c) {
    if (c >= '0' && c <= '9') return static_cast<uint32_t>(c - '0');
    if (c >= 'A' && c <= 'F') return static_cast<uint32_t>(c - 'A' + 10);
    if (c >= 'a' && c <= 'f') return static_cast<uint32_t>(c - 'a' + 10);
    return static_cast<unsigned char>(c);
}

// QUIRK hash_colour_has_no_alpha: "#FF0000" is 0x00FF0000 while "RED" is 0xFFFF0000. Digits beyond
// the eighth from the end have a weight of 0 modulo 2^32.
uint32_t hex_colour(TextView digits) {
    uint32_t value = 0;
    uint32_t weight = 1;
    for (size_t i = digits.size; i-- > 0; weight *= 16) {
        const uint32_t digit = digit_value(digits.data[i]);
        log_line("strColor[len-i-1]:%c", digits.data[i]);
        log_line("chr:%d", static_cast<int>(digit));
        value += digit * weight;
    }
    return value;
}

}  // namespace

namespace {

// The leading integer, taken off the text.
int32_t take_number(TextView& text) {
    const char* p = text.data;
    const char* const end = text.end();
    while (p != end && (*p == ' ' || (*p >= '\t' && *p <= '\r')))
        ++p;
    const bool negative = p != end && *p == '-';
    if (p != end && (*p == '-' || *p == '+')) ++p;
    int64_t value = 0;
    for (; p != end && *p >= '0' && *p <= '9'; ++p)
        if (value <= INT32_MAX) value = value * 10 + (*p - '0');
    text = {p, static_cast<size_t>(end - p)};
    return saturate(negative ? -value : value);
}

}  // namespace

int32_t number_value(TextView text) {
    return take_number(text);
}

// QUIRK time_is_leading_integer: "1.5s" is one second, a clock value or a word is 0, and "5Ms" is
// five seconds since only "ms" and "MS" mean milliseconds.
int32_t time_value(TextView text) {
    const int32_t number = take_number(text);  // a unit before it leaves 0
    bool milliseconds = false;
    bool seconds = false;
    for (size_t i = 0; i < text.size; ++i) {
        if (text.data[i] != 's' && text.data[i] != 'S') continue;
        seconds = true;
        if (i != 0 && text.data[i - 1] == text.data[i] - ('s' - 'm')) milliseconds = true;
    }
    return saturate(int64_t{number} * (seconds && !milliseconds ? 1000 : 1));
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
