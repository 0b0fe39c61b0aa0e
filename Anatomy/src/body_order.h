// What a whole body decides about its parts: which presentation counts, and which of alternatives.
#pragma once

#include "Anatomy/src/tree.h"

namespace mmskit_anatomy {

// Sets bPresentation and bAlternative of the parts, and body_exact.
void order_body(Tree& tree);

}  // namespace mmskit_anatomy
