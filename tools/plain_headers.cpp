// Walks the headers of a message with the cursor routines of wsp.h. These carry no end: they run
// over a copy that zero bytes follow, so that every text and length ends, and the cursor is checked
// after each value.
#include "plain_headers.h"

#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <string>

#include <mmskit/runtime.h>
#include <mmskit/wsp.h>

#include "header_facts.h"

namespace mmskit_tool {
namespace {

constexpr std::size_t padding = 8;
constexpr uint8_t content_type_code = 0x84;
constexpr uint8_t value_yes = 0x80;
constexpr uint8_t address_present = 0x80;
constexpr uint8_t absolute_time = 0x80;
constexpr uint8_t first_octet_of_a_token = 0x80;  // and of a header's code; below it are texts
constexpr uint8_t length_quote = 31;              // the last octet that begins a value-length

enum class Value : uint8_t {
    address,
    class_name,
    date,
    encoded,
    flag,
    from,
    text,
    time,
    token,
    version
};

struct Field {
    uint8_t code;
    Value value;
    const char* name;
    const char* key;
    const std::span<const TokenNames>* names = nullptr;
};

// OMA-MMS-ENC 7.4: the headers of what a client sends.
constexpr Field fields[] = {
    {0x81, Value::address, "Bcc", "bcc"},
    {0x82, Value::address, "Cc", "cc"},
    {0x83, Value::text, "Content-Location", "content_location"},
    {0x85, Value::date, "Date", "date"},
    {0x86, Value::flag, "X-Mms-Delivery-Report", "delivery_report"},
    {0x87, Value::time, "X-Mms-Delivery-Time", "delivery_time"},
    {0x88, Value::time, "X-Mms-Expiry", "expiry"},
    {0x89, Value::from, "From", "from"},
    {0x8A, Value::class_name, "X-Mms-Message-Class", "message_class", &class_names},
    {0x8B, Value::text, "Message-ID", "message_id"},
    {0x8D, Value::version, "X-Mms-MMS-Version", "mms_version"},
    {0x8F, Value::token, "X-Mms-Priority", "priority", &priority_names},
    {0x90, Value::flag, "X-Mms-Read-Report", "read_report"},
    {0x91, Value::flag, "X-Mms-Report-Allowed", "report_allowed"},
    {0x94, Value::token, "X-Mms-Sender-Visibility", "sender_visibility", &visibility_names},
    {0x95, Value::token, "X-Mms-Status", "status", &status_names},
    {0x96, Value::encoded, "Subject", "subject"},
    {0x97, Value::address, "To", "to"},
    {0x98, Value::text, "X-Mms-Transaction-Id", "transaction_id"},
    {0x9B, Value::token, "X-Mms-Read-Status", "read_status", &read_status_names},
};

class Walk {
  public:
    explicit Walk(std::span<const uint8_t> message) : bytes_(message.size() + padding) {
        std::copy(message.begin(), message.end(), bytes_.begin());
        at_ = bytes_.data();
        end_ = at_ + message.size();
    }

    PlainHeaders read() {
        while (at_ < end_ && *at_ != content_type_code) {
            start_ = at_;
            read_header();
            if (at_ > end_) cut_off();
        }
        if (at_ < end_) found_.body = offset(at_);
        return std::move(found_);
    }

  private:
    using Decoder = char* (*)(const uint8_t** cursor, uint16_t* length);

    [[nodiscard]] std::size_t offset(const uint8_t* at) const {
        return static_cast<std::size_t>(at - bytes_.data());
    }
    [[noreturn]] void cut_off() const {
        throw Flaw{"a header's value does not end inside the message", offset(start_)};
    }

    // A textual header's name, and after it its value, pass as texts.
    void read_header() {
        if (*at_ < first_octet_of_a_token) return skip_value();
        const auto* field = std::find_if(std::begin(fields), std::end(fields),
                                         [&](const Field& f) { return f.code == *at_; });
        ++at_;
        field != std::end(fields) ? read_value(*field) : skip_value();
    }

    void read_value(const Field& field) {
        switch (field.value) {
            case Value::text:
                return store(field, text(MyDecodeTextString));
            case Value::encoded:
                return store(field, text(DecodeEncodedString));
            case Value::address:
                return join(field, text(DecodeAddressString));
            case Value::from:
                return read_from(field);
            case Value::date:
                return store(field, Date{integer(end_)});
            case Value::time:
                return read_time(field);
            case Value::flag:
                return store(field, *at_++ == value_yes);
            case Value::version:
                return store(field, version_name(*at_++));
            case Value::class_name:
                if (*at_ < first_octet_of_a_token) return store(field, text(MyDecodeTextString));
                [[fallthrough]];
            case Value::token:
                return store(field, token_name(*at_++, *field.names));
        }
    }

    void read_from(const Field& field) {
        const uint8_t* const end = value_end();
        if (*at_++ == address_present) return store(field, text(DecodeAddressString));
        at_ = end;
    }

    void read_time(const Field& field) {
        const uint8_t* const end = value_end();
        const bool absolute = *at_++ == absolute_time;
        const uint32_t seconds = integer(end);
        at_ = end;
        if (absolute) return store(field, Date{seconds});
        store(field, Period{seconds});
    }

    // WAP-230 8.4.1.2: the first octet tells the form.
    void skip_value() {
        if (*at_ >= first_octet_of_a_token) {
            ++at_;
        } else if (*at_ <= length_quote) {
            at_ = value_end();
        } else {
            (void)text(DecodeString);
        }
    }

    const uint8_t* value_end() {
        const uint32_t length = GetLengthValue(&at_);
        if (at_ > end_ || length > static_cast<std::size_t>(end_ - at_)) cut_off();
        return at_ + length;
    }

    uint32_t integer(const uint8_t* end) {
        if (at_ >= end || *at_ >= length_quote || *at_ >= end - at_) cut_off();
        const uint32_t value = OctetsToLongInt(at_);
        at_ += *at_ + 1;
        return value;
    }

    // Empty also for a character set that the library does not read.
    std::string text(Decoder decode) {
        const uint8_t* const before = at_;
        char* const decoded = decode(&at_, nullptr);
        if (decoded == nullptr && at_ == before) throw std::bad_alloc();
        const std::unique_ptr<char, Free> owner(decoded);
        return decoded != nullptr ? decoded : "";
    }
    struct Free {
        void operator()(char* block) const { fnSC_Free(&block); }
    };

    template <typename Fact>
    void store(const Field& field, Fact value) {
        fact(field).value = std::move(value);
    }
    void join(const Field& field, const std::string& address) {
        const bool first = !has(field);
        auto& list = std::get<std::string>(fact(field).value);
        list += first ? address : ';' + address;
    }

    [[nodiscard]] bool has(const Field& field) const {
        return std::any_of(found_.headers.begin(), found_.headers.end(),
                           [&](const HeaderFact& h) { return h.json_key == field.key; });
    }
    // The header's fact, a new one at its first appearance.
    HeaderFact& fact(const Field& field) {
        if (!has(field)) found_.headers.push_back({field.name, field.key, std::string()});
        return *std::find_if(found_.headers.begin(), found_.headers.end(),
                             [&](const HeaderFact& h) { return h.json_key == field.key; });
    }

    std::vector<uint8_t> bytes_;
    const uint8_t* at_ = nullptr;
    const uint8_t* end_ = nullptr;
    const uint8_t* start_ = nullptr;
    PlainHeaders found_;
};

}  // namespace

PlainHeaders read_plain_headers(std::span<const uint8_t> message) {
    return Walk(message).read();
}

}  // namespace mmskit_tool
