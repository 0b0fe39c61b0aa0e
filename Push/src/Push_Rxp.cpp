// RXP 1.5.0 behind Push_XmlTree.h. What it does by default and must not do here: open external
// entities (also over HTTP), print warnings. What it leaves to its caller: the stream, the
// document's entity, and the order of release, in which sources go before what they read from.
#include "Push/src/Push_XmlTree.h"

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

// The parser's tables are most of what a short document costs, so they are made once.
struct ParserTables {
    bool made = false;

    bool make() {
        if (!made) made = init_parser() != -1;
        return made;
    }
};
ParserTables tables;

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

}  // namespace

struct XmlDocument::Parse {
    InputSource source;
    Parser parser;
    Entity document_entity;
    XBit tree;
};

bool XmlDocument::open(FILE* stream) {
    parse_ = new_record<Parse>();
    if (parse_ == nullptr) return false;
    InputSource source = SourceFromStream("XMLFile", stream);
    if (source == nullptr) return false;  // unreachable: RXP's own memory
    parse_->document_entity = source->entity;
    parse_->source = source;
    Parser parser = tables.make() ? NewParser() : nullptr;  // unreachable: RXP's own memory
    if (parser == nullptr) return false;                    // unreachable: RXP's own memory
    parse_->parser = parser;
    const auto refuse = [](Entity, void*) { return InputSource(); };  // unreachable: refused before
    ParserSetEntityOpener(parser, refuse);
    ParserSetWarningCallback(parser, ignore_warning);
    // From here on the source is the parser's, which also keeps one that it then refuses.
    const bool refused = ParserPush(parser, source) == -1;
    if (refused && parser->source == nullptr) return false;  // unreachable: RXP's own memory
    parse_->source = nullptr;
    return parser->state != PS_error;
}

bool XmlDocument::read(XmlNode& root) {
    for (;;) {
        XBit tree = ReadXTree(parse_->parser);
        parse_->tree = tree;
        if (tree == nullptr) return false;         // unreachable: RXP's own memory
        if (tree->type == XBIT_eof) return false;  // unreachable: a lack of a root is an error
        root = facts_of(tree);
        if (root.kind == XmlKind::element || root.kind == XmlKind::error) return true;
        // An instruction before the root element comes as a tree of its own.
        FreeXTree(tree);
        parse_->tree = nullptr;
    }
}

XmlDocument::~XmlDocument() {
    if (parse_ == nullptr) return;
    const auto [source, parser, document_entity, tree] = *parse_;
    fnSC_Free(&parse_);
    if (tree != nullptr) FreeXTree(tree);
    if (parser != nullptr) {  // unreachable: RXP's own memory
        while (parser->source != nullptr)
            ParserPop(parser);
        FreeDtd(parser->dtd);
        FreeParser(parser);
    }
    if (source != nullptr) SourceClose(source);                   // unreachable: RXP's own memory
    if (document_entity != nullptr) FreeEntity(document_entity);  // unreachable: RXP's own memory
}

void xml_release() {
    if (tables.made) deinit_parser();
    tables.made = false;
}

XmlNode xml_child(const XmlNode& parent, int32_t index) {
    return facts_of(static_cast<const xbit*>(parent.node)->children[index]);
}

void xml_attributes(const XmlNode& element, XmlAttributes& out) {
    const auto* first = static_cast<const xbit*>(element.node)->attributes;
    uint32_t count = 0;
    for (const auto* a = first; a != nullptr; a = a->next) {
        if (count == limits::push_xml_element_attributes) break;  // unreachable: refused before
        ++count;
    }
    out.count = count;
    // The parser lists them backwards.
    for (const auto* a = first; count != 0; a = a->next)
        out.items[--count] = {a->definition->name, a->value};
}

}  // namespace mmskit
