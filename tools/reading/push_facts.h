// Service Indication and Service Loading documents as facts, in WBXML and as XML text.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "reading/facts.h"

namespace mmskit_tool {

enum class PushKind { service_indication, service_loading };

// The kind by the public identifier of WBXML 1.0 to 1.3 (WAP-167 8, WAP-168 8), or by the root
// element of XML text.
std::optional<PushKind> recognize_push(std::span<const uint8_t> bytes);

// Makes the parser of XML text end the command where it would go on without memory.
void use_checked_xml_memory();

// Fills kind and headers; throws a Flaw when the document does not decode.
void collect_push(std::span<const uint8_t> bytes, PushKind kind, MessageFacts& facts);

}  // namespace mmskit_tool
