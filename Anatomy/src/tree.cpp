// The arena, the layers and the nodes of an anatomy; see tree.h.
#include "Anatomy/src/tree.h"

#include <algorithm>
#include <cstring>

namespace mmskit_anatomy {
namespace {

constexpr std::size_t arena_block = 16'384;

// At most `longest_value` bytes, cut at a character.
std::string_view shortened(std::string_view text) {
    if (text.size() <= longest_value) return text;
    std::size_t size = longest_value;
    while (size > 0 && (static_cast<unsigned char>(text[size]) & 0xC0U) == 0x80U)
        --size;
    return text.substr(0, size);
}

}  // namespace

uint8_t* Arena::bytes(std::size_t size) {
    if (size > arena_block / 4) {  // a block of its own
        blocks_.push_back(std::make_unique_for_overwrite<char[]>(size));
        return reinterpret_cast<uint8_t*>(blocks_.back().get());
    }
    if (size > room_) {
        blocks_.push_back(std::make_unique_for_overwrite<char[]>(arena_block));
        free_ = blocks_.back().get();
        room_ = arena_block;
    }
    auto* const piece = reinterpret_cast<uint8_t*>(free_);
    free_ += size;
    room_ -= size;
    return piece;
}

const char* Arena::keep(std::string_view text) {
    if (text.empty()) return "";
    auto* const copy = reinterpret_cast<char*>(bytes(text.size() + 1));
    std::memcpy(copy, text.data(), text.size());
    copy[text.size()] = '\0';
    return copy;
}

const char* Arena::keep_again(std::string_view text) {
    constexpr std::size_t longest = 40;
    if (text.empty() || text.size() > longest) return keep(text);
    const auto octet = [&](std::size_t at) { return std::size_t{static_cast<uint8_t>(text[at])}; };
    const std::size_t place = text.size() * 7 + octet(0) + octet(text.size() - 1) * 5;
    std::string_view& last = lately_[place % lately_.size()];
    if (last.size() != text.size() || std::memcmp(last.data(), text.data(), text.size()) != 0)
        last = keep_view(text);
    return last.data();
}

// cppcheck-suppress uninitDerivedMemberVar  ; the record is zeroed as a whole
Tree::Tree(Bytes input) : tMMS_Anatomy{} {
    pKind = pLooksLike = "";
    layer_list.push_back({"file", input.data(), static_cast<uint32_t>(input.size()), 0});
}

Bytes Tree::layer(uint32_t index) const {
    const tMMS_Layer& layer = layer_list[index];
    return {layer.pData, layer.iLength};
}

Bytes Tree::at(const Place& place) const {
    const Bytes bytes = layer(place.layer);
    const std::size_t offset = std::min<std::size_t>(place.offset, bytes.size());
    return bytes.subspan(offset, std::min<std::size_t>(place.length, bytes.size() - offset));
}

std::size_t Tree::decoding_room() const {
    return most_decoded - decoded_bytes_;
}

bool Tree::add_layer(const char* name, std::vector<uint8_t> bytes, const Place& parent,
                     uint32_t& index) {
    if (layer_list.size() >= most_layers) {
        note(MMS_FLAW_LOST, parent, "wrapped too many times to be unwrapped");
        return false;
    }
    if (bytes.size() > decoding_room()) {
        note(MMS_FLAW_LOST, parent, "too large to be decoded");
        return false;
    }
    decoded_bytes_ += bytes.size();
    decoded.push_back(std::move(bytes));
    index = static_cast<uint32_t>(layer_list.size());
    layer_list.push_back(
        {name, decoded.back().data(), static_cast<uint32_t>(decoded.back().size()), parent.layer});
    return true;
}

uint32_t Tree::add(uint8_t kind, const Place& place, uint32_t depth, std::string_view name,
                   std::string_view value, uint32_t code) {
    if (full()) {
        if (!too_many_) note(MMS_FLAW_LOST, place, "too many pieces: the rest is not shown");
        too_many_ = true;
        tMMS_Node& last = nodes.back();
        const uint64_t place_end = uint64_t{place.offset} + place.length;
        if (last.iLayer == place.layer && place_end > uint64_t{last.iOffset} + last.iLength)
            last.iLength = static_cast<uint32_t>(place_end - last.iOffset);
        return static_cast<uint32_t>(nodes.size() - 1);
    }
    tMMS_Node node{};
    node.iLayer = place.layer;
    node.iOffset = place.offset;
    node.iLength = place.length;
    node.iDepth = static_cast<uint16_t>(std::min<uint32_t>(depth, UINT16_MAX));
    node.iKind = kind;
    node.iCode = code;
    node.pName = arena.keep_again(name);
    node.pValue = arena.keep_again(shortened(value));
    nodes.push_back(node);
    return static_cast<uint32_t>(nodes.size() - 1);
}

void Tree::flaw(uint32_t node, uint8_t flaw, std::string_view text) {
    tMMS_Node& marked = nodes[node];
    note(flaw, {marked.iLayer, marked.iOffset, marked.iLength}, text);
    if (marked.iFlaw != MMS_FLAW_NONE) return;
    marked.iFlaw = flaw;
    marked.pFlaw = arena.keep(text);
}

void Tree::note(uint8_t flaw, const Place& place, std::string_view text) {
    if (note_list.size() >= most_notes) return;
    const bool last = note_list.size() + 1 == most_notes;
    note_list.push_back({place.offset, place.length, place.layer,
                         last ? static_cast<uint32_t>(MMS_FLAW_LOST) : flaw,
                         arena.keep(last ? "more is wrong than can be told" : shortened(text))});
}

void Tree::show(uint32_t node, std::string_view value) {
    nodes[node].pValue = arena.keep_again(shortened(value));
}

void Tree::end(uint32_t node, uint32_t offset) {
    tMMS_Node& ended = nodes[node];
    ended.iLength = offset > ended.iOffset ? offset - ended.iOffset : 0;
}

// The last node has grown over what no longer got a node: those above it reach as far.
void Tree::widen_above_last() {
    uint32_t depth = nodes.back().iDepth;
    const tMMS_Node& last = nodes.back();
    const uint32_t last_end = last.iOffset + last.iLength;
    for (std::size_t i = nodes.size() - 1; i-- > 0 && depth > 0;) {
        tMMS_Node& above = nodes[i];
        if (above.iDepth >= depth) continue;
        depth = above.iDepth;
        if (above.iLayer == last.iLayer && above.iOffset + above.iLength < last_end)
            above.iLength = last_end - above.iOffset;
    }
}

bool Tree::keep_decoded(std::vector<uint8_t> bytes, const Place& from, Bytes& kept) {
    if (bytes.size() > decoding_room()) {
        note(MMS_FLAW_LOST, from, "too large to be decoded");
        return false;
    }
    decoded_bytes_ += bytes.size();
    decoded.push_back(std::move(bytes));
    kept = decoded.back();
    return true;
}

void Tree::finish() {
    if (too_many_) widen_above_last();
    std::stable_sort(note_list.begin(), note_list.end(),
                     [](const tMMS_Note& a, const tMMS_Note& b) {
                         return a.iLayer != b.iLayer ? a.iLayer < b.iLayer : a.iByte < b.iByte;
                     });
    pLayers = layer_list.data();
    iLayers = static_cast<uint32_t>(layer_list.size());
    pNodes = nodes.data();
    iNodes = static_cast<uint32_t>(nodes.size());
    pHeaders = header_list.data();
    iHeaders = static_cast<uint32_t>(header_list.size());
    pParts = part_list.data();
    iParts = static_cast<uint32_t>(part_list.size());
    pNotes = note_list.data();
    iNotes = static_cast<uint32_t>(note_list.size());
}

}  // namespace mmskit_anatomy
