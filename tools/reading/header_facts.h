// The headers of a message as facts.
#pragma once

#include <mmskit/anatomy.h>

#include <string>
#include <string_view>
#include <vector>

#include "reading/facts.h"

namespace mmskit_tool {

// In the order in which a person reads them: people, subject and date first, then the order of the
// message. Recipients of one kind are one fact.
std::vector<HeaderFact> header_facts(const tMMS_Anatomy& anatomy);

HeaderFact header_fact(const tMMS_HeaderField& field);

// "X-Mms-MM-State" as mm_state.
std::string json_key_of(std::string_view name);

}  // namespace mmskit_tool
