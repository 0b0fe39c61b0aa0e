// The XML parser, as the textual decoders see it: a tree of nodes with flat facts. Names, values
// and text are borrowed from the document that they were read from, in NUL-terminated UTF-16.
// Push_Rxp.cpp and Push_Expat.cpp are the only files that know a parser; a build has one of them
// (MMSKIT_XML), and both give the same facts, but that one may split text where the other does not.
#pragma once

#include <cstdint>
#include <cstdio>

#include "scshare/common/src/limits.h"

#pragma GCC visibility push(hidden)

namespace mmskit {

enum class XmlKind { element, text, error, other };

struct XmlNode {
    const void* node = nullptr;  // the parser's own
    XmlKind kind = XmlKind::other;
    const uint16_t* name = nullptr;  // local name of an element
    const uint16_t* text = nullptr;  // characters of a text
    int32_t children = 0;
};

struct XmlAttribute {
    const uint16_t* name;
    const uint16_t* value;
};

// All attributes of an element that the limits let through.
struct XmlAttributes {
    XmlAttribute items[limits::push_xml_element_attributes];
    uint32_t count = 0;
};

// One parse of one stream. What belongs to it is torn down at the end of the object's life,
// whatever became of the document; the parser's tables stay until xml_release(). The stream stays
// the caller's and must outlive it. One at a time.
class XmlDocument {
  public:
    XmlDocument() = default;
    ~XmlDocument();
    XmlDocument(const XmlDocument&) = delete;
    XmlDocument& operator=(const XmlDocument&) = delete;

    [[nodiscard]] bool open(FILE* stream);
    // Reads the whole document: its root element, or an error node. False when there is neither.
    [[nodiscard]] bool read(XmlNode& root);

  private:
    struct Parse;  // of the parser
    Parse* parse_ = nullptr;
};

// Gives back what the parser keeps between documents; the next one makes it anew. Not while a
// document is open.
void xml_release();

XmlNode xml_child(const XmlNode& parent, int32_t index);
// In document order.
void xml_attributes(const XmlNode& element, XmlAttributes& out);

// Whether a name or value is this ASCII text; a null one is not.
bool xml_equals(const uint16_t* text, const char* ascii);

// UTF-8 of `length` units, surrogates joined and unpaired ones as U+FFFD; room for 3 bytes a unit
// is asked for. The end of what was written.
uint64_t xml_length(const uint16_t* text);
char* xml_put_utf8(char* out, const uint16_t* text);
// A new text; null when memory is out.
[[nodiscard]] char* xml_copy_utf8(const uint16_t* text);

}  // namespace mmskit

#pragma GCC visibility pop
