// A text in each character set that a message may name, and in one that none may.
#include "fuzz/walk.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const fuzz::Exact text(data, size);
    for (const int32_t charset : {3, 4, 17, 106, 1000, 1015}) {
        auto length = uint32_t(size);
        char* local = fnCharSet_DecodeString2Local(charset, text.bytes.get(), &length);
        if (local != nullptr && length != std::strlen(local)) std::abort();
        fnCharSet_CharSetFreeStringBuf(local);
    }
    const auto units = std::make_unique<uint16_t[]>(size + 1);
    const int32_t count = UTF8toUCS2(text.bytes.get(), text.length, units.get());
    if (count > text.length) std::abort();
    const auto utf8 = std::make_unique<uint8_t[]>(3 * size + 1);
    fuzz::touch(utf8.get(), UCS2toUTF8(units.get(), count, utf8.get()));
    return 0;
}
