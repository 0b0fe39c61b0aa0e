// The header fields and message types of OMA-TS-MMS_ENC 1.0 to 1.3: names, forms of value, tokens,
// and what a message of each type must have.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace mmskit_anatomy {

enum class ValueKind : uint8_t {
    text,       // Text-string
    encoded,    // Encoded-string-value
    address,    // the same, an address
    from,       // Value-length, Address-present-token and address, or Insert-address-token
    token,      // an octet, or text where the standard allows a name of the sender's own
    flag,       // Yes 0x80, No 0x81
    number,     // Integer-value
    date,       // Long-integer
    time,       // Value-length, Absolute 0x80 or Relative 0x81, integer
    version,    // a short integer: major and minor
    type,       // X-Mms-Message-Type
    body,       // Content-Type: the body begins
    sent_by,    // Value-length, count, address
    sent_date,  // Value-length, count, date
    flags,      // Value-length, token, encoded string
    total,      // Value-length, unit, integer
    bytes       // a value that is shown as it stands
};

struct TokenRun {
    uint8_t first;
    std::span<const std::string_view> names;
};

struct Field {
    uint8_t code;
    std::string_view name;
    ValueKind kind;
    std::span<const TokenRun> tokens;
};

const Field* find_field(uint8_t code);
// By its name on the wire, in any case; null when it is not one of the standard's.
const Field* find_field(std::string_view name);
// The token's name in lower case, or "0xNN".
std::string token_name(const Field& field, uint8_t octet);
// The octet of a token's name in any case; 0 when there is none.
uint8_t token_octet(const Field& field, std::string_view name);

// "m-send-req"; empty for an octet without a type.
std::string_view message_type_name(uint8_t octet);
// Codes of the fields without which a message of this type is visibly incomplete.
std::span<const uint8_t> needed_fields(uint8_t message_type);

}  // namespace mmskit_anatomy
