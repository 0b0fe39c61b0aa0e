// A WSP Push (WAP-230 8.2.4.1, WAP-235): transaction id, type, the length of its headers, content
// type, headers by their own codes, and the document, which the content type tells apart.
#include <algorithm>
#include <string>

#include "Anatomy/src/inputs.h"
#include "Anatomy/src/wsp_fields.h"
#include "scshare/common/src/bounded_reader.h"

namespace mmskit_anatomy {
namespace {

using mmskit::BoundedReader;

constexpr uint8_t push_pdu = 0x06, confirmed_push_pdu = 0x07;
constexpr uint8_t content_type_code = 0x91;

struct PushType {
    std::string_view name;
    Input input;
    uint8_t code;
};
constexpr PushType push_types[] = {
    {"application/vnd.wap.mms-message", Input::pdu, 0xBE},
    {"application/vnd.wap.sic", Input::si, 0xAE},
    {"text/vnd.wap.si", Input::si_xml, 0xAD},
    {"application/vnd.wap.slc", Input::sl, 0xB0},
    {"text/vnd.wap.sl", Input::sl_xml, 0xAF},
};

std::string_view text_of_slice(mmskit::Slice slice) {
    return {reinterpret_cast<const char*>(slice.data), slice.size};
}

uint64_t read_short_uintvar(BoundedReader& in) {
    uint64_t value = 0;
    for (int octets = 0; octets < 5; ++octets) {
        const uint8_t octet = in.byte();
        value = value << 7 | (octet & 0x7FU);
        if ((octet & 0x80U) == 0) break;
    }
    return value;
}

// Length of a value that begins with a length (WAP-230 8.4.2.2); the cursor ends behind the length.
uint64_t read_value_length(BoundedReader& in) {
    const uint8_t first = in.byte();
    return first == 31 ? read_short_uintvar(in) : first;
}

// The cursor ends behind the value, whatever it is (WAP-230 8.4.1.2).
void skip_value(BoundedReader& in) {
    const uint8_t first = in.peek();
    if (first >= 0x80) {
        in.skip(1);
    } else if (first >= 32) {
        (void)in.text();
    } else {
        in.skip(read_value_length(in));
    }
}

bool is_media_type(std::string_view text) {
    const std::size_t slash = text.find('/');
    return slash != std::string_view::npos && slash > 0 && slash + 1 < text.size() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c < 0x7F; });
}

// The media type at the cursor, as a name or as a code; the cursor ends behind the whole value.
struct PushContentType {
    uint8_t code = 0;
    std::string_view name;
    bool plausible = false;
};
PushContentType read_push_type(BoundedReader& in) {
    PushContentType type;
    const uint8_t first = in.peek();
    BoundedReader value = in;
    if (first < 32) {
        const uint64_t length = read_value_length(in);
        value = in.child(length);
        if (length == 0) return type;
    } else {
        skip_value(in);
    }
    if (value.peek() >= 0x80) {
        type.code = value.byte();
        type.plausible = true;
    } else if (value.peek() >= 32) {
        type.name = text_of_slice(value.text());
        type.plausible = is_media_type(type.name);
    }
    return type;
}

const PushType* find_type(const PushContentType& type) {
    for (const PushType& known : push_types) {
        const bool named = type.name.substr(0, type.name.find(';')) == known.name;
        if (type.code != 0 ? type.code == known.code : named) return &known;
    }
    return nullptr;
}

std::string hex(Bytes bytes) {
    constexpr char digits[] = "0123456789abcdef";
    std::string out;
    for (const uint8_t byte : bytes.first(std::min<std::size_t>(bytes.size(), 32))) {
        if (!out.empty()) out += ' ';
        out += digits[byte >> 4];
        out += digits[byte & 15U];
    }
    return out;
}

std::string readable(Bytes value) {
    if (value.empty()) return {};
    if (value[0] >= 0x80 && value.size() == 1) return std::to_string(value[0] & 0x7FU);
    if (value[0] < 32 || value[0] >= 0x7F) return hex(value);
    const std::string_view text = text_of(value);
    return std::string(text.substr(0, text.find('\0')));
}

class PushWalk {
  public:
    PushWalk(Tree& tree, const Place& place, uint32_t depth)
        : tree_(tree), place_(place), depth_(depth), in_(start(), place.length) {}

    bool run() {
        wrapper_ = tree_.add(MMS_NODE_WRAPPER, place_, depth_++, "push");
        field("transaction id", [&] { in_.skip(1); });
        field("push type", [&] { in_.skip(1); });
        uint64_t length = 0;
        const auto node = field("headers length", [&] { length = read_short_uintvar(in_); });
        const uint64_t end = in_.position() + length;
        if (end > place_.length) {
            tree_.flaw(node, MMS_FLAW_LOST, "the headers of the push are cut");
        }
        const PushType* const type = content_type();
        while (in_.position() < end && !in_.at_end() && !message_begins(type))
            header();
        if (in_.position() < end && !in_.at_end())
            tree_.flaw(node, MMS_FLAW_REPAIRED, "the headers of the push are shorter than it says");
        if (in_.position() > end && !in_.past_end())
            tree_.flaw(node, MMS_FLAW_REPAIRED, "the headers of the push are longer than it says");
        return document(type);
    }

  private:
    [[nodiscard]] const uint8_t* start() const { return tree_.at(place_).data(); }
    [[nodiscard]] Place since(uint64_t from) const {
        const uint64_t to = std::min<uint64_t>(in_.position(), place_.length);
        return {place_.layer, place_.offset + static_cast<uint32_t>(from),
                static_cast<uint32_t>(to - std::min(from, to))};
    }

    template <typename Read>
    uint32_t field(std::string_view name, Read read) {
        const uint64_t from = in_.position();
        read();
        const Place place = since(from);
        return tree_.add(MMS_NODE_PARAMETER, place, depth_, name, hex(tree_.at(place)));
    }

    const PushType* content_type() {
        const uint64_t from = in_.position();
        const PushContentType type = read_push_type(in_);
        const PushType* const known = find_type(type);
        const Place place = since(from);
        std::string name(known != nullptr ? known->name : type.name);
        if (name.empty()) name = hex(tree_.at(place));
        tree_.add(MMS_NODE_HEADER, place, depth_, "Content-Type", name, content_type_code);
        return known;
    }

    // A message type where a header should stand: what is left reads as a message from here on.
    [[nodiscard]] bool message_begins(const PushType* type) const {
        constexpr uint8_t message_type_code = 0x8C;
        if (type == nullptr || type->input != Input::pdu || in_.peek() != message_type_code)
            return false;
        const auto left = static_cast<std::size_t>(in_.remaining());
        return looks_like_pdu({in_.here(), left}) == 2;
    }

    void header() {
        const uint64_t from = in_.position();
        const uint8_t code = in_.peek();
        std::string name;
        if (code >= 0x80) {
            in_.skip(1);
            name = wsp_header_name(code);
        } else if (code >= 32 && code < 0x7F) {
            name = text_of_slice(in_.text());
        } else {  // a shift to another page of codes
            in_.skip(code == 0x7F ? 2 : 1);
            tree_.add(MMS_NODE_PARAMETER, since(from), depth_, "code page");
            return;
        }
        const uint64_t value_from = in_.position();
        skip_value(in_);
        tree_.add(MMS_NODE_HEADER, since(from), depth_, name, readable(tree_.at(since(value_from))),
                  code >= 0x80 ? code : 0);
    }

    bool document(const PushType* type) {
        const uint64_t from = std::min<uint64_t>(in_.position(), place_.length);
        const Place place{place_.layer, place_.offset + static_cast<uint32_t>(from),
                          place_.length - static_cast<uint32_t>(from)};
        if (place.length == 0) {
            tree_.flaw(wrapper_, MMS_FLAW_LOST, "the push ends before its document");
            tree_.pLooksLike = "a push without its document";
            return false;
        }
        const Bytes bytes = tree_.at(place);
        const bool is_pdu = type != nullptr && type->input == Input::pdu;
        if (type != nullptr && (!is_pdu || looks_like_pdu(bytes) != 0))
            return dissect_as(tree_, type->input, place, depth_);
        if (dissect_at(tree_, place, depth_)) return true;
        tree_.pLooksLike = tree_.arena.keep("a push with " + std::string(tree_.pLooksLike));
        return false;
    }

    Tree& tree_;
    Place place_;
    uint32_t depth_, wrapper_ = 0;
    BoundedReader in_;
};

}  // namespace

bool is_push(Bytes bytes) {
    if (bytes.size() < 4 || (bytes[1] != push_pdu && bytes[1] != confirmed_push_pdu)) return false;
    BoundedReader in(bytes.data(), bytes.size());
    in.skip(2);
    const uint64_t length = read_short_uintvar(in);
    if (length == 0 || length > 0xFFFF || in.at_end()) return false;
    const PushContentType type = read_push_type(in);
    return type.plausible && (find_type(type) != nullptr || !in.past_end());
}

bool dissect_push(Tree& tree, const Place& place, uint32_t depth) {
    return PushWalk(tree, place, depth).run();
}

}  // namespace mmskit_anatomy
