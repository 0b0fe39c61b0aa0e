// SMIL text to tags: the cursor over the text, the scanner that cuts out one tag, and the splitter
// that turns it into name, kind and attributes. The text's length is declared by the message part
// that carries it; nothing past that length is read. Every step is linear in the text.
#include <cstring>

#include "Parser/src/smil_internal.h"
#include "scshare/common/src/owned.h"

namespace mmskit {
namespace {

// Tabs are no blanks here, so a tab becomes part of a name.
const char* skip_blanks(const char* p) {
    return p + std::strspn(p, " \r\n");
}

// Where an attribute's name ends. A "/" ends it only as part of "/>".
const char* attribute_name_end(const char* p) {
    for (;;) {
        p += std::strcspn(p, " \r\n=>/");
        if (*p != '/' || p[1] == '>') return p;
        ++p;
    }
}

// The closing quote of a value, or null: a value that meets ">" first ends the reading of
// attributes. That covers "/>" as well.
const char* value_end(const char* p) {
    p += std::strcspn(p, "\">");
    return *p == '"' ? p : nullptr;
}

bool push_attribute(tSMIL_Tag& tag, const char* name, const char* name_end, const char* value,
                    const char* end) {
    auto* attribute = new_record<tSMIL_Attr>();
    if (attribute == nullptr) return false;
    attribute->Next = tag.AttrList;
    tag.AttrList = attribute;
    attribute->Name = SmilGetWord(name, name_end);
    attribute->Value = copy_text(value, static_cast<size_t>(end - value));
    return attribute->Name != nullptr && attribute->Value != nullptr;
}

// Reads attributes from `p` on, and leaves `p` where reading stopped. False when memory ran out.
bool read_attributes(tSMIL_Tag& tag, const char*& p) {
    for (;;) {
        p = skip_blanks(p);
        if (*p == '\0' || std::strchr("=/>", *p) != nullptr) return true;
        const char* const name = p;
        p = attribute_name_end(name);
        if (*p == '\0' || *p == '/' || *p == '>') return true;
        // Only double quotes enclose a value; whatever stands before them is passed over.
        const char* const quote = std::strchr(p, '"');
        if (quote == nullptr) return true;
        const char* const end = value_end(quote + 1);
        if (end == nullptr) {
            p = quote + 1;
            return true;
        }
        if (!push_attribute(tag, name, p, quote + 1, end)) return false;
        p = end + 1;
    }
}

}  // namespace

bool split_tag(const char* text, tSMIL_Tag*& out) {
    out = nullptr;
    if (text == nullptr || text[0] != '<' || text[1] == '?' || text[1] == '!') return true;
    const bool closing = text[1] == '/';
    const char* const name = skip_blanks(text + (closing ? 2 : 1));
    const char* p = name + std::strcspn(name, " \r\n>");
    if (*p == '\0' || p == name) return true;

    OwnedTag tag(new_record<tSMIL_Tag>());
    if (!tag) return false;
    tag->Name = SmilGetWord(name, p);
    if (tag->Name == nullptr) return false;
    // QUIRK slash_belongs_to_name: "<par/>" is an empty tag named "par/", which no table knows;
    // an element is recognised as empty only with a blank before "/>".
    const bool slash_in_name = p[-1] == '/';
    if (!slash_in_name && *p != '>') {
        if (!read_attributes(*tag, p)) return false;
        p += std::strcspn(p, ">");
        if (*p == '\0') return true;
    }
    tag->Type = p[-1] == '/' ? empty_tag : closing ? closing_tag : opening_tag;
    out = tag.release();
    return true;
}

namespace {

int32_t find_name(const char* const* table, const char* name) {
    for (int32_t i = 0; table[i] != nullptr; ++i)
        if (fnSC_STRICMP(name, table[i]) == 0) return i;
    return -1;
}

}  // namespace

void exhaust_cursor() {
    if (parser_state.wSMIL_TotalSize < 1) return;
    parser_state.bpSMIL_CurChar += parser_state.wSMIL_TotalSize;
    parser_state.wSMIL_TotalSize = 0;
}

}  // namespace mmskit

using namespace mmskit;

extern "C" {

const char* const SmilTag[15] = {"smil",  "head",   "body",        "layout", "meta",
                                 "par",   "region", "root-layout", "text",   "img",
                                 "audio", "ref",    "video",       "param",  nullptr};

const char* const SmilAttribute[16] = {"left", "top",     "height", "width", "fit", "id",
                                       "src",  "region",  "alt",    "begin", "end", "dur",
                                       "name", "content", "value",  nullptr};

int32_t SmilInitInput(const char* text, int32_t length) {
    if (text == nullptr || length < 1) return 0;
    const auto size = static_cast<size_t>(length);
    if (strnlen(text, size) < size) return 0;
    parser_state.bpSMIL_CurChar = text;
    parser_state.wSMIL_TotalSize = length;
    return 1;
}

int32_t SmilGetChar(char* out) {
    if (out == nullptr || parser_state.bpSMIL_CurChar == nullptr ||
        parser_state.wSMIL_TotalSize < 1)
        return 0;
    *out = *parser_state.bpSMIL_CurChar++;
    --parser_state.wSMIL_TotalSize;
    return 1;
}

char* SmilGetOneTag(void) {
    if (parser_state.bpSMIL_CurChar == nullptr || parser_state.wSMIL_TotalSize < 1) return nullptr;
    const char* const text = parser_state.bpSMIL_CurChar;
    const char* const end = text + parser_state.wSMIL_TotalSize;
    exhaust_cursor();  // holds for every way of failing below
    const auto* begin =
        static_cast<const char*>(std::memchr(text, '<', static_cast<size_t>(end - text)));
    if (begin == nullptr) return nullptr;
    const auto* last =
        static_cast<const char*>(std::memchr(begin, '>', static_cast<size_t>(end - begin)));
    if (last == nullptr) return nullptr;
    char* const tag = SmilGetWord(begin, last + 1);
    if (tag == nullptr) return nullptr;
    parser_state.bpSMIL_CurChar = last + 1;
    parser_state.wSMIL_TotalSize = static_cast<int32_t>(end - (last + 1));
    return tag;
}

tSMIL_Tag* SmilParseTag(const char* tagText) {
    tSMIL_Tag* tag = nullptr;
    return split_tag(tagText, tag) ? tag : nullptr;
}

void SmilFreeTagStruct(tSMIL_Tag* tag) {
    if (tag == nullptr) return;
    while (tag->AttrList != nullptr) {
        tSMIL_Attr* attribute = tag->AttrList;
        tag->AttrList = attribute->Next;
        fnSC_Free(&attribute->Name);
        fnSC_Free(&attribute->Value);
        fnSC_Free(&attribute);
    }
    fnSC_Free(&tag->Name);
    fnSC_Free(&tag);
}

int32_t SmilIsTag(const char* name) {
    return find_name(SmilTag, name);
}

int32_t SmilIsAttr(const char* name) {
    return find_name(SmilAttribute, name);
}

char* SmilGetWord(const char* begin, const char* end) {
    if (begin == nullptr || end == nullptr || begin >= end) return nullptr;
    return copy_text(begin, static_cast<size_t>(end - begin));
}

}  // extern "C"
