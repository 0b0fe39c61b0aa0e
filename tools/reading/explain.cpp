// One line a node: where it is, its bytes, and indented by its depth its name, value and flaw. A
// node that has others below it in the same layer shows its length in place of its bytes.
#include "reading/explain.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "ground/file_io.h"
#include "ground/safe_text.h"
#include "reading/header_facts.h"
#include "reading/render.h"

namespace mmskit_tool {
namespace {

constexpr std::size_t shown_bytes = 8;
constexpr std::size_t shown_value = 120;  // bytes of a value
constexpr std::size_t number_width = 6;
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

    void print() {
        for (uint32_t i = 0; i < anatomy_.iNodes; ++i) {
            const tMMS_Node& node = anatomy_.pNodes[i];
            if (style_.at && !holds(node, *style_.at)) continue;
            if (node.iLayer != layer_) begin_layer(node.iLayer);
            if (refused_in(i)) add_refusal();
            add_node(node, is_leaf(i));
            write_grown_output(out_);
        }
        if (style_.refusal && !told_) add_refusal();
        write_output(out_);
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
        paint(dim, "-- layer " + std::to_string(layer) + ": " + visible(it.pName) + ", " +
                       size_text(it.iLength) + " --");
        out_ += '\n';
    }

    // The exact decoder stopped at this leaf, or at this header before its value.
    [[nodiscard]] bool refused_in(uint32_t index) const {
        if (!style_.refusal || told_) return false;
        const tMMS_Node& node = anatomy_.pNodes[index];
        const std::size_t stop = anatomy_.iMessageOffset + style_.refusal->offset.value_or(0);
        return node.iLayer == anatomy_.iMessageLayer && node.iOffset >= stop;
    }

    void add_refusal() {
        told_ = true;
        paint(red, "       the exact decoder stops here, at byte " +
                       std::to_string(style_.refusal->offset.value_or(0)) +
                       " of the message: " + style_.refusal->reason);
        out_ += '\n';
    }

    void add_node(const tMMS_Node& node, bool leaf) {
        begin_paint(dim);
        const std::string number = std::to_string(node.iOffset);
        out_.append(number_width - std::min(number.size(), number_width), ' ') += number;
        out_ += "  ";
        const std::size_t begin = out_.size();
        if (leaf)
            append_hex(node);
        else
            out_ += size_text(node.iLength);
        out_.append(bytes_width - std::min(out_.size() - begin, bytes_width), ' ');
        end_paint();
        out_.append(2 * std::size_t{node.iDepth}, ' ');
        paint(bold, visible(node.pName));
        if (const std::string value = value_of(node); !value.empty()) {
            out_ += "  ";
            out_ += value;
        }
        if (node.pFlaw != nullptr) {
            out_ += "  ";
            paint(red, "! " + visible(node.pFlaw));
        }
        out_ += '\n';
    }

    // Dates and times as a person reads them.
    [[nodiscard]] std::string value_of(const tMMS_Node& node) {
        const auto index = static_cast<uint32_t>(&node - anatomy_.pNodes);
        while (header_ < anatomy_.iHeaders && anatomy_.pHeaders[header_].iNode < index)
            ++header_;
        if (header_ == anatomy_.iHeaders || anatomy_.pHeaders[header_].iNode != index)
            return shortened(node.pValue);
        const tMMS_HeaderField& field = anatomy_.pHeaders[header_];
        const bool number = field.iForm >= MMS_VALUE_FLAG && field.iForm <= MMS_VALUE_PERIOD;
        return number ? value_line(header_fact(field)) : visible(field.pValue);
    }

    static std::string shortened(std::string_view text) {
        if (text.size() <= shown_value) return visible(text);
        std::string cut(text);
        cut_at_character(cut, shown_value);
        return visible(cut + "...");
    }

    void append_hex(const tMMS_Node& node) {
        constexpr std::string_view digits = "0123456789ABCDEF";
        const uint8_t* const bytes = anatomy_.pLayers[node.iLayer].pData + node.iOffset;
        for (std::size_t i = 0; i < std::min<std::size_t>(node.iLength, shown_bytes); ++i) {
            if (i != 0) out_ += ' ';
            out_ += digits[bytes[i] >> 4U];
            out_ += digits[bytes[i] & 15U];
        }
        if (node.iLength > shown_bytes) out_ += "..";
    }

    void begin_paint(const char* colour) {
        if (style_.colour) out_ += colour;
    }
    void end_paint() { begin_paint(upright); }
    void paint(const char* colour, std::string_view text) {
        begin_paint(colour);
        out_ += text;
        end_paint();
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

void explain_text(const tMMS_Anatomy& anatomy, const ExplainStyle& style) {
    Explanation(anatomy, style).print();
}

void explain_json(const tMMS_Anatomy& anatomy, std::optional<uint32_t> at) {
    JsonWriter json(JsonTarget::output);
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
    write_output(json.end().document());
}

}  // namespace mmskit_tool
