// The declaration at the head of a document, as forgiving as RXP is with it.
#include <strings.h>

#include <cctype>

#include "Push/src/Push_ExpatCharacters.h"

namespace mmskit {
namespace {

// The character sets that a declaration may name, and what the C library calls them; UTF-8 needs
// no table.
struct Encoding {
    const char* declared;
    const char* charset;
};
constexpr char latin_1[] = "ISO-8859-1";
constexpr Encoding encodings[] = {
    {"UTF-8", ""},
    {"ASCII", latin_1},
    {"US-ASCII", latin_1},
    {"ISO-646", latin_1},
    {"ISO-Latin-1", latin_1},
    {"ISO-Latin-2", "ISO-8859-2"},
    {"ISO-Latin-3", "ISO-8859-3"},
    {"ISO-Latin-4", "ISO-8859-4"},
    {latin_1, latin_1},
    {"ISO-8859-2", "ISO-8859-2"},
    {"ISO-8859-3", "ISO-8859-3"},
    {"ISO-8859-4", "ISO-8859-4"},
    {"ISO-8859-5", "ISO-8859-5"},
    {"ISO-8859-6", "ISO-8859-6"},
    {"ISO-8859-7", "ISO-8859-7"},
    {"ISO-8859-8", "ISO-8859-8"},
    {"ISO-8859-9", "ISO-8859-9"},
    {"ISO-8859-10", "ISO-8859-10"},
    {"ISO-8859-11", "ISO-8859-11"},
    {"ISO-8859-13", "ISO-8859-13"},
    {"ISO-8859-14", "ISO-8859-14"},
    {"ISO-8859-15", "ISO-8859-15"},
};

struct Value {
    const char* text;
    size_t length;
    bool is(const char* word) const {
        return length == std::strlen(word) && std::memcmp(text, word, length) == 0;
    }
    bool is_in_any_case(const char* word) const {
        return length == std::strlen(word) && strncasecmp(text, word, length) == 0;
    }
};

// From "<?xml" through "?>". Repeated and out of order attributes do no harm.
class Declaration {
  public:
    explicit Declaration(Characters& in) : in_(in) {}

    bool read() {
        in_.skip(5);
        bool versioned = false;
        while (skip_spaces() && in_.ascii() != '?') {
            Value value{};
            if (attribute("version", value)) {
                versioned = true;
                in_.use_xml_1_1(!is_xml_1_0(value));
            } else if (attribute("encoding", value)) {
                charset_ = charset_of(value);
                if (charset_ == nullptr) return false;
            } else if (!attribute("standalone", value) || !(value.is("yes") || value.is("no"))) {
                return false;
            }
        }
        if (!versioned || !in_.begins("?>")) return false;
        in_.skip(2);
        if (*charset_ == '\0') return true;
        return in_.use_charset(charset_);
    }

  private:
    bool skip_spaces() {
        const bool some = is_space(in_.ascii());
        while (is_space(in_.ascii()))
            in_.skip(1);
        return some;
    }

    // False when another name, or what is no attribute, follows.
    bool attribute(const char* name, Value& value) {
        if (!in_.begins(name)) return false;
        in_.skip(static_cast<uint32_t>(std::strlen(name)));
        skip_spaces();
        if (in_.ascii() != '=') return false;
        in_.skip(1);
        skip_spaces();
        const char quote = in_.ascii();
        if (quote != '"' && quote != '\'') return false;
        in_.skip(1);
        value.text = in_.place();
        while (is_value(in_.ascii()))
            in_.skip(1);
        value.length = static_cast<size_t>(in_.place() - value.text);
        if (in_.ascii() != quote) return false;
        in_.skip(1);
        return true;
    }

    // The minor number may be any other; what is no version of 1 is read as 1.1.
    static bool is_xml_1_0(const Value& version) {
        if (version.length < 3 || version.is("1.1") || std::memcmp(version.text, "1.", 2) != 0)
            return false;
        for (size_t i = 2; i < version.length; ++i)
            if (std::isdigit(static_cast<unsigned char>(version.text[i])) == 0) return false;
        return true;
    }

    static bool is_value(char c) {
        return c != '\0' && (std::isalnum(static_cast<unsigned char>(c)) != 0 ||
                             std::strchr("._:-", c) != nullptr);
    }

    // What the C library calls it; empty for UTF-8, null for what cannot be read.
    static const char* charset_of(const Value& name) {
        for (const Encoding& encoding : encodings)
            if (name.is_in_any_case(encoding.declared)) return encoding.charset;
        return nullptr;
    }

    Characters& in_;
    const char* charset_ = "";
};

}  // namespace

bool read_declaration(Characters& in) {
    return Declaration(in).read();
}

}  // namespace mmskit
