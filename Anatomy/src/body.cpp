// Message bodies (WAP-230 8.5): the content type, and the parts of multiparts in multiparts. What
// is there decides: counts end nothing, and a length that leads nowhere is measured against the
// medium's own end. Every part costs its bytes; what a part makes one look at beyond them is paid
// from a budget.
#include <array>

#include "Anatomy/src/body_order.h"
#include "Anatomy/src/letters.h"
#include "Anatomy/src/media_end.h"
#include "Anatomy/src/part_data.h"

namespace mmskit_anatomy {
namespace {

constexpr uint32_t shortest_part = 3;     // bytes
constexpr std::size_t nodes_of_part = 6;  // of one with a header

bool is_multipart(std::string_view type) {
    return type.starts_with("multipart/") || type.starts_with("application/vnd.wap.multipart.");
}

Multipart::Kind kind_of(std::string_view type) {
    const std::string_view sub = type.substr(type.find_last_of("./") + 1);
    if (sub == "mixed") return Multipart::Kind::mixed;
    if (sub == "related") return Multipart::Kind::related;
    return sub == "alternative" ? Multipart::Kind::alternative : Multipart::Kind::other;
}

// A part may begin here: its lengths fit and a content type follows.
bool part_may_begin(Cursor cursor) {
    const Number headers = cursor.uintvar();
    const Number data = cursor.uintvar();
    if (!headers.whole || !data.whole || headers.value == 0) return false;
    if (headers.value + data.value > cursor.left()) return false;
    return content_type_may_begin(cursor.until(cursor.at + headers.value));
}

std::string counted(uint64_t count, const char* one) {
    return std::to_string(count) + ' ' + one + (count == 1 ? "" : "s");
}

std::string of_bytes(const std::string& name, uint64_t present, uint64_t declared) {
    return name + ": " + std::to_string(present) + " of " + std::to_string(declared) + " bytes";
}

class BodyWalker {
  public:
    BodyWalker(Tree& tree, const Place& place, uint32_t depth)
        : tree_(tree),
          place_(place),
          depth_(depth),
          looks_left_(4 * uint64_t{place.length} + 4096) {}

    void walk() {
        Cursor cursor(tree_, place_);
        const uint32_t start = cursor.at;
        cursor.skip(1);
        const ContentType type = read_content_type(tree_, cursor, start, depth_, code_content_type);
        tree_.body = place_;
        tree_.body_type = cursor.since(start);
        tree_.top_type = tree_.arena.keep(type.type);
        if (type.cut || (cursor.done() && is_multipart(type.type))) {
            tree_.note(MMS_FLAW_LOST, cursor.since(start),
                       type.cut ? "Content-Type: its end is missing" : "the body is missing");
            tree_.body_exact = false;
            if (!cursor.done())
                tree_.add(MMS_NODE_DATA, {cursor.layer, cursor.at, cursor.left()}, depth_, "data");
            return;
        }
        if (cursor.done()) return;  // a text of no letters
        if (is_multipart(type.type)) {
            open(cursor, type, -1, 1, depth_);
        } else {
            whole_body(cursor, type);
        }
        order_body(tree_);
    }

  private:
    // A body that is no multipart is one part.
    void whole_body(Cursor cursor, const ContentType& type) {
        const uint32_t start = cursor.at;
        const Place data{cursor.layer, start, cursor.left()};
        const uint32_t node = tree_.add(MMS_NODE_PART, data, depth_, "part 1", type.type, 1);
        PartDetail detail;
        detail.whole = detail.data = data;
        detail.headers = tree_.body_type;
        const Bytes head = tree_.at(tree_.body_type);
        add_part(node, type, PartHeaders(), exact_part(head.subspan(1), tree_.types), 0, detail, 0);
        tree_.body_exact = type.type == "text/plain" && type.sent == type.type;
    }

    void open(Cursor cursor, const ContentType& type, int32_t parent, uint32_t level,
              uint32_t depth) {
        const uint32_t start = cursor.at;
        const auto index = static_cast<int32_t>(tree_.multiparts.size());
        Multipart opened;
        opened.kind = kind_of(type.type);
        opened.parent = parent;
        opened.depth = level;
        opened.start = tree_.arena.keep(type.start);
        opened.type = tree_.arena.keep(lower_case(type.start_type));
        opened.whole = {cursor.layer, start, cursor.left()};
        const uint32_t node =
            tree_.add(MMS_NODE_WRAPPER, opened.whole, depth, "multipart", type.type);
        const Number count = cursor.uintvar();
        opened.declared = static_cast<uint32_t>(std::min<uint64_t>(count.value, UINT32_MAX));
        tree_.multiparts.push_back(opened);
        reserve_parts(std::min(opened.declared, cursor.left() / shortest_part));
        if (cursor.at > start)
            tree_.add(MMS_NODE_PARAMETER, cursor.since(start), depth + 1, "number of parts",
                      std::to_string(count.value));
        if (cursor.at == start || !count.whole)
            tree_.flaw(node, MMS_FLAW_LOST, "the number of parts is missing");
        const uint32_t present = read_parts(cursor, index, opened.declared, level, depth + 1);
        tree_.multiparts[static_cast<std::size_t>(index)].present = present;
        tell_count(node, present, opened.declared);
        pass_rest(cursor, depth + 1);
    }

    uint32_t read_parts(Cursor& cursor, int32_t multipart, uint32_t declared, uint32_t level,
                        uint32_t depth) {
        uint32_t present = 0;
        while (!cursor.done() && !too_many_) {
            if (present >= declared && !part_may_begin(cursor)) break;
            if (cursor.peek() == 0) break;  // no headers: no part
            if (!read_part(cursor, multipart, present + 1 < declared, level, depth)) break;
            ++present;
        }
        return present;
    }

    // Memory that is not touched costs nothing; of the outermost multipart alone.
    void reserve_parts(std::size_t count) {
        if (tree_.part_list.capacity() != 0) return;
        tree_.part_list.reserve(std::min<std::size_t>(count, most_parts));
        tree_.part_details.reserve(std::min<std::size_t>(count, most_parts));
        tree_.nodes.reserve(std::min<std::size_t>(nodes_of_part * count, most_nodes));
    }

    void tell_count(uint32_t node, uint32_t present, uint32_t declared) {
        if (present == declared || too_many_) return;
        tree_.body_exact = false;
        if (present < declared) {
            tree_.flaw(node, MMS_FLAW_LOST,
                       std::to_string(present) + " of " + counted(declared, "part") + " are there");
        } else {
            tree_.flaw(
                node, MMS_FLAW_REPAIRED,
                counted(present, "part") + ", and " + std::to_string(declared) + " announced");
        }
    }

    void pass_rest(Cursor& cursor, uint32_t depth) {
        if (cursor.done()) return;
        const Place rest{cursor.layer, cursor.at, cursor.left()};
        const uint32_t node =
            tree_.add(MMS_NODE_DATA, rest, depth, "bytes", hex_of(tree_.at(rest)));
        if (!too_many_)
            tree_.flaw(node, MMS_FLAW_UNKNOWN,
                       counted(rest.length, "byte") + " behind the last part");
        cursor.at = cursor.end;
    }

    struct Lengths {
        Number headers, data;
        bool whole = false;
    };

    Lengths read_lengths(Cursor& cursor, uint32_t depth) {
        Lengths lengths;
        const std::array<std::pair<Number*, const char*>, 2> both{
            {{&lengths.headers, "headers length"}, {&lengths.data, "data length"}}};
        for (const auto& [number, name] : both) {
            const uint32_t start = cursor.at;
            *number = cursor.uintvar();
            if (cursor.at > start)
                tree_.add(MMS_NODE_PARAMETER, cursor.since(start), depth, name,
                          std::to_string(number->value));
        }
        // Numbers beyond 32 bits are as good as any other that is too large.
        lengths.whole = !cursor.done() || (lengths.headers.whole && lengths.data.whole);
        return lengths;
    }

    // False when its lengths or its headers are cut: there is no such part.
    bool read_part(Cursor& cursor, int32_t multipart, bool more, uint32_t level, uint32_t depth) {
        const uint32_t start = cursor.at;
        if (++parts_ > most_parts) {
            too_many_ = true;
            tree_.note(MMS_FLAW_LOST, {cursor.layer, start, cursor.left()}, "too many parts");
            return false;
        }
        const uint32_t node = tree_.add(MMS_NODE_PART, {cursor.layer, start, 1}, depth, "part");
        const Lengths lengths = read_lengths(cursor, depth + 1);
        const uint32_t headers_at = cursor.at;
        Cursor headers = cursor.until(cursor.at + lengths.headers.value);
        const bool headers_there = lengths.whole && lengths.headers.value <= cursor.left();
        cursor.at = headers.end;
        if (headers_at == headers.end) {
            tree_.end(node, cursor.at);
            tree_.flaw(node, MMS_FLAW_LOST, "the part ends in its lengths");
            return false;
        }
        const ContentType type = read_content_type(tree_, headers, headers_at, depth + 1, 0);
        const PartHeaders found = read_part_headers(tree_, headers, depth + 1);
        if (!headers_there) {
            tree_.end(node, cursor.at);
            tree_.flaw(node, MMS_FLAW_LOST, "the part ends in its headers");
            return false;
        }
        PartDetail detail;
        detail.multipart = multipart;
        detail.headers = {cursor.layer, headers_at, headers.end - headers_at};
        detail.data = data_place(cursor, lengths.data.value, more);
        detail.whole = {cursor.layer, start, detail.data.offset + detail.data.length - start};
        const bool nested = is_multipart(type.type) && level < most_levels;
        detail.headers_exact = !type.cut && !found.cut && lengths.headers.whole &&
                               lengths.data.value == detail.data.length;
        cursor.at = detail.data.offset + detail.data.length;
        tree_.end(node, cursor.at);
        if (type.cut || found.cut)
            tree_.flaw(node, MMS_FLAW_LOST, "the headers of the part end within a value");
        if (nested) {
            name_node(node, "multipart part", type.type, 0);
            open_nested(cursor, node, type, lengths.data.value, detail, level, depth);
            return true;
        }
        if (is_multipart(type.type))
            tree_.flaw(node, MMS_FLAW_LOST, "too many levels of multiparts");
        const Bytes head = tree_.at(detail.headers);
        add_part(node, type, found, exact_part(head, tree_.types), lengths.data.value, detail,
                 level);
        return true;
    }

    void open_nested(const Cursor& cursor, uint32_t node, const ContentType& type,
                     uint64_t declared, const PartDetail& detail, uint32_t level, uint32_t depth) {
        tree_.body_exact = false;
        if (declared > detail.data.length)
            tree_.flaw(node, MMS_FLAW_LOST, of_bytes("multipart", detail.data.length, declared));
        Cursor inside = cursor;
        inside.at = detail.data.offset;
        inside.end = detail.data.offset + detail.data.length;
        open(inside, type, detail.multipart, level + 1, depth + 1);
    }

    // Where the data really is: as declared, or as the medium's own end says where the declared end
    // leads to nothing and the medium's own to the next part or to the end of all.
    Place data_place(const Cursor& cursor, uint64_t declared, bool more) {
        const uint32_t start = cursor.at;
        const uint32_t present = static_cast<uint32_t>(std::min<uint64_t>(declared, cursor.left()));
        const Place as_declared{cursor.layer, start, present};
        const auto leads_on = [&](uint32_t end) {
            if (end == cursor.end) return !more;
            Cursor next = cursor;
            next.at = end;
            return part_may_begin(next);
        };
        if (declared <= cursor.left() && leads_on(start + present)) return as_declared;
        const Bytes rest = cursor.rest();
        if (rest.size() > looks_left_) return as_declared;
        const auto own = media_size(rest);
        looks_left_ -= own.value_or(rest.size());
        if (!own || *own == present || !leads_on(start + static_cast<uint32_t>(*own)))
            return as_declared;
        return {cursor.layer, start, static_cast<uint32_t>(*own)};
    }

    void name_node(uint32_t node, std::string_view name, std::string_view value, uint32_t code) {
        tree_.nodes[node].pName = tree_.arena.keep_again(name);
        tree_.show(node, value);
        tree_.nodes[node].iCode = code;
    }

    void add_data_node(const tMMS_Part& part, const Place& data, uint32_t depth) {
        if (data.length == 0) return;
        const bool text = part.bText != 0 || is_presentation(part.pType);
        const std::string_view shown(reinterpret_cast<const char*>(part.pData),
                                     std::min<std::size_t>(part.iDataLen, longest_value + 4));
        tree_.add(text ? MMS_NODE_TEXT : MMS_NODE_DATA, data, depth, "data",
                  text ? std::string(shown) : counted(data.length, "byte"));
    }

    void add_part(uint32_t node, const ContentType& type, const PartHeaders& headers,
                  const ExactPart& exact, uint64_t declared, PartDetail detail, uint32_t level) {
        const auto number = static_cast<uint32_t>(tree_.part_list.size() + 1);
        const std::string& filename =
            type.filename.empty() ? headers.disposition_name : type.filename;
        const auto keep = [this](std::string_view text) {
            return std::string_view(tree_.arena.keep_again(text), text.size());
        };
        detail.location = keep(headers.location);
        detail.name = keep(type.name);
        detail.filename = keep(filename);
        detail.content_id = keep(headers.content_id);
        detail.type_sent = keep(type.sent);
        detail.charset = type.charset;
        detail.has_charset = type.has_charset;
        tMMS_Part part{};
        for (const std::string_view name :
             {detail.location, detail.name, detail.filename, detail.content_id})
            if (part.pName == nullptr && !name.empty()) part.pName = name.data();
        const std::string called =
            part.pName != nullptr ? part.pName : "part " + std::to_string(number);
        part.iNode = node;
        part.pType = tree_.arena.keep_again(type.type);
        if (!type.charset_name.empty()) part.pCharset = tree_.arena.keep_again(type.charset_name);
        part.iDepth = static_cast<uint16_t>(level);
        part.iLayer = detail.data.layer;
        part.iOffset = detail.data.offset;
        part.iLength = detail.data.length;
        detail.headers_exact = detail.headers_exact && as_exact(type, detail, exact);
        tell_length(node, called, declared, detail, part, level);
        name_node(node, "part " + std::to_string(number), type.type, number);
        hand_out(tree_, node, called, type, headers, exact, part, detail);
        add_data_node(part, detail.data, tree_.nodes[node].iDepth + 1U);
        tree_.part_list.push_back(part);
        tree_.part_details.push_back(detail);
    }

    void tell_length(uint32_t node, const std::string& called, uint64_t declared,
                     const PartDetail& detail, tMMS_Part& part, uint32_t level) {
        if (level == 0 || declared == detail.data.length) return;
        if (declared > detail.data.length) {
            part.iMissing = static_cast<uint32_t>(
                std::min<uint64_t>(declared - detail.data.length, UINT32_MAX));
            tree_.flaw(node, MMS_FLAW_LOST, of_bytes(called, detail.data.length, declared));
        } else {
            tree_.flaw(node, MMS_FLAW_REPAIRED,
                       called + ": " + counted(detail.data.length, "byte") + ", and " +
                           std::to_string(declared) + " announced");
        }
    }

    // The exact decoder keeps the same names, type and character set. The types that it treats
    // apart must be spelt as it knows them.
    static bool as_exact(const ContentType& type, const PartDetail& detail,
                         const ExactPart& exact) {
        const bool type_kept =
            exact.type == type.type ||
            (same_word(exact.type, type.type) && type.type != "text/plain" &&
             !is_presentation(type.type) && type.sent.find(';') == std::string::npos);
        const bool named =
            !detail.location.empty() || !detail.name.empty() || detail.filename.empty();
        return type_kept && named && exact.location == detail.location &&
               exact.name == detail.name && exact.content_id == detail.content_id &&
               exact.has_charset == type.has_charset &&
               (!type.has_charset || exact.charset == type.charset);
    }

    Tree& tree_;
    Place place_;
    uint32_t depth_;
    uint64_t looks_left_;
    uint32_t parts_ = 0;
    bool too_many_ = false;
};

}  // namespace

void dissect_body(Tree& tree, const Place& place, uint32_t depth) {
    if (place.length == 0) return;
    if (tree.iMessage == MMS_MESSAGE_NONE) {
        tree.iMessage = MMS_MESSAGE_BODY;
        tree.pKind = "message body";
        tree.iMessageLayer = place.layer;
        tree.iMessageOffset = place.offset;
        tree.iMessageLength = place.length;
    }
    BodyWalker(tree, place, depth).walk();
}

int looks_like_body(Bytes bytes) {
    if (bytes.size() < 2 || bytes[0] != code_content_type) return 0;
    Tree scratch(bytes);
    Cursor cursor(bytes, {0, 0, static_cast<uint32_t>(bytes.size())});
    cursor.skip(1);
    if (!content_type_may_begin(cursor)) return 0;
    const ContentType type = read_content_type(scratch, cursor, 0, 0, code_content_type);
    if (!is_multipart(type.type)) return type.type.starts_with("text/") ? 1 : 0;
    const Number count = cursor.uintvar();
    if (!count.whole || cursor.done()) return 1;
    return part_may_begin(cursor) || content_type_may_begin(cursor.until(cursor.end)) ? 2 : 1;
}

}  // namespace mmskit_anatomy
