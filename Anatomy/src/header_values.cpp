// See header_values.h. A value that is not as the standard has it is read all the same; a length
// that is not true does not carry the reading past where the value ends.
#include "Anatomy/src/header_values.h"

#include <charconv>

#include "Anatomy/src/charset.h"
#include "Anatomy/src/exact_message.h"
#include "Anatomy/src/exact_values.h"
#include "Anatomy/src/letters.h"

namespace mmskit_anatomy {
namespace {

constexpr uint8_t first_token = 0x80;   // yes, absolute, address present
constexpr uint8_t second_token = 0x81;  // no, relative, insert address
constexpr uint8_t code_attributes = 0xA8;

std::string_view without_type(std::string_view address) {
    constexpr std::string_view mark = "/TYPE=";
    for (;;) {  // a type behind a type is one, too
        const std::size_t slash = address.rfind('/');
        if (slash == std::string_view::npos || !same_word(address.substr(slash, mark.size()), mark))
            return address;
        address = address.substr(0, slash);
    }
}

int64_t clamped(uint64_t number) {
    return static_cast<int64_t>(std::min<uint64_t>(number, INT64_MAX));
}

void set_number(Value& value, uint8_t form, const Number& number) {
    value.form = form;
    value.number = clamped(number.value);
    value.text = std::to_string(number.value);
    value.cut = !number.whole;
}

void take_address(Cursor& cursor, Value& value) {
    const Cursor start = cursor;
    take_encoded(cursor, value);
    value.form = MMS_VALUE_ADDRESS;
    value.text.resize(without_type(value.text).size());
    if (start.peek() <= length_quote && start.peek() != 0) {
        value.exact = false;
        if (value.flaw.empty()) value.flaw = "an address with a character set";
        return;
    }
    Cursor again = start;
    bool ended = false;
    value.exact = exact_address(without_quote(again.text(ended))) == value.text && ended;
}

// Something stands behind its own length: reads it through `read` with a cursor that ends there, or
// without that limit where the length is too small. What is left of the length is passed when the
// headers go on behind it.
template <typename Read>
void take_counted(Cursor& cursor, Value& value, const Read& read) {
    const auto length = cursor.value_length();
    if (!length) {  // without its length
        value.exact = false;
        read(cursor, value);
        if (value.flaw.empty()) value.flaw = "its length is missing";
        return;
    }
    const uint32_t start = cursor.at;
    const uint64_t end = start + length->value;
    const bool fits = length->whole && end <= cursor.end;
    Cursor inside = cursor.until(end);
    Value first = value;
    read(inside, first);
    if (first.cut && fits && !header_may_begin(cursor, end)) {
        inside = cursor;
        first = value;
        read(inside, first);
    } else if (first.cut && fits) {
        first.cut = false;
        first.exact = false;
    }
    value = std::move(first);
    cursor.at = inside.at;
    if (cursor.at == end) return;
    if (fits && cursor.at < end &&
        (header_may_begin(cursor, end) ||
         only_zeros(cursor.bytes(cursor.at, static_cast<uint32_t>(end))))) {
        const bool zeros = only_zeros(cursor.bytes(cursor.at, static_cast<uint32_t>(end)));
        cursor.at = static_cast<uint32_t>(end);
        if (!zeros) value.exact = false;
        return;
    }
    value.exact = false;
    if (value.cut && !fits) {
        value.present = cursor.at - start;
        value.declared = length->value;
    } else if (value.flaw.empty()) {
        value.flaw = "its length is not true";
    }
}

// ---- A reader for each kind of value ----

void read_text_value(Cursor& cursor, Value& value, const Field&) {
    take_encoded(cursor, value);
}

void read_address_value(Cursor& cursor, Value& value, const Field&) {
    take_address(cursor, value);
}

void read_from(Cursor& cursor, Value& value, const Field&) {
    take_counted(cursor, value, [](Cursor& in, Value& out) {
        const uint8_t token = in.peek();
        if (token == second_token) {
            in.skip(1);
            out.form = MMS_VALUE_TOKEN;
            out.text = "insert-address";
            out.number = token;
            return;
        }
        if (token == first_token) {
            in.skip(1);
        } else {
            out.flaw = "its token is missing";
        }
        const bool exact = out.flaw.empty();
        if (in.done())
            out.cut = true;
        else
            take_address(in, out);
        out.exact = out.exact && exact;
    });
}

void read_bytes(Cursor& cursor, Value& value, const Field&) {
    take_any(cursor, value);
}

// A single octet; a text is read by `words`.
template <typename Words>
bool take_octet(Cursor& cursor, Value& value, uint8_t& octet, const Words& words) {
    if (cursor.peek() >= 0x80) {
        octet = cursor.octet();
        return true;
    }
    if (cursor.done()) {
        value.cut = true;
        return false;
    }
    take_any(cursor, value);
    if (value.form == MMS_VALUE_TEXT)
        words(value);
    else
        value.unknown = true;
    return false;
}

void read_token(Cursor& cursor, Value& value, const Field& field) {
    uint8_t octet = 0;
    const auto words = [&](Value& out) {
        const uint8_t known = token_octet(field, out.text);
        if (known == 0) return;
        out.form = MMS_VALUE_TOKEN;
        out.number = known;
        out.text = token_name(field, known);
    };
    if (!take_octet(cursor, value, octet, words)) return;
    value.form = MMS_VALUE_TOKEN;
    value.number = octet;
    const Field* const named = field.code == code_attributes ? find_field(octet) : nullptr;
    value.text = named != nullptr ? named->name : token_name(field, octet);
}

void read_flag(Cursor& cursor, Value& value, const Field&) {
    uint8_t octet = 0;
    const auto say = [](Value& out, bool is_yes) {
        out.form = MMS_VALUE_FLAG;
        out.number = is_yes ? 1 : 0;
        out.text = is_yes ? "yes" : "no";
    };
    const auto words = [&](Value& out) {
        if (same_word(out.text, "yes"))
            say(out, true);
        else if (same_word(out.text, "no"))
            say(out, false);
    };
    if (!take_octet(cursor, value, octet, words)) return;
    if (octet == first_token || octet == second_token) return say(value, octet == first_token);
    value.form = MMS_VALUE_TOKEN;
    value.number = octet;
    value.text = hex_octet(octet);
}

void read_version(Cursor& cursor, Value& value, const Field&) {
    uint8_t octet = 0;
    if (!take_octet(cursor, value, octet, [](Value&) {})) return;
    const unsigned minor = octet & 0x0FU;
    value.form = MMS_VALUE_VERSION;
    value.number = octet;
    value.text = std::to_string(octet >> 4U & 7U);
    if (minor != 0x0F) value.text += '.' + std::to_string(minor);
}

void read_type(Cursor& cursor, Value& value, const Field&) {
    uint8_t octet = 0;
    const auto words = [](Value& out) {
        for (uint8_t type = 0x80; !message_type_name(type).empty(); ++type)
            if (same_word(message_type_name(type), out.text)) out.number = type;
    };
    if (!take_octet(cursor, value, octet, words)) return;
    value.form = MMS_VALUE_TOKEN;
    value.number = octet;
    const std::string_view name = message_type_name(octet);
    value.text = name.empty() ? hex_octet(octet) : std::string(name);
}

void take_integer(Cursor& cursor, Value& value, uint8_t form) {
    const uint8_t first = cursor.peek();
    const uint32_t start = cursor.at;
    if (const auto number = cursor.integer()) {
        set_number(value, form, *number);
        value.exact = first <= longest_short_length && number->value <= UINT32_MAX && number->whole;
        if (value.cut) {
            value.present = cursor.at - start - 1;
            value.declared = first;
        }
        return;
    }
    if (cursor.done()) {
        value.form = form;
        value.cut = true;
        return;
    }
    take_any(cursor, value);
    uint64_t digits = 0;
    const char* const end = value.text.data() + value.text.size();
    if (value.form == MMS_VALUE_TEXT &&
        std::from_chars(value.text.data(), end, digits).ptr == end && !value.text.empty()) {
        set_number(value, form, {digits, true});
        value.flaw = "a number as text";
    } else {
        value.unknown = value.form == MMS_VALUE_BYTES;
    }
}

void read_number(Cursor& cursor, Value& value, const Field&) {
    take_integer(cursor, value, MMS_VALUE_NUMBER);
}

void read_date(Cursor& cursor, Value& value, const Field&) {
    take_integer(cursor, value, MMS_VALUE_DATE);
}

void read_time(Cursor& cursor, Value& value, const Field&) {
    take_counted(cursor, value, [](Cursor& in, Value& out) {
        const uint8_t token = in.peek();
        const bool known = token == first_token || token == second_token;
        if (token >= 0x80) in.skip(1);
        take_integer(in, out, token == second_token ? MMS_VALUE_PERIOD : MMS_VALUE_DATE);
        if (!known && !out.cut) out.flaw = "its token is missing";
        out.exact = out.exact && known;
    });
}

void read_sent_by(Cursor& cursor, Value& value, const Field&) {
    take_counted(cursor, value, [](Cursor& in, Value& out) {
        (void)in.integer();
        if (in.done())
            out.cut = true;
        else
            take_address(in, out);
        out.form = MMS_VALUE_ADDRESS;
    });
}

void read_sent_date(Cursor& cursor, Value& value, const Field&) {
    take_counted(cursor, value, [](Cursor& in, Value& out) {
        (void)in.integer();
        take_integer(in, out, MMS_VALUE_DATE);
    });
}

void read_flags(Cursor& cursor, Value& value, const Field& field) {
    take_counted(cursor, value, [&field](Cursor& in, Value& out) {
        std::string action;
        if (in.peek() >= 0x80) action = token_name(field, in.octet()) + ": ";
        if (in.done())
            out.cut = true;
        else
            take_encoded(in, out);
        out.form = MMS_VALUE_TEXT;
        out.text = action + out.text;
    });
}

void read_total(Cursor& cursor, Value& value, const Field& field) {
    take_counted(cursor, value, [&field](Cursor& in, Value& out) {
        std::string unit;
        if (in.peek() >= 0x80) unit = ' ' + token_name(field, in.octet());
        take_integer(in, out, MMS_VALUE_NUMBER);
        out.text += unit;
        out.form = MMS_VALUE_TEXT;
    });
}

struct Reader {
    ValueKind kind;
    void (*read)(Cursor& cursor, Value& value, const Field& field);
};
constexpr Reader readers[] = {
    {ValueKind::text, read_text_value},
    {ValueKind::encoded, read_text_value},
    {ValueKind::address, read_address_value},
    {ValueKind::from, read_from},
    {ValueKind::token, read_token},
    {ValueKind::flag, read_flag},
    {ValueKind::number, read_number},
    {ValueKind::date, read_date},
    {ValueKind::time, read_time},
    {ValueKind::version, read_version},
    {ValueKind::type, read_type},
    {ValueKind::sent_by, read_sent_by},
    {ValueKind::sent_date, read_sent_date},
    {ValueKind::flags, read_flags},
    {ValueKind::total, read_total},
    {ValueKind::bytes, read_bytes},
};

// RFC 2616 2.2: a token.

}  // namespace

void take_encoded(Cursor& cursor, Value& value) {
    const uint32_t start = cursor.at;
    EncodedText text = read_encoded_text(cursor);
    value.text = std::move(text.utf8);
    value.exact = text.exact;
    value.cut = text.cut;
    value.present = cursor.at - start;
    value.declared = text.declared != 0 ? text.declared : 0;
    if (!text.exact) value.flaw = std::move(text.flaw);
}

void take_any(Cursor& cursor, Value& value) {
    const uint32_t start = cursor.at;
    const bool is_text = cursor.peek() >= 0x20 && cursor.peek() < 0x80;
    value.cut = !skip_value(cursor);
    const Bytes raw = cursor.bytes(start, cursor.at);
    value.exact = false;
    value.form = is_text ? MMS_VALUE_TEXT : MMS_VALUE_BYTES;
    value.text = is_text ? readable(text_of(raw).substr(0, text_of(raw).find('\0'))) : hex_of(raw);
}

void read_value(Cursor& cursor, Value& value, const Field& field) {
    for (const Reader& reader : readers)
        if (reader.kind == field.kind) return reader.read(cursor, value, field);
}

}  // namespace mmskit_anatomy
