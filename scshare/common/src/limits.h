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
inline constexpr uint64_t slide_copy_factor = 2;

// A log line is cut here; the longest fixed text is below 100 bytes and pieces are at most 50.
inline constexpr uint32_t log_line = 256;  // bytes

// Decimals that fnSCRTL_ftoa writes, and its longest text (sign, 309 digits, point, these,
// terminator), so that a caller can size a buffer. A double carries 17 significant digits.
inline constexpr int32_t ftoa_decimals = 64;
inline constexpr uint32_t ftoa_text = 376;  // bytes

// Parts of one message. Each part that is kept costs records and names of up to 500 bytes, whatever
// its own size; a message of a thousand slides has some three thousand parts.
inline constexpr uint32_t message_parts = 16384;

// Entries of an INI store: each costs four blocks, and takes as little as three bytes of the file.
inline constexpr uint32_t ini_entries = 65536;

// Resolving a reference walks the parts or the regions, so references times parts is what a message
// costs. Each part or region that is passed counts 1, and 1 more for every reference_bytes that
// were compared on it; a reference that goes on where the last one ended counts 1 for itself. 1,400
// parts each referred to by a word of its own come to half of this sum, and as many regions beside
// them to the whole; names that differ in digits only cost next to nothing. Beyond it the message
// has no sense, and a reference names nothing.
inline constexpr uint64_t reference_work = 1U << 21;
inline constexpr uint64_t reference_bytes = 16;

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
