// Values of WSP and MMS as senders really write them; see cursor.h.
#include <array>
#include <cstdio>

#include "Anatomy/src/charset.h"
#include "Anatomy/src/cursor.h"
#include "Anatomy/src/exact_values.h"
#include "Anatomy/src/letters.h"
#include "Anatomy/src/mms_fields.h"

namespace mmskit_anatomy {
namespace {

// What the exact decoders make of the value at the cursor: the text, and where they go on.
struct ExactText {
    std::string_view text;
    uint32_t end = 0;
    bool read = false;
};
ExactText exact_text(Cursor cursor) {
    bool ended = false;
    const uint32_t start = cursor.at;
    const std::string_view raw = cursor.text(ended);
    if (!ended) return {};
    if (raw.empty() || static_cast<uint8_t>(raw[0]) > length_quote)
        return {without_quote(raw), cursor.at, true};
    Cursor value(cursor.bytes(0, cursor.at - 1), {cursor.layer, start, UINT32_MAX});
    if (const auto length = value.value_length(); !length || !length->whole) return {};
    const uint8_t charset = value.octet();
    if (charset != (0x80U | mib_us_ascii) && charset != (0x80U | mib_utf_8)) return {};
    return {without_quote(text_of(value.rest())), cursor.at, true};
}

// One way to read a value with length and character set.
struct Reading {
    uint32_t charset = 0;
    uint32_t text = 0;   // where it begins
    uint64_t end = 0;    // where the length says that the value ends
    bool sound = false;  // a length and a character set are there
};

Reading read_head(Cursor cursor, bool one_octet_length) {
    Reading reading;
    std::optional<Number> length;
    if (one_octet_length) {
        cursor.skip(1);
        length = Number{cursor.octet(), true};
    } else {
        length = cursor.value_length();
    }
    if (!length || !length->whole) return reading;
    reading.end = cursor.at + length->value;
    const auto charset = cursor.integer();
    if (!charset || !charset->whole) return reading;
    reading.charset = static_cast<uint32_t>(std::min<uint64_t>(charset->value, UINT32_MAX));
    reading.text = cursor.at;
    reading.sound = reading.text <= reading.end;
    return reading;
}

// Where the text really ends, its terminator included.
uint32_t end_of_text(const Cursor& cursor, const Reading& reading) {
    if (!is_wide(reading.charset)) {
        const uint32_t nul = cursor.next_nul(reading.text);
        return nul >= cursor.end ? cursor.end + 1 : nul + 1;
    }
    // A length that fits is believed, so that nothing is searched twice.
    const auto limit =
        static_cast<uint32_t>(reading.end <= cursor.end ? reading.end : uint64_t{cursor.end});
    const Bytes rest = cursor.bytes(reading.text, limit);
    for (std::size_t i = 0; i + 1 < rest.size(); i += 2)
        if (rest[i] == 0 && rest[i + 1] == 0) return reading.text + static_cast<uint32_t>(i) + 2;
    return cursor.end + 1;
}

// The declared end is the true one: the text ends there (with zeros after it, or without one where
// the next header follows).
bool length_is_true(const Cursor& cursor, const Reading& reading) {
    if (!reading.sound || reading.end > cursor.end) return false;
    const uint32_t end = end_of_text(cursor, reading);
    if (end == reading.end) return true;
    if (end < reading.end) return only_zeros(cursor.bytes(end, static_cast<uint32_t>(reading.end)));
    return header_may_begin(cursor, reading.end) && reading.end > reading.text;
}

void take(const Cursor& cursor, const Reading& reading, uint32_t end, EncodedText& out) {
    Bytes raw = cursor.bytes(reading.text, std::min(end, cursor.end));
    const std::size_t unit = is_wide(reading.charset) ? 2 : 1;
    while (raw.size() >= unit && only_zeros(raw.last(unit)))
        raw = raw.first(raw.size() - unit);
    if (raw.size() == 1 && unit == 2 && raw[0] == 0) raw = {};
    if (!raw.empty() && raw[0] == quote_octet) raw = raw.subspan(1);
    out.charset = reading.charset;
    out.has_charset = true;
    Text text = to_utf8(raw, reading.charset);
    out.utf8 = std::move(text.utf8);
    while (!out.utf8.empty() && out.utf8.back() == '\0')
        out.utf8.pop_back();
    if (!text.as_declared) {
        const std::string_view name = charset_name(reading.charset);
        out.flaw = reading.charset == 0 ? "no character set"
                   : name.empty()       ? "character set " + std::to_string(reading.charset)
                                        : "declared " + std::string(name);
        out.flaw += ", read as " + std::string(text.used);
    } else {
        (out.flaw = "in ") += text.used;
        if (text.damaged) out.flaw += ", damaged";
    }
}

void read_counted(Cursor& cursor, EncodedText& out) {
    Reading reading = read_head(cursor, false);
    bool truthful = length_is_true(cursor, reading);
    if (!truthful && cursor.peek() == length_quote) {
        // Some senders write a length above 30 in one octet, which is no uintvar.
        const Reading other = read_head(cursor, true);
        const bool likely = other.sound && !charset_name(other.charset).empty();
        if (likely && (length_is_true(cursor, other) || !reading.sound ||
                       charset_name(reading.charset).empty() || reading.end > cursor.end)) {
            reading = other;
            out.flaw = "its length is no true one";
        }
    }
    if (reading.text == 0 || (!reading.sound && reading.end <= cursor.end)) {
        // No character set is in it: whatever is there is the text.
        const uint32_t end = static_cast<uint32_t>(std::min<uint64_t>(reading.end, cursor.end));
        out.cut = reading.end > cursor.end || reading.end == 0;
        if (end > cursor.at)
            cursor.at = end;
        else
            cursor.skip(1);
        return;
    }
    const std::string length_flaw = out.flaw;
    const uint32_t nul_end = end_of_text(cursor, reading);
    const bool true_length = truthful || length_is_true(cursor, reading);
    uint32_t end = nul_end;
    if (true_length || (is_wide(reading.charset) && reading.end <= cursor.end))
        end = static_cast<uint32_t>(reading.end);
    out.cut = end > cursor.end;
    if (out.cut && reading.end > cursor.end) out.declared = reading.end - reading.text;
    take(cursor, reading, end, out);
    if (!length_flaw.empty() || (!true_length && !out.cut))
        out.flaw += out.flaw.empty() ? "its length is not true" : ", its length is not true";
    cursor.at = std::min(end, cursor.end);
}

}  // namespace

bool only_zeros(Bytes bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](uint8_t c) { return c == 0; });
}

bool header_may_begin(const Cursor& cursor, uint64_t at) {
    if (at == cursor.end) return true;
    return at < cursor.end && find_field(cursor.bytes(static_cast<uint32_t>(at), cursor.end)[0]);
}

bool skip_value(Cursor& cursor) {
    if (cursor.done()) return false;
    if (cursor.peek() >= 0x80) {
        cursor.skip(1);
        return true;
    }
    bool whole = true;
    if (const auto length = cursor.value_length()) {
        whole = length->whole && length->value <= cursor.left();
        cursor.skip(length->whole ? length->value : cursor.left());
    } else {
        (void)cursor.text(whole);
    }
    return whole;
}

EncodedText read_encoded_text(Cursor& cursor) {
    EncodedText out;
    const Cursor start = cursor;
    const ExactText exact = exact_text(start);
    if (!cursor.done() && cursor.peek() <= length_quote && cursor.peek() != 0) {
        read_counted(cursor, out);
    } else {
        bool ended = false;
        const std::string_view raw = without_quote(cursor.text(ended));
        out.cut = !ended;
        Text text = to_utf8(bytes_of(raw), 0);
        out.utf8 = std::move(text.utf8);
        if (text.used != utf8_name) out.flaw = "read as " + std::string(text.used);
    }
    if (decode_words(out.utf8)) out.flaw = "encoded words";
    out.exact = exact.read && exact.end == cursor.at && exact.text == out.utf8;
    return out;
}

std::string_view trimmed(std::string_view text) {
    const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    while (!text.empty() && blank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && blank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::string_view unquoted(std::string_view text) {
    text = trimmed(without_quote(text));
    if (text.starts_with('"')) {
        text.remove_prefix(1);
        if (text.ends_with('"')) text.remove_suffix(1);
    }
    return text;
}

std::string readable(std::string_view text) {
    if (is_ascii(text)) return std::string(text);
    return to_utf8(bytes_of(text), 0).utf8;
}

std::string hex_of(Bytes bytes, std::size_t most) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string out;
    for (const uint8_t octet : bytes.first(std::min(most, bytes.size()))) {
        out.push_back(digits[octet >> 4U]);
        out.push_back(digits[octet & 15U]);
    }
    if (bytes.size() > most) out += "...";
    return out;
}

std::string hex_octet(uint8_t octet) {
    return "0x" + hex_of({&octet, 1});
}

}  // namespace mmskit_anatomy
