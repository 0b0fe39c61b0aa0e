// The header loop and the value routines of MMSProl_Headers.h, over the WSP values. Failure has
// one exit: the record is freed whole by its kind, and the reason and the offset of the header
// field are noted.
#include "Protocol/src/MMSProl_Headers.h"

#include <mmskit/pdu.h>

#include "Protocol/src/MMSProl_Error.h"
#include "Protocol/src/wsp_values.h"

namespace mmskit {
namespace {

constexpr uint8_t token_address_present = 0x80;
constexpr uint8_t class_personal = 0x80;
constexpr uint8_t value_yes = 0x80;
constexpr uint8_t value_no = 0x81;

// WAP-230 8.4.1.2: the first octet of any value tells where the value ends.
[[gnu::cold]] void skip_any_value(BoundedReader& in) {
    const uint8_t first = in.peek();
    if (first >= wsp::short_integer) {
        in.skip(1);
    } else if (first <= wsp::length_quote) {
        const uint32_t length = read_value_length(in);
        in.skip(length);
    } else {
        in.text();
    }
}

}  // namespace

bool HeaderContext::read_headers() {
    Step step = Step::next;
    while (step == Step::next && !in.at_end())
        step = read_header();
    return step != Step::fail && has_required(step) && store_lists();
}

Step HeaderContext::read_header() {
    field_start_ = in.position();
    if (syntax.textual_names && in.peek() < wsp::short_integer) {
        in.text();
        return Step::next;
    }
    const uint8_t code = in.byte();
    const HeaderField* field = syntax.fields.find(code);
    return field != nullptr ? field->read(*this, *field) : read_unlisted(code);
}

[[gnu::cold]] Step HeaderContext::read_unlisted(uint8_t code) {
    if (syntax.unlisted == Unlisted::stop) return Step::stop;
    const bool in_range = code >= syntax.first_code && code <= syntax.last_code;
    if (!in_range || syntax.unlisted == Unlisted::fail) return fail("unknown header field");
    skip_any_value(in);
    return Step::next;
}

bool HeaderContext::has_required(Step last) {
    const bool asked = last == Step::stop || (last == Step::next && syntax.required_at_end);
    if (!asked || syntax.required == nowhere || member<char*>(syntax.required) != nullptr)
        return true;
    if (last == Step::next) field_start_ = in.size();
    reason_ = syntax.missing;
    return false;
}

void HeaderContext::join_address(uint16_t to, Slice address) {
    for (AddressList& list : lists_) {  // unreachable: an end without a list, as fields are three
        if (list.to != to && list.to != nowhere) continue;
        if (list.to == to) list.text.byte(';');
        list.to = to;
        list.text.bytes(address.data, address.size);
        return;
    }
}

bool HeaderContext::store_lists() {
    for (AddressList& list : lists_) {
        if (list.to == nowhere) continue;
        list.text.byte(0);
        uint32_t size = 0;
        void* text = list.text.release(&size);
        if (text == nullptr) {
            reason_ = out_of_memory;
            return false;
        }
        replace_owned(member<char*>(list.to), static_cast<char*>(text));
    }
    return true;
}

void* parse_message(const MessageSyntax& syntax, const uint8_t* pdu, int32_t length) {
    if (pdu == nullptr || length < syntax.least_length) {
        note_decode_failure(no_input, 0);
        return nullptr;
    }
    void* record = fnMMS_AllocMessageMem(syntax.kind);
    if (record == nullptr) {
        note_decode_failure(out_of_memory, 0);
        return nullptr;
    }
    HeaderContext context(syntax, BoundedReader(pdu, static_cast<size_t>(length)), record);
    if (!context.read_headers()) {
        note_decode_failure(context.reason(), context.field_start());
        fnMMS_FreeMessageMem(record, syntax.kind);
        return nullptr;
    }
    note_decode_success();
    return record;
}

namespace header_value {
namespace {

Step store(HeaderContext& context, const HeaderField& field, Slice text) {
    return put_text(context.member<char*>(field.to), text) ? Step::next
                                                           : context.fail(out_of_memory);
}

}  // namespace

Step text(HeaderContext& context, const HeaderField& field) {
    return store(context, field, quoted_text(context.in));
}

Step raw_text(HeaderContext& context, const HeaderField& field) {
    return store(context, field, context.in.text());
}

Step transaction_id(HeaderContext& context, const HeaderField& field) {
    const Step step = text(context, field);
    if (step != Step::next || *context.member<char*>(field.to) != '\0') return step;
    return context.fail("empty transaction id");
}

Step location(HeaderContext& context, const HeaderField& field) {
    const Step step = text(context, field);
    if (step != Step::next || !context.in.past_end()) return step;
    // QUIRK cut_off_location_is_dropped: a shortened address would fetch something else, so the
    // notification comes back without one.
    replace_owned(context.member<char*>(field.to), static_cast<char*>(nullptr));
    return Step::done;
}

Step encoded_string(HeaderContext& context, const HeaderField& field) {
    const bool read = read_encoded_string(context.in, context.member<char*>(field.to));
    return read ? Step::next : context.fail(out_of_memory);
}

// OMA-MMS-ENC 7.2.11 (From): value-length, a token, and the address when the token says so. The
// address ends at its NUL, whatever the length claims.
Step from(HeaderContext& context, const HeaderField& field) {
    const uint32_t length = read_value_length(context.in);
    if (context.in.byte() != token_address_present) {
        context.in.skip(length > 1 ? length - 1 : 0);
        return Step::next;
    }
    return address(context, field);
}

Step address(HeaderContext& context, const HeaderField& field) {
    return store(context, field, address_text(context.in));
}

Step address_list(HeaderContext& context, const HeaderField& field) {
    context.join_address(field.to, address_text(context.in));
    return Step::next;
}

Step octet(HeaderContext& context, const HeaderField& field) {
    context.member<uint8_t>(field.to) = context.in.byte();
    return Step::next;
}

Step yes_no(HeaderContext& context, const HeaderField& field) {
    const uint8_t value = context.in.byte();
    if (value == value_yes || value == value_no)
        context.member<uint32_t>(field.to) = value == value_yes ? 1 : 0;
    return Step::next;
}

// A class of the sender's own, given as text, has no number: it counts as personal.
Step message_class(HeaderContext& context, const HeaderField& field) {
    uint8_t value = class_personal;
    if (context.in.peek() >= wsp::short_integer) {
        value = context.in.byte();
    } else {
        context.in.text();
    }
    context.member<uint8_t>(field.to) = value;
    return Step::next;
}

Step message_type(HeaderContext& context, const HeaderField&) {
    const MessageSyntax& syntax = context.syntax;
    return context.in.byte() == syntax.message_type ? Step::next : context.fail(syntax.wrong_type);
}

Step long_integer(HeaderContext& context, const HeaderField& field) {
    context.member<uint32_t>(field.to) = long_integer_at(context.in);
    if (context.in.peek() > wsp::length_quote) {
        context.in.skip(1);
    } else {
        const uint32_t octets = read_value_length(context.in);
        context.in.skip(octets);
    }
    return Step::next;
}

Step counted_integer(HeaderContext& context, const HeaderField& field) {
    context.member<uint32_t>(field.to) = long_integer_at(context.in);
    return skip_counted(context, field);
}

// OMA-MMS-ENC 7.2.10 (Expiry).
Step expiry(HeaderContext& context, const HeaderField& field) {
    BoundedReader value = context.in;
    value.skip(1);
    context.member<uint8_t>(field.also) = value.byte();
    context.member<uint32_t>(field.to) = long_integer_at(value);
    return skip_counted(context, field);
}

Step content(HeaderContext& context, const HeaderField& field) {
    context.in.seek(context.field_start());
    const uint64_t size = context.in.remaining();
    auto* copy = static_cast<uint8_t*>(allocate_unfilled(size));
    if (copy == nullptr) return context.fail(out_of_memory);
    std::memcpy(copy, context.in.here(), static_cast<size_t>(size));
    replace_owned(context.member<uint8_t*>(field.to), copy);
    context.member<uint32_t>(field.also) = static_cast<uint32_t>(size);
    return Step::done;
}

Step skip_octet(HeaderContext& context, const HeaderField&) {
    context.in.skip(1);
    return Step::next;
}

Step skip_text(HeaderContext& context, const HeaderField&) {
    context.in.text();
    return Step::next;
}

Step skip_counted(HeaderContext& context, const HeaderField&) {
    const uint8_t length = context.in.byte();
    context.in.skip(length);
    return Step::next;
}

}  // namespace header_value
}  // namespace mmskit
