// The content type of a file, from its first bytes where a format marks itself and from its name
// where none does. Types are spelled as the library's table of well-known types spells them, so
// that they go out as one byte where they can.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace mmskit_tool {

// "application/octet-stream" when neither bytes nor name tell.
std::string media_type(std::span<const uint8_t> data, std::string_view file_name);

// The type that the bytes are marked with, or text/plain for a text, when a medium that is sent as
// `type` cannot be that; nothing when they agree or do not tell. A type under
// application/ that is not known claims nothing.
std::optional<std::string> contradicting_type(std::span<const uint8_t> data, std::string_view type);

}  // namespace mmskit_tool
