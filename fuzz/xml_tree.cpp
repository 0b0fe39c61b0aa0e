// Compiled once a parser; MMSKIT_TREE_OF is what the function is called.
#include "fuzz/xml_tree.h"

#include <cstdio>

#include "Push/src/Push_XmlTree.h"
#include "scshare/common/src/owned.h"

// The library's own bears the other name of the namespace.
void mmskit::deallocate(void* p) {
    fnSC_Free(&p);
}

namespace {

std::string utf8(const uint16_t* text) {
    std::string out(static_cast<size_t>(3 * mmskit::xml_length(text)), '\0');
    out.resize(size_t(mmskit::xml_put_utf8(out.data(), text) - out.data()));
    return out;
}

// Neighbouring texts are one, however the parser splits them.
void put(std::string& out, const mmskit::XmlNode& node) {
    using mmskit::XmlKind;
    if (node.kind == XmlKind::text) {
        if (out.back() != '"') out += '"';
        out.insert(out.size() - 1, utf8(node.text));
        return;
    }
    if (node.kind != XmlKind::element) {
        out += node.kind == XmlKind::error ? "!" : "?";
        return;
    }
    out += '<' + utf8(node.name);
    mmskit::XmlAttributes attributes;
    mmskit::xml_attributes(node, attributes);
    for (uint32_t i = 0; i < attributes.count; ++i)
        out += ' ' + utf8(attributes.items[i].name) + "='" + utf8(attributes.items[i].value) + '\'';
    out += '>';
    for (int32_t i = 0; i < node.children; ++i)
        put(out, mmskit::xml_child(node, i));
    out += "</>";
}

}  // namespace

std::string fuzz::MMSKIT_TREE_OF(const std::string& cleaned) {
    FILE* stream = fmemopen(const_cast<char*>(cleaned.data()), cleaned.size(), "r");
    std::string out;
    {
        mmskit::XmlDocument document;
        mmskit::XmlNode root;
        if (!document.open(stream)) {
            out = "not opened";
        } else if (!document.read(root)) {
            out = "no root";
        } else {
            put(out, root);
        }
    }
    (void)fclose(stream);
    return out;
}
