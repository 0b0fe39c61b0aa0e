// RXP 1.5.0 behind Push_Rxp.h. What it does by default and must not do here: open external entities
// (also over HTTP), print warnings. What it leaves to its caller: the stream, the document's
// entity, and the order of release, in which sources go before what they read from.
#include "Push/src/Push_Rxp.h"

#include "scshare/common/src/owned.h"

// Last, since RXP's headers have no linkage guards and define macros with everyday names. Its
// characters are 16 bits wide as Debian builds it.
#define CHAR_SIZE 16
extern "C" {
#include <rxp/xmlparser.h>
}
#undef get
#undef unget

namespace mmskit {
namespace {

InputSource refuse_entity(Entity, void*) {
    return nullptr;
}

void ignore_warning(XBit, void*) {}

XmlKind kind_of(XBitType type) {
    switch (type) {
        case XBIT_start:
        case XBIT_empty:
            return XmlKind::element;
        case XBIT_pcdata:
        case XBIT_cdsect:
            return XmlKind::text;
        case XBIT_error:
            return XmlKind::error;
        default:
            return XmlKind::other;
    }
}

XmlNode facts_of(const xbit* bit) {
    XmlNode node{bit, kind_of(bit->type), nullptr, nullptr, bit->nchildren};
    if (bit->element_definition != nullptr) node.name = bit->element_definition->local;
    if (node.kind == XmlKind::text) node.text = bit->S1;
    return node;
}

constexpr bool is_surrogate(uint32_t unit, uint32_t first) {
    return unit >= first && unit < first + 0x400;
}
constexpr uint32_t high_surrogate = 0xD800;
constexpr uint32_t low_surrogate = 0xDC00;

uint32_t next_code_point(const uint16_t*& text) {
    constexpr uint32_t replacement = 0xFFFD;
    const uint32_t unit = *text++;
    if (is_surrogate(unit, high_surrogate) && is_surrogate(*text, low_surrogate))
        return 0x10000 + ((unit - high_surrogate) << 10) + (*text++ - low_surrogate);
    const bool lone = is_surrogate(unit, high_surrogate) || is_surrogate(unit, low_surrogate);
    return lone ? replacement : unit;
}

char* put_code_point(char* out, uint32_t c) {
    const auto put = [&out](uint32_t byte) { *out++ = static_cast<char>(byte); };
    if (c < 0x80) {
        put(c);
        return out;
    }
    if (c < 0x800) {
        put(0xC0 | (c >> 6));
    } else {
        if (c < 0x10000) {
            put(0xE0 | (c >> 12));
        } else {
            put(0xF0 | (c >> 18));
            put(0x80 | ((c >> 12) & 0x3F));
        }
        put(0x80 | ((c >> 6) & 0x3F));
    }
    put(0x80 | (c & 0x3F));
    return out;
}

}  // namespace

bool XmlDocument::open(FILE* stream) {
    InputSource source = SourceFromStream("XMLFile", stream);
    if (source == nullptr) return false;
    document_entity_ = source->entity;
    source_ = source;
    initialized_ = init_parser() != -1;
    if (!initialized_) return false;
    Parser parser = NewParser();
    if (parser == nullptr) return false;
    parser_ = parser;
    ParserSetEntityOpener(parser, refuse_entity);
    ParserSetWarningCallback(parser, ignore_warning);
    // From here on the source is the parser's, which also keeps one that it then refuses.
    if (ParserPush(parser, source) == -1 && parser->source == nullptr) return false;
    source_ = nullptr;
    return parser->state != PS_error;
}

bool XmlDocument::read(XmlNode& root) {
    auto* parser = static_cast<Parser>(parser_);
    for (;;) {
        XBit tree = ReadXTree(parser);
        if (tree == nullptr) return false;
        tree_ = tree;
        root = facts_of(tree);
        if (root.kind == XmlKind::element || root.kind == XmlKind::error) return true;
        // An instruction before the root element comes as a tree of its own.
        if (tree->type == XBIT_eof) return false;
        FreeXTree(tree);
        tree_ = nullptr;
    }
}

XmlDocument::~XmlDocument() {
    auto* parser = static_cast<Parser>(parser_);
    if (tree_ != nullptr) FreeXTree(static_cast<XBit>(tree_));
    if (parser != nullptr) {
        while (parser->source != nullptr)
            ParserPop(parser);
    }
    if (source_ != nullptr) SourceClose(static_cast<InputSource>(source_));
    if (parser != nullptr) {
        FreeDtd(parser->dtd);
        FreeParser(parser);
    }
    if (document_entity_ != nullptr) FreeEntity(static_cast<Entity>(document_entity_));
    if (initialized_) deinit_parser();
}

XmlNode xml_child(const XmlNode& parent, int32_t index) {
    return facts_of(static_cast<const xbit*>(parent.node)->children[index]);
}

void xml_attributes(const XmlNode& element, XmlAttributes& out) {
    const auto* first = static_cast<const xbit*>(element.node)->attributes;
    uint32_t count = 0;
    for (const auto* a = first; a != nullptr && count < limits::push_xml_element_attributes;
         a = a->next)
        ++count;
    out.count = count;
    // The parser lists them backwards.
    for (const auto* a = first; count != 0; a = a->next)
        out.items[--count] = {a->definition->name, a->value};
}

bool xml_equals(const uint16_t* text, const char* ascii) {
    if (text == nullptr) return false;
    while (*ascii != '\0' && *text == static_cast<unsigned char>(*ascii)) {
        ++text;
        ++ascii;
    }
    return *ascii == '\0' && *text == 0;
}

uint64_t xml_length(const uint16_t* text) {
    uint64_t units = 0;
    while (text != nullptr && text[units] != 0)
        ++units;
    return units;
}

char* xml_put_utf8(char* out, const uint16_t* text) {
    while (text != nullptr && *text != 0)
        out = put_code_point(out, next_code_point(text));
    return out;
}

char* xml_copy_utf8(const uint16_t* text) {
    auto* copy = static_cast<char*>(allocate(3 * xml_length(text) + 1));
    if (copy != nullptr) xml_put_utf8(copy, text);
    return copy;
}

}  // namespace mmskit
