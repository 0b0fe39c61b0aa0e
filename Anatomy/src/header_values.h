// The values of a PDU's header fields, each in the form that its field has, read for what they say.
#pragma once

#include <cstdint>
#include <string>

#include "Anatomy/src/cursor.h"
#include "Anatomy/src/mms_fields.h"

namespace mmskit_anatomy {

struct Value {
    uint8_t form = MMS_VALUE_TEXT;
    std::string text;
    int64_t number = 0;
    bool exact = true;
    bool cut = false;
    uint64_t present = 0, declared = 0;  // octets of what is cut, where that is known
    std::string flaw;                    // what was read all the same
    bool unknown = false;                // its bytes have no meaning here
};

// The value of a field that the standard has; the cursor ends behind it.
void read_value(Cursor& cursor, Value& value, const Field& field);
// A text, with a character set or without.
void take_encoded(Cursor& cursor, Value& value);
// The value of one that it does not have (WAP-230 8.4.1.2).
void take_any(Cursor& cursor, Value& value);

}  // namespace mmskit_anatomy
