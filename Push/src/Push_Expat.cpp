// Expat behind Push_XmlTree.h. It reports what it reads piece by piece; the tree is put together
// here, in three blocks whose sizes follow from the document. Expat's own memory goes through the
// library's door too.
#include <expat.h>

#include <algorithm>
#include <cstddef>
#include <new>

#include "Push/src/Push_ExpatText.h"
#include "Push/src/Push_XmlTree.h"
#include "scshare/common/src/owned.h"

namespace mmskit {
namespace {

// ---- Memory ----------------------------------------------------------------------------------

// Before each block stands its size, for the sake of growing.
constexpr size_t block_head = alignof(std::max_align_t);

void* get_block(size_t size) {
    auto* block = static_cast<uint8_t*>(allocate(uint64_t{size} + block_head));
    if (block == nullptr) return nullptr;
    std::memcpy(block, &size, sizeof size);
    return block + block_head;
}

void free_block(void* p) {
    if (p == nullptr) return;
    void* block = static_cast<uint8_t*>(p) - block_head;
    fnSC_Free(&block);
}

void* grow_block(void* p, size_t size) {
    void* larger = get_block(size);
    if (larger == nullptr) return nullptr;
    if (p == nullptr) return larger;  // unreachable: expat makes what it lets grow before that
    size_t before = 0;
    std::memcpy(&before, static_cast<uint8_t*>(p) - block_head, sizeof before);
    std::memcpy(larger, p, std::min(before, size));
    free_block(p);
    return larger;
}

constexpr XML_Memory_Handling_Suite memory{get_block, grow_block, free_block};

// ---- The tree --------------------------------------------------------------------------------

struct Node {
    XmlNode facts;
    const Node* children;  // facts.children of them
    const XmlAttribute* attributes;
    uint32_t attribute_count;
    uint32_t parent;  // while it is open: where in the list of the pending the parent stands
};

constexpr uint32_t none = UINT32_MAX;

// Nodes wait in a list, each behind the one that it is in. When that one ends, those behind it are
// all its children, and move out of the list into their final place.
class Tree {
  public:
    // Room for what a text with so many bytes, "<" and "=" can hold.
    bool make_room(uint64_t bytes, uint64_t openings, uint64_t values) {
        const uint64_t most = 2 * openings + 2;  // each may have a text before it
        units_.reset(static_cast<uint16_t*>(allocate((bytes + 2) * sizeof(uint16_t))));
        pending_.reset(static_cast<Node*>(allocate(most * sizeof(Node))));
        nodes_.reset(static_cast<Node*>(allocate(most * sizeof(Node))));
        attributes_.reset(
            static_cast<XmlAttribute*>(allocate((values + 1) * sizeof(XmlAttribute))));
        return units_ && pending_ && nodes_ && attributes_;
    }

    bool complete() const { return complete_; }
    Node& root() const { return *pending_; }

    void start(const char* name, const char** attributes) {
        Node& node = add(XmlKind::element);
        node.parent = open_;
        open_ = count_ - 1;
        const char* colon = std::strchr(name, ':');
        node.facts.name = put(colon != nullptr ? colon + 1 : name, next_of_name);
        node.attributes = attributes_.get() + attribute_count_;
        for (; *attributes != nullptr; attributes += 2, ++node.attribute_count)
            attributes_.get()[attribute_count_++] = {put(attributes[0], next_of_name),
                                                     put(attributes[1], next_of_text)};
    }

    // True when that was the root.
    bool end() {
        Node& node = pending_.get()[open_];
        const uint32_t first = open_ + 1;
        node.children = nodes_.get() + placed_;
        node.facts.children = static_cast<int32_t>(count_ - first);
        std::copy(pending_.get() + first, pending_.get() + count_, nodes_.get() + placed_);
        placed_ += count_ - first;
        count_ = first;
        open_ = node.parent;
        complete_ = open_ == none;
        return complete_;
    }

    // What follows on a text belongs to it.
    void text(const char* characters, size_t length) {
        const bool goes_on = count_ > open_ + 1 && last().facts.kind == XmlKind::text;
        if (!goes_on) {
            add(XmlKind::text).facts.text = units_.get() + unit_count_;
        } else {
            --unit_count_;
        }
        for (const char* end = characters + length; characters < end;)
            put(next_of_text(characters));
        units_.get()[unit_count_++] = 0;
    }

    void other() {
        if (open_ != none) add(XmlKind::other);
    }

  private:
    Node& last() const { return pending_.get()[count_ - 1]; }

    Node& add(XmlKind kind) {
        ++count_;
        last() = {};
        last().facts.kind = kind;
        return last();
    }

    void put(uint32_t c) {
        uint16_t* units = units_.get();
        if (c >= 0x10000) {
            units[unit_count_++] = static_cast<uint16_t>(0xD800 + ((c - 0x10000) >> 10));
            c = 0xDC00 + (c & 0x3FF);
        }
        units[unit_count_++] = static_cast<uint16_t>(c);
    }

    const uint16_t* put(const char* text, uint32_t (*next)(const char*&)) {
        const uint16_t* begin = units_.get() + unit_count_;
        for (uint32_t c = next(text); c != 0; c = next(text))
            put(c);
        units_.get()[unit_count_++] = 0;
        return begin;
    }

    Owned<uint16_t> units_;
    Owned<Node> pending_, nodes_;
    Owned<XmlAttribute> attributes_;
    uint32_t unit_count_ = 0, count_ = 0, placed_ = 0, attribute_count_ = 0;
    uint32_t open_ = none;
    bool complete_ = false;
};

}  // namespace

// ---- Reading ---------------------------------------------------------------------------------

struct XmlDocument::Parse {
    XML_Parser parser = nullptr;
    OwnedText text;  // as it is given to expat
    uint32_t length = 0;
    Tree tree;

    bool prepare(FILE* stream);
    bool set_up();
    ~Parse() {
        if (parser != nullptr) XML_ParserFree(parser);
    }
};

namespace {

Tree& tree_of(void* parser) {
    return *static_cast<Tree*>(XML_GetUserData(static_cast<XML_Parser>(parser)));
}

void on_start(void* parser, const char* name, const char** attributes) {
    tree_of(parser).start(name, attributes);
}

// What stands behind the root is not looked at.
void on_end(void* parser, const char*) {
    if (tree_of(parser).end()) (void)XML_StopParser(static_cast<XML_Parser>(parser), XML_FALSE);
}

void on_text(void* parser, const char* characters, int length) {
    tree_of(parser).text(characters, static_cast<size_t>(length));
}

void on_section(void* parser) {
    tree_of(parser).text("", 0);  // an empty section is a text too
}

void on_instruction(void* parser, const char*, const char*) {
    tree_of(parser).other();
}

}  // namespace

bool XmlDocument::Parse::prepare(FILE* stream) {
    const OwnedText read(static_cast<char*>(allocate(limits::push_xml_text)));
    if (!read) return false;
    const auto count =
        static_cast<uint32_t>(std::fread(read.get(), 1, limits::push_xml_text, stream));
    text.reset(static_cast<char*>(allocate(prepared_room(count))));
    if (!text) return false;
    const char* end = prepare_for_expat(text.get(), read.get(), count);
    if (end == nullptr) return false;
    length = static_cast<uint32_t>(end - text.get());
    return true;
}

bool XmlDocument::Parse::set_up() {
    const auto count = [this](char c) {
        return static_cast<uint64_t>(std::count(text.get(), text.get() + length, c));
    };
    if (!tree.make_room(length, count('<'), count('='))) return false;
    parser = XML_ParserCreate_MM("UTF-8", &memory, nullptr);
    if (parser == nullptr) return false;
    XML_SetUserData(parser, &tree);
    XML_UseParserAsHandlerArg(parser);
    XML_SetElementHandler(parser, on_start, on_end);
    XML_SetCharacterDataHandler(parser, on_text);
    XML_SetCdataSectionHandler(parser, on_section, nullptr);
    XML_SetProcessingInstructionHandler(parser, on_instruction);
    return true;
}

bool XmlDocument::open(FILE* stream) {
    void* block = allocate(sizeof(Parse));
    if (block == nullptr) return false;
    parse_ = new (block) Parse;
    return parse_->prepare(stream) && parse_->set_up();
}

bool XmlDocument::read(XmlNode& root) {
    (void)XML_Parse(parse_->parser, parse_->text.get(), static_cast<int>(parse_->length), 1);
    if (!parse_->tree.complete()) {
        root = {};
        root.kind = XmlKind::error;
        return XML_GetErrorCode(parse_->parser) != XML_ERROR_NO_MEMORY;
    }
    root = parse_->tree.root().facts;
    root.node = &parse_->tree.root();
    return true;
}

XmlDocument::~XmlDocument() {
    if (parse_ == nullptr) return;
    parse_->~Parse();
    fnSC_Free(&parse_);
}

// Nothing is kept between documents.
void xml_release() {}

XmlNode xml_child(const XmlNode& parent, int32_t index) {
    const Node& child = static_cast<const Node*>(parent.node)->children[index];
    XmlNode facts = child.facts;
    facts.node = &child;
    return facts;
}

void xml_attributes(const XmlNode& element, XmlAttributes& out) {
    const auto* node = static_cast<const Node*>(element.node);
    out.count = std::min(node->attribute_count, limits::push_xml_element_attributes);
    std::copy_n(node->attributes, out.count, out.items);
}

}  // namespace mmskit
