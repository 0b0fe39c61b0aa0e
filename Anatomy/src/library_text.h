// A text that the exact side made, freed with its owner: what is made of it may run out of memory.
#pragma once

#include <mmskit/runtime.h>
#include <mmskit/wsp.h>

#include <memory>

namespace mmskit_anatomy {

struct FreeLibraryText {
    void operator()(char* text) const { fnSC_Free(&text); }
};
using LibraryText = std::unique_ptr<char, FreeLibraryText>;

// Each code below this has a media type there.
inline constexpr uint8_t library_types = 53;

// The media type of a code without its high bit; null for one that has none.
inline LibraryText well_known_media_type(unsigned code) {
    return LibraryText(DecodeWellKnownContentType(static_cast<uint8_t>(code)));
}

}  // namespace mmskit_anatomy
