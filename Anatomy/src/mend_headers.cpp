// Headers in the form that the exact decoder of the message's type takes: those without a place in
// it are left out, texts are UTF-8, addresses plain, numbers of at most four octets.
#include <algorithm>

#include "Anatomy/src/bytes_writer.h"
#include "Anatomy/src/charset.h"
#include "Anatomy/src/mend.h"

namespace mmskit_anatomy {
namespace {

constexpr uint8_t absolute = 0x80, relative = 0x81, insert_address = 0x81, yes = 0x80, no = 0x81;

struct Header {
    const tMMS_HeaderField& field;
    Bytes wire;  // of its value
};

bool is_text(const tMMS_HeaderField& field) {
    return field.iForm == MMS_VALUE_TEXT || field.iForm == MMS_VALUE_ADDRESS;
}
bool is_number(const tMMS_HeaderField& field) {
    return field.iForm == MMS_VALUE_NUMBER || field.iForm == MMS_VALUE_DATE ||
           field.iForm == MMS_VALUE_PERIOD;
}
bool is_octet(const tMMS_HeaderField& field) {
    const bool octet = field.iForm == MMS_VALUE_TOKEN || field.iForm == MMS_VALUE_VERSION;
    return octet && field.iNumber >= 0x80 && field.iNumber <= 0xFF;
}

// Octets of the value that its own count claims and that are not there: half a number says nothing.
bool is_cut(const Header& header) {
    return header.wire.empty() ||
           (header.wire[0] <= 30 && header.wire.size() < std::size_t{1} + header.wire[0]);
}
// A shortened address of a message would fetch something else.
bool is_cut_text(const Header& header) {
    return header.wire.empty() || header.wire.back() != 0;
}
bool fits(int64_t number) {
    return number >= 0 && number <= UINT32_MAX;
}

bool has_value(const Header& header, Reads reads) {
    const tMMS_HeaderField& field = header.field;
    if (header.wire.empty()) return false;
    switch (reads) {
        case Reads::location:
            return is_text(field) && !is_cut_text(header);
        case Reads::text:
        case Reads::raw_text:
        case Reads::transaction:
        case Reads::encoded:
        case Reads::from:
        case Reads::address:
        case Reads::address_list:
        case Reads::skip_text:
            return is_text(field);
        case Reads::octet:
            return is_octet(field);
        case Reads::yes_no:
            return field.iForm == MMS_VALUE_FLAG;
        case Reads::message_class:
            return is_octet(field) || is_text(field);
        case Reads::long_integer:
        case Reads::counted_integer:
        case Reads::expiry:
            return is_number(field) && fits(field.iNumber) && !is_cut(header);
        default:
            return false;
    }
}

// A text that stands without a quote cannot begin like a length or with a quote, and what begins
// with a byte order mark is read again without it.
std::string_view without_lead(std::string_view text) {
    for (;;) {
        if (text.starts_with(utf8_mark))
            text.remove_prefix(utf8_mark.size());
        else if (!text.empty() && (static_cast<unsigned char>(text[0]) < ' ' || text[0] == 0x7F))
            text.remove_prefix(1);
        else
            return text;
    }
}

void want(ExactValues& values, const Header& header, const ExactField& to) {
    const tMMS_HeaderField& field = header.field;
    const uint8_t code = to.code;
    if (!has_value(header, to.reads)) return;
    switch (to.reads) {
        case Reads::from:
        case Reads::address:
            return values.set({code, std::string(exact_address(field.pValue)), 0, 0});
        case Reads::raw_text:
            return values.set({code, std::string(without_lead(field.pValue)), 0, 0});
        case Reads::address_list:
            return values.join(code, exact_address(field.pValue));
        case Reads::octet:
        case Reads::yes_no:
        case Reads::long_integer:
        case Reads::counted_integer:
            return values.set({code, {}, field.iNumber, 0});
        case Reads::message_class:
            return values.set({code, {}, is_octet(field) ? field.iNumber : class_personal, 0});
        case Reads::expiry:
            return values.set(
                {code, {}, field.iNumber, field.iForm == MMS_VALUE_PERIOD ? relative : absolute});
        case Reads::skip_text:
            return;
        default:
            return values.set({code, field.pValue, 0, 0});
    }
}

// With the type that receivers look for behind a number.
std::string plain_address(std::string_view address) {
    const bool number =
        !address.empty() && address.find_first_not_of("+0123456789*#") == std::string_view::npos;
    if (number) return std::string(address) + "/TYPE=PLMN";
    const bool ip = std::count(address.begin(), address.end(), '.') == 3 &&
                    address.find_first_not_of("0123456789.") == std::string_view::npos;
    return std::string(address) + (ip ? "/TYPE=IPv4" : "");
}

void write_time(BytesWriter& out, const tMMS_HeaderField& field) {
    BytesWriter value;
    value.octet(field.iForm == MMS_VALUE_PERIOD ? relative : absolute);
    value.long_integer(static_cast<uint32_t>(field.iNumber));
    out.value_length(value.bytes.size());
    out.bytes += value.bytes;
}

void write_from(BytesWriter& out, std::string_view address) {
    BytesWriter value;
    value.octet(address_present);
    value.text(plain_address(address));
    out.value_length(value.bytes.size());
    out.bytes += value.bytes;
}

// The value of a field that the decoder reads over.
bool write_passed(BytesWriter& out, const Header& header, Reads reads) {
    const tMMS_HeaderField& field = header.field;
    if (reads == Reads::skip_octet) {
        if (field.iForm == MMS_VALUE_FLAG)
            out.octet(field.iNumber != 0 ? yes : no);
        else if (is_octet(field))
            out.octet(static_cast<uint8_t>(field.iNumber));
        else
            return false;
        return true;
    }
    const bool time = field.iForm == MMS_VALUE_DATE || field.iForm == MMS_VALUE_PERIOD;
    if (!time || !fits(field.iNumber) || is_cut(header) || field.iCode >= 0xA0) return false;
    write_time(out, field);
    return true;
}

// False when there is nothing to write.
bool write_value(BytesWriter& out, const Header& header, Reads reads) {
    const tMMS_HeaderField& field = header.field;
    if (reads == Reads::skip_octet || reads == Reads::skip_counted)
        return write_passed(out, header, reads);
    if (reads == Reads::from && field.iForm == MMS_VALUE_TOKEN) {
        out.octet(1);
        out.octet(insert_address);
        return true;
    }
    if (!has_value(header, reads)) return false;
    switch (reads) {
        case Reads::raw_text:
            out.plain(without_lead(field.pValue));
            return true;
        case Reads::transaction:
        case Reads::encoded:
            if (*field.pValue == '\0') return false;
            if (reads == Reads::encoded)
                out.encoded(field.pValue);
            else
                out.text(field.pValue);
            return true;
        case Reads::from:
            write_from(out, field.pValue);
            return true;
        case Reads::address:
        case Reads::address_list:
        case Reads::skip_text:
            out.text(plain_address(field.pValue));
            return true;
        case Reads::yes_no:
            out.octet(field.iNumber != 0 ? yes : no);
            return true;
        case Reads::octet:
        case Reads::message_class:
            if (is_octet(field))
                out.octet(static_cast<uint8_t>(field.iNumber));
            else
                out.text(field.pValue);
            return true;
        case Reads::long_integer:
        case Reads::counted_integer:
            out.long_integer(static_cast<uint32_t>(field.iNumber));
            return true;
        case Reads::expiry:
            write_time(out, field);
            return true;
        default:
            out.text(field.pValue);
            return true;
    }
}

}  // namespace

ExactValues wanted_headers(const ExactSyntax& syntax, const Tree& tree) {
    ExactValues values;
    for (std::size_t i = 0; i < tree.header_list.size(); ++i) {
        const tMMS_HeaderField& field = tree.header_list[i];
        const ExactField* to = syntax.find(static_cast<uint8_t>(field.iCode));
        if (to != nullptr) want(values, {field, tree.at(tree.header_details[i].value)}, *to);
    }
    // Of the type itself only its octet is kept, where it is.
    if (const ExactField* type = syntax.find(code_message_type); type->reads == Reads::octet)
        values.set({code_message_type, {}, static_cast<int64_t>(tree.iMessageType), 0});
    values.drop_empty();
    return values;
}

std::string write_headers(const ExactSyntax& syntax, const Tree& tree, MendNotes& notes) {
    BytesWriter out;
    out.octet(code_message_type);
    out.octet(tree.iMessageType);
    bool required_seen = syntax.required == 0;
    for (std::size_t i = 0; i < tree.header_list.size(); ++i) {
        const tMMS_HeaderField& field = tree.header_list[i];
        const auto code = static_cast<uint8_t>(field.iCode);
        const ExactField* to = syntax.find(code);
        if (to == nullptr || code == code_message_type || code == code_content_type) continue;
        const Place& place = tree.header_details[i].value;
        BytesWriter value;
        if (is_number(field) && !fits(field.iNumber))
            notes.push_back({MMS_FLAW_LOST, tree.header_details[i].whole,
                             std::string(field.pName) + ": too large a number"});
        if (!write_value(value, {field, tree.at(place)}, to->reads)) continue;
        out.octet(code);
        out.bytes += value.bytes;
        required_seen = required_seen || code == syntax.required;
    }
    // Without this text there would be no record at all.
    if (!required_seen && syntax.required_at_end) {
        out.octet(syntax.required);
        out.plain("");
    }
    return std::move(out.bytes);
}

}  // namespace mmskit_anatomy
