// The anatomy of a message for a person who wants to know what each byte is.
#pragma once

#include <mmskit/anatomy.h>

#include <cstdint>
#include <optional>
#include <string>

#include "reading/facts.h"

namespace mmskit_tool {

struct ExplainStyle {
    bool colour = false;
    std::optional<uint32_t> at;   // only what this byte of the file belongs to
    std::optional<Flaw> refusal;  // where in the message the exact decoder stopped, and why
};

// On standard output, piece by piece.
void explain_text(const tMMS_Anatomy& anatomy, const ExplainStyle& style);

// An array of the nodes; docs/json.md has its keys.
void explain_json(const tMMS_Anatomy& anatomy, std::optional<uint32_t> at);

}  // namespace mmskit_tool
