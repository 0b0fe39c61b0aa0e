// What the exact decoder keeps of a part's headers: it knows few parameters and headers, and stops
// at the first that it does not know. Nothing is decided here; body.cpp compares.
#include "Anatomy/src/exact_values.h"
#include "Anatomy/src/part_headers.h"

namespace mmskit_anatomy {
namespace {

std::string_view exact_text(Cursor& cursor) {
    bool ended = false;
    return without_quote(cursor.text(ended));
}

bool read_parameter(Cursor& in, ExactPart& part) {
    bool ended = false;
    const uint8_t code = in.octet();
    if (code == 0x81) {
        part.has_charset = true;
        const uint8_t first = in.peek();
        if (first > length_quote && first < 0x80) {
            part.charset = 0;
            in.skip(1);
            return true;
        }
        const auto number = in.integer();
        part.charset = number ? static_cast<uint32_t>(number->value) : 0;
        return number.has_value();
    }
    if (code == 0x85) {
        part.name = exact_text(in);
        return true;
    }
    if (code == 0x89 && in.peek() >= 0x80) {
        in.skip(1);
        return true;
    }
    if (code != 0x89 && code != 0x8A && code != 0x8B) return false;
    (void)in.text(ended);
    return true;
}

void read_type(Cursor& cursor, MediaTypes& types, ExactPart& part) {
    const auto take = [&](Cursor& in) {
        bool ended = false;
        if (in.peek() >= 0x80)
            part.type = well_known_type(in.octet(), types);
        else
            part.type = in.text(ended);
    };
    const auto length = cursor.value_length();
    if (!length) return take(cursor);
    Cursor in = cursor.until(cursor.at + length->value);
    cursor.at = in.end;
    take(in);
    while (!in.done())
        if (!read_parameter(in, part)) return;
}

}  // namespace

ExactPart exact_part(Bytes headers, MediaTypes& types) {
    ExactPart part;
    Cursor cursor(headers, {0, 0, static_cast<uint32_t>(headers.size())});
    read_type(cursor, types, part);
    while (!cursor.done()) {
        const uint8_t code = cursor.octet();
        if (code == 0x8E) {
            part.location = exact_text(cursor);
            constexpr std::string_view empty_name("\0", 1);  // is one, too
            if (part.location.empty()) part.location = empty_name;
        } else if (code == 0xC0) {
            if (cursor.peek() == '"') cursor.skip(1);
            bool ended = false;
            part.content_id = cursor.text(ended);
            std::erase_if(part.content_id, [](char c) { return c == '<' || c == '>'; });
        } else if (code == 0xAE || code == 0xC5) {
            cursor.skip(cursor.uintvar().value);
        } else {
            break;
        }
    }
    return part;
}

}  // namespace mmskit_anatomy
