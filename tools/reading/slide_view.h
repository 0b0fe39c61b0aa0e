// The library's slide view as facts.
#pragma once

#include <string>
#include <vector>

#include "reading/facts.h"

namespace mmskit_tool {

// Slides and attachments of the body that the library holds just now. One walk over both, so the
// cost is linear.
void collect_view(MessageFacts& facts);

// How the texts of each slide begin, in the order in which collect_view finds them.
std::vector<std::vector<std::string>> view_texts(std::size_t most);

// Why the library's last call failed; `base` is where in the file the bytes that it read begin.
Flaw last_flaw(std::size_t base);

}  // namespace mmskit_tool
