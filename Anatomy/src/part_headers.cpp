// Reads content types and part headers into nodes and facts; see part_headers.h.
#include "Anatomy/src/part_headers.h"

#include "Anatomy/src/charset.h"
#include "Anatomy/src/letters.h"
#include "Anatomy/src/library_text.h"
#include "Anatomy/src/wsp_fields.h"

namespace mmskit_anatomy {
namespace {

// Types that were assigned after those of the exact library.
constexpr struct {
    uint8_t first;
    std::string_view names[16];
} later_types[] = {
    {0x35,
     {"text/vnd.wap.connectivity-xml", "application/vnd.wap.connectivity-wbxml",
      "application/pkcs7-mime", "application/vnd.wap.hashed-certificate",
      "application/vnd.wap.signed-certificate", "application/vnd.wap.cert-response",
      "application/xhtml+xml", "application/wml+xml", "text/css", "application/vnd.wap.mms-message",
      "application/vnd.wap.rollover-certificate", "application/vnd.wap.locc+wbxml",
      "application/vnd.wap.loc+xml", "application/vnd.syncml.dm+wbxml",
      "application/vnd.syncml.dm+xml", "application/vnd.syncml.notification"}},
    {0x45,
     {"application/vnd.wap.xhtml+xml", "application/vnd.wv.csp.cir", "application/vnd.oma.dd+xml"}},
    {0x4C,
     {"application/vnd.wv.csp+xml", "application/vnd.wv.csp+wbxml",
      "application/vnd.syncml.ds.notification", "audio/*", "video/*", "application/vnd.oma.dd2+xml",
      "application/mikey"}}};

std::string_view later_type(uint8_t number) {
    for (const auto& run : later_types)
        if (number >= run.first &&
            static_cast<std::size_t>(number - run.first) < std::size(run.names) &&
            !run.names[number - run.first].empty())
            return run.names[number - run.first];
    return {};
}

bool is_well_known(uint8_t number) {
    return number < library_types || !later_type(number).empty() ||
           well_known_media_type(number) != nullptr;
}

// ---- Names and parameters ----

std::string clean_name(std::string_view raw) {
    std::string name = readable(unquoted(raw));
    decode_words(name);
    return name;
}

std::string without_brackets(std::string text) {
    if (text.starts_with('<')) text.erase(0, 1);
    if (text.ends_with('>')) text.pop_back();
    return text;
}

void set_charset(ContentType& type, std::string_view name) {
    type.has_charset = true;
    type.charset = charset_number(name);
    const std::string_view known = charset_name(type.charset);
    type.charset_name = known.empty() ? lower_case(readable(unquoted(name))) : std::string(known);
}

void set_charset(ContentType& type, uint64_t mib) {
    type.has_charset = true;
    type.charset = static_cast<uint32_t>(std::min<uint64_t>(mib, UINT32_MAX));
    type.charset_name = charset_name(type.charset);
    if (type.charset_name.empty() && mib != 0) type.charset_name = std::to_string(mib);
}

// RFC 5987: charset'language'percent-encoded.
std::string extended_value(std::string_view raw) {
    const std::size_t first = raw.find('\'');
    const std::size_t second = first == raw.npos ? raw.npos : raw.find('\'', first + 1);
    if (second == raw.npos) return clean_name(raw);
    std::string bytes;
    for (std::size_t i = second + 1; i < raw.size(); ++i) {
        const int high = raw[i] == '%' && i + 2 < raw.size() ? hex_digit(raw[i + 1]) : -1;
        const int low = high >= 0 ? hex_digit(raw[i + 2]) : -1;
        bytes.push_back(low >= 0 ? static_cast<char>(high * 16 + low) : raw[i]);
        if (low >= 0) i += 2;
    }
    return to_utf8(bytes_of(bytes), 0, raw.substr(0, first)).utf8;
}

void set_named(ContentType& type, std::string_view name, std::string_view value) {
    name = trimmed(name);
    const bool extended = name.ends_with('*');
    if (extended) name.remove_suffix(1);
    const auto text = [&] {
        return extended ? extended_value(unquoted(value)) : clean_name(value);
    };
    if (same_word(name, "charset"))
        set_charset(type, unquoted(value));
    else if (same_word(name, "name"))
        type.name = text();
    else if (same_word(name, "filename"))
        type.filename = text();
    else if (same_word(name, "start"))
        type.start = without_brackets(text());
    else if (same_word(name, "type"))
        type.start_type = text();
}

// "a/b; name=value; name="a;b"": the first word is returned, the others are set.
std::string_view split_text(std::string_view text, ContentType& type) {
    bool quoted = false;
    std::string_view first;
    std::size_t begin = 0;
    for (std::size_t i = 0; i <= text.size(); ++i) {
        if (i < text.size() && text[i] == '"') quoted = !quoted;
        if (i < text.size() && (text[i] != ';' || quoted)) continue;
        const std::string_view piece = text.substr(begin, i - begin);
        const std::size_t sign = piece.find('=');
        if (begin == 0)
            first = trimmed(piece);
        else if (sign != piece.npos)
            set_named(type, piece.substr(0, sign), piece.substr(sign + 1));
        begin = i + 1;
    }
    return first;
}

void set_type_text(ContentType& type, std::string_view raw) {
    type.sent = readable(raw);
    const std::string text = type.sent;
    type.type = lower_case(split_text(text, type));
}

// Parameters by their codes (WAP-230 table 38); what is not here is passed by its form.
struct Parameter {
    uint8_t code;
    const char* name;
    void (*set)(ContentType& type, std::string_view text);
};
constexpr Parameter parameters[] = {
    {0x80, "Q", nullptr},
    {0x81, "Charset", [](ContentType& t, std::string_view v) { set_charset(t, unquoted(v)); }},
    {0x82, "Level", nullptr},
    {0x83, "Type", nullptr},
    {0x85, "Name", [](ContentType& t, std::string_view v) { t.name = clean_name(v); }},
    {0x86, "Filename", [](ContentType& t, std::string_view v) { t.filename = clean_name(v); }},
    {0x87, "Differences", nullptr},
    {0x88, "Padding", nullptr},
    {0x89, "Type", [](ContentType& t, std::string_view v) { t.start_type = clean_name(v); }},
    {0x8A, "Start",
     [](ContentType& t, std::string_view v) { t.start = without_brackets(clean_name(v)); }},
    {0x8B, "Start-info", nullptr},
    {0x8C, "Comment", nullptr},
    {0x8D, "Domain", nullptr},
    {0x8E, "Max-Age", nullptr},
    {0x8F, "Path", nullptr},
    {0x90, "Secure", nullptr},
    {0x91, "SEC", nullptr},
    {0x92, "MAC", nullptr},
    {0x93, "Creation-date", nullptr},
    {0x94, "Modification-date", nullptr},
    {0x95, "Read-date", nullptr},
    {0x96, "Size", nullptr},
    {0x97, "Name", [](ContentType& t, std::string_view v) { t.name = clean_name(v); }},
    {0x98, "Filename", [](ContentType& t, std::string_view v) { t.filename = clean_name(v); }},
    {0x99, "Start",
     [](ContentType& t, std::string_view v) { t.start = without_brackets(clean_name(v)); }},
    {0x9A, "Start-info", nullptr},
    {0x9B, "Comment", nullptr},
    {0x9C, "Domain", nullptr},
    {0x9D, "Path", nullptr},
};
constexpr uint8_t charset_parameter = 0x81, type_parameter = 0x89;

const Parameter* find_parameter(uint8_t code) {
    for (const Parameter& parameter : parameters)
        if (parameter.code == code) return &parameter;
    return nullptr;
}

std::string shown_parameter(uint8_t code) {
    const Parameter* const parameter = find_parameter(code);
    return parameter != nullptr ? parameter->name : "parameter " + hex_octet(code);
}

// The value of a parameter; how it reads goes into `shown`, unless that is null.
void read_coded(Cursor& in, uint8_t code, MediaTypes& types, ContentType& type,
                std::string* shown) {
    const Parameter* const parameter = find_parameter(code);
    const uint32_t start = in.at;
    if (code == charset_parameter && (in.peek() >= 0x80 || in.peek() <= longest_short_length)) {
        const auto number = in.integer();
        set_charset(type, number ? number->value : 0);
        if (shown != nullptr) *shown = type.charset_name;
        return;
    }
    if (code == type_parameter && in.peek() >= 0x80) {
        type.start_type = well_known_type(in.octet(), types);
        if (shown != nullptr) *shown = type.start_type;
        return;
    }
    if (parameter != nullptr && parameter->set != nullptr && in.peek() > length_quote) {
        bool ended = false;  // a text that begins with other letters than Latin ones, too
        const std::string_view text = in.text(ended);
        type.cut = type.cut || !ended;
        if (shown != nullptr) *shown = readable(text);
        const bool comes_again = in.peek() == code && in.peek(1) > length_quote;
        if (!comes_again) parameter->set(type, text);  // the last one counts
        return;
    }
    (void)skip_value(in);
    if (shown != nullptr) *shown = hex_of(in.bytes(start, in.at));
}

// A name and a value, both text or the value an integer (WAP-230 8.4.2.4: Untyped-parameter).
void read_untyped(Cursor& in, ContentType& type, std::string& name, std::string& shown) {
    bool ended = false;
    name = readable(in.text(ended));
    if (!ended) {
        const std::size_t sign = name.find('=');
        if (sign != name.npos)
            set_named(type, std::string_view(name).substr(0, sign),
                      std::string_view(name).substr(sign + 1));
        type.cut = type.cut || sign == name.npos;
        return;
    }
    const std::size_t sign = name.find('=');
    if (sign != name.npos && in.done()) {
        set_named(type, std::string_view(name).substr(0, sign),
                  std::string_view(name).substr(sign + 1));
        return;
    }
    if (in.peek() > length_quote && in.peek() < 0x80) {
        const std::string_view text = in.text(ended);
        shown = readable(text);
        return set_named(type, name, text);
    }
    const auto number = in.integer();
    if (!number) {
        (void)skip_value(in);
        return;
    }
    shown = std::to_string(number->value);
    if (same_word(name, "charset")) set_charset(type, number->value);
}

void read_parameters(Tree& tree, Cursor& in, uint32_t depth, ContentType& type) {
    while (!in.done()) {
        const uint32_t start = in.at;
        const uint8_t code = in.peek();
        std::string name;
        std::string shown;
        if (code >= 0x80) {
            in.skip(1);
            if (!tree.full()) name = shown_parameter(code);
            if (in.done())
                type.cut = true;
            else
                read_coded(in, code, tree.types, type, tree.full() ? nullptr : &shown);
        } else if (code > length_quote) {
            read_untyped(in, type, name, shown);
        } else {
            in.at = in.end;
            name = "bytes";
            shown = hex_of(in.bytes(start, in.at));
        }
        tree.add(MMS_NODE_PARAMETER, in.since(start), depth, name, shown, code >= 0x80 ? code : 0U);
        type.in_codes = true;
    }
}

// The general form: Value-length, the media type, parameters.
void read_general(Tree& tree, Cursor& cursor, uint32_t start, uint32_t depth, ContentType& type) {
    const auto length = cursor.value_length();
    Cursor in = cursor.until(cursor.at + length->value);
    type.cut = !length->whole || cursor.at + length->value > cursor.end;
    tree.add(MMS_NODE_PARAMETER, cursor.since(start), depth, "value length",
             std::to_string(length->value));
    const uint32_t media_at = in.at;
    if (in.peek() >= 0x80) {
        type.type = type.sent = well_known_type(in.octet(), tree.types);
    } else if (in.peek() > length_quote) {
        bool ended = false;
        std::string_view text = in.text(ended);
        if (!ended && in.end < cursor.end) {  // the type ends itself, whatever the length says
            in = cursor;
            text = in.text(ended);
            in.end = in.at;
        }
        type.cut = type.cut || !ended;
        set_type_text(type, text);
    }
    if (in.at > media_at)
        tree.add(MMS_NODE_PARAMETER, in.since(media_at), depth, "media type", type.sent);
    read_parameters(tree, in, depth, type);
    cursor.at = in.end;
}

// ---- Headers of parts ----

constexpr uint8_t disposition_1_1 = 0xAE, disposition = 0xC5;

std::string clean_id(std::string_view raw) {
    return without_brackets(readable(unquoted(raw)));
}

// Content-Disposition: Value-length, the kind, parameters; or all of it as text.
std::string read_disposition(Cursor& cursor, MediaTypes& types, PartHeaders& headers) {
    ContentType found;
    std::string shown;
    if (const auto length = cursor.value_length()) {
        Cursor in = cursor.until(cursor.at + length->value);
        cursor.at = in.end;
        constexpr std::string_view kinds[] = {"form-data", "attachment", "inline"};
        bool ended = false;
        if (in.peek() >= 0x80) {
            const unsigned kind = in.octet() & 0x7FU;
            if (kind < std::size(kinds)) shown = kinds[kind];
        } else {
            shown = readable(split_text(in.text(ended), found));
        }
        while (!in.done()) {
            const uint8_t code = in.peek();
            std::string name;
            std::string value;
            if (code >= 0x80) {
                in.skip(1);
                read_coded(in, code, types, found, nullptr);
            } else if (code > length_quote) {
                read_untyped(in, found, name, value);
            } else {
                break;
            }
        }
    } else if (cursor.peek() >= 0x80) {
        cursor.skip(1);
    } else {
        bool ended = false;
        const std::string text = readable(cursor.text(ended));
        headers.cut = headers.cut || !ended;
        shown = split_text(text, found);
    }
    const std::string& name = found.filename.empty() ? found.name : found.filename;
    if (!name.empty()) {
        headers.disposition_name = name;
        shown += "; filename=" + name;
    }
    return shown;
}

std::string_view header_text(Cursor& cursor, PartHeaders& headers) {
    bool ended = false;
    const std::string_view text = cursor.text(ended);
    headers.cut = headers.cut || !ended;
    return text;
}

std::string read_coded_header(Cursor& cursor, uint8_t code, MediaTypes& types,
                              PartHeaders& headers) {
    if (code == disposition || code == disposition_1_1)
        return read_disposition(cursor, types, headers);
    const bool text = cursor.peek() > length_quote || cursor.peek() == 0;
    if (code == code_location && text)
        return headers.location = readable(unquoted(header_text(cursor, headers)));
    if (code == code_content_id && text)
        return headers.content_id = clean_id(header_text(cursor, headers));
    const uint32_t start = cursor.at;
    if (!skip_value(cursor)) headers.cut = true;
    const Bytes raw = cursor.bytes(start, cursor.at);
    if (raw.empty() || raw[0] <= length_quote || raw[0] >= 0x80) return hex_of(raw);
    return readable(text_of(raw).substr(0, text_of(raw).find('\0')));
}

std::string read_textual_header(Cursor& cursor, std::string_view name, MediaTypes& types,
                                PartHeaders& headers) {
    if (cursor.peek() <= length_quote && cursor.peek() != 0) {
        const uint32_t start = cursor.at;
        if (same_word(name, "Content-Disposition")) return read_disposition(cursor, types, headers);
        if (!skip_value(cursor)) headers.cut = true;
        return hex_of(cursor.bytes(start, cursor.at));
    }
    if (same_word(name, "Content-Disposition")) return read_disposition(cursor, types, headers);
    const std::string_view raw = header_text(cursor, headers);
    if (same_word(name, "Content-Location")) return headers.location = readable(unquoted(raw));
    if (same_word(name, "Content-ID")) return headers.content_id = clean_id(raw);
    if (same_word(name, "Content-Transfer-Encoding"))
        return headers.transfer_encoding = lower_case(readable(unquoted(raw)));
    return readable(raw);
}

}  // namespace

std::string_view well_known_type(uint8_t number, MediaTypes& types) {
    const std::string_view later = later_type(number & 0x7FU);
    return later.empty() ? types.lower(number) : later;
}

ContentType read_content_type(Tree& tree, Cursor& cursor, uint32_t start, uint32_t depth,
                              uint32_t code) {
    ContentType type;
    const uint32_t node =
        tree.add(MMS_NODE_HEADER, {cursor.layer, start, 1}, depth, "Content-Type", {}, code);
    if (cursor.done()) {
        type.cut = true;
    } else if (cursor.peek() >= 0x80) {
        const uint8_t octet = cursor.octet();
        type.type = type.sent = well_known_type(octet, tree.types);
        if (type.type.empty()) type.type = type.sent = hex_octet(octet);
    } else if (cursor.peek() > length_quote) {
        bool ended = false;
        set_type_text(type, cursor.text(ended));
        type.cut = !ended;
    } else {
        read_general(tree, cursor, start, depth + 1, type);
    }
    tree.end(node, cursor.at);
    tree.show(node, type.sent);
    return type;
}

PartHeaders read_part_headers(Tree& tree, Cursor& cursor, uint32_t depth) {
    PartHeaders headers;
    while (!cursor.done()) {
        const uint32_t start = cursor.at;
        const uint8_t code = cursor.peek();
        if (code >= 0x80) {
            cursor.skip(1);
            if (cursor.done()) headers.cut = true;
            const std::string value = read_coded_header(cursor, code, tree.types, headers);
            const std::string_view name = wsp_header_name(code);
            const uint32_t node = tree.add(MMS_NODE_HEADER, cursor.since(start), depth,
                                           name.empty() ? hex_octet(code) : name, value, code);
            if (name.empty()) tree.flaw(node, MMS_FLAW_UNKNOWN, "part header " + hex_octet(code));
        } else if (code > length_quote) {
            const std::string name = readable(header_text(cursor, headers));
            if (cursor.done()) headers.cut = true;
            const std::string value = read_textual_header(cursor, name, tree.types, headers);
            tree.add(MMS_NODE_HEADER, cursor.since(start), depth, name, value);
        } else {
            cursor.at = cursor.end;
            const uint32_t node = tree.add(MMS_NODE_DATA, cursor.since(start), depth, "bytes",
                                           hex_of(tree.at(cursor.since(start))));
            tree.flaw(node, MMS_FLAW_UNKNOWN, "bytes that are no header");
        }
    }
    return headers;
}

bool content_type_may_begin(Cursor cursor) {
    if (const auto length = cursor.value_length()) {
        if (!length->whole || length->value == 0 || length->value > cursor.left()) return false;
        cursor = cursor.until(cursor.at + length->value);
    }
    if (cursor.done()) return false;
    if (cursor.peek() >= 0x80) return is_well_known(cursor.peek() & 0x7FU);
    constexpr uint32_t longest_type = 200;
    cursor = cursor.until(uint64_t{cursor.at} + longest_type);
    const std::string_view text = text_of(cursor.rest());
    const std::size_t end = text.find('\0');
    if (end == text.npos) return false;
    const std::string_view type = text.substr(0, end);
    return type.find('/') != type.npos &&
           std::all_of(type.begin(), type.end(), [](char c) { return c >= ' ' && c < 0x7F; });
}

}  // namespace mmskit_anatomy
