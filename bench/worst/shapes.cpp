#include "bench/worst/shapes.h"

#include <algorithm>

#include "tests/support/bytes.h"

namespace worst {
namespace {

using testing_support::bytes;
using testing_support::part;
using testing_support::uintvar;

const std::string zero(1, '\0');
const std::string retrieved = bytes("8C 84 98 'T' 00 8D 92 89 04 80 'a@' 00");
const std::string png = bytes("A0");
const std::string text_type = bytes("83");
const std::string utf16_text =
    bytes("05 83 81 02 03 F7");  // a short length: MIB 1015 in two octets

std::string times(const std::string& piece, size_t size) {
    std::string out;
    out.reserve(size + piece.size());
    while (out.size() < size)
        out += piece;
    return out;
}

std::string number(size_t n) {
    std::string text = std::to_string(n);
    return std::string(6 - std::min<size_t>(6, text.size()), '0') + text;
}

std::string located(const std::string& type, const std::string& name) {
    return type + "\x8E" + name + zero;
}

std::string message(const std::string& parts, size_t count) {
    return retrieved + bytes("84 A3") + uintvar(count) + parts;
}

std::string smil(const std::string& inside) {
    return part("application/smil" + zero, "<smil><body><par>" + inside + "</par></body></smil>");
}

std::string with_smil(const std::string& inside, const std::string& parts, size_t count) {
    return message(smil(inside) + parts, count + 1);
}

std::string many_parts(size_t size, const std::string& one) {
    return message(times(one, size), size / one.size() + 1);
}

// `referring` of the size is references made by number, the rest parts that are named so.
std::string references(size_t size, size_t share, std::string (*name)(size_t), const char* tag) {
    std::string inside, parts;
    size_t count = 0;
    for (; parts.size() < size - size / share; ++count)
        parts += part(located(png, name(count)), "x");
    for (size_t i = 0; inside.size() < size / share; ++i)
        inside += "<" + std::string(tag) + " src=\"" + name(count - 1 - i % count) + "\"/>";
    return with_smil(inside, parts, count);
}

std::string digits(size_t n) {
    return "picture" + number(n) + ".png";
}
std::string letters(size_t n) {
    std::string out;
    for (int i = 0; i < 20; ++i, n /= 2)
        out += n % 2 != 0 ? 'a' : '1';
    return out;
}
std::string random_letters(size_t n) {
    std::string out;
    uint64_t state = n;
    for (int i = 0; i < 20; ++i) {
        state = state * 6364136223846793005U + 1442695040888963407U;
        out += static_cast<char>('a' + (state >> 33) % 26);
        out += (state >> 50) % 2 != 0 ? "-" : "";
    }
    return out;
}
std::string same(size_t) {
    return "a";
}

std::string referred(size_t size, const std::string& entry, const std::string& tag) {
    return with_smil(times(tag, size - std::min(size, entry.size())), entry, 1);
}

std::string regions(size_t size) {
    std::string layout, inside;
    for (size_t i = 0; layout.size() < size / 2; ++i)
        layout += "<region id=\"" + number(i) + "\"/>";
    inside = times("<img src=\"a\" region=\"x\" />", size / 2);
    return message(part("application/smil" + zero, "<smil><head><layout>" + layout +
                                                       "</layout></head><body><par>" + inside +
                                                       "</par></body></smil>") +
                       part(located(png, "a"), "x"),
                   2);
}

std::string nested(size_t size) {
    const std::string inmost = part(png, "x");
    std::vector<std::string> heads;  // from the inmost out
    size_t inside = inmost.size();
    while (inside < size) {
        heads.push_back(uintvar(1) + uintvar(inside + 1) + "\xA3\x01");
        inside += heads.back().size();
    }
    std::string out;
    for (auto head = heads.rbegin(); head != heads.rend(); ++head)
        out += *head;
    return message(out + inmost, 1);
}

std::string folded(size_t size) {  // doubling: bodies in bodies, two in each
    std::string inside = part(png, "x");
    while (inside.size() < size / 2)
        inside = part("\xA3", "\x02" + inside + inside);
    return message(inside, 1);
}

}  // namespace

const std::vector<Shape> messages = {
    {"parts of 4 bytes", [](size_t n) { return many_parts(n, bytes("01 01 A0 'x'")); }},
    {"texts of 1 byte", [](size_t n) { return many_parts(n, bytes("01 01 83 'x'")); }},
    {"UTF-16 texts", [](size_t n) { return many_parts(n, part(utf16_text, bytes("00 'a'"))); }},
    {"empty parts", [](size_t n) { return many_parts(n, bytes("01 00 A0")); }},
    {"nested parts", nested},
    {"folded parts", folded},
    {"references, digits", [](size_t n) { return references(n, 2, digits, "img"); }},
    {"references, letters", [](size_t n) { return references(n, 2, letters, "img"); }},
    {"references, random letters",
     [](size_t n) { return references(n, 2, random_letters, "img"); }},
    {"references, 16,000 parts",
     [](size_t n) {
         const size_t count = 16000;
         return with_smil(times("<img src=\"a\"/>", n - std::min(n, 6 * count)),
                          times(bytes("01 01 A0 'x'"), 4 * count), count);
     }},
    {"references, 16,000 texts",
     [](size_t n) {
         const size_t count = 16000;
         const std::string texts = times(bytes("01 01 83 'x'"), 4 * count);
         std::string inside;
         for (size_t i = 0; inside.size() + texts.size() < n; ++i)
             inside += "<text src=\"MMS_Text00" + std::to_string(i * 7 % count) + ".txt\"/>";
         return with_smil(inside, texts, count);
     }},
    {"references, one name", [](size_t n) { return references(n, 2, same, "img"); }},
    {"references, few parts", [](size_t n) { return references(n, 20, digits, "img"); }},
    {"one UTF-16 text, referred",
     [](size_t n) {
         return referred(n, part(located(utf16_text, "t"), times(bytes("4E 00"), n * 9 / 20)),
                         "<text src=\"t\"/>");
     }},
    {"one text, referred",
     [](size_t n) {
         return referred(n, part(located(text_type, "t"), times("x", n / 2)), "<text src=\"t\"/>");
     }},
    {"a long name, referred",
     [](size_t n) {
         return referred(n, part(located(png, "t") + "\xC0\"i" + zero, "x"), "<img src=\"i\"/>") +
                part(located(png, times("n", n / 2)) + "\xC0\"j" + zero, "x");
     }},
    {"a long name, referred by id",
     [](size_t n) {
         return referred(n, part(located(png, times("n", n / 2)) + "\xC0\"i" + zero, "x"),
                         "<img src=\"i\"/>");
     }},
    {"a long type, referred",
     [](size_t n) {
         return referred(n, part(located("image/" + times("n", n / 2) + zero, "i"), "x"),
                         "<img src=\"i\"/>");
     }},
    {"a long name, on slides",
     [](size_t n) {
         return referred(n, part(located(png, times("n", n / 2)) + "\xC0\"i" + zero, "x"),
                         "</par><par><img src=\"i\"/>");
     }},
    {"a long type, on slides",
     [](size_t n) {
         return referred(n, part(located("image/" + times("n", n / 2) + zero, "i"), "x"),
                         "</par><par><img src=\"i\"/>");
     }},
    {"a text, on slides",
     [](size_t n) {
         return referred(n, part(located(text_type, "t"), "x"), "</par><par><text src=\"t\"/>");
     }},
    {"a charset of many prefixes",
     [](size_t n) {
         return message(part("text/plain; charset=" + times("cs", n) + "utf8" + zero, "x"), 1);
     }},
    {"regions", regions},
    {"slides", [](size_t n) { return with_smil(times("</par><par>", n), part(png, "x"), 1); }},
    {"elements", [](size_t n) { return with_smil(times("<img />", n), part(png, "x"), 1); }},
    {"attributes",
     [](size_t n) { return with_smil("<img " + times("a=\"\" ", n) + "/>", part(png, "x"), 1); }},
    {"deep tags", [](size_t n) { return with_smil(times("<a>", n), part(png, "x"), 1); }},
    {"open angles", [](size_t n) { return with_smil(times("<", n), part(png, "x"), 1); }},
    {"headers", [](size_t n) { return bytes("8C 84") + times(bytes("86 80"), n); }},
    {"textual headers", [](size_t n) { return bytes("8C 84") + times(bytes("'a' 00 'b' 00"), n); }},
    {"texts that end nowhere",
     [](size_t n) { return bytes("8C 84") + times(bytes("96 03 EA 'ab'"), n); }},
    {"unknown codes", [](size_t n) { return bytes("8C 84") + times(bytes("F0 80"), n); }},
    {"encoded words",
     [](size_t n) { return bytes("8C 84 96") + times("=?utf-8?Q?a?= ", n) + '\0'; }},
    {"recipients",
     [](size_t n) {
         return bytes("8C 84 98 'T' 00 8D 92") + times(bytes("97 'a' 00"), n) +
                message("", 0).substr(8);
     }},
    {"encoded recipients",
     [](size_t n) {
         return bytes("8C 84 98 'T' 00 8D 92") + times(bytes("97 03 EA 'a' 00"), n) +
                bytes("84 A3 00");
     }},
    {"Content-Locations",
     [](size_t n) { return message(part(png + times(bytes("8E 'a' 00"), n), "x"), 1); }},
    {"Name parameters",
     [](size_t n) {
         const std::string parameters = times(bytes("85 'a' 00"), n);
         return message(part("\x1F" + uintvar(parameters.size() + 1) + png + parameters, "x"), 1);
     }},
    {"zeros", [](size_t n) { return message(std::string(n, '\0'), n); }},
    {"ones", [](size_t n) { return message(std::string(n, '\x01'), n); }},
    {"0xFF", [](size_t n) { return message(std::string(n, '\xFF'), n); }},
    {"text", [](size_t n) { return std::string(n, 'a'); }},
};

const std::vector<Shape> wbxml_pushes = {
    {"strings", [](size_t n) { return bytes("02 05 04 00 45") + times(bytes("03 'a' 00"), n); }},
    {"suffixes",
     [](size_t n) { return bytes("02 05 04 00 45") + times(bytes("03 'a' 00 85 03 'b' 00"), n); }},
    {"addresses",
     [](size_t n) { return bytes("02 05 04 00 45 C6") + times(bytes("0B 03 'a' 00"), n); }},
    {"dates", [](size_t n) { return bytes("02 05 04 00 45 C6") + times(bytes("0A C3 01 20"), n); }},
    {"table references",
     [](size_t n) {
         const std::string table(n / 2, '\0');
         return bytes("02 05 04") + uintvar(table.size()) + table + "E" +
                times(bytes("83 7F"), n / 2);
     }},
};

const std::vector<Shape> xml_pushes = {
    {"text", [](size_t n) { return "<si><indication>" + times("a", n) + "</indication></si>"; }},
    {"comments", [](size_t n) { return "<si>" + times("<!---->", n) + "<indication/></si>"; }},
    {"tags", [](size_t n) { return "<si>" + times("<indication/>", n) + "</si>"; }},
    {"references",
     [](size_t n) { return "<si><indication>" + times("&amp;", n) + "</indication></si>"; }},
    {"deep", [](size_t n) { return times("<a>", n); }},
    {"declarations", [](size_t n) { return times("<!DOCTYPE a>", n) + "<si/>"; }},
    {"angles", [](size_t n) { return times("<", n); }},
};

const std::vector<Shape> stores = {
    {"zeros", [](size_t n) { return std::string(n, '\0'); }},
    {"entries", [](size_t n) { return times(bytes("'k' 00 'v' 00 0A"), n); }},
    {"one key behind others",
     [](size_t n) {
         return times(bytes("'a' 00 'v' 00 0A"), n / 2) + times(bytes("'k' 00 'v' 00 0A"), n / 2);
     }},
    {"line feeds", [](size_t n) { return times(bytes("00 00 0A"), n); }},
    {"one value", [](size_t n) { return bytes("'k' 00") + times("v", n); }},
};

const std::vector<Shape> descriptions = {
    {"slides",
     [](size_t n) {
         return "{\"to\":[\"a@b\"],\"slides\":[" + times("{\"text\":\"a\"},", n) + "{}]}";
     }},
    {"recipients",
     [](size_t n) {
         return "{\"to\":[" + times("\"a@b\",", n) + "\"a@b\"],\"slides\":[{\"text\":\"a\"}]}";
     }},
    {"deep arrays", [](size_t n) { return "{\"to\":" + times("[", n); }},
    {"deep objects", [](size_t n) { return times("{\"slides\":", n); }},
    {"one text",
     [](size_t n) {
         return "{\"to\":[\"a@b\"],\"slides\":[{\"text\":\"" + times("a", n) + "\"}]}";
     }},
    {"keys",
     [](size_t n) {
         std::string out = "{\"to\":[\"a@b\"]";
         for (size_t i = 0; out.size() < n; ++i)
             out += ",\"k" + number(i) + "\":1";
         return out + "}";
     }},
};

size_t body_start(const std::string& message) {
    const size_t at = message.find("\x84\xA3");
    return at == std::string::npos ? 0 : at;
}

}  // namespace worst
