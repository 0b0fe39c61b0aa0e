// Steps from token to token of WBXML 1.0 to 1.3 without a code page: what a token takes with it is
// the same for every document type.
#include "Anatomy/src/wbxml.h"

#include "Anatomy/src/cursor.h"

namespace mmskit_anatomy {
namespace {

constexpr uint8_t end_token = 0x01, literal = 0x04, instruction = 0x43;
constexpr uint8_t has_attributes = 0x80, has_content = 0x40, tag_code = 0x3F;

// Global tokens that open nothing, and what each takes with it (WAP-192 7.1).
enum class Takes : uint8_t { nothing, octet, number, text, bytes };
struct Global {
    uint8_t first, last;
    Takes takes;
};
constexpr Global globals[] = {
    {0x00, 0x00, Takes::octet},    // SWITCH_PAGE
    {0x02, 0x02, Takes::number},   // ENTITY
    {0x03, 0x03, Takes::text},     // STR_I
    {0x40, 0x42, Takes::text},     // EXT_I
    {0x80, 0x83, Takes::number},   // EXT_T, STR_T
    {0xC0, 0xC2, Takes::nothing},  // EXT
    {0xC3, 0xC3, Takes::bytes},    // OPAQUE
};

class WbxmlWalk {
  public:
    explicit WbxmlWalk(Bytes document)
        : in_(document, {0, 0, static_cast<uint32_t>(document.size())}) {}

    std::size_t end() {
        prologue();
        std::size_t open = 0;
        bool begun = false;
        while (!begun || open > 0) {
            if (cut()) break;
            const uint8_t token = in_.octet();
            if (token == instruction) {
                attributes();
            } else if (token == end_token && begun) {
                --open;
            } else if (!global(token)) {
                begun = true;
                open += element(token);
            }
        }
        return cut_ ? std::size_t{in_.end} + 1 : in_.at;
    }

  private:
    bool cut() { return cut_ = cut_ || in_.done(); }

    // Version, public identifier (or its place in the table), character set, string table.
    void prologue() {
        in_.skip(1);
        if (number() == 0) (void)number();
        (void)number();
        skip(number());
    }

    uint64_t number() {
        const Number value = in_.uintvar();
        cut_ = cut_ || !value.whole;
        return value.value;
    }
    void skip(uint64_t count) {
        cut_ = cut_ || count > in_.left();
        in_.skip(count);
    }
    void text() {
        bool ended = false;
        (void)in_.text(ended);
        cut_ = cut_ || !ended;
    }

    // False for a tag or an attribute.
    bool global(uint8_t token) {
        for (const Global& each : globals) {
            if (token < each.first || token > each.last) continue;
            if (each.takes == Takes::octet) skip(1);
            if (each.takes == Takes::number) (void)number();
            if (each.takes == Takes::text) text();
            if (each.takes == Takes::bytes) skip(number());
            return true;
        }
        return false;
    }

    // 1 when it stays open.
    std::size_t element(uint8_t token) {
        if ((token & tag_code) == literal) (void)number();
        if ((token & has_attributes) != 0) attributes();
        return (token & has_content) != 0 ? 1 : 0;
    }

    void attributes() {
        while (!cut()) {
            const uint8_t token = in_.octet();
            if (token == end_token) return;
            if (!global(token) && token == literal) (void)number();
        }
    }

    Cursor in_;
    bool cut_ = false;
};

}  // namespace

std::size_t wbxml_end(Bytes document) {
    return WbxmlWalk(document).end();
}

}  // namespace mmskit_anatomy
