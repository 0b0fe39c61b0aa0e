// The two faces of a message's facts. Both are complete documents that end with a line feed and
// hold no raw control character of the message. What is printed goes out piece by piece.
#pragma once

#include <string>

#include "ground/json_writer.h"
#include "reading/facts.h"

namespace mmskit_tool {

void print_text(const MessageFacts& facts);

// The keys are documented in docs/json.md and stay as they are. Gives what did not go to the
// output.
std::string render_json(const MessageFacts& facts, JsonTarget target = JsonTarget::text);

// The text of the presentation as its sender wrote it, made printable; a Failure without one.
void print_presentation(const MessageFacts& facts);

// The members of that document, and those of one of its parts, into an object that is open.
void put_message(JsonWriter& json, const MessageFacts& facts);
void put_part_keys(JsonWriter& json, const PartFact& part, std::size_t number);
void put_error(JsonWriter& json, const Flaw& flaw);

// 2024-02-29T12:00:00Z
std::string iso_date(Date date);

// "1 byte", "2 bytes"
std::string size_text(std::size_t size);

// "90 of 148 bytes" where some are missing.
std::string size_text(std::size_t size, std::size_t missing);

// How a person reads a header's name, and its value as one printable line.
std::string header_label(const HeaderFact& header);
std::string value_line(const HeaderFact& header);

std::string_view text_of(std::span<const uint8_t> data);

// 0xC9
std::string hex_code(uint32_t code);

// #rrggbb of a colour 0xAARRGGBB. The alpha only tells how the message wrote it.
std::string colour_text(uint32_t colour);

// How many of the slide's further elements are of the kind.
std::size_t count_further(const SlideFact& slide, MediaKind kind);

}  // namespace mmskit_tool
