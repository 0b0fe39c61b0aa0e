// The reader that every decoder of this floor uses lives on the ground floor.
#pragma once

#include "scshare/common/src/bounded_reader.h"  // IWYU pragma: export
