// The model of the exact header decoders: their tables and their loop; see exact_message.h.
#include <algorithm>

#include "Anatomy/src/exact_message.h"
#include "Anatomy/src/exact_values.h"

namespace mmskit_anatomy {
namespace {

struct Fields {
    using enum Reads;
    static constexpr ExactField send_req[] = {
        {0x81, address_list}, {0x82, address_list}, {0x84, content},      {0x86, skip_octet},
        {0x87, skip_counted}, {0x88, skip_counted}, {0x89, from},         {0x8A, message_class},
        {0x8C, skip_octet},   {0x8D, skip_octet},   {0x8F, octet},        {0x90, skip_octet},
        {0x94, skip_octet},   {0x96, encoded},      {0x97, address_list}, {0x98, transaction}};
    static constexpr ExactField send_conf[] = {{0x8B, text},  {0x8C, octet},    {0x8D, octet},
                                               {0x92, octet}, {0x93, raw_text}, {0x98, text}};
    static constexpr ExactField forward_conf[] = {{0x8B, text},  {0x8C, skip_octet}, {0x8D, octet},
                                                  {0x92, octet}, {0x93, raw_text},   {0x98, text}};
    static constexpr ExactField notification[] = {
        {0x83, location},     {0x86, skip_octet},    {0x87, skip_counted}, {0x88, expiry},
        {0x89, from},         {0x8A, message_class}, {0x8C, message_type}, {0x8D, skip_octet},
        {0x8E, long_integer}, {0x8F, octet},         {0x96, encoded},      {0x98, text}};
    static constexpr ExactField retrieve_conf[] = {
        {0x81, skip_text},    {0x82, address_list}, {0x84, content},       {0x85, long_integer},
        {0x86, yes_no},       {0x89, from},         {0x8A, message_class}, {0x8B, text},
        {0x8C, message_type}, {0x8D, skip_octet},   {0x8F, octet},         {0x90, yes_no},
        {0x94, skip_octet},   {0x96, encoded},      {0x97, address_list},  {0x98, text},
        {0xA0, skip_counted}, {0xA1, skip_counted}};
    static constexpr ExactField delivery[] = {{0x85, counted_integer}, {0x8B, text},
                                              {0x8C, message_type},    {0x8D, skip_octet},
                                              {0x95, octet},           {0x97, address}};
    static constexpr ExactField read_orig[] = {
        {0x85, counted_integer}, {0x89, from},    {0x8B, text}, {0x8C, message_type},
        {0x8D, skip_octet},      {0x97, address}, {0x9B, octet}};
};

constexpr ExactSyntax syntaxes[] = {
    {0x80, Unlisted::fail, false, 0, false, Fields::send_req},
    {0x81, Unlisted::stop, false, 0x98, true, Fields::send_conf},
    {0x82, Unlisted::stop, false, 0x83, false, Fields::notification},
    {0x84, Unlisted::read_over, true, 0, false, Fields::retrieve_conf},
    {0x86, Unlisted::fail, false, 0, false, Fields::delivery},
    {0x88, Unlisted::stop, false, 0, false, Fields::read_orig},
    {0x8A, Unlisted::stop, false, 0x98, true, Fields::forward_conf},
};

constexpr uint8_t first_code = 0x81, last_code = 0xA1;  // of the retrieved message's fields

// A character set other than US-ASCII and UTF-8 gives no text.
std::string encoded_text(std::string_view raw) {
    if (raw.empty() || static_cast<uint8_t>(raw[0]) > length_mark)
        return std::string(without_quote(raw));
    mmskit::BoundedReader value(reinterpret_cast<const uint8_t*>(raw.data()), raw.size());
    read_length(value);
    const uint8_t charset = value.byte();
    const auto left = static_cast<std::size_t>(value.remaining());
    if (charset != 0x83 && charset != 0xEA) return {};
    return std::string(without_quote(raw.substr(raw.size() - left)));
}

void skip_any(mmskit::BoundedReader& in) {
    const uint8_t first = in.peek();
    if (first >= 0x80) {
        in.skip(1);
    } else if (first <= length_mark) {
        const uint32_t length = read_length(in);
        in.skip(length);
    } else {
        in.text();
    }
}

enum class Step { next, stop, done, fail };

class Decoder {
  public:
    Decoder(const ExactSyntax& syntax, Bytes pdu) : syntax_(syntax), in_(pdu.data(), pdu.size()) {
        out_.body = pdu.size();
    }

    ExactHeaders read() {
        Step step = Step::next;
        while (step == Step::next && !in_.at_end())
            step = read_header();
        const bool asked = step == Step::stop || (step == Step::next && syntax_.required_at_end);
        out_.taken = step != Step::fail && (!asked || syntax_.required == 0 || required_seen_);
        out_.values.drop_empty();
        return std::move(out_);
    }

  private:
    Step read_header() {
        if (syntax_.textual_names && in_.peek() < 0x80) {
            in_.text();
            return Step::next;
        }
        start_ = in_.position();
        code_ = in_.byte();
        const ExactField* field = syntax_.find(code_);
        if (field != nullptr) return read_value(field->reads);
        if (syntax_.unlisted == Unlisted::stop) return Step::stop;
        if (syntax_.unlisted == Unlisted::fail || code_ < first_code || code_ > last_code)
            return Step::fail;
        skip_any(in_);
        return Step::next;
    }

    Step set_text(std::string value) {
        if (code_ == syntax_.required) required_seen_ = true;
        out_.values.set({code_, std::move(value), 0, 0});
        return Step::next;
    }
    Step set_number(int64_t number, uint8_t token = 0) {
        out_.values.set({code_, {}, number, token});
        return Step::next;
    }
    Step skip_counted_value() {
        const uint8_t length = in_.byte();
        in_.skip(length);
        return Step::next;
    }

    Step read_value(Reads reads) {
        using enum Reads;
        switch (reads) {
            case text:
                return set_text(std::string(without_quote(view_of(in_.text()))));
            case raw_text:
                return set_text(std::string(view_of(in_.text())));
            case transaction: {
                std::string id(without_quote(view_of(in_.text())));
                return id.empty() ? Step::fail : set_text(std::move(id));
            }
            case location: {
                std::string value(without_quote(view_of(in_.text())));
                if (!in_.past_end()) return set_text(std::move(value));
                set_text({});
                return Step::done;
            }
            case encoded:
                return set_text(encoded_text(view_of(in_.text())));
            case from:
                return read_from();
            case address:
                return set_text(std::string(exact_address(without_quote(view_of(in_.text())))));
            case address_list:
                out_.values.join(code_, exact_address(without_quote(view_of(in_.text()))));
                return Step::next;
            case octet:
                return set_number(in_.byte());
            case yes_no: {
                const uint8_t value = in_.byte();
                return value == 0x80 || value == 0x81 ? set_number(value == 0x80) : Step::next;
            }
            case message_class: {
                if (in_.peek() >= 0x80) return set_number(in_.byte());
                in_.text();
                return set_number(class_personal);
            }
            case message_type:
                return in_.byte() == syntax_.type ? Step::next : Step::fail;
            case long_integer: {
                set_number(long_integer_at(in_));
                if (in_.peek() > length_mark) {
                    in_.skip(1);
                } else {
                    const uint32_t octets = read_length(in_);
                    in_.skip(octets);
                }
                return Step::next;
            }
            case counted_integer:
                set_number(long_integer_at(in_));
                return skip_counted_value();
            case expiry: {
                mmskit::BoundedReader value = in_;
                value.skip(1);
                const uint8_t token = value.byte();
                set_number(long_integer_at(value), token);
                return skip_counted_value();
            }
            case content:
                out_.body = static_cast<std::size_t>(start_);
                return Step::done;
            case skip_octet:
                in_.skip(1);
                return Step::next;
            case skip_text:
                in_.text();
                return Step::next;
            case skip_counted:
                return skip_counted_value();
        }
        return Step::fail;
    }

    Step read_from() {
        const uint32_t length = read_length(in_);
        if (in_.byte() != address_present) {
            in_.skip(length > 1 ? length - 1 : 0);
            return Step::next;
        }
        return set_text(std::string(exact_address(without_quote(view_of(in_.text())))));
    }

    const ExactSyntax& syntax_;
    mmskit::BoundedReader in_;
    ExactHeaders out_;
    uint64_t start_ = 0;
    uint8_t code_ = 0;
    bool required_seen_ = false;
};

}  // namespace

const ExactField* ExactSyntax::find(uint8_t code) const {
    const auto* const at = std::find_if(fields.data(), fields.data() + fields.size(),
                                        [code](const ExactField& f) { return f.code == code; });
    return at == fields.data() + fields.size() ? nullptr : at;
}

const ExactSyntax* exact_syntax(uint32_t message_type) {
    for (const ExactSyntax& syntax : syntaxes)
        if (syntax.type == message_type) return &syntax;
    return nullptr;
}

std::pair<ExactValue&, bool> ExactValues::at(uint8_t code) {
    auto place = values_.begin();
    while (place != values_.end() && place->code < code)
        ++place;
    if (place != values_.end() && place->code == code) return {*place, false};
    return {*values_.insert(place, {code, {}, 0, 0}), true};
}

void ExactValues::set(ExactValue value) {
    at(value.code).first = std::move(value);
}

void ExactValues::join(uint8_t code, std::string_view address) {
    const auto [list, added] = at(code);
    if (!added) list.text += ';';
    list.text += address;
}

const ExactValue* ExactValues::find(uint8_t code) const {
    for (const ExactValue& value : values_)
        if (value.code == code) return &value;
    return nullptr;
}

void ExactValues::drop_empty() {
    std::erase_if(values_, [](const ExactValue& value) {
        return value.text.empty() && value.number == 0 && value.token == 0;
    });
}

ExactHeaders exact_headers(const ExactSyntax& syntax, Bytes pdu) {
    return Decoder(syntax, pdu).read();
}

std::string_view exact_address(std::string_view address) {
    const std::size_t slash = address.find('/');
    const bool typed = slash != address.npos && address.find('@') == address.npos;
    return typed ? address.substr(0, slash) : address;
}

}  // namespace mmskit_anatomy
