// What a message says, collected once through the library's public interface and then rendered as
// text or JSON or extracted, so that every command tells the same. Pointers and spans are borrowed
// from the OpenMessage that collected them; a null text is one that the message does not have.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include <mmskit/mmskit.h>

namespace mmskit_tool {

struct Date {
    uint32_t seconds;  // since 1970-01-01 UTC
};

struct Period {
    uint32_t seconds;  // from when the message is sent or arrives
};

struct ByteCount {
    uint32_t bytes;
};

struct HeaderFact {
    const char* name;
    const char* json_key;
    std::variant<std::string, Date, bool, Period, ByteCount> value;
};

// A region in pixels; all zero when the message places the element nowhere.
struct Place {
    int32_t left = 0, top = 0, width = 0, height = 0;
    [[nodiscard]] bool given() const { return left != 0 || top != 0 || width != 0 || height != 0; }
};

struct Timing {
    int32_t begin = 0, end = 0;  // milliseconds
};

struct TextFact {
    const char* text = nullptr;
    Timing timing;
    Place place;
};

enum class MediaKind { image, audio, video };
const char* media_kind_name(MediaKind kind);

struct MediaFact {
    MediaKind kind = MediaKind::image;
    const char* type = nullptr;
    const char* name = nullptr;
    std::span<const uint8_t> data;
    Timing timing;
    Place place;
    int32_t drm_class = 0;  // 0: not protected
};

// One slide. A viewer shows one element of each kind; what the slide has beyond that is listed
// apart, without timing and place.
struct SlideFact {
    int32_t duration = 0;  // milliseconds, 0 when not given
    std::optional<uint32_t> background, foreground;
    std::optional<TextFact> text;
    std::vector<MediaFact> media;
    std::vector<const char*> further_texts;
    std::vector<MediaFact> further_media;
};

struct AttachmentFact {
    const char* type = nullptr;
    const char* name = nullptr;
    std::span<const uint8_t> data;
    int32_t drm_class = 0;
};

// Why something did not decode, and at which byte of the file.
struct Flaw {
    std::string reason;
    std::size_t offset;
};

struct MessageFacts {
    const char* kind = nullptr;
    std::size_t size = 0;  // bytes of the file
    std::vector<HeaderFact> headers;
    int32_t screen_width = 0, screen_height = 0;
    std::optional<uint32_t> screen_background;
    std::vector<SlideFact> slides;
    std::vector<AttachmentFact> attachments;
    std::optional<Flaw> body_flaw;  // set when the headers decode and the body does not
};

// "reason, at byte N"
std::string describe(const Flaw& flaw);

// The bytes of one file, decoded. Holds the library's one slide view: one at a time.
class OpenMessage {
  public:
    // Throws a Flaw when nothing of the bytes can be shown.
    explicit OpenMessage(std::vector<uint8_t> bytes);
    ~OpenMessage();
    OpenMessage(const OpenMessage&) = delete;
    OpenMessage& operator=(const OpenMessage&) = delete;

    [[nodiscard]] const MessageFacts& facts() const { return facts_; }
    // From its Content-Type header on; empty when the message has none.
    [[nodiscard]] std::span<const uint8_t> body() const { return body_; }

  private:
    struct ViewRelease {
        void operator()(const tSMIL_View*) const { (void)fnPAR_SmilFree(); }
    };
    struct RecordRelease {
        void operator()(tMMS_RetrieveConf* record) const;
    };
    struct Kind;
    static const Kind kinds[];

    void open_pdu();
    void open_retrieved();
    // A kind of headers only: its decoder, the kind of its record, and what collects the headers.
    template <auto parse, uint8_t record_kind, auto collect>
    void open_headers();
    // A kind that the library only writes.
    void open_plain();
    void open_body(const uint8_t* body, std::size_t length);

    // Released in the opposite order: the view points into the record, or into the bytes.
    std::vector<uint8_t> bytes_;
    std::unique_ptr<tMMS_RetrieveConf, RecordRelease> record_;
    std::unique_ptr<const tSMIL_View, ViewRelease> view_;
    std::span<const uint8_t> body_;
    MessageFacts facts_;
};

// A file read and decoded; a Failure names the file.
std::unique_ptr<OpenMessage> open_message(const std::string& file);

}  // namespace mmskit_tool
