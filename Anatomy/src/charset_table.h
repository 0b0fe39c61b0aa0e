// The table behind charset.h.
#pragma once

#include <cstdint>
#include <string_view>

namespace mmskit_anatomy {

struct CharsetRow {
    uint32_t mib;
    std::string_view name;
    std::string_view aliases;
    std::string_view iconv;
};

const CharsetRow* charset_row(uint32_t mib);

}  // namespace mmskit_anatomy
