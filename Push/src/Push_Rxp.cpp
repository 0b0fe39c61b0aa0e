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
    if (source == nullptr) return false;
    parse_->document_entity = source->entity;
    parse_->source = source;
    if (!tables.make()) return false;
    Parser parser = NewParser();
    if (parser == nullptr) return false;
    parse_->parser = parser;
    ParserSetEntityOpener(parser, refuse_entity);
    ParserSetWarningCallback(parser, ignore_warning);
    // From here on the source is the parser's, which also keeps one that it then refuses.
    if (ParserPush(parser, source) == -1 && parser->source == nullptr) return false;
    parse_->source = nullptr;
    return parser->state != PS_error;
}

bool XmlDocument::read(XmlNode& root) {
    for (;;) {
        XBit tree = ReadXTree(parse_->parser);
        if (tree == nullptr) return false;
        parse_->tree = tree;
        root = facts_of(tree);
        if (root.kind == XmlKind::element || root.kind == XmlKind::error) return true;
        // An instruction before the root element comes as a tree of its own.
        if (tree->type == XBIT_eof) return false;
        FreeXTree(tree);
        parse_->tree = nullptr;
    }
}

XmlDocument::~XmlDocument() {
    if (parse_ == nullptr) return;
    const auto [source, parser, document_entity, tree] = *parse_;
    fnSC_Free(&parse_);
    if (tree != nullptr) FreeXTree(tree);
    if (parser != nullptr) {
        while (parser->source != nullptr)
            ParserPop(parser);
    }
    if (source != nullptr) SourceClose(source);
    if (parser != nullptr) {
        FreeDtd(parser->dtd);
        FreeParser(parser);
    }
    if (document_entity != nullptr) FreeEntity(document_entity);
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
    for (const auto* a = first; a != nullptr && count < limits::push_xml_element_attributes;
         a = a->next)
        ++count;
    out.count = count;
    // The parser lists them backwards.
    for (const auto* a = first; count != 0; a = a->next)
        out.items[--count] = {a->definition->name, a->value};
}

}  // namespace mmskit
