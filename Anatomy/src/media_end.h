// Where a medium ends by its own marks, for parts whose length is not true.
#pragma once

#include <optional>

#include "Anatomy/src/tree.h"

namespace mmskit_anatomy {

// The size of the PNG, JPEG or GIF that begins the bytes; none when it is none of these, or is not
// whole.
std::optional<std::size_t> media_size(Bytes bytes);

}  // namespace mmskit_anatomy
