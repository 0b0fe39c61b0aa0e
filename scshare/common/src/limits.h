// Every limit of the library, each with its reason. A limit is far above any real message; what
// happens beyond it is said in the public header of the function that it bounds.
#pragma once

#include <cstdint>

namespace mmskit::limits {

// A DRM message names its content type in the first header lines of its data. Looking further
// than this would let a message that refers to one large part many times cost their product.
inline constexpr int32_t drm_header_scan = 4096;  // bytes

// Text and names copied onto slides: a part may be referred to any number of times and each
// reference gets a copy. The sum of all copies of one message is bounded by this many bytes plus
// slide_copy_factor times the message's length; beyond it a copy fails like one out of memory.
inline constexpr uint64_t slide_copy_base = 1U << 20;
inline constexpr uint64_t slide_copy_factor = 8;

// A log line is cut here; the longest fixed text is below 100 bytes and pieces are at most 50.
inline constexpr uint32_t log_line = 256;  // bytes

// Decimals that fnSCRTL_ftoa writes: bounds its text to 376 bytes (sign, 309 digits, point, these,
// terminator), so that a caller can size a buffer. A double carries 17 significant digits.
inline constexpr int32_t ftoa_decimals = 64;

}  // namespace mmskit::limits
