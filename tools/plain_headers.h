// Headers of the messages that a client only sends, for which the library has no decoder: requests,
// notify-responses, acknowledgements and read reports. They are read with its WSP value codec.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "facts.h"

namespace mmskit_tool {

struct PlainHeaders {
    std::vector<HeaderFact> headers;  // in the order of the message; a repeated one counts last
    std::optional<std::size_t> body;  // where the Content-Type header stands
};

// Throws a Flaw for a header that the end of the message cuts off.
PlainHeaders read_plain_headers(std::span<const uint8_t> message);

}  // namespace mmskit_tool
