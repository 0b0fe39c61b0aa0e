// What a part's data is for whoever gets it: a transfer encoding undone, a text in UTF-8.
#pragma once

#include "Anatomy/src/part_headers.h"

namespace mmskit_anatomy {

bool is_presentation(std::string_view type);
bool is_text(std::string_view type);

// Sets pData, iDataLen, bText and what PartDetail says about the data, and notes on `node` what was
// done. `part.iMissing` and the place of the data are set already.
void hand_out(Tree& tree, uint32_t node, const std::string& called, const ContentType& type,
              const PartHeaders& headers, const ExactPart& exact, tMMS_Part& part,
              PartDetail& detail);

}  // namespace mmskit_anatomy
