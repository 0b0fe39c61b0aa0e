// What a message says, collected once and then rendered as text or JSON, listed or extracted, so
// that every command tells the same. Pointers and spans are borrowed from the OpenMessage that
// collected them; a null text is one that the message does not have.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace mmskit_tool {

struct Date {
    int64_t seconds;  // since 1970-01-01 UTC
};

struct Period {
    int64_t seconds;  // from when the message is sent or arrives
};

struct ByteCount {
    int64_t bytes;
};

// A header that comes several times is as many facts of one name; recipients are one, joined with
// ";" whatever their number.
struct HeaderFact {
    std::string name;      // the standard's, or a textual header's own; empty for a bare code
    std::string json_key;  // empty for a header without a standard name
    std::variant<std::string, Date, bool, Period, ByteCount, int64_t> value;
    uint32_t code = 0;     // of a header without a name: as on the wire, with the high bit
    bool repeats = false;  // the standard lets it come several times
};

// A region in pixels; all zero when the message places the element nowhere.
struct Place {
    int32_t left = 0, top = 0, width = 0, height = 0;
    [[nodiscard]] bool given() const { return left != 0 || top != 0 || width != 0 || height != 0; }
};

// A region of the layout. How its media fit is as the message writes it; null when it does not.
struct RegionFact {
    Place place;
    const char* fit = nullptr;
};

struct Timing {
    int32_t begin = 0, end = 0;  // milliseconds
};

// Index of a part in MessageFacts::parts; none where it is not known.
inline constexpr std::size_t no_part = static_cast<std::size_t>(-1);

struct TextFact {
    const char* text = nullptr;
    Timing timing;
    Place place;
    std::size_t part = no_part;
};

enum class MediaKind { image, audio, video };
const char* media_kind_name(MediaKind kind);

struct MediaFact {
    const char* type = nullptr;
    const char* name = nullptr;
    std::span<const uint8_t> data;
    Timing timing;
    Place place;
    MediaKind kind = MediaKind::image;
    int32_t drm_class = 0;  // 0: not protected
    std::size_t part = no_part;
};

// One slide. A viewer shows one element of each kind; what the slide has beyond that is listed
// apart, without timing and place.
struct SlideFact {
    int32_t duration = 0;  // milliseconds, 0 when not given
    std::optional<uint32_t> background, foreground;
    std::optional<TextFact> text;
    std::vector<MediaFact> media;
    std::vector<TextFact> further_texts;
    std::vector<MediaFact> further_media;
};

struct AttachmentFact {
    const char* type = nullptr;
    const char* name = nullptr;
    std::span<const uint8_t> data;
    int32_t drm_class = 0;
    std::size_t part = no_part;
    bool text = false;  // data is a text for a person, in UTF-8
};

// A leaf part of the body, as it is handed out: a text in UTF-8, a transfer encoding undone.
struct PartFact {
    const char* type = nullptr;
    const char* name = nullptr;  // the sender's
    const char* charset = nullptr;
    std::span<const uint8_t> data;
    std::size_t missing = 0;  // bytes that were declared and are not there
    bool text = false;
    bool presentation = false;  // one; of several the one that counts is laid out
    bool laid_out = false;
    std::vector<std::size_t> slides;  // numbers of those that show it, from 1
};

enum class NoteKind { repaired, lost, unknown };
const char* note_kind_name(NoteKind kind);

// What is wrong with the message, or was mended.
struct NoteFact {
    NoteKind kind = NoteKind::unknown;
    std::size_t byte = 0, bytes = 0;
    std::size_t layer = 0;  // index in MessageFacts::layers; 0 is the file
    std::string text;
};

// A sequence of bytes that places count in: the file, and what was decoded from it.
struct LayerFact {
    const char* name = nullptr;
    std::size_t size = 0;
    std::size_t parent = 0;
};

// Why something did not decode, and at which byte of the file.
struct Flaw {
    std::string reason;
    std::optional<std::size_t> offset;  // none where no place is to blame
};

struct MessageFacts {
    const char* kind = nullptr;
    std::size_t size = 0;  // bytes of the file
    std::vector<HeaderFact> headers;
    int32_t screen_width = 0, screen_height = 0;
    std::optional<uint32_t> screen_background;
    std::vector<RegionFact> regions;  // none: the message lays nothing out
    std::vector<SlideFact> slides;
    std::vector<AttachmentFact> attachments;
    bool has_body = false;
    std::vector<PartFact> parts;
    std::vector<NoteFact> notes;
    std::vector<LayerFact> layers;
    std::optional<Flaw> body_flaw;  // of the exact reading: the body does not decode
};

// Something that the message had, or should have, is not there.
bool anything_lost(const MessageFacts& facts);

// The value of the header that has the key; null without one.
const HeaderFact* find_header(const MessageFacts& facts, std::string_view json_key);
// The same as a text; empty without one.
std::string header_string(const MessageFacts& facts, std::string_view json_key);

// Of the command that shows the message: exit_lost when anything is.
int exit_status(const MessageFacts& facts);

// "reason, at byte N"
std::string describe(const Flaw& flaw);

}  // namespace mmskit_tool
