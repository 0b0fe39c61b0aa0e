// What dissecting builds and mending reads: the public anatomy with the arrays behind it, and
// beside its parts and headers what only mending needs. Walkers append nodes in document order;
// texts go into one arena, so that a node is a plain record and everything is freed at once. Limits
// keep the memory of a hostile message near its size; what goes beyond is one note of what is lost.
#pragma once

#include <mmskit/anatomy.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Anatomy/src/library_text.h"

namespace mmskit_anatomy {

using Bytes = std::span<const uint8_t>;

inline constexpr uint32_t most_nodes = 65'536;
inline constexpr uint32_t most_parts = 16'384;
inline constexpr uint32_t most_headers = 16'384;
inline constexpr uint32_t most_notes = 4'096;
inline constexpr uint32_t most_layers = 8;
inline constexpr uint32_t most_levels = 64;              // of multiparts in multiparts
inline constexpr std::size_t most_decoded = 16'777'216;  // bytes of all layers but the input
inline constexpr std::size_t longest_value = 1024;       // of a node, in bytes of UTF-8

// Fields that begin a message and a body (OMA-TS-MMS_ENC 7.4).
inline constexpr uint8_t code_content_type = 0x84, code_message_type = 0x8C;
// Fields of a part (WAP-230 table 39).
inline constexpr uint8_t code_location = 0x8E, code_content_id = 0xC0;

// A place in a layer.
struct Place {
    uint32_t layer = 0;
    uint32_t offset = 0;
    uint32_t length = 0;
};

// Texts that live as long as the anatomy.
class Arena {
  public:
    const char* keep(std::string_view text);  // a NUL-terminated copy
    // The same copy again where that text was kept lately: names and short values repeat.
    const char* keep_again(std::string_view text);
    std::string_view keep_view(std::string_view text) { return {keep(text), text.size()}; }
    uint8_t* bytes(std::size_t size);  // not filled

  private:
    std::vector<std::unique_ptr<char[]>> blocks_;
    char* free_ = nullptr;  // in the block that is being filled
    std::size_t room_ = 0;
    std::array<std::string_view, 64> lately_{};
};

// How a header's value stands on the wire, for mending. `exact`: in the form that the exact
// decoders read as pValue says (a plain address, a subject in US-ASCII or UTF-8 whose length is
// true, a date of up to four octets ...).
struct HeaderDetail {
    Place whole;  // code (or textual name) and value
    Place value;
    bool exact = true;
    bool textual = false;  // its name is text on the wire
};

struct Multipart {
    enum class Kind { mixed, related, alternative, other };
    Kind kind = Kind::mixed;
    int32_t parent = -1;  // index of the multipart that it lies in, -1 for the outermost
    uint32_t depth = 1;
    std::string_view start;  // the Start parameter without brackets; empty without one
    std::string_view type;   // the Type parameter
    Place whole;             // count and parts
    uint32_t declared = 0;   // parts that it claims
    uint32_t present = 0;    // parts that are there
};

struct PartDetail {
    int32_t multipart = -1;  // index in Tree::multiparts; -1 when the part is the whole body
    // The names, each as UTF-8 without quotes, brackets and 0x7F; empty when not given. The first
    // that is not empty, in this order, is the part's pName.
    std::string_view location, name, filename, content_id;
    std::string_view type_sent;  // the media type as sent, parameters in it included
    uint32_t charset = 0;        // MIBenum as declared; 0 when none is, or it has no number
    bool has_charset = false;
    bool transfer_decoded = false;  // base64 or quoted-printable was undone
    bool text_converted = false;    // pData differs from what stands on the wire
    bool text_exact = true;  // the exact slide view reads the data on the wire as pData has it
    // Lengths are true, and the content type and the headers stand in codes that the exact decoder
    // reads, in an order in which it reaches the names: what it keeps (type, location, name,
    // Content-ID, charset) is what stands here.
    bool headers_exact = true;
    Place whole;    // from its two lengths on
    Place headers;  // content type and headers
    Place data;     // as it came
};

struct Tree : tMMS_Anatomy {
    explicit Tree(Bytes input);
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;

    Arena arena;
    MediaTypes types;
    std::deque<std::vector<uint8_t>> decoded;  // the bytes of the layers but the first
    std::vector<tMMS_Layer> layer_list;
    std::vector<tMMS_Node> nodes;
    std::vector<tMMS_HeaderField> header_list;
    std::vector<HeaderDetail> header_details;  // one for each header
    std::vector<tMMS_Part> part_list;
    std::vector<PartDetail> part_details;  // one for each part
    std::vector<Multipart> multiparts;
    std::vector<tMMS_Note> note_list;
    // Of a PDU or a body: the body's Content-Type header (0x84) to the end of the body; empty
    // without one.
    Place body;
    Place body_type;            // that header with its value
    std::string_view top_type;  // in lower case
    bool body_exact = true;     // count, nesting and content type are what the exact decoder reads
    bool mended_once = false;   // there are no nodes and no details any more

    [[nodiscard]] Bytes layer(uint32_t index) const;
    [[nodiscard]] Bytes at(const Place& place) const;

    // A new layer of decoded bytes; false (and a note: lost) when there are too many or the bytes
    // are too many. `parent` is where it was decoded from.
    bool add_layer(const char* name, std::vector<uint8_t> bytes, const Place& parent,
                   uint32_t& index);
    // Bytes that layers may still be decoded into.
    [[nodiscard]] std::size_t decoding_room() const;

    // Appends a node and returns its index. Beyond the limit the last node grows instead.
    uint32_t add(uint8_t kind, const Place& place, uint32_t depth, std::string_view name,
                 std::string_view value = {}, uint32_t code = 0);
    // No node can be added: nothing more is shown.
    [[nodiscard]] bool full() const { return nodes.size() >= most_nodes; }
    // Marks a node, and adds the note that says the same. The first mark of a node stays.
    void flaw(uint32_t node, uint8_t flaw, std::string_view text);
    void note(uint8_t flaw, const Place& place, std::string_view text);
    // Sets what a node shows; long values are cut at a character.
    void show(uint32_t node, std::string_view value);
    // The node ends here: sets its length.
    void end(uint32_t node, uint32_t offset);

    // Once, at the end: orders the notes and fills the public members.
    void finish();

    // Decoded bytes that are no layer of their own: a part's transfer encoding undone, which has no
    // nodes. They count like those of layers.
    bool keep_decoded(std::vector<uint8_t> bytes, const Place& from, Bytes& kept);

  private:
    void widen_above_last();

    std::size_t decoded_bytes_ = 0;
    bool too_many_ = false;
};

// ---- The walkers ------------------------------------------------------------------------------

// Headers of a PDU, and its body, at `place`; true when it reads as one (see message_at).
void dissect_pdu(Tree& tree, const Place& place, uint32_t depth);
// A body from its Content-Type header (0x84) on.
void dissect_body(Tree& tree, const Place& place, uint32_t depth);

// How sure one can be that a PDU or a body stands here: 0 no, 1 maybe, 2 surely.
int looks_like_pdu(Bytes bytes);
int looks_like_body(Bytes bytes);

// Recognises what the input is and calls the walkers above.
void dissect_input(Tree& tree);

}  // namespace mmskit_anatomy
