// What is done to a push document's text before the XML parser sees it: declarations and comments
// are taken out, and a text that the parser would pay too much for is refused.
#include <cstring>

#include "Push/src/push_internal.h"
#include "scshare/common/src/limits.h"

namespace mmskit {
namespace {

// Closes the gap of `span` bytes at `gap` in a text of `length` bytes and zeroes what it frees.
void close_gap(char* text, size_t length, char* gap, size_t span) {
    char* behind = gap + span;
    std::memmove(gap, behind, static_cast<size_t>(text + length - behind));
    std::memset(text + length - span, 0, span);
}

// Takes `span` bytes out at `gap`, or everything when they are all of the `claimed` length; the
// length that is left of it. The claim is not believed where memory is touched.
int32_t take_out(char* text, char* gap, size_t span, int32_t claimed) {
    const size_t length = std::strlen(text);
    if (claimed > 0 && span < static_cast<size_t>(claimed)) {
        close_gap(text, length, gap, span);
        return static_cast<int32_t>(static_cast<size_t>(claimed) - span);
    }
    const size_t cleared = claimed > 0 ? static_cast<size_t>(claimed) : 0;
    std::memset(text, 0, cleared < length ? cleared : length);
    return 0;
}

bool starts_with(const char* text, const char* prefix) {
    return std::strncmp(text, prefix, std::strlen(prefix)) == 0;
}

// Counts markup as the parser does and stops at the first thing that is refused. Where the text is
// malformed the two may read it differently, and the parser then stops at the flaw.
class MarkupCount {
  public:
    explicit MarkupCount(const char* text) : at_(text) {}

    bool within_limits() {
        while ((at_ = std::strpbrk(at_, "<&")) != nullptr) {
            if (++markup_ > limits::push_xml_markup) return false;
            if (*at_ == '&') {
                ++at_;
            } else if (starts_with(at_, "<![CDATA[")) {
                skip_through("]]>");
            } else if (starts_with(at_, "<?")) {
                skip_through("?>");
            } else if (starts_with(at_, "</")) {
                if (depth_ != 0) --depth_;
                ++at_;
            } else if (starts_with(at_, "<!") || !start_tag()) {
                return false;
            }
            if (at_ == nullptr) return true;  // not closed: malformed
        }
        return true;
    }

  private:
    void skip_through(const char* close) {
        const char* end = std::strstr(at_ + 2, close);
        at_ = end != nullptr ? end + std::strlen(close) : nullptr;
    }

    // From the "<" through the ">", which a quoted value may hold too.
    bool start_tag() {
        if (++depth_ > limits::push_xml_depth) return false;
        uint32_t own = 0;
        for (++at_; *at_ != '\0' && *at_ != '>'; ++at_) {
            if (*at_ == '=') {
                if (++own > limits::push_xml_element_attributes) return false;
            } else if (*at_ == '"' || *at_ == '\'') {
                const char* close = std::strchr(at_ + 1, *at_);
                if (close == nullptr) return true;  // not closed: malformed, ">" is found next
                for (; at_ != close; ++at_)
                    if (*at_ == '&' && ++markup_ > limits::push_xml_markup) return false;
            }
        }
        attributes_ += own;
        if (at_[-1] == '/') --depth_;
        return attributes_ <= limits::push_xml_attributes;
    }

    const char* at_;
    uint32_t depth_ = 0;
    uint32_t markup_ = 0;
    uint32_t attributes_ = 0;
};

}  // namespace

void strip_comments(char* text) {
    constexpr size_t open_length = 4;
    char* out = text;
    const char* in = text;
    const char* end = text + std::strlen(text);
    while (in != end) {
        *out++ = *in++;
        if (out[-1] != '-' || out - text < static_cast<ptrdiff_t>(open_length) ||
            std::memcmp(out - open_length, "<!--", open_length) != 0)
            continue;
        // What stands before `out` holds no other opening, so this is the first of the text, also
        // when it came together by taking an earlier comment out.
        const auto* close =
            static_cast<const char*>(std::memchr(in, '>', static_cast<size_t>(end - in)));
        if (close == nullptr) break;
        out -= open_length;
        in = close + 1;
    }
    const auto rest = static_cast<size_t>(end - in);
    std::memmove(out, in, rest);
    std::memset(out + rest, 0, static_cast<size_t>(end - out) - rest);
}

bool xml_within_limits(const char* text) {
    if (std::strlen(text) > limits::push_xml_text) return false;
    if (std::strstr(text, "<!DOCTYPE") != nullptr || std::strstr(text, "<!ENTITY") != nullptr)
        return false;
    return MarkupCount(text).within_limits();
}

}  // namespace mmskit

extern "C" {

uint32_t getXmlEncodingCharset(char* pText, int32_t iLen, uint32_t* pLeft) {
    // QUIRK declared_encoding_is_ignored: whatever encoding the declaration names, the charset that
    // a host gets is this one.
    constexpr uint32_t charset = mmskit::xml_text_charset;
    if (pText == nullptr) return charset;
    char* open = std::strstr(pText, "<?xml");
    const char* close = open != nullptr ? std::strchr(open, '>') : nullptr;
    if (close == nullptr) return charset;
    const int32_t left = mmskit::take_out(pText, open, static_cast<size_t>(close + 1 - open), iLen);
    if (pLeft != nullptr) *pLeft = static_cast<uint32_t>(left);
    return charset;
}

int32_t removeXmlUnusedTag(char* pText, const char* pOpen, const char* pClose, int32_t iLen) {
    if (pText == nullptr || pOpen == nullptr || pClose == nullptr) return iLen;
    char* open = std::strstr(pText, pOpen);
    if (open == nullptr || *open == '\0' || *pClose == '\0') return iLen;
    const char* close = std::strstr(open + 1, pClose);
    if (close == nullptr) return iLen;
    // QUIRK span_ends_at_first_close: a comment that holds a ">" ends there, and so does a document
    // type declaration with an internal subset.
    return mmskit::take_out(pText, open, static_cast<size_t>(close + 1 - open), iLen);
}

}  // extern "C"
