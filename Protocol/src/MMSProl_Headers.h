// The one loop over MMS header fields (OMA-MMS-ENC 7). A message kind is a table from field code
// to the routine that reads its value and the record member that it fills; what is special about
// a kind is a property beside the table. All reading is through the bounded reader.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "Protocol/src/MMSProl_Records.h"
#include "Protocol/src/pdu_writer.h"
#include "scshare/common/src/bounded_reader.h"

#pragma GCC visibility push(hidden)

namespace mmskit {

class HeaderContext;

// `stop` is a field that the kind does not know and that ends its headers; `done` gives the record
// as it stands.
enum class Step : uint8_t { next, stop, done, fail };

inline constexpr uint16_t nowhere = UINT16_MAX;

// One row. `read` stands behind the code byte and takes the whole value.
struct HeaderField {
    using Read = Step (*)(HeaderContext& context, const HeaderField& field);

    constexpr HeaderField(uint8_t its_code, Read reader, uint16_t member = nowhere,
                          uint16_t second = nowhere)
        : read(reader), to(member), also(second), code(its_code) {}

    Read read;
    uint16_t to;    // offset of the member of the record
    uint16_t also;  // and of the second one, where a value has two
    uint8_t code;
};

// What a field code does that has no row.
enum class Unlisted : uint8_t { fail, stop, read_over };

// The rows of a kind and, by code, where each stands.
class FieldTable {
  public:
    template <size_t Count>
    // NOLINTNEXTLINE(google-explicit-constructor): a list of rows is its table
    constexpr FieldTable(const HeaderField (&rows)[Count]) : rows_(rows) {
        static_assert(Count < UINT8_MAX);
        for (size_t i = 0; i < Count; ++i)
            place_[rows[i].code - first_code] = static_cast<uint8_t>(i + 1);
    }

    // Null for a code without a row.
    const HeaderField* find(uint8_t code) const {
        const uint8_t at = static_cast<uint8_t>(code - first_code);
        const uint8_t place = at < sizeof place_ ? place_[at] : uint8_t{0};
        return place != 0 ? &rows_[place - 1] : nullptr;
    }

  private:
    static constexpr uint8_t first_code = 0x80;

    const HeaderField* rows_;
    uint8_t place_[64] = {};
};

struct MessageSyntax {
    MessageKind kind;
    uint8_t message_type = 0;          // the only one that header_value::message_type takes
    const char* wrong_type = nullptr;  // the reason given for another one
    int32_t least_length = 1;          // a shorter PDU is refused
    // With Unlisted::read_over, a code outside first_code to last_code is refused.
    uint8_t first_code = 0;
    uint8_t last_code = 0xFF;
    Unlisted unlisted;
    bool textual_names = false;  // a byte below 0x80 begins a textual name, which is read over
    FieldTable fields;
    uint16_t required = nowhere;    // offset of a text without which there is no record,
    bool required_at_end = true;    // also when the input was used up, not only after Step::stop
    const char* missing = nullptr;  // the reason given then
};

// A new record of the syntax's kind, or null with the reason noted.
[[nodiscard]] void* parse_message(const MessageSyntax& syntax, const uint8_t* pdu, int32_t length);

// The state of one parse: the reader, the record, and the address lists under construction.
class HeaderContext {
  public:
    HeaderContext(const MessageSyntax& kind, BoundedReader input, void* target)
        : syntax(kind), in(input), record_(target) {}

    // Reads header fields until the input is used up or one of them ends the parse.
    [[nodiscard]] bool read_headers();

    template <typename T>
    T& member(uint32_t offset) const {
        return *static_cast<T*>(static_cast<void*>(static_cast<char*>(record_) + offset));
    }
    [[nodiscard]] Step fail(const char* why) {
        reason_ = why;
        return Step::fail;
    }
    // Joins an address to the list that will be stored at `to`, with ";" between.
    void join_address(uint16_t to, Slice address);

    const char* reason() const { return reason_; }
    uint64_t field_start() const { return field_start_; }

    const MessageSyntax& syntax;
    BoundedReader in;

  private:
    // A list grows here rather than in the record, so that n headers cost linear time.
    struct AddressList {
        uint16_t to = nowhere;
        PduWriter text;
    };

    Step read_header();
    Step read_unlisted(uint8_t code);
    [[nodiscard]] bool has_required(Step last);
    [[nodiscard]] bool store_lists();

    void* record_;
    std::array<AddressList, 3> lists_;  // To, Cc and Bcc
    uint64_t field_start_ = 0;
    const char* reason_ = nullptr;
};

// The value routines of the rows. Those that store a text replace an earlier one.
namespace header_value {

Step text(HeaderContext& context, const HeaderField& field);
// A leading quote stays in the text.
Step raw_text(HeaderContext& context, const HeaderField& field);
// Refuses an empty text.
Step transaction_id(HeaderContext& context, const HeaderField& field);
// A text that the end of the input cuts off is dropped and ends the parse.
Step location(HeaderContext& context, const HeaderField& field);
Step encoded_string(HeaderContext& context, const HeaderField& field);
Step from(HeaderContext& context, const HeaderField& field);
Step address(HeaderContext& context, const HeaderField& field);
Step address_list(HeaderContext& context, const HeaderField& field);
Step octet(HeaderContext& context, const HeaderField& field);
Step yes_no(HeaderContext& context, const HeaderField& field);
Step message_class(HeaderContext& context, const HeaderField& field);
Step message_type(HeaderContext& context, const HeaderField& field);
Step long_integer(HeaderContext& context, const HeaderField& field);
// As long_integer; the first octet alone tells where the value ends.
Step counted_integer(HeaderContext& context, const HeaderField& field);
// A one-byte length, the token to `also`, and a long integer.
Step expiry(HeaderContext& context, const HeaderField& field);
// Copies everything from the field code on to `to`, its length to `also`, and ends the parse.
Step content(HeaderContext& context, const HeaderField& field);
Step skip_octet(HeaderContext& context, const HeaderField& field);
Step skip_text(HeaderContext& context, const HeaderField& field);
// A one-byte length and that many bytes.
Step skip_counted(HeaderContext& context, const HeaderField& field);

}  // namespace header_value
}  // namespace mmskit

#pragma GCC visibility pop
