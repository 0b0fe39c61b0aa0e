// A SMIL text in a body that is otherwise well-formed: one part of each kind, under the names that
// the example's SMIL uses, and one of them without a name.
#include <string>

#include "fuzz/walk.h"
#include "tests/support/bytes.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using testing_support::bytes;
    using testing_support::part;
    const std::string smil(reinterpret_cast<const char*>(data), size);
    const std::string body = bytes("84 A3 06") + part(bytes("'application/smil' 00"), smil) +
                             part(bytes("9E 8E 'sunset.jpg' 00"), "JPEG") +
                             part(bytes("03 83 81 EA 8E 'greeting.txt' 00"), "Grüße") +
                             part(bytes("'audio/mpeg' 00 C0 '\"<surf>' 00"), "MP3") +
                             part(bytes("'video/3gpp' 00 8E 'clip' 00"), "3GP") +
                             part("\xC8", "Content-Type: image/gif\r\n\r\nGIF");
    const fuzz::Exact exact(reinterpret_cast<const uint8_t*>(body.data()), body.size());
    fuzz::walk_body(exact.bytes.get(), exact.length);
    return 0;
}
