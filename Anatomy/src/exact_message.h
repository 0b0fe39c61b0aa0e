// What the exact decoders make of a message's bytes: a model of them without their shared state,
// asked before a message is changed (is it taken whole and rightly?) and while it is written.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Anatomy/src/library_text.h"
#include "Anatomy/src/tree.h"

namespace mmskit_anatomy {

// ---- Headers ----------------------------------------------------------------------------------

inline constexpr uint8_t address_present = 0x80;  // before a sender's address
inline constexpr uint8_t class_personal = 0x80;   // of a message whose class has no token

// How a decoder reads a field's value.
enum class Reads : uint8_t {
    text,
    raw_text,     // a leading quote stays
    transaction,  // refuses an empty text
    location,     // drops a text that the end cuts off
    encoded,
    from,
    address,
    address_list,
    octet,
    yes_no,
    message_class,
    message_type,
    long_integer,
    counted_integer,
    expiry,
    content,
    skip_octet,
    skip_text,
    skip_counted
};

struct ExactField {
    uint8_t code;
    Reads reads;
};

enum class Unlisted : uint8_t { fail, stop, read_over };

// The decoder of one message type.
struct ExactSyntax {
    uint8_t type;
    Unlisted unlisted;
    bool textual_names;
    uint8_t required;  // a text without which there is no record; 0 for none
    bool required_at_end;
    std::span<const ExactField> fields;

    [[nodiscard]] const ExactField* find(uint8_t code) const;
};

// Null for a type that no decoder reads.
const ExactSyntax* exact_syntax(uint32_t message_type);

// What a record would hold of one field: a text, or a number (and the token of an expiry).
struct ExactValue {
    uint8_t code = 0;
    std::string text;
    int64_t number = 0;
    uint8_t token = 0;

    bool operator==(const ExactValue&) const = default;
};

// Ordered by code; of a field that comes again the last one, of recipients all joined.
class ExactValues {
  public:
    void set(ExactValue value);
    void join(uint8_t code, std::string_view address);
    [[nodiscard]] const ExactValue* find(uint8_t code) const;
    void drop_empty();  // nothing and an empty text or zero are the same to a host
    bool operator==(const ExactValues&) const = default;

  private:
    // And whether it is new.
    std::pair<ExactValue&, bool> at(uint8_t code);
    std::vector<ExactValue> values_;
};

struct ExactHeaders {
    bool taken = false;  // there would be a record
    ExactValues values;
    std::size_t body = 0;  // offset of the Content-Type header; the size when there is none
};
ExactHeaders exact_headers(const ExactSyntax& syntax, Bytes pdu);

// What the decoders keep of an address.
std::string_view exact_address(std::string_view address);

// ---- Body -------------------------------------------------------------------------------------

constexpr bool is_letter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// Texts that the exact decoders make, and which do not stand in the message.
struct ExactTexts {
    MediaTypes types;
    Arena made;
};

// Its texts stand in the message or in the ExactTexts.
struct ExactBodyPart {
    std::string_view type;  // empty for a code without a name
    std::string_view location, name, content_id;
    bool has_charset = false;
    uint32_t charset = 0;
    bool presentation = false;
    uint32_t data = 0;  // offset
    uint32_t size = 0;

    // What a host calls it.
    [[nodiscard]] std::string_view shown_name() const;
};

struct ExactBody {
    bool taken = false;
    std::vector<ExactBodyPart> parts;  // those that are kept, without the presentation
    ExactBodyPart presentation;        // the one that counts; `presentation` is false without one
};
// A Content-ID as the decoders keep it.
std::string_view without_angles(std::string_view id, Arena& made);
// Of a text without a name, behind `kept` parts that are kept.
std::string_view generated_name(std::size_t kept, Arena& made);

// Stops when more than `most_kept` parts are kept: a hostile body has many more than are asked for.
ExactBody exact_body(Bytes body, std::size_t most_kept, ExactTexts& texts);

// A part's content type and headers alone; false when its data would not begin behind them.
// `kept` is the number of parts kept before it.
bool exact_part(Bytes headers, std::size_t kept, ExactTexts& texts, ExactBodyPart& part);

}  // namespace mmskit_anatomy
