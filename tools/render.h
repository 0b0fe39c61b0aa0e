// The two faces of a message's facts. Both are complete documents that end with a line feed and
// hold no raw control character of the message.
#pragma once

#include <string>

#include "facts.h"

namespace mmskit_tool {

std::string render_text(const MessageFacts& facts);

// The keys are documented in docs/json.md and stay as they are.
std::string render_json(const MessageFacts& facts);

// 2024-02-29T12:00:00Z
std::string iso_date(Date date);

// "1 byte", "2 bytes"
std::string size_text(std::size_t size);

// #rrggbb of a colour 0xAARRGGBB. The alpha only tells how the message wrote it.
std::string colour_text(uint32_t colour);

// How many of the slide's further elements are of the kind.
std::size_t count_further(const SlideFact& slide, MediaKind kind);

}  // namespace mmskit_tool
