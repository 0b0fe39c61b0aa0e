// Content types and headers of body parts (WAP-230 8.4.2 and 8.5): in codes, as text, and with
// parameters inside the text.
#pragma once

#include <string>

#include "Anatomy/src/cursor.h"

namespace mmskit_anatomy {

struct ContentType {
    std::string type;          // in lower case, without parameters
    std::string sent;          // as it came, parameters in the text included
    std::string charset_name;  // as declared; empty when none is
    uint32_t charset = 0;      // its MIBenum; 0 without one
    bool has_charset = false;
    std::string name, filename, start, start_type;
    bool cut = false;       // its end is not there
    bool in_codes = false;  // parameters stand in the text of the type, or not at all
};

struct PartHeaders {
    std::string location, content_id, disposition_name, transfer_encoding;
    bool cut = false;
};

// The media type of a short integer, in lower case; empty without one.
std::string_view well_known_type(uint8_t number, MediaTypes& types);

// A content type's value, as a header node that begins at `start`, with its parameters below it.
ContentType read_content_type(Tree& tree, Cursor& cursor, uint32_t start, uint32_t depth,
                              uint32_t code);
// The other headers of a part, up to the cursor's end.
PartHeaders read_part_headers(Tree& tree, Cursor& cursor, uint32_t depth);

// A content type may stand here, and ends by `end`.
bool content_type_may_begin(Cursor cursor);

// What the exact decoder keeps of a part's headers.
struct ExactPart {
    std::string_view type, location, name;  // as they stand in the headers
    std::string content_id;
    bool has_charset = false;
    uint32_t charset = 0;
};
ExactPart exact_part(Bytes headers, MediaTypes& types);

}  // namespace mmskit_anatomy
