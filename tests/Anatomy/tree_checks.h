// What holds for every anatomy, whatever its input was.
#pragma once

#include <string>

#include "Anatomy/src/charset.h"
#include "Anatomy/src/tree.h"

namespace anatomy_checks {

using namespace mmskit_anatomy;

inline std::string at_node(const Tree& tree, std::size_t i, const char* what) {
    const tMMS_Node& node = tree.nodes[i];
    return std::string(what) + " at node " + std::to_string(i) + " (" + node.pName + ", offset " +
           std::to_string(node.iOffset) + ", length " + std::to_string(node.iLength) + ")";
}

// Leaves stand one behind the other from the first byte of the place to the last, and each node
// lies inside the one above it. A leaf has no node of its layer below it. Empty when so.
inline std::string uncovered(const Tree& tree, const Place& place) {
    std::vector<std::size_t> own;  // the nodes of this layer
    for (std::size_t i = 0; i < tree.nodes.size(); ++i)
        if (tree.nodes[i].iLayer == place.layer) own.push_back(i);
    const uint32_t outermost = own.empty() ? 0U : tree.nodes[own[0]].iDepth;
    std::vector<uint64_t> ends;  // of the nodes above, by depth
    uint64_t at = place.offset;
    for (std::size_t n = 0; n < own.size(); ++n) {
        const std::size_t i = own[n];
        const tMMS_Node& node = tree.nodes[i];
        const uint64_t end = uint64_t{node.iOffset} + node.iLength;
        if (node.iDepth < outermost || node.iDepth - outermost > ends.size())
            return at_node(tree, i, "a depth is left out");
        ends.resize(node.iDepth - outermost);
        if (!ends.empty() && end > ends.back()) return at_node(tree, i, "outside of its parent");
        ends.push_back(end);
        const bool leaf = n + 1 == own.size() || tree.nodes[own[n + 1]].iDepth <= node.iDepth;
        if (leaf && node.iOffset != at) return at_node(tree, i, "a gap or an overlap");
        if (leaf) at = end;
    }
    const uint64_t end = uint64_t{place.offset} + place.length;
    return at == end ? "" : "bytes from " + std::to_string(at) + " belong to nothing";
}

// Every text is UTF-8, and every index and place is inside.
inline std::string unsound(const Tree& tree) {
    const auto text = [](const char* value) { return value == nullptr || valid_utf8(value); };
    for (const tMMS_Node& node : tree.nodes)
        if (!text(node.pName) || !text(node.pValue) || !text(node.pFlaw)) return "a node's text";
    for (const tMMS_HeaderField& header : tree.header_list) {
        if (header.iNode >= tree.nodes.size()) return "a header's node";
        if (!text(header.pName) || !text(header.pValue)) return "a header's text";
    }
    for (const tMMS_Note& note : tree.note_list)
        if (!text(note.pText) || note.iLayer >= tree.layer_list.size() ||
            uint64_t{note.iByte} + note.iBytes > tree.layer(note.iLayer).size())
            return std::string("a note: ") + note.pText;
    for (const tMMS_Part& part : tree.part_list) {
        if (part.iNode >= tree.nodes.size()) return "a part's node";
        if (!text(part.pType) || !text(part.pName) || !text(part.pCharset)) return "a part's text";
        if (part.bText != 0 &&
            !valid_utf8({reinterpret_cast<const char*>(part.pData), part.iDataLen}))
            return "a part's data";
        if (uint64_t{part.iOffset} + part.iLength > tree.layer(part.iLayer).size())
            return "a part's place";
    }
    if (tree.header_details.size() != tree.header_list.size()) return "details of headers";
    if (tree.part_details.size() != tree.part_list.size()) return "details of parts";
    if (tree.nodes.size() > most_nodes || tree.part_list.size() > most_parts ||
        tree.header_list.size() > most_headers || tree.note_list.size() > most_notes)
        return "a limit";
    return "";
}

}  // namespace anatomy_checks
