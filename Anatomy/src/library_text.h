// A text that the exact side made, freed with its owner: what is made of it may run out of memory.
#pragma once

#include <mmskit/runtime.h>
#include <mmskit/wsp.h>

#include <array>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "Anatomy/src/letters.h"

namespace mmskit_anatomy {

struct FreeLibraryText {
    void operator()(char* text) const { fnSC_Free(&text); }
};
using LibraryText = std::unique_ptr<char, FreeLibraryText>;

// Each code below this has a media type there.
inline constexpr uint8_t library_types = 53;

// The media type of a code without its high bit; null for one that has none.
inline LibraryText well_known_media_type(unsigned code) {
    LibraryText text(DecodeWellKnownContentType(static_cast<uint8_t>(code)));
    if (text == nullptr && code < library_types) throw std::bad_alloc();
    return text;
}

// The same texts, each made once; empty for a code that has none. Its high bit means nothing.
class MediaTypes {
  public:
    std::string_view spelled(uint8_t code) { return text(spelled_, code, false); }
    std::string_view lower(uint8_t code) { return text(lower_, code, true); }

    // The first code of a type, whatever its case; library_types for one that has none.
    uint8_t code_of(std::string_view type) {
        if (same_word(spelled(last_code_), type)) return last_code_;
        for (uint8_t code = 0; code < library_types; ++code)
            if (spelled(code).size() == type.size() && same_word(spelled(code), type))
                return last_code_ = code;
        return library_types;
    }

  private:
    static constexpr std::size_t codes = 76;  // none behind these has a type
    struct Type {
        bool asked = false;
        LibraryText own;
        std::string_view text;
    };
    using Types = std::array<Type, codes>;

    static std::string_view text(Types& types, uint8_t code, bool in_lower_case) {
        code &= 0x7FU;
        if (code >= codes) return {};
        Type& type = types[code];
        if (std::exchange(type.asked, true)) return type.text;
        type.own = well_known_media_type(code);
        if (type.own == nullptr) return {};
        for (char* c = type.own.get(); in_lower_case && *c != '\0'; ++c)
            *c = to_lower(*c);
        return type.text = type.own.get();
    }

    Types spelled_, lower_;
    uint8_t last_code_ = 0;  // parts of one type often follow each other
};

}  // namespace mmskit_anatomy
