// What a person sees of a message: its slides, and which parts they show. It is made in two ways
// and compared: as the sender meant it (the tolerant reading of the presentation and of the names),
// and as the exact library would show given bytes. The exact library keeps its state in one place
// for one host, so a model of its reader stands here that many threads can use at once.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "Anatomy/src/smil.h"

namespace mmskit_anatomy {

inline constexpr uint32_t no_part = UINT32_MAX;

struct Shown {
    MediaKind kind = MediaKind::text;
    uint32_t part = no_part;
    std::array<int32_t, 4> place{};  // left, top, width, height
    int32_t begin = 0, end = 0;      // as shown

    bool operator==(const Shown&) const = default;
};

struct ShownSlide {
    int32_t duration = 0;
    Colour background, foreground;
    uint32_t first = 0, count = 0;  // of View::shown

    bool operator==(const ShownSlide&) const = default;
};

struct View {
    bool whole = false;  // the presentation was read to its end
    int32_t width = 0, height = 0;
    Colour background;
    std::vector<ShownSlide> slides;
    std::vector<Shown> shown;
    std::vector<uint8_t> placed;  // by part: the presentation shows it somewhere

    bool operator==(const View&) const = default;
};

// The end as shown: an element that ends before it begins is shown as long as its slide.
int32_t shown_end(int32_t begin, int32_t end, int32_t duration);

// Finding parts by reference, and what they are, for the reader below.
class Parts {
  public:
    virtual ~Parts() = default;
    // The part that a reference names, which counts as placed from then on; no_part for none.
    virtual uint32_t take(std::string_view reference, MediaKind kind) = 0;
    // A part that is protected is found and not shown.
    [[nodiscard]] virtual bool can_be_shown(uint32_t part) const = 0;
    [[nodiscard]] virtual bool none() const = 0;
};

// The view of a presentation that the exact reader of slides would give of these bytes; `placed`
// stays empty.
View exact_view(std::string_view presentation, Parts& parts);

// As fnSC_STRICMP: a byte of `a` that is no letter agrees with any byte.
bool same_for_names(std::string_view a, std::string_view b);

}  // namespace mmskit_anatomy
