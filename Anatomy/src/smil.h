// A presentation (SMIL 1.0 and 2.0, as far as messages use them) as a flat list: the layout, and
// slides of media. What the tolerant reader gives, and what the writer writes in the form that the
// exact reader of slides reads. Times are in milliseconds, places in pixels.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Anatomy/src/tree.h"

namespace mmskit_anatomy {

enum class MediaKind : uint8_t { text, image, audio, video, by_type };

struct SmilRegion {
    std::string_view id, fit;
    int32_t left = 0, top = 0, width = 0, height = 0;
};

struct SmilMedia {
    MediaKind kind = MediaKind::by_type;  // by_type: a `ref`, which is what its part is
    std::string_view source;
    uint32_t first_more = 0;  // of Presentation::more_sources, where there are several
    uint32_t more = 0;
    int32_t region = -1;  // index in Presentation::regions
    int32_t begin = 0;
    int32_t end = 0;  // 0: as long as the slide
};

// A colour is what the exact reader makes of it: 0x00RRGGBB of a number, 0xFFRRGGBB of a name.
using Colour = std::optional<uint32_t>;

struct SmilSlide {
    int32_t duration = 0;
    Colour background, foreground;
    uint32_t first_media = 0;  // of Presentation::media
    uint32_t media = 0;
};

// Its texts are those of what was read, or in `undone`.
struct Presentation {
    Arena undone;
    int32_t width = 0, height = 0;  // of the root layout
    Colour background;
    std::vector<SmilRegion> regions;
    std::vector<SmilMedia> media;
    std::vector<std::string_view> more_sources;
    std::vector<SmilSlide> slides;
};

// Reads a presentation in whatever form it was written. Slides without media are left out. Linear
// in the text, which must outlive it, and no deeper than itself however deep the text nests.
Presentation read_presentation(std::string_view utf8);

// `sources` has one for each of its media, empty for one that is left out, as is a slide without
// any. They must be carried by a value (can_stand_in_value).
std::string write_presentation(const Presentation& presentation,
                               const std::vector<std::string_view>& sources);

// False for a text that the exact reader would not read back from an attribute's value as it is.
bool can_stand_in_value(std::string_view text);

// ---- Values -----------------------------------------------------------------------------------

std::string_view stripped(std::string_view text);

// A clock value in any form of SMIL ("1:02:03.5", "02:30", "2.5s", "1min", "300ms", "5"); 0 for
// words and events, and saturating.
int32_t clock_value(std::string_view text);
// A length in pixels, or in percent of `whole` where that is above 0.
int32_t length_value(std::string_view text, int32_t whole);
// Nothing for a colour that is none ("transparent").
Colour colour_value(std::string_view text);

// What the exact reader makes of such values.
int32_t exact_number(std::string_view text);
int32_t exact_time(std::string_view text);
uint32_t exact_colour(std::string_view text);
std::string colour_text(uint32_t colour);

}  // namespace mmskit_anatomy
