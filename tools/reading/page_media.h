// What a browser can do with a part: the type under which a page hands it its bytes, which is
// never the sender's word but one of a few, or the reason why it can only be saved. AMR speech
// becomes WAV where the decoder was there when this was built, WBMP becomes BMP.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "reading/facts.h"

namespace mmskit_tool {

struct BrowserMedia {
    MediaKind kind = MediaKind::image;  // that of the bytes, where these say it
    const char* type = nullptr;         // null: a browser cannot play it
    std::string why_not;
    // The bytes in another form; without them the part's own are played.
    std::vector<uint8_t> converted;
};

// Sounds of one page come out of their compression into at most this much.
struct ConversionBudget {
    std::size_t bytes = std::size_t{32} << 20U;
};

BrowserMedia browser_media(const MediaFact& media, ConversionBudget& budget);

// The type of a picture that any browser shows, by its first bytes; null for everything else.
struct PictureType {
    const char* type;
    const char* extension;
};
const PictureType* picture_type(std::span<const uint8_t> data);

// Mono PCM samples of AMR speech in a WAV file. Nothing when it is no AMR (RFC 4867 section 5),
// the result would be larger than `limit` bytes, or the decoder is not built in.
std::optional<std::vector<uint8_t>> amr_to_wav(std::span<const uint8_t> amr, std::size_t limit);
bool can_decode_amr();

// A WBMP of type 0 (WAP-237) as a BMP of two colours; nothing when it is none or is cut short.
std::optional<std::vector<uint8_t>> wbmp_to_bmp(std::span<const uint8_t> wbmp);

}  // namespace mmskit_tool
