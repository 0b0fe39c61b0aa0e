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
// slide_copy_factor times the message's length; beyond it nothing more is copied.
inline constexpr uint64_t slide_copy_base = 1U << 20;
inline constexpr uint64_t slide_copy_factor = 8;

// A layout of up to this many regions is searched by walking its list; a longer one through an
// index, so that regions times references never multiply.
inline constexpr int32_t regions_walked = 32;

// A log line is cut here; the longest fixed text is below 100 bytes and pieces are at most 50.
inline constexpr uint32_t log_line = 256;  // bytes

// Decimals that fnSCRTL_ftoa writes: bounds its text to 376 bytes (sign, 309 digits, point, these,
// terminator), so that a caller can size a buffer. A double carries 17 significant digits.
inline constexpr int32_t ftoa_decimals = 64;

// Resolving a reference walks the parts. Work is counted in parts looked at, a part counting one
// more for every 32 bytes of the reference. Below the first figure an index is not worth its
// memory; beyond the second the message has no sense, and a reference names no part.
inline constexpr uint64_t media_walk_plain = 1U << 16;
inline constexpr uint64_t media_walk_total = 1U << 24;
// The index keeps one table for each pattern of letters and non-letters among the references, and
// this many bound its memory (some 36 bytes an entry). A name beyond them is found by a walk.
inline constexpr uint32_t media_index_tables = 256;
inline constexpr uint64_t media_index_entries = 1U << 19;

// Buffer of a name that the library gives a part without one: a host may put a name of its own
// there, of up to 128 bytes and the terminator.
inline constexpr uint32_t generated_name = 129;  // bytes

// A push document as XML text, after its declarations and comments are taken out. It travels in a
// few short messages or in one push of at most 64 KB. The XML parser calls itself once a level and
// searches elements and attributes by walking lists, so these bound its stack and its time.
inline constexpr uint32_t push_xml_text = 256U << 10;  // bytes
inline constexpr uint32_t push_xml_depth = 32;         // levels; a document has 3
inline constexpr uint32_t push_xml_markup = 4096;  // tags, instructions, CDATA sections, references
inline constexpr uint32_t push_xml_attributes = 4096;
inline constexpr uint32_t push_xml_element_attributes = 64;  // an indication has 5

}  // namespace mmskit::limits
