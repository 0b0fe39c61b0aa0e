// The names of WSP's own header fields, which parts and pushes have (WAP-230 table 39).
#pragma once

#include <cstdint>
#include <string_view>

namespace mmskit_anatomy {

// Of a code with its high bit; empty for one that is not assigned.
std::string_view wsp_header_name(uint8_t code);

}  // namespace mmskit_anatomy
