// Push documents in WBXML (WAP-192), as far as telling whether one is all there.
#pragma once

#include "Anatomy/src/tree.h"

namespace mmskit_anatomy {

// Where the root element ends, in bytes from the start; more than the bytes that are there when it
// does not.
std::size_t wbxml_end(Bytes document);

}  // namespace mmskit_anatomy
