// A request or an answer of HTTP/1 as it was captured (RFC 9112): start line, fields, and a body
// that may be chunked or compressed.
#include <algorithm>
#include <array>
#include <charconv>
#include <string>

#include "Anatomy/src/cursor.h"
#include "Anatomy/src/decode.h"
#include "Anatomy/src/inputs.h"
#include "Anatomy/src/letters.h"

namespace mmskit_anatomy {
namespace {

// A line with its end; empty when no line feed follows.
std::string_view first_line(std::string_view text) {
    const std::size_t end = text.find('\n');
    return end == std::string_view::npos ? std::string_view() : text.substr(0, end + 1);
}

struct Head {
    std::string transfer_encoding, content_encoding;
    int64_t content_length = -1;
};

void take_field(Head& head, std::string_view name, std::string_view value) {
    const std::string key = lower_case(name);
    if (key == "transfer-encoding") head.transfer_encoding = lower_case(value);
    if (key == "content-encoding") head.content_encoding = lower_case(value);
    if (key == "content-length") {
        int64_t length = -1;
        const auto read = std::from_chars(value.data(), value.data() + value.size(), length);
        if (read.ec == std::errc() && length >= 0) head.content_length = length;
    }
}

struct HttpWalk {
    Tree& tree;
    Place place;
    uint32_t depth;

    [[nodiscard]] std::string_view left() const { return text_of(tree.at(place)); }
    Place take(std::size_t size) {
        const Place taken{place.layer, place.offset, static_cast<uint32_t>(size)};
        place.offset += taken.length;
        place.length -= taken.length;
        return taken;
    }
};

// The fields up to the empty line.
Head read_head(HttpWalk& walk) {
    Head head;
    for (;;) {
        std::string_view line = first_line(walk.left());
        if (line.empty()) line = walk.left();
        if (line.empty()) return head;
        const std::string_view text = trimmed(line.substr(0, line.find('\n')));
        const Place place = walk.take(line.size());
        if (text.empty()) {
            walk.tree.add(MMS_NODE_PARAMETER, place, walk.depth, "end of the head");
            return head;
        }
        const std::size_t colon = std::min(text.find(':'), text.size());
        const std::string_view name = text.substr(0, colon);
        const std::string_view value =
            colon < text.size() ? trimmed(text.substr(colon + 1)) : std::string_view();
        walk.tree.add(MMS_NODE_HEADER, place, walk.depth, name, value);
        take_field(head, name, value);
    }
}

// ---- Bodies -----------------------------------------------------------------------------------

bool dissect_layer(Tree& tree, const char* name, Decoded decoded, const Place& place,
                   uint32_t depth, uint32_t node) {
    if (decoded.limited) {
        tree.flaw(node, MMS_FLAW_LOST, "larger than can be decoded: the rest is left out");
    } else if (!decoded.whole) {
        tree.flaw(node, MMS_FLAW_LOST, std::string("the ") + name + " body is cut or damaged");
    }
    uint32_t layer = 0;
    const auto size = static_cast<uint32_t>(decoded.bytes.size());
    if (!tree.add_layer(name, std::move(decoded.bytes), place, layer)) return false;
    return dissect_at(tree, {layer, 0, size}, depth + 1);
}

// Chunks (RFC 9112 7.1), and a node for each line and each chunk's data.
class ChunkReader {
  public:
    explicit ChunkReader(HttpWalk walk) : walk_(walk) { ++walk_.depth; }

    Decoded read(std::size_t limit) {
        while (out_.whole && !ended_ && !cut_in_size_ && !walk_.left().empty())
            read_chunk(limit);
        rest();
        return std::move(out_);
    }
    [[nodiscard]] bool ended() const { return ended_; }

  private:
    void read_chunk(std::size_t limit) {
        const std::string_view line = first_line(walk_.left());
        const std::string_view digits = trimmed(line.substr(0, line.find_first_of(";\n")));
        uint32_t size = 0;
        const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), size, 16);
        if (read.ec != std::errc() || read.ptr != digits.data() + digits.size()) {
            // Cut inside a line that tells a size, no data of that chunk can be there.
            cut_in_size_ = line.empty() && maybe_size(walk_.left());
            out_.whole = cut_in_size_;
            return;
        }
        walk_.tree.add(MMS_NODE_PARAMETER, walk_.take(line.size()), walk_.depth, "chunk size",
                       std::to_string(size));
        if (size == 0) {
            ended_ = true;
            return;
        }
        const std::size_t there = std::min<std::size_t>(size, walk_.left().size());
        const Place data = walk_.take(there);
        const Bytes bytes = walk_.tree.at(data);
        const std::size_t room = limit - std::min(limit, out_.bytes.size());
        out_.bytes.insert(out_.bytes.end(), bytes.begin(),
                          bytes.begin() + static_cast<std::ptrdiff_t>(std::min(room, there)));
        out_.limited = there > room;
        const auto node = walk_.tree.add(MMS_NODE_DATA, data, walk_.depth, "chunk");
        if (there < size) {
            out_.whole = false;
            walk_.tree.flaw(
                node, MMS_FLAW_LOST,
                "chunk: " + std::to_string(there) + " of " + std::to_string(size) + " bytes");
        }
        const std::string_view next = walk_.left();
        const std::size_t end = next.starts_with("\r\n") ? 2 : next.starts_with("\n") ? 1 : 0;
        if (end != 0)
            walk_.tree.add(MMS_NODE_PARAMETER, walk_.take(end), walk_.depth, "end of chunk");
    }

    static bool maybe_size(std::string_view text) {
        return text.size() <= 8 &&
               text.find_first_not_of("0123456789abcdefABCDEF\r") == std::string_view::npos;
    }

    void rest() {
        if (walk_.left().empty()) return;
        const auto node =
            walk_.tree.add(MMS_NODE_DATA, walk_.take(walk_.left().size()), walk_.depth,
                           ended_ ? "end of the chunks" : "bytes that are no chunk");
        if (!ended_ && !cut_in_size_) walk_.tree.flaw(node, MMS_FLAW_LOST, "no chunk begins here");
    }

    HttpWalk walk_;
    Decoded out_;
    bool ended_ = false, cut_in_size_ = false;
};

bool compressed(const Head& head) {
    return head.content_encoding.find("gzip") != std::string::npos ||
           head.content_encoding.find("deflate") != std::string::npos;
}

bool dissect_content(Tree& tree, const Head& head, const Place& place, uint32_t depth) {
    const Bytes bytes = tree.at(place);
    const bool gzip = bytes.size() > 1 && bytes[0] == 0x1F && bytes[1] == 0x8B;
    // A proxy may have undone the encoding and left the field.
    if (!compressed(head) || gzip || recognise(bytes) != Input::none)
        return dissect_at(tree, place, depth);
    const auto node = tree.add(MMS_NODE_WRAPPER, place, depth, "deflate");
    return dissect_layer(tree, "deflate", decode_deflate(bytes, tree.decoding_room()), place, depth,
                         node);
}

bool dissect_chunks(HttpWalk& walk, const Head& head) {
    Tree& tree = walk.tree;
    const Place place = walk.place;
    const auto node = tree.add(MMS_NODE_WRAPPER, place, walk.depth, "chunked body");
    ChunkReader reader(walk);
    Decoded decoded = reader.read(tree.decoding_room());
    if (!reader.ended() && decoded.whole)
        tree.flaw(node, MMS_FLAW_REPAIRED, "the last chunk is missing");
    uint32_t layer = 0;
    const auto size = static_cast<uint32_t>(decoded.bytes.size());
    if (decoded.limited) tree.flaw(node, MMS_FLAW_LOST, "larger than can be decoded");
    if (!tree.add_layer("chunks", std::move(decoded.bytes), place, layer)) return false;
    return dissect_content(tree, head, {layer, 0, size}, walk.depth + 1);
}

// What Content-Length says against what is there.
Place declared_content(HttpWalk& walk, const Head& head) {
    Place content = walk.place;
    if (head.content_length < 0 || head.content_length == content.length) return content;
    if (head.content_length > content.length) {
        walk.tree.note(MMS_FLAW_LOST, content,
                       "HTTP body: " + std::to_string(content.length) + " of " +
                           std::to_string(head.content_length) + " bytes");
        return content;
    }
    content.length = static_cast<uint32_t>(head.content_length);
    return content;
}

bool dissect_body_of(HttpWalk& walk, const Head& head) {
    if (head.transfer_encoding.find("chunked") != std::string::npos &&
        recognise(walk.tree.at(walk.place)) == Input::none)
        return dissect_chunks(walk, head);
    const Place content = declared_content(walk, head);
    const Place rest{content.layer, content.offset + content.length,
                     walk.place.length - content.length};
    const bool known = dissect_content(walk.tree, head, content, walk.depth);
    if (rest.length > 0) {
        const auto node = walk.tree.add(MMS_NODE_DATA, rest, walk.depth, "bytes after the body");
        walk.tree.flaw(node, MMS_FLAW_UNKNOWN,
                       std::to_string(rest.length) + " bytes after the HTTP body");
    }
    return known;
}

bool is_request(std::string_view line) {
    const std::size_t space = line.find(' ');
    if (space == 0 || space == std::string_view::npos || space > 10) return false;
    const std::string_view method = line.substr(0, space);
    const bool letters =
        std::all_of(method.begin(), method.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
    return letters && line.find(" HTTP/1.") != std::string_view::npos;
}

}  // namespace

bool is_http(Bytes bytes) {
    const std::string_view text = text_of(bytes.first(std::min<std::size_t>(bytes.size(), 8192)));
    return text.starts_with("HTTP/1.") || text.starts_with("HTTP/2 ") ||
           is_request(first_line(text));
}

bool dissect_http(Tree& tree, const Place& place, uint32_t depth) {
    tree.add(MMS_NODE_WRAPPER, place, depth, "HTTP");
    HttpWalk walk{tree, place, depth + 1};
    std::string_view line = first_line(walk.left());
    if (line.empty()) line = walk.left();
    const std::string start(trimmed(line.substr(0, line.find('\n'))));
    tree.add(MMS_NODE_PARAMETER, walk.take(line.size()), walk.depth, "start line", start);
    const Head head = read_head(walk);
    if (walk.place.length > 0 && dissect_body_of(walk, head)) return true;
    std::string what = start.starts_with("HTTP/") ? "an HTTP answer" : "an HTTP request";
    if (start.starts_with("HTTP/")) what += " (" + start + ")";
    if (walk.place.length == 0)
        what += " without a body";
    else
        what += " with " + std::string(tree.pLooksLike);
    tree.pLooksLike = tree.arena.keep(what);
    return false;
}

}  // namespace mmskit_anatomy
