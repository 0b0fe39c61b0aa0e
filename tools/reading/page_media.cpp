// Pictures are known by their first bytes, sounds and videos by their type: what it declares
// wrongly a browser finds out by itself, and the page then says so.
#include "reading/page_media.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

#include "ground/safe_text.h"

namespace mmskit_tool {
namespace {

struct PictureMark {
    std::string_view bytes;
    std::size_t offset;
    PictureType picture;
};
constexpr std::array picture_marks{
    PictureMark{"\xFF\xD8\xFF", 0, {"image/jpeg", ".jpg"}},
    PictureMark{"\x89PNG\r\n\x1A\n", 0, {"image/png", ".png"}},
    PictureMark{"GIF8", 0, {"image/gif", ".gif"}},
    PictureMark{"WEBP", 8, {"image/webp", ".webp"}},
    PictureMark{"BM", 0, {"image/bmp", ".bmp"}},
    PictureMark{"ftypavif", 4, {"image/avif", ".avif"}},
};

// What the sender calls it, and what a browser is told. Containers of phones are those of MP4.
struct Playable {
    std::string_view type;
    MediaKind kind;
    const char* told;
};
constexpr std::array playables{
    Playable{"audio/mpeg", MediaKind::audio, "audio/mpeg"},
    Playable{"audio/mp3", MediaKind::audio, "audio/mpeg"},
    Playable{"audio/mpg", MediaKind::audio, "audio/mpeg"},
    Playable{"audio/mpeg3", MediaKind::audio, "audio/mpeg"},
    Playable{"audio/mp4", MediaKind::audio, "audio/mp4"},
    Playable{"audio/m4a", MediaKind::audio, "audio/mp4"},
    Playable{"audio/aac", MediaKind::audio, "audio/aac"},
    Playable{"audio/3gpp", MediaKind::audio, "audio/mp4"},
    Playable{"audio/3gpp2", MediaKind::audio, "audio/mp4"},
    Playable{"audio/ogg", MediaKind::audio, "audio/ogg"},
    Playable{"audio/wav", MediaKind::audio, "audio/wav"},
    Playable{"audio/wave", MediaKind::audio, "audio/wav"},
    Playable{"audio/flac", MediaKind::audio, "audio/flac"},
    Playable{"audio/webm", MediaKind::audio, "audio/webm"},
    Playable{"application/ogg", MediaKind::audio, "audio/ogg"},
    Playable{"video/mp4", MediaKind::video, "video/mp4"},
    Playable{"video/3gpp", MediaKind::video, "video/mp4"},
    Playable{"video/3gpp2", MediaKind::video, "video/mp4"},
    Playable{"video/quicktime", MediaKind::video, "video/mp4"},
    Playable{"video/webm", MediaKind::video, "video/webm"},
    Playable{"video/ogg", MediaKind::video, "video/ogg"},
};

// In lower case, without parameters and the x- of types that were not registered yet.
std::string plain_type(const char* type) {
    std::string plain = type != nullptr ? type : "";
    plain.erase(std::min(plain.find_first_of("; \t"), plain.size()));
    for (char& c : plain)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    const std::size_t slash = plain.find("/x-");
    if (slash != std::string::npos) plain.erase(slash + 1, 2);
    return plain;
}

bool is_amr(std::span<const uint8_t> data) {
    constexpr std::string_view magic = "#!AMR\n";
    return data.size() >= magic.size() && std::equal(magic.begin(), magic.end(), data.begin());
}

BrowserMedia not_playable(const MediaFact& media, const std::string& what) {
    const std::string verb = media.kind == MediaKind::image ? "show " : "play ";
    return {media.kind, nullptr, "A browser cannot " + verb + what + ".", {}};
}

BrowserMedia speech(const MediaFact& media, ConversionBudget& budget) {
    if (!can_decode_amr()) return not_playable(media, "AMR speech");
    auto wav = amr_to_wav(media.data, budget.bytes);
    if (!wav) return not_playable(media, "this AMR speech: it is damaged or very long");
    budget.bytes -= wav->size();
    return {MediaKind::audio, "audio/wav", "", std::move(*wav)};
}

BrowserMedia wireless_bitmap(const MediaFact& media) {
    auto bitmap = wbmp_to_bmp(media.data);
    if (!bitmap) return not_playable(media, "this wireless bitmap: it is damaged");
    return {MediaKind::image, "image/bmp", "", std::move(*bitmap)};
}

}  // namespace

const PictureType* picture_type(std::span<const uint8_t> data) {
    const std::string_view bytes(reinterpret_cast<const char*>(data.data()), data.size());
    const auto* found =
        std::find_if(picture_marks.begin(), picture_marks.end(), [&](const PictureMark& mark) {
            return bytes.size() >= mark.offset && bytes.substr(mark.offset).starts_with(mark.bytes);
        });
    return found != picture_marks.end() ? &found->picture : nullptr;
}

BrowserMedia browser_media(const MediaFact& media, ConversionBudget& budget) {
    if (media.drm_class != 0) {
        return {media.kind,
                nullptr,
                "It is protected (DRM class " + std::to_string(media.drm_class) + ").",
                {}};
    }
    if (media.data.empty()) return {media.kind, nullptr, "Nothing of it is there.", {}};
    if (const PictureType* picture = picture_type(media.data)) {
        return {MediaKind::image, picture->type, "", {}};
    }
    if (is_amr(media.data)) return speech(media, budget);
    const std::string type = plain_type(media.type);
    if (type == "image/vnd.wap.wbmp") return wireless_bitmap(media);
    const auto* playable = std::find_if(playables.begin(), playables.end(),
                                        [&](const Playable& each) { return each.type == type; });
    if (playable != playables.end()) return {playable->kind, playable->told, "", {}};
    return not_playable(media, type.empty() ? "it" : visible(type));
}

std::optional<std::vector<uint8_t>> wbmp_to_bmp(std::span<const uint8_t> wbmp) {
    constexpr uint32_t longest_side = 4096;
    std::size_t at = 2;  // behind the type and the fixed header, both zero
    if (wbmp.size() < 4 || wbmp[0] != 0 || wbmp[1] != 0) return {};
    const auto side = [&]() -> uint32_t {
        uint32_t value = 0;
        while (at < wbmp.size() && value <= longest_side) {
            const uint8_t byte = wbmp[at++];
            value = (value << 7U) | (byte & 0x7FU);
            if (byte < 0x80) return value;
        }
        return 0;
    };
    const uint32_t width = side();
    const uint32_t height = side();
    const std::size_t row = (width + 7) / 8;
    const std::size_t padded_row = (row + 3) / 4 * 4;
    const auto whole = [](uint32_t value) { return value > 0 && value <= longest_side; };
    if (!whole(width) || !whole(height) || wbmp.size() - at < row * height) return {};
    constexpr uint32_t header = 14 + 40 + 8;
    std::vector<uint8_t> bmp;
    const auto put = [&](uint32_t value, int bytes) {
        for (int i = 0; i < bytes; ++i)
            bmp.push_back(static_cast<uint8_t>(value >> (8 * i)));
    };
    const auto size = static_cast<uint32_t>(padded_row * height);
    put(0x4D42, 2), put(header + size, 4), put(0, 4), put(header, 4);
    put(40, 4), put(width, 4), put(height, 4), put(1, 2), put(1, 2), put(0, 4), put(size, 4);
    put(2835, 4), put(2835, 4), put(2, 4), put(2, 4);
    put(0, 4), put(0xFFFFFF, 4);           // a bit that is set is white in both
    for (uint32_t y = height; y-- > 0;) {  // the lowest row comes first
        const auto line = wbmp.subspan(at + y * row, row);
        bmp.insert(bmp.end(), line.begin(), line.end());
        bmp.resize(bmp.size() + padded_row - row);
    }
    return bmp;
}

}  // namespace mmskit_tool
