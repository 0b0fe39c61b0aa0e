// A SMIL text in a body that is otherwise well-formed: one part of each kind, under the names that
// the example's SMIL uses, and one of them without a name.
#include <string>

#include "fuzz/walk.h"

namespace {

std::string uintvar(size_t value) {
    std::string out(1, char(value & 0x7F));
    while ((value >>= 7) != 0)
        out.insert(out.begin(), char(0x80 | (value & 0x7F)));
    return out;
}

std::string part(const std::string& headers, const std::string& data) {
    return uintvar(headers.size()) + uintvar(data.size()) + headers + data;
}

const std::string nul(1, '\0');

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string smil(reinterpret_cast<const char*>(data), size);
    const std::string body = "\x84\xA3\x06" + part("application/smil" + nul, smil) +
                             part("\x9E\x8Esunset.jpg" + nul, "JPEG") +
                             part("\x03\x83\x81\xEA\x8Egreeting.txt" + nul, "Grüße") +
                             part("audio/mpeg" + nul + "\xC0\"<surf>" + nul, "MP3") +
                             part("video/3gpp" + nul +
                                      "\x8E"
                                      "clip" +
                                      nul,
                                  "3GP") +
                             part("\xC8", "Content-Type: image/gif\r\n\r\nGIF");
    const fuzz::Exact exact(reinterpret_cast<const uint8_t*>(body.data()), body.size());
    fuzz::walk_body(exact.bytes.get(), exact.length);
    return 0;
}
