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

std::string explain_text(const tMMS_Anatomy& anatomy, const ExplainStyle& style);

// An array of the nodes; docs/json.md has its keys.
std::string explain_json(const tMMS_Anatomy& anatomy, std::optional<uint32_t> at);

}  // namespace mmskit_tool
