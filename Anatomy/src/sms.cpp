// Short messages that carry a push: SMS-DELIVER and SMS-SUBMIT (3GPP TS 23.040 9.2.2) with or
// without the service centre's address before them, their user data with its header (9.2.3.24), and
// the pieces of a concatenated one, given as lines of hexadecimal text in any order.
#include <algorithm>
#include <array>
#include <map>
#include <string>

#include "Anatomy/src/inputs.h"

namespace mmskit_anatomy {
namespace {

constexpr uint16_t push_port = 2948, secure_push_port = 2949;

struct UserData {
    std::size_t header = 0;  // octets of the header, its length included
    bool ports = false;
    bool concatenated = false;
    uint16_t port = 0;
    uint16_t reference = 0;
    uint8_t total = 1, number = 1;
};

// Information elements (23.040 9.2.3.24); false when they do not fill the header exactly.
bool read_user_data(Bytes data, UserData& out) {
    if (data.empty()) return false;
    const std::size_t end = data[0] + std::size_t{1};
    if (end > data.size() || end < 3) return false;
    out.header = end;
    std::size_t at = 1;
    while (at + 2 <= end) {
        const uint8_t id = data[at];
        const std::size_t size = data[at + 1];
        const std::size_t value = at + 2;
        if (value + size > end) return false;
        if (id == 0x05 && size == 4) {
            out.ports = true;
            out.port = static_cast<uint16_t>(data[value] << 8 | data[value + 1]);
        } else if (id == 0x04 && size == 2) {
            out.ports = true;
            out.port = data[value];
        } else if ((id == 0x00 && size == 3) || (id == 0x08 && size == 4)) {
            out.concatenated = true;
            out.reference =
                id == 0 ? data[value] : static_cast<uint16_t>(data[value] << 8 | data[value + 1]);
            out.total = data[value + size - 2];
            out.number = data[value + size - 1];
        }
        at = value + size;
    }
    return at == end && out.ports;
}

// Where the fields of a TPDU stand, counted from its first octet (the service centre's included).
struct Tpdu {
    bool submit = false;
    std::size_t first = 0;     // octet with the message type
    std::size_t address = 0;   // length octet of the sender or recipient
    std::size_t protocol = 0;  // PID
    std::size_t time = 0;      // time stamp or validity period; its end is `length`
    std::size_t length = 0;    // user data length octet
    std::size_t data = 0;      // user data
    std::size_t declared = 0;  // octets of user data that it claims
    UserData header;
};

bool read_address(Bytes bytes, std::size_t& at) {
    if (at + 2 > bytes.size()) return false;
    const std::size_t digits = bytes[at];
    if (digits > 20 || (bytes[at + 1] & 0x80U) == 0) return false;
    at += 2 + (digits + 1) / 2;
    return at < bytes.size();
}

bool read_tpdu(Bytes bytes, std::size_t first, Tpdu& out) {
    if (first >= bytes.size()) return false;
    const uint8_t type = bytes[first];
    const unsigned kind = type & 3U;
    if (kind > 1 || (type & 0x40U) == 0) return false;  // no header in the user data: no port
    out = Tpdu{};
    out.submit = kind == 1;
    out.first = first;
    out.address = first + (out.submit ? 2 : 1);  // a submitted one has a reference
    std::size_t at = out.address;
    if (!read_address(bytes, at)) return false;
    out.protocol = at;
    out.time = at + 2;
    constexpr std::array<std::size_t, 4> validity = {0, 7, 1, 7};
    out.length = out.time + (out.submit ? validity[type >> 3 & 3U] : 7);
    if (out.length >= bytes.size()) return false;
    const uint8_t coding = bytes[at + 1];
    const bool octets = (coding & 0xC4U) == 0x04 || (coding & 0xF4U) == 0xF4;
    if (!octets) return false;
    out.declared = bytes[out.length];
    out.data = out.length + 1;
    if (bytes.size() > out.data + out.declared) return false;
    return read_user_data(bytes.subspan(out.data), out.header);
}

bool find_tpdu(Bytes bytes, Tpdu& out) {
    if (bytes.size() < 12 || bytes.size() > 200) return false;
    const std::size_t centre = bytes[0];
    const bool has_centre = centre == 0 || (centre <= 12 && (bytes[1] & 0x80U) != 0);
    return (has_centre && read_tpdu(bytes, centre + 1, out)) || read_tpdu(bytes, 0, out);
}

// Two digits in an octet, the first in the low half.
std::string digits_of(Bytes octets, std::size_t count) {
    std::string out;
    for (const uint8_t octet : octets) {
        for (const unsigned half : {octet & 15U, static_cast<unsigned>(octet) >> 4U})
            if (out.size() < count) out += "0123456789*#abc?"[half];
    }
    return out;
}

std::string piece_text(const UserData& header) {
    std::string text = "port " + std::to_string(header.port);
    if (header.concatenated) {
        text += ", piece " + std::to_string(header.number) + " of " + std::to_string(header.total);
    }
    return text;
}

// The nodes of a TPDU's fields; gives the place of what the user data carries.
class TpduNodes {
  public:
    TpduNodes(Tree& tree, const Place& place, uint32_t depth)
        : tree_(tree), place_(place), depth_(depth) {}

    Place add(const Tpdu& tpdu) {
        const Bytes bytes = tree_.at(place_);
        tree_.add(MMS_NODE_WRAPPER, place_, depth_++, tpdu.submit ? "SMS-SUBMIT" : "SMS-DELIVER");
        if (tpdu.first > 0)
            field(0, tpdu.first, "service centre",
                  number(bytes.subspan(0, tpdu.first), tpdu.first > 1 ? 2 * (tpdu.first - 2) : 0));
        field(tpdu.first, tpdu.address, "message type", tpdu.submit ? "submit" : "deliver");
        field(
            tpdu.address, tpdu.protocol, tpdu.submit ? "recipient" : "sender",
            number(bytes.subspan(tpdu.address, tpdu.protocol - tpdu.address), bytes[tpdu.address]));
        field(tpdu.protocol, tpdu.time, "protocol and coding", "");
        if (tpdu.length > tpdu.time)
            field(tpdu.time, tpdu.length, tpdu.submit ? "validity" : "time stamp",
                  tpdu.length - tpdu.time == 7 ? stamp(bytes.subspan(tpdu.time, 7)) : "");
        const auto length =
            field(tpdu.length, tpdu.data, "user data length", std::to_string(tpdu.declared));
        const std::size_t there = bytes.size() - tpdu.data;
        if (there < tpdu.declared) {
            tree_.flaw(length, MMS_FLAW_LOST,
                       "SMS user data: " + std::to_string(there) + " of " +
                           std::to_string(tpdu.declared) + " bytes");
        }
        return user_data(tpdu.header, tpdu.data);
    }

    Place user_data(const UserData& header, std::size_t from) {
        field(from, from + header.header, "user data header", piece_text(header));
        const auto begin = static_cast<uint32_t>(from + header.header);
        return {place_.layer, place_.offset + begin, place_.length - begin};
    }

    [[nodiscard]] uint32_t depth() const { return depth_; }

  private:
    uint32_t field(std::size_t from, std::size_t to, std::string_view name,
                   const std::string& value) {
        return tree_.add(MMS_NODE_PARAMETER,
                         {place_.layer, place_.offset + static_cast<uint32_t>(from),
                          static_cast<uint32_t>(to - from)},
                         depth_, name, value);
    }
    // An address: length octet, type of number, semi-octets.
    static std::string number(Bytes address, std::size_t count) {
        if (address.size() < 2) return {};
        const bool international = (address[1] & 0x70U) == 0x10U;
        return (international ? "+" : "") + digits_of(address.subspan(2), count);
    }
    static std::string stamp(Bytes octets) {
        const std::string d = digits_of(octets, 14);
        return "20" + d.substr(0, 2) + '-' + d.substr(2, 2) + '-' + d.substr(4, 2) + ' ' +
               d.substr(6, 2) + ':' + d.substr(8, 2) + ':' + d.substr(10, 2);
    }

    Tree& tree_;
    Place place_;
    uint32_t depth_;
};

// ---- Lines ------------------------------------------------------------------------------------

bool is_space(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

// What a modem says between the lines that matter.
bool is_modem_talk(std::string_view line) {
    constexpr std::string_view starts[] = {"+CM", "AT", "at", "OK", ">", "^"};
    return std::any_of(std::begin(starts), std::end(starts),
                       [&](std::string_view start) { return line.starts_with(start); });
}

struct Line {
    std::string_view text;  // without white space around it
    std::size_t offset;     // of the whole line
    std::size_t size;       // with its end
};

// The next line of `text` from `at` on.
Line next_line(std::string_view text, std::size_t at) {
    const std::size_t feed = text.find('\n', at);
    const std::size_t end = feed == std::string_view::npos ? text.size() : feed + 1;
    std::string_view line = text.substr(at, end - at);
    if (line.ends_with('\n')) line.remove_suffix(1);
    while (!line.empty() && is_space(line.back()))
        line.remove_suffix(1);
    while (!line.empty() && is_space(line.front()))
        line.remove_prefix(1);
    return {line, at, end - at};
}

constexpr std::size_t longest_line = 400;  // a TPDU has at most 176 octets, twice that in digits

bool line_tpdu(std::string_view line, std::vector<uint8_t>& bytes, Tpdu& tpdu) {
    if (line.size() > longest_line) return false;
    HexText hex =
        read_hex({reinterpret_cast<const uint8_t*>(line.data()), line.size()}, longest_line);
    bytes = std::move(hex.bytes);
    return hex.valid && find_tpdu(bytes, tpdu);
}

struct Piece {
    Place place;  // what it carries, in the layer of the lines
    UserData header;
};

// Takes the lines one after another into the layer of their bytes.
class LinesWalk {
  public:
    LinesWalk(Tree& tree, const Place& place, uint32_t depth)
        : tree_(tree), place_(place), depth_(depth) {}

    bool run() {
        decode();
        if (!tree_.add_layer("hexadecimal", std::move(bytes_), place_, layer_)) return false;
        add_nodes();
        return join();
    }

  private:
    struct Found {
        uint32_t offset, size;  // in the layer
        Tpdu tpdu;
    };

    void decode() {
        tree_.add(MMS_NODE_WRAPPER, place_, depth_, "lines of hexadecimal");
        const std::string_view text = text_of(tree_.at(place_));
        std::vector<uint8_t> bytes;
        for (std::size_t at = 0; at < text.size();) {
            const Line line = next_line(text, at);
            at += line.size;
            const Place place{place_.layer, place_.offset + static_cast<uint32_t>(line.offset),
                              static_cast<uint32_t>(line.size)};
            Found found{};
            if (line_tpdu(line.text, bytes, found.tpdu)) {
                found.offset = static_cast<uint32_t>(bytes_.size());
                found.size = static_cast<uint32_t>(bytes.size());
                found_.push_back(found);
                bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
                tree_.add(MMS_NODE_DATA, place, depth_ + 1, "SMS");
                continue;
            }
            const auto node = tree_.add(MMS_NODE_TEXT, place, depth_ + 1, "line", line.text);
            if (!line.text.empty() && !is_modem_talk(line.text))
                tree_.flaw(node, MMS_FLAW_LOST, "a line that is no whole short message");
        }
    }

    void add_nodes() {
        for (const Found& found : found_) {
            const Place place{layer_, found.offset, found.size};
            TpduNodes nodes(tree_, place, depth_ + 1);
            const Place carried = nodes.add(found.tpdu);
            pieces_.push_back({carried, found.tpdu.header});
            if (found.tpdu.header.total > 1 || found_.size() > 1)
                tree_.add(MMS_NODE_DATA, carried, nodes.depth(), "piece");
            else
                only_depth_ = nodes.depth();
        }
    }

    // Pieces of the first one's message, by number; the first of equal numbers counts.
    bool join() {
        const Piece& first = pieces_.front();
        if (only_depth_ != 0) return dissect_at(tree_, first.place, only_depth_);
        std::map<uint8_t, const Piece*> ordered;
        for (const Piece& piece : pieces_) {
            const bool same = piece.header.concatenated == first.header.concatenated &&
                              piece.header.reference == first.header.reference &&
                              piece.header.total == first.header.total;
            if (same)
                ordered.emplace(piece.header.number, &piece);
            else
                tree_.note(MMS_FLAW_LOST, piece.place, "a piece of another message");
        }
        std::vector<uint8_t> joined;
        uint8_t expected = 1;
        for (const auto& [number, piece] : ordered) {
            if (number != expected) break;
            const Bytes bytes = tree_.at(piece->place);
            joined.insert(joined.end(), bytes.begin(), bytes.end());
            ++expected;
        }
        if (expected <= first.header.total) {
            tree_.note(MMS_FLAW_LOST, place_,
                       "piece " + std::to_string(expected) + " of " +
                           std::to_string(first.header.total) + " is missing");
        }
        const auto size = static_cast<uint32_t>(joined.size());
        uint32_t layer = 0;
        if (!tree_.add_layer("SMS user data", std::move(joined), {layer_, 0, 0}, layer))
            return false;
        return dissect_at(tree_, {layer, 0, size}, depth_ + 2);
    }

    Tree& tree_;
    Place place_;
    uint32_t depth_, layer_ = 0, only_depth_ = 0;
    std::vector<uint8_t> bytes_;
    std::vector<Found> found_;
    std::vector<Piece> pieces_;
};

}  // namespace

bool is_sms(Bytes bytes) {
    Tpdu tpdu;
    return find_tpdu(bytes, tpdu);
}

bool is_user_data(Bytes bytes) {
    UserData header;
    if (bytes.size() < 10 || bytes[0] > 32 || !read_user_data(bytes, header)) return false;
    return header.port == push_port || header.port == secure_push_port;
}

// The first line that is no talk decides.
bool is_sms_lines(Bytes text) {
    const std::string_view all = text_of(text);
    std::vector<uint8_t> bytes;
    Tpdu tpdu;
    for (std::size_t at = 0; at < all.size();) {
        const Line line = next_line(all, at);
        at += line.size;
        if (line.text.empty() || is_modem_talk(line.text)) continue;
        return line_tpdu(line.text, bytes, tpdu);
    }
    return false;
}

bool dissect_sms(Tree& tree, const Place& place, uint32_t depth) {
    Tpdu tpdu;
    if (!find_tpdu(tree.at(place), tpdu)) return false;
    TpduNodes nodes(tree, place, depth);
    const Place carried = nodes.add(tpdu);
    if (tpdu.header.total > 1) {
        tree.note(
            MMS_FLAW_LOST, place,
            "one of " + std::to_string(tpdu.header.total) + " pieces: the others are missing");
    }
    return dissect_at(tree, carried, nodes.depth());
}

bool dissect_user_data(Tree& tree, const Place& place, uint32_t depth) {
    UserData header;
    if (!read_user_data(tree.at(place), header)) return false;
    tree.add(MMS_NODE_WRAPPER, place, depth, "SMS user data");
    TpduNodes nodes(tree, place, depth + 1);
    const Place carried = nodes.user_data(header, 0);
    return dissect_at(tree, carried, depth + 1);
}

bool dissect_sms_lines(Tree& tree, const Place& place, uint32_t depth) {
    return LinesWalk(tree, place, depth).run();
}

}  // namespace mmskit_anatomy
