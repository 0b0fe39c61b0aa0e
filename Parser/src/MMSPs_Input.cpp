// SMIL text to tags: the cursor over the text, the scanner that finds one tag, and the splitter
// that finds its name and its attributes. All work is done in place, on views of the text; the
// named routines that give copies are faces over that. The text's length is declared by the message
// part that carries it; nothing past that length is read. Every step is linear in the text.
#include <array>
#include <cstring>

#include "Parser/src/smil_internal.h"
#include "scshare/common/src/eight_bytes.h"
#include "scshare/common/src/owned.h"

extern "C" {

constexpr const char* SmilTag[15] = {"smil",  "head",   "body",        "layout", "meta",
                                     "par",   "region", "root-layout", "text",   "img",
                                     "audio", "ref",    "video",       "param",  nullptr};
constexpr const char* SmilAttribute[16] = {"left", "top",     "height", "width", "fit", "id",
                                           "src",  "region",  "alt",    "begin", "end", "dur",
                                           "name", "content", "value",  nullptr};

}  // extern "C"

namespace mmskit {
namespace {

// What ends a piece of a tag. Tabs are no blanks here, so a tab becomes part of a name. A tag in
// its place ends with the only ">" in it and a text of its own with a NUL, so that a walk up to one
// of these classes needs no other bound.
enum CharClass : uint8_t {
    class_not_blank = 1,
    class_ends_tag_name = 2,
    class_ends_attribute_name = 4,
    class_no_attribute = 8,
    class_ends_value = 16
};

constexpr auto char_classes = [] {
    std::array<uint8_t, 256> classes{};
    const auto mark = [&classes](const char* characters, uint8_t as) {
        for (; *characters != '\0'; ++characters) {
            uint8_t& entry = classes[static_cast<unsigned char>(*characters)];
            entry = static_cast<uint8_t>(entry ^ as);
        }
    };
    for (uint8_t& entry : classes)
        entry = class_not_blank;
    mark(" \r\n", class_not_blank);
    mark(" \r\n>", class_ends_tag_name);
    mark(" \r\n=>/", class_ends_attribute_name);
    mark("=/>", class_no_attribute);
    mark("\">", class_ends_value);
    classes[0] = 0xFF;
    return classes;
}();

bool is_in(char c, CharClass wanted) {
    return (char_classes[static_cast<unsigned char>(c)] & wanted) != 0;
}

const char* find_class(const char* p, CharClass wanted) {
    while (!is_in(*p, wanted))
        ++p;
    return p;
}

// Where an attribute's name ends. A "/" ends it only as part of "/>".
const char* attribute_name_end(const char* p) {
    for (;;) {
        p = find_class(p, class_ends_attribute_name);
        if (*p != '/' || p[1] == '>') return p;
        ++p;
    }
}

TextView between(const char* from, const char* to) {
    return {from, static_cast<size_t>(to - from)};
}

}  // namespace

void exhaust_cursor() {
    if (parser_state.wSMIL_TotalSize < 1) return;
    parser_state.bpSMIL_CurChar += parser_state.wSMIL_TotalSize;
    parser_state.wSMIL_TotalSize = 0;
}

// ---- Names ----------------------------------------------------------------------------------

namespace {

constexpr bool is_letter(char c) {
    return (c | 0x20) >= 'a' && (c | 0x20) <= 'z';
}

// As fnSC_STRICMP, the document's name first (stricmp_ignores_non_letter_difference).
bool agrees(const char* name, const char* known, size_t size) {
    for (size_t i = 0; i < size; ++i)
        if (name[i] != known[i] && is_letter(name[i]) && (name[i] ^ known[i]) != 0x20) return false;
    return true;
}

// Names that are shorter, as most are, are compared whole.
constexpr int32_t word_size = sizeof(uint64_t);

// A table of names of which no two agree with the same name of letters.
template <size_t Count>
class Names {
  public:
    constexpr explicit Names(const char* const (&table)[Count + 1]) : table_(table) {
        words_[0] = UINT64_MAX;
        for (size_t i = 0; i < Count; ++i) {
            sizes_[i] = static_cast<uint8_t>(__builtin_strlen(table[i]));
            for (size_t at = 0; at < sizes_[i] && sizes_[i] < word_size; ++at)
                words_[i + 1] |= static_cast<uint64_t>(table[i][at]) << 8 * at;
        }
        for (int tries = 0; tries < 10000 && !spread_; ++tries) {
            factor_ = factor_ * 0x5851F42D4C957F2D + 1;
            spread_ = spreads();
        }
    }

    int32_t find(TextView name) const {
        for (size_t i = 0; i < Count; ++i)
            if (sizes_[i] == name.size && agrees(name.data, table_[i], name.size))
                return static_cast<int32_t>(i);
        return -1;
    }

    // Whether a row is exactly this, of less than eight bytes with zeros behind them.
    bool find_word(uint64_t word, int32_t& index) const {
        const uint8_t row = places_[place_of(word)];
        index = row - 1;
        return words_[row] == word;
    }

    constexpr bool is_spread() const { return spread_; }

  private:
    static constexpr size_t room = 32;

    constexpr size_t place_of(uint64_t word) const {
        return static_cast<size_t>(word * factor_ >> 59);
    }

    // Puts every row at a place of its own, if this factor can.
    constexpr bool spreads() {
        for (uint8_t& place : places_)
            place = 0;
        for (size_t row = 1; row <= Count; ++row) {
            if (words_[row] == 0) continue;
            uint8_t& place = places_[place_of(words_[row])];
            if (place != 0) return false;
            place = static_cast<uint8_t>(row);
        }
        return true;
    }

    const char* const* table_;
    uint64_t words_[Count + 1] = {};  // of the rows that fit, behind one that is no word
    uint64_t factor_ = 1;
    uint8_t places_[room] = {};
    uint8_t sizes_[Count] = {};
    bool spread_ = false;
};

constexpr Names<14> tags(SmilTag);
constexpr Names<15> attributes(SmilAttribute);
static_assert(tags.is_spread() && attributes.is_spread());

}  // namespace

bool is_named(TextView name, TextView known) {
    return name.equals(known) ||
           (name.size == known.size && agrees(name.data, known.data, name.size));
}

// ---- Scanning ---------------------------------------------------------------------------------

namespace {

// A word of eight bytes may be read where the text goes on for more than this, its next two too.
constexpr int32_t word_room = word_size + 2;

// The text of the next tag, from "<" through ">", and the cursor behind it.
inline bool next_tag_text(TextView& tag) {
    if (parser_state.bpSMIL_CurChar == nullptr || parser_state.wSMIL_TotalSize < 1) return false;
    const char* const text = parser_state.bpSMIL_CurChar;
    const char* const end = text + parser_state.wSMIL_TotalSize;
    const auto* begin =
        static_cast<const char*>(std::memchr(text, '<', static_cast<size_t>(end - text)));
    const auto* last =
        begin != nullptr
            ? static_cast<const char*>(std::memchr(begin, '>', static_cast<size_t>(end - begin)))
            : nullptr;
    parser_state.bpSMIL_CurChar = last != nullptr ? last + 1 : end;
    parser_state.wSMIL_TotalSize = static_cast<int32_t>(end - parser_state.bpSMIL_CurChar);
    if (last == nullptr) return false;
    tag = between(begin, last + 1);
    return true;
}

// A tag as it stands in the text.
struct TagView {
    TextView name;
    TextView rest;  // from behind the name on; empty when no attributes are looked for
    bool closing = false;
    bool slash_in_name = false;
};

// False for a text that begins no tag.
inline bool split_name(TextView text, TagView& tag) {
    if (text.size < 2 || text.data[0] != '<' || text.data[1] == '?' || text.data[1] == '!')
        return false;
    tag.closing = text.data[1] == '/';
    const char* const name = find_class(text.data + (tag.closing ? 2 : 1), class_not_blank);
    const char* const p = find_class(name, class_ends_tag_name);
    if (*p == '\0' || p == name) return false;
    tag.name = between(name, p);
    // QUIRK slash_belongs_to_name: "<par/>" is an empty tag named "par/", which no table knows;
    // an element is recognised as empty only with a blank before "/>".
    tag.slash_in_name = p[-1] == '/';
    tag.rest = tag.slash_in_name || *p == '>' ? TextView(p, 0) : between(p, text.end());
    return true;
}

// Takes one attribute after the other off a text that is not empty.
struct AttributeWalk {
    const char* p;
    const char* end;
    TextView name = {};
    TextView value = {};

    // False where reading attributes stops; `p` is then there.
    bool next() {
        p = find_class(p, class_not_blank);
        if (is_in(*p, class_no_attribute)) return false;
        const char* const from = p;
        p = attribute_name_end(p);
        if (*p == '\0' || *p == '/' || *p == '>') return false;
        name = between(from, p);
        // Only double quotes enclose a value; whatever stands before them is passed over.
        const char* quote = p;
        while (quote != end && *quote != '"')
            ++quote;
        if (quote == end) return false;
        // A value that meets ">" first ends the reading of attributes. That covers "/>" as well.
        p = quote + 1;
        const char* const close = find_class(p, class_ends_value);
        if (*close != '"') return false;
        value = between(p, close);
        p = close + 1;
        return true;
    }
};

// The attribute at `p` of a tag in its place when it is written as usual: a blank, a known name and
// `="`. Null for any other, else where it ends. `last_word` is that of the tag, `end` its own.
inline const char* plain_attribute(const char* p, const char* last_word, const char* end,
                                   Attributes::Item& out) {
    if (p >= last_word || *p != ' ') return nullptr;
    const char* const name = p + 1;
    const uint64_t word = eight_bytes(name);
    const uint64_t behind = mark_below(word, 'A');
    if (behind == 0) return nullptr;
    int32_t index = -1;
    if (!attributes.find_word(bytes_before(word, behind), index)) return nullptr;
    const size_t size = count_before(behind);
    const char* const value = name + size + 2;
    if (value[-2] != '=' || value[-1] != '"') return nullptr;
    const char* close = value;
    uint64_t quote = 0;
    for (;; close += word_size) {
        if (close >= last_word) return nullptr;
        quote = mark_byte(eight_bytes(close), '"');
        if (quote != 0) break;
    }
    close += count_before(quote);
    if (close >= end) return nullptr;
    out = {index, {name, size}, {value, static_cast<size_t>(close - value)}};
    return close + 1;
}

// The next tag when it has the usual form, a known name with a blank or the tag's end behind it.
// False, and the cursor where it was, for any other.
inline bool next_plain_tag(Tag& out) {
    const char* const text = parser_state.bpSMIL_CurChar;
    if (text == nullptr || parser_state.wSMIL_TotalSize < word_size) return false;
    const char* const end = text + parser_state.wSMIL_TotalSize;
    const uint64_t begin = mark_byte(eight_bytes(text), '<');
    if (begin == 0) return false;
    const char* name = text + count_before(begin) + 1;
    if (end - name <= word_room) return false;
    const bool closing = *name == '/';
    name += closing ? 1 : 0;
    const uint64_t word = eight_bytes(name);
    const uint64_t marks = mark_below(word, 'A');
    if (marks == 0 || !tags.find_word(bytes_before(word, marks), out.index)) return false;
    const char* const behind = name + count_before(marks);
    const char* last = behind;
    if (*behind == ' ')
        last =
            static_cast<const char*>(std::memchr(behind, '>', static_cast<size_t>(end - behind)));
    else if (*behind != '>')
        return false;
    if (last == nullptr) return false;
    out.type = last[-1] == '/' ? empty_tag : closing ? closing_tag : opening_tag;
    out.rest = between(behind, *behind == ' ' ? last + 1 : behind);
    out.last_word = end - word_room;
    parser_state.bpSMIL_CurChar = last + 1;
    parser_state.wSMIL_TotalSize = static_cast<int32_t>(end - last - 1);
    return true;
}

// The next tag in any form.
[[gnu::noinline, gnu::cold]] bool next_any_tag(Tag& out) {
    TextView text;
    while (next_tag_text(text)) {
        TagView tag;
        if (!split_name(text, tag)) continue;
        out.index = tags.find(tag.name);
        if (out.index < 0) continue;
        const bool empty = tag.slash_in_name || text.end()[-2] == '/';
        out.type = empty ? empty_tag : tag.closing ? closing_tag : opening_tag;
        out.rest = tag.rest;
        out.last_word = text.size > word_room ? text.end() - word_room : text.data;
        return true;
    }
    return false;
}

}  // namespace

bool next_tag(Tag& out) {
    return next_plain_tag(out) || next_any_tag(out);
}

namespace {

// Null where reading attributes stops, else where the one at `p` ends.
[[gnu::noinline, gnu::cold]] const char* any_attribute(const char* p, const char* end,
                                                       Attributes::Item& out) {
    AttributeWalk walk{p, end};
    if (!walk.next()) return nullptr;
    out = {attributes.find(walk.name), walk.name, walk.value};
    return walk.p;
}

}  // namespace

// cppcheck-suppress uninitMemberVar  ; the room is filled as it is counted
Attributes::Attributes(const Tag& tag) {
    const char* p = tag.rest.data;
    const char* const end = tag.rest.end();
    if (p == end) return;
    Item* item = items_;
    const Item* full = items_ + usual_count;
    for (;; ++item) {
        const char* behind = plain_attribute(p, tag.last_word, end, *item);
        if (behind == nullptr) {
            if (is_in(p[*p == ' ' ? 1 : 0], class_no_attribute)) break;
            behind = any_attribute(p, end, *item);
            if (behind == nullptr) break;
        }
        p = behind;
        if (item != full) continue;
        if (!grow(static_cast<size_t>(end - p))) {
            exhaust_cursor();
            return;
        }
        item = items_ + usual_count;
        full = nullptr;
    }
    last_ = item;
}

[[gnu::cold]] bool Attributes::grow(size_t bytes) {
    // A name of one character at least, what ends it, and two quotes. Behind these items nothing is
    // asked again, so no attribute may take less of the tag.
    constexpr size_t shortest = sizeof "a=\"\"" - 1;
    const uint64_t room = usual_count + 2 + bytes / shortest;
    auto* larger = static_cast<Item*>(allocate_unfilled(room * sizeof(Item)));
    if (larger == nullptr) return false;
    std::memcpy(static_cast<void*>(larger), items_, sizeof usual_);
    block_.reset(larger);
    last_ = items_ = larger;
    return true;
}

// ---- Tags as records --------------------------------------------------------------------------

namespace {

struct TagFree {
    void operator()(tSMIL_Tag* tag) const { SmilFreeTagStruct(tag); }
};
using OwnedTag = Owned<tSMIL_Tag, TagFree>;

bool push_attribute(tSMIL_Tag& tag, const AttributeWalk& from) {
    auto* attribute = new_record<tSMIL_Attr>();
    if (attribute == nullptr) return false;
    attribute->Next = tag.AttrList;
    tag.AttrList = attribute;
    attribute->Name = copy_text(from.name.data, from.name.size);
    attribute->Value = copy_text(from.value.data, from.value.size);
    return attribute->Name != nullptr && attribute->Value != nullptr;
}

// Null for a text that is no tag, and when memory is out.
tSMIL_Tag* copy_tag(TextView text) {
    TagView view;
    if (!split_name(text, view)) return nullptr;
    OwnedTag tag(new_record<tSMIL_Tag>());
    if (!tag) return nullptr;
    tag->Name = copy_text(view.name.data, view.name.size);
    if (tag->Name == nullptr) return nullptr;
    AttributeWalk walk{view.rest.data, text.end()};
    if (view.rest.size != 0) {
        while (walk.next())
            if (!push_attribute(*tag, walk)) return nullptr;
        walk.p = find_class(walk.p, class_ends_value);
        while (*walk.p == '"')
            walk.p = find_class(walk.p + 1, class_ends_value);
        if (*walk.p == '\0') return nullptr;
    }
    const char* const p = walk.p;
    tag->Type = p[-1] == '/' ? empty_tag : view.closing ? closing_tag : opening_tag;
    return tag.release();
}

}  // namespace

}  // namespace mmskit

using namespace mmskit;

extern "C" {

int32_t SmilInitInput(const char* text, int32_t length) {
    if (text == nullptr || length < 1) return 0;
    const auto size = static_cast<size_t>(length);
    if (strnlen(text, size) < size) return 0;
    parser_state.bpSMIL_CurChar = text;
    parser_state.wSMIL_TotalSize = length;
    // The references of the text before stand in it.
    for (LookUp* last : {&parser_state.text, &parser_state.visual, &parser_state.audio})
        *last = {};
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
    TextView tag;
    if (!next_tag_text(tag)) return nullptr;
    char* const copy = copy_text(tag.data, tag.size);
    if (copy == nullptr) exhaust_cursor();
    return copy;
}

tSMIL_Tag* SmilParseTag(const char* tagText) {
    return tagText != nullptr ? copy_tag(tagText) : nullptr;
}

void SmilFreeTagStruct(tSMIL_Tag* tag) {
    if (tag == nullptr) return;
    while (tag->AttrList != nullptr) {
        tSMIL_Attr* attribute = tag->AttrList;
        tag->AttrList = attribute->Next;
        deallocate(attribute->Name);
        deallocate(attribute->Value);
        deallocate(attribute);
    }
    deallocate(tag->Name);
    deallocate(tag);
}

int32_t SmilIsTag(const char* name) {
    return name != nullptr ? tags.find(name) : -1;
}

int32_t SmilIsAttr(const char* name) {
    return name != nullptr ? attributes.find(name) : -1;
}

char* SmilGetWord(const char* begin, const char* end) {
    if (begin == nullptr || end == nullptr || begin >= end) return nullptr;
    return copy_text(begin, static_cast<size_t>(end - begin));
}

}  // extern "C"
