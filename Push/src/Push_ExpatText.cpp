// One pass over a document. Of its markup only as much is understood as is needed to find
// references, names and targets of instructions; whatever is malformed is passed on as it is, and
// expat stops there before it comes to what was misread behind it.
#include "Push/src/Push_ExpatText.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>

#include "Push/src/Push_ExpatCharacters.h"

namespace mmskit {
namespace {

// A character in a name is written as two letters of ten bits each, behind a mark when a name may
// not begin with it.
constexpr uint32_t high_letter = 0x4E00;
constexpr uint32_t low_letter = 0xAC00;
constexpr uint32_t low_bits = 10;
constexpr uint32_t not_first_mark = 0x300;

char* put_name_character(char* out, uint32_t c) {
    if (is_in(c, name_rest)) out = put_utf8(out, not_first_mark);
    out = put_utf8(out, high_letter + (c >> low_bits));
    return put_utf8(out, low_letter + (c & ((1U << low_bits) - 1)));
}

// A control character of XML 1.1, which expat would refuse, goes through it behind a character that
// is for such internal use; that one too, when a document holds it.
constexpr uint32_t control_mark = 0xFDD0;

class Preparation {
  public:
    Preparation(Characters& in, char* out) : in_(in), out_(out) {}

    char* run() {
        while (!in_.ended()) {
            if (in_.ascii() == '&') {
                reference("<![CDATA[]]>");
            } else if (in_.ascii() != '<') {
                copy();
            } else if (in_.begins("<![CDATA[")) {
                copy_through("]]>");
            } else if (in_.begins("<?")) {
                instruction();
            } else {
                tag();
            }
        }
        return out_;
    }

  private:
    void put(const char* text) {
        while (*text != '\0')
            *out_++ = *text++;
    }
    void copy() {
        const uint32_t c = in_.next();
        if (c == control_mark) out_ = put_utf8(out_, c);
        out_ = put_utf8(out_, c);
    }
    void copy_bytes(uint32_t count) {
        for (; count != 0; --count)
            copy();
    }

    void copy_through(const char* close) {
        copy_bytes(3);  // an opening "<!--" is not half of "-->"
        while (!in_.ended() && !in_.begins(close))
            copy();
        if (!in_.ended()) copy_bytes(static_cast<uint32_t>(std::strlen(close)));
    }

    // Reads a name over; false when there is none.
    bool skip_name() {
        const char* before = in_.place();
        if (in_.ended() || !is_in(in_.next(), name_start)) {
            in_.go_back(before);
            return false;
        }
        while (!in_.ended()) {
            before = in_.place();
            if (!is_name(in_.next())) {
                in_.go_back(before);
                break;
            }
        }
        return true;
    }

    // Its target is of no interest, may be any name (also "xml"), and is written as "x".
    void instruction() {
        in_.skip(2);
        put(skip_name() ? "<?x" : "<?");
        while (!in_.ended() && !in_.begins("?>"))
            copy();
        if (!in_.ended()) copy_bytes(2);
    }

    void tag() {
        char quote = '\0';
        do {
            const char c = in_.ascii();
            if (quote != '\0' && c == '&') {
                reference("");
                continue;
            }
            if (quote == '\0') {
                if (c == '"' || c == '\'') quote = c;
                if (static_cast<uint8_t>(c) >= 0x80) {
                    const uint32_t character = in_.next();
                    out_ = is_name(character)  ? put_name_character(out_, character)
                           : character == '\n' ? put_utf8(out_, character)
                                               : put_utf8(out_, no_character);
                    continue;
                }
            } else if (c == quote) {
                quote = '\0';
            }
            copy();
            if (quote == '\0' && c == '>') return;
        } while (!in_.ended());
    }

    // `nothing` is how a text of no characters is written here.
    void reference(const char* nothing) {
        const char* begin = in_.place();
        in_.skip(1);
        if (in_.ascii() == '#' ? numeric_reference(nothing) : named_reference()) return;
        in_.go_back(begin + 1);
        put("& ");  // what follows must not make it a reference
    }

    // One to no character of XML gives no characters. False when it is malformed.
    bool numeric_reference(const char* nothing) {
        in_.skip(1);
        const bool hex = in_.ascii() == 'x';
        if (hex) in_.skip(1);
        uint32_t value = 0;
        for (; in_.ascii() != ';'; in_.skip(1)) {
            const int digit = digit_of(in_.ascii());
            if (digit < 0 || digit >= (hex ? 16 : 10)) return false;
            value = value * (hex ? 16 : 10) + static_cast<uint32_t>(digit);
            if (value > last_character) value = last_character + 1;
        }
        in_.skip(1);
        const bool control = in_.is_xml_1_1() && value != 0 && value < ' ';
        if (control && !is_in(value, valid)) {
            out_ = put_utf8(put_utf8(out_, control_mark), control_mark + value);
            return true;
        }
        if (!is_in(value, valid)) {
            put(nothing);
            return true;
        }
        if (value == control_mark) {
            out_ = put_utf8(put_utf8(out_, value), value);
            return true;
        }
        put("&#");
        char digits[8];
        char* at = digits + sizeof digits;
        for (*--at = '\0'; value != 0; value /= 10)
            *--at = static_cast<char>('0' + value % 10);
        put(at);
        put(";");
        return true;
    }

    // One to an entity that nobody declared is text.
    bool named_reference() {
        const char* begin = in_.place();
        if (!skip_name() || in_.ascii() != ';') return false;
        const auto length = static_cast<size_t>(in_.place() - begin);
        bool known = false;
        for (const char* name : {"lt", "gt", "amp", "apos", "quot"})
            known = known || (length == std::strlen(name) && std::memcmp(begin, name, length) == 0);
        put(known ? "&" : "&amp;");
        in_.go_back(begin);  // the rest is copied like any text
        return true;
    }

    static int digit_of(char c) {
        if (c >= '0' && c <= '9') return c - '0';
        if (c >= 'a' && c <= 'f') return c - 'a' + 10;
        return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
    }

    Characters& in_;
    char* out_;
};

bool opens(const Characters& in, const char* word) {
    return in.begins(word) && is_space(in.ascii(static_cast<uint32_t>(std::strlen(word))));
}

// A document that has an illegal character where a declaration is looked for is refused before it
// is read.
bool begins_illegally(Characters in) {
    if (in.begins(byte_order_mark)) in.skip(3);
    uint32_t same = 0;
    for (const char* word : {"<?xml ", "<?XML ", "<?NSL "}) {
        uint32_t length = 0;
        while (length < in.left() && word[length] != '\0' && in.ascii(length) == word[length])
            ++length;
        same = std::max(same, length);
    }
    in.skip(same);
    return !in.ended() && !is_in(in.next(), valid);
}

}  // namespace

uint32_t next_of_text(const char*& text) {
    const uint32_t c = next_of_utf8(text);
    if (c != control_mark) return c;
    const uint32_t marked = next_of_utf8(text);
    return marked == control_mark ? marked : marked - control_mark;
}

uint32_t next_of_name(const char*& name) {
    uint32_t c = next_of_utf8(name);
    if (c == not_first_mark) c = next_of_utf8(name);
    return c < 0x80 ? c : ((c - high_letter) << low_bits) + next_of_utf8(name) - low_letter;
}

char* prepare_for_expat(char* out, const char* text, uint32_t length) {
    Characters in(text, text + length);
    if (begins_illegally(in)) return nullptr;
    if (in.begins(byte_order_mark)) in.skip(3);
    // The same word in capitals, or that of another kind of declaration, is a malformed one.
    if (opens(in, "<?XML") || opens(in, "<?NSL")) return nullptr;
    if ((opens(in, "<?xml") || in.begins("<?xml?")) && !read_declaration(in)) return nullptr;
    // Expat would take a second mark for the first.
    if (in.begins(byte_order_mark)) out = put_utf8(out, no_character);
    return Preparation(in, out).run();
}

}  // namespace mmskit
