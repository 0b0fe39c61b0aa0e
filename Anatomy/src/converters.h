// Open iconv handles, one for each pair of names, kept while a message is read: opening one loads a
// module, which costs more than a part's text. A cache belongs to its thread.
#pragma once

#include <iconv.h>

#include <string_view>

namespace mmskit_anatomy {

inline const iconv_t no_converter = reinterpret_cast<iconv_t>(-1);

// In its initial state; the names are literals or from the table of character sets. Not to be
// closed, and good until the next call. no_converter when iconv has none.
iconv_t converter(const char* to, std::string_view from);

// Stands where the library is entered: at its end all that this thread has opened is closed.
struct ConvertersOpen {
    ConvertersOpen() = default;
    ConvertersOpen(const ConvertersOpen&) = delete;
    ConvertersOpen& operator=(const ConvertersOpen&) = delete;
    ~ConvertersOpen();
};

}  // namespace mmskit_anatomy
