// What is done to a document so that expat reads it as RXP does: RXP forgives some references and
// knows more names and encodings. Used by Push_Expat.cpp alone.
#pragma once

#include <cstdint>

#pragma GCC visibility push(hidden)

namespace mmskit {

// The document as UTF-8 without a byte order mark and declaration. `out` has room for
// prepared_room() of `length` bytes. The end of what was written; null when the declaration is
// malformed or names an unknown encoding.
char* prepare_for_expat(char* out, const char* text, uint32_t length);

constexpr uint64_t prepared_room(uint32_t length) {
    // One byte of an 8-bit character set in a name becomes three letters, the longest of 3 bytes.
    return 9 * uint64_t{length} + 3;
}

// Names come back from expat with their non-ASCII characters written as letters that any edition
// of XML 1.0 knows. The next character of a name; 0 at its end.
uint32_t next_of_name(const char*& name);
// The same of text and values, in which control characters of XML 1.1 are written in two.
uint32_t next_of_text(const char*& text);
}  // namespace mmskit

#pragma GCC visibility pop
