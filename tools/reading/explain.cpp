// One line a node: where it is, its bytes, and indented by its depth its name, value and flaw. A
// node that has others below it in the same layer shows its length in place of its bytes.
#include "reading/explain.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

#include "ground/safe_text.h"
#include "reading/header_facts.h"
#include "reading/render.h"

namespace mmskit_tool {
namespace {

constexpr std::size_t shown_bytes = 8;
constexpr std::size_t shown_value = 120;  // bytes of a value
constexpr std::size_t bytes_width = 3 * shown_bytes + 2;

// What a terminal makes of them: ECMA-48 8.3.117.
constexpr const char* dim = "\x1b[2m";
constexpr const char* bold = "\x1b[1m";
constexpr const char* red = "\x1b[31m";
constexpr const char* upright = "\x1b[0m";

class Explanation {
  public:
    Explanation(const tMMS_Anatomy& anatomy, const ExplainStyle& style)
        : anatomy_(anatomy), style_(style) {}

    std::string text() {
        for (uint32_t i = 0; i < anatomy_.iNodes; ++i) {
            const tMMS_Node& node = anatomy_.pNodes[i];
            if (style_.at && !holds(node, *style_.at)) continue;
            if (node.iLayer != layer_) begin_layer(node.iLayer);
            if (refused_in(i)) add_refusal();
            add_node(node, is_leaf(i));
        }
        if (style_.refusal && !told_ && !style_.at) add_refusal();
        return std::move(out_);
    }

    static bool holds(const tMMS_Node& node, uint32_t byte) {
        return node.iLayer == 0 && byte >= node.iOffset && byte - node.iOffset < node.iLength;
    }

  private:
    [[nodiscard]] bool is_leaf(uint32_t index) const {
        const tMMS_Node& node = anatomy_.pNodes[index];
        if (index + 1 == anatomy_.iNodes) return true;
        const tMMS_Node& next = anatomy_.pNodes[index + 1];
        return next.iDepth <= node.iDepth || next.iLayer != node.iLayer;
    }

    void begin_layer(uint32_t layer) {
        layer_ = layer;
        const tMMS_Layer& it = anatomy_.pLayers[layer];
        out_ += painted(dim, "-- layer " + std::to_string(layer) + ": " + visible(it.pName) + ", " +
                                 size_text(it.iLength) + " --") +
                '\n';
    }

    // The exact decoder stopped at this leaf, or at this header before its value.
    [[nodiscard]] bool refused_in(uint32_t index) const {
        if (!style_.refusal || told_ || style_.at) return false;
        const tMMS_Node& node = anatomy_.pNodes[index];
        const std::size_t stop = anatomy_.iMessageOffset + style_.refusal->offset.value_or(0);
        return node.iLayer == anatomy_.iMessageLayer && node.iOffset >= stop;
    }

    void add_refusal() {
        told_ = true;
        out_ += painted(red, "       the exact decoder stops here, at byte " +
                                 std::to_string(style_.refusal->offset.value_or(0)) +
                                 " of the message: " + style_.refusal->reason) +
                '\n';
    }

    void add_node(const tMMS_Node& node, bool leaf) {
        std::array<char, 16> offset{};
        (void)std::snprintf(offset.data(), offset.size(), "%6u  ", node.iOffset);
        out_ += painted(dim, offset.data() + (leaf ? hex(node) : length_of(node)));
        out_.append(2 * std::size_t{node.iDepth}, ' ');
        out_ += painted(bold, visible(node.pName));
        if (const std::string value = value_of(node); !value.empty()) out_ += "  " + value;
        if (node.pFlaw != nullptr) out_ += "  " + painted(red, "! " + visible(node.pFlaw));
        out_ += '\n';
    }

    // Dates and times as a person reads them.
    [[nodiscard]] std::string value_of(const tMMS_Node& node) {
        const auto index = static_cast<uint32_t>(&node - anatomy_.pNodes);
        while (header_ < anatomy_.iHeaders && anatomy_.pHeaders[header_].iNode < index)
            ++header_;
        if (header_ < anatomy_.iHeaders && anatomy_.pHeaders[header_].iNode == index)
            return value_line(header_fact(anatomy_.pHeaders[header_]));
        return shortened(node.pValue);
    }

    static std::string shortened(std::string text) {
        if (text.size() > shown_value) {
            cut_at_character(text, shown_value);
            text += "...";
        }
        return visible(text);
    }

    [[nodiscard]] std::string hex(const tMMS_Node& node) const {
        const tMMS_Layer& layer = anatomy_.pLayers[node.iLayer];
        std::string text;
        for (std::size_t i = 0; i < std::min<std::size_t>(node.iLength, shown_bytes); ++i) {
            std::array<char, 4> digits{};
            (void)std::snprintf(digits.data(), digits.size(), "%02X ",
                                layer.pData[node.iOffset + i]);
            text += digits.data();
        }
        if (node.iLength > shown_bytes) text.replace(text.size() - 1, 1, "..");
        text.resize(bytes_width, ' ');
        return text;
    }

    [[nodiscard]] static std::string length_of(const tMMS_Node& node) {
        std::string text = size_text(node.iLength);
        text.resize(std::max(bytes_width, text.size()), ' ');
        return text;
    }

    [[nodiscard]] std::string painted(const char* colour, const std::string& text) const {
        return style_.colour ? colour + text + upright : text;
    }

    const tMMS_Anatomy& anatomy_;
    const ExplainStyle& style_;
    std::string out_;
    uint32_t layer_ = 0;
    uint32_t header_ = 0;  // the next one whose node was not shown yet
    bool told_ = false;
};

NoteKind kind_of(uint8_t flaw) {
    if (flaw == MMS_FLAW_LOST) return NoteKind::lost;
    return flaw == MMS_FLAW_UNKNOWN ? NoteKind::unknown : NoteKind::repaired;
}

}  // namespace

std::string explain_text(const tMMS_Anatomy& anatomy, const ExplainStyle& style) {
    return Explanation(anatomy, style).text();
}

std::string explain_json(const tMMS_Anatomy& anatomy, std::optional<uint32_t> at) {
    JsonWriter json;
    json.array();
    for (uint32_t i = 0; i < anatomy.iNodes; ++i) {
        const tMMS_Node& node = anatomy.pNodes[i];
        if (at && !Explanation::holds(node, *at)) continue;
        json.object().key("offset").number(node.iOffset).key("length").number(node.iLength);
        json.key("depth").number(node.iDepth).key("name").text(node.pName);
        json.key("value").text(node.pValue).key("layer").number(node.iLayer);
        if (node.pFlaw != nullptr) {
            json.key("flaw").text(node.pFlaw);
            json.key("kind").text(note_kind_name(kind_of(node.iFlaw)));
        }
        json.end();
    }
    return json.end().document();
}

}  // namespace mmskit_tool
