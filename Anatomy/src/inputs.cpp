// Recognises what an input is by its bytes, and unwraps it layer by layer until a message stands
// there. Binary forms come first, since they mark themselves; text forms are believed only when
// what they decode to is something known in turn.
#include "Anatomy/src/inputs.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string>

#include "Anatomy/src/charset.h"
#include "Anatomy/src/cursor.h"
#include "Anatomy/src/decode.h"
#include "Anatomy/src/letters.h"
#include "Anatomy/src/wbxml.h"

namespace mmskit_anatomy {
namespace {

// WBXML of SI and SL: version 1.0 to 1.3, then the public identifier (WAP-167, WAP-168).
bool is_wbxml(Bytes bytes, uint8_t public_id) {
    return bytes.size() > 4 && bytes[0] <= 3 && bytes[1] == public_id;
}

// The name of the first element, behind declarations, comments and a mark; empty for no XML.
std::string first_element(std::string_view text) {
    if (text.starts_with(utf8_mark)) text.remove_prefix(utf8_mark.size());
    for (;;) {
        const std::size_t open = text.find_first_not_of(" \t\r\n");
        if (open == std::string_view::npos || text[open] != '<') return {};
        text.remove_prefix(open + 1);
        if (text.empty()) return {};
        if (text[0] != '?' && text[0] != '!') break;
        const std::string_view end = text.starts_with("!--") ? "-->" : ">";
        const std::size_t close = text.find(end);
        if (close == std::string_view::npos) return {};
        text.remove_prefix(close + end.size());
    }
    return lower_case(text.substr(0, std::min<std::size_t>(text.find_first_of(" \t\r\n/>"), 32)));
}

bool is_plain_text(Bytes bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](uint8_t c) {
        return (c >= ' ' && c < 0x7F) || c == '\n' || c == '\r' || c == '\t';
    });
}

// Shorter texts are words rather than encoded bytes.
constexpr std::size_t shortest_base64 = 16;

bool is_base64(Bytes text) {
    std::size_t characters = 0;
    bool padded = false;
    for (const uint8_t c : text) {
        if (std::isspace(c) != 0) continue;
        const bool digit = std::isalnum(c) != 0 || c == '+' || c == '/';
        if (c != '=' && (!digit || padded)) return false;
        padded = c == '=';
        ++characters;
    }
    return characters >= shortest_base64;
}

Input recognise_text(Bytes text) {
    if (is_sms_lines(text)) return Input::sms_lines;
    const HexDump dump = read_hex_dump(text, 1);
    if (dump.certain) return Input::hex_dump;  // its offsets read as hexadecimal text, too
    if (read_hex(text, 1).valid) return Input::hex;
    if (dump.valid) return Input::hex_dump;
    if (read_hex_log(text, 1).valid) return Input::hex_log;
    return is_base64(text) ? Input::base64 : Input::none;
}

Input recognise_xml(Bytes text) {
    std::string element = first_element(text_of(text));
    element.erase(0, element.find(':') + 1);  // the prefix of a namespace
    if (element == "si") return Input::si_xml;
    return element == "sl" ? Input::sl_xml : Input::none;
}

// ---- Encodings: each a layer ------------------------------------------------------------------

// Text that decodes to nothing known is no encoded message but a text of its own.
bool unwrap(Tree& tree, const char* name, Decoded decoded, const Place& place, uint32_t depth,
            std::string_view damage) {
    uint32_t layer = 0;
    const auto node = tree.add(MMS_NODE_WRAPPER, place, depth, name,
                               std::to_string(decoded.bytes.size()) + " bytes");
    if (decoded.limited) {
        tree.flaw(node, MMS_FLAW_LOST, "larger than can be decoded: the rest is left out");
    } else if (!decoded.whole) {
        tree.flaw(node, MMS_FLAW_LOST, damage);
    }
    const auto size = static_cast<uint32_t>(decoded.bytes.size());
    if (!tree.add_layer(name, std::move(decoded.bytes), place, layer)) return false;
    if (dissect_at(tree, {layer, 0, size}, depth + 1)) return true;
    tree.pLooksLike = tree.arena.keep(std::string(tree.pLooksLike) + " in " + name);
    return false;
}

bool dissect_gzip(Tree& tree, const Place& place, uint32_t depth) {
    Decoded decoded = decode_gzip(tree.at(place), tree.decoding_room());
    return unwrap(tree, "gzip", std::move(decoded), place, depth,
                  "the compressed data is cut or damaged");
}

bool dissect_hex(Tree& tree, const Place& place, uint32_t depth) {
    HexText text = read_hex(tree.at(place), tree.decoding_room());
    const bool whole = !text.half;
    return unwrap(tree, "hexadecimal", {std::move(text.bytes), whole, false, 0}, place, depth,
                  "the last byte has one digit");
}

bool dissect_hex_dump(Tree& tree, const Place& place, uint32_t depth) {
    HexDump dump = read_hex_dump(tree.at(place), tree.decoding_room());
    const bool whole = !dump.gap;
    return unwrap(tree, "hex dump", {std::move(dump.bytes), whole, false, 0}, place, depth,
                  "rows are missing");
}

bool dissect_nothing(Tree& tree, const Place& place, uint32_t depth) {
    const std::string what = looks_like(tree.at(place));
    if (place.length > 0) tree.add(MMS_NODE_DATA, place, depth, "data", what);
    tree.pLooksLike = tree.arena.keep(what);
    return false;
}

// Lines of a log may end in numbers by chance.
bool dissect_hex_log(Tree& tree, const Place& place, uint32_t depth) {
    HexText text = read_hex_log(tree.at(place), tree.decoding_room());
    if (recognise(text.bytes) == Input::none) return dissect_nothing(tree, place, depth);
    return unwrap(tree, "hexadecimal in a log", {std::move(text.bytes), !text.half, false, 0},
                  place, depth, "the last byte has one digit");
}

// Words may have the letters of base64 by chance.
bool dissect_base64(Tree& tree, const Place& place, uint32_t depth) {
    Decoded decoded = decode_base64(tree.at(place), tree.decoding_room());
    if (recognise(decoded.bytes) == Input::none) return dissect_nothing(tree, place, depth);
    return unwrap(tree, "base64", std::move(decoded), place, depth,
                  "the base64 text is cut or damaged");
}

// ---- Messages ---------------------------------------------------------------------------------

struct PushDocument {
    Input input;
    uint32_t message;
    const char* kind;
};
constexpr PushDocument push_documents[] = {
    {Input::si, MMS_MESSAGE_SI, "service indication"},
    {Input::si_xml, MMS_MESSAGE_SI_XML, "service indication"},
    {Input::sl, MMS_MESSAGE_SL, "service loading"},
    {Input::sl_xml, MMS_MESSAGE_SL_XML, "service loading"},
};

void message_at(Tree& tree, const Place& place, uint32_t message) {
    tree.iMessage = message;
    tree.iMessageLayer = place.layer;
    tree.iMessageOffset = place.offset;
    tree.iMessageLength = place.length;
}

bool dissect_document(Tree& tree, const PushDocument& document, const Place& place,
                      uint32_t depth) {
    message_at(tree, place, document.message);
    tree.pKind = document.kind;
    const bool text = document.input == Input::si_xml || document.input == Input::sl_xml;
    const auto node = tree.add(text ? MMS_NODE_TEXT : MMS_NODE_DATA, place, depth, document.kind,
                               text ? text_of(tree.at(place)) : "WBXML");
    if (!text && wbxml_end(tree.at(place)) > place.length)
        tree.flaw(node, MMS_FLAW_LOST, "the document is cut");
    return true;
}

}  // namespace

Input recognise(Bytes bytes) {
    if (bytes.empty()) return Input::none;
    if (begins(bytes, {0x1F, 0x8B})) return Input::gzip;
    if (is_http(bytes)) return Input::http;
    const int pdu = looks_like_pdu(bytes);
    if (pdu == 2) return Input::pdu;
    const int body = looks_like_body(bytes);
    if (body == 2) return Input::body;
    if (is_push(bytes)) return Input::push;
    if (is_wbxml(bytes, 5)) return Input::si;
    if (is_wbxml(bytes, 6)) return Input::sl;
    if (is_sms(bytes)) return Input::sms;
    if (is_user_data(bytes)) return Input::user_data;
    if (pdu == 1) return Input::pdu;
    if (body == 1) return Input::body;
    const Input document = recognise_xml(bytes);
    if (document != Input::none) return document;
    return is_plain_text(bytes) ? recognise_text(bytes) : Input::none;
}

bool dissect_as(Tree& tree, Input input, const Place& place, uint32_t depth) {
    switch (input) {
        case Input::gzip:
            return dissect_gzip(tree, place, depth);
        case Input::http:
            return dissect_http(tree, place, depth);
        case Input::push:
            return dissect_push(tree, place, depth);
        case Input::sms:
            return dissect_sms(tree, place, depth);
        case Input::user_data:
            return dissect_user_data(tree, place, depth);
        case Input::sms_lines:
            return dissect_sms_lines(tree, place, depth);
        case Input::hex:
            return dissect_hex(tree, place, depth);
        case Input::hex_log:
            return dissect_hex_log(tree, place, depth);
        case Input::hex_dump:
            return dissect_hex_dump(tree, place, depth);
        case Input::base64:
            return dissect_base64(tree, place, depth);
        case Input::pdu:
            message_at(tree, place, MMS_MESSAGE_PDU);
            dissect_pdu(tree, place, depth);
            return true;
        case Input::body:
            message_at(tree, place, MMS_MESSAGE_BODY);
            tree.pKind = "message body";
            dissect_body(tree, place, depth);
            return true;
        default:
            break;
    }
    for (const PushDocument& document : push_documents)
        if (document.input == input) return dissect_document(tree, document, place, depth);
    return dissect_nothing(tree, place, depth);
}

bool dissect_at(Tree& tree, const Place& place, uint32_t depth) {
    return dissect_as(tree, recognise(tree.at(place)), place, depth);
}

void dissect_input(Tree& tree) {
    (void)dissect_at(tree, {0, 0, tree.layer_list[0].iLength}, 0);
}

// ---- What is no message -----------------------------------------------------------------------

namespace {

struct Signature {
    std::string_view start;
    std::size_t offset;
    const char* what;
};
using namespace std::string_view_literals;
constexpr Signature signatures[] = {
    {"PK\x03\x04"sv, 0, "a ZIP archive"},
    {"\xFF\xD8\xFF"sv, 0, "a JPEG picture"},
    {"\x89PNG\r\n"sv, 0, "a PNG picture"},
    {"GIF8"sv, 0, "a GIF picture"},
    {"BM"sv, 0, "a BMP picture"},
    {"RIFF"sv, 0, "a RIFF file (WAV, AVI or WebP)"},
    {"ftyp"sv, 4, "a video, sound or picture file (MP4, 3GP or HEIC)"},
    {"#!AMR"sv, 0, "an AMR sound"},
    {"ID3"sv, 0, "an MP3 sound"},
    {"MThd"sv, 0, "a MIDI sound"},
    {"OggS"sv, 0, "an Ogg file"},
    {"%PDF"sv, 0, "a PDF document"},
    {"\x7F"
     "ELF"sv,
     0, "a program"},
    {"SQLite format 3"sv, 0, "an SQLite database"},
    {"7z\xBC\xAF\x27\x1C"sv, 0, "a 7-Zip archive"},
    {"Rar!"sv, 0, "a RAR archive"},
    {"BZh"sv, 0, "a bzip2 file"},
    {"\xFD"
     "7zXZ"sv,
     0, "an xz file"},
    {"BEGIN:VCARD"sv, 0, "a vCard"},
    {"BEGIN:VCALENDAR"sv, 0, "a calendar entry"},
    {"\xD4\xC3\xB2\xA1"sv, 0, "a network capture"},
    {"\xA1\xB2\xC3\xD4"sv, 0, "a network capture"},
    {"\x0A\x0D\x0D\x0A"sv, 0, "a network capture"},
};

// Mail headers: a line "Name: value" of a well-known name at the start.
bool is_mail(std::string_view text) {
    constexpr std::string_view names[] = {
        "from:",       "to:",           "subject:",      "received:", "return-path:", "date:",
        "message-id:", "delivered-to:", "mime-version:", "from ",     "content-type:"};
    const std::string start = lower_case(text.substr(0, 16));
    return std::any_of(std::begin(names), std::end(names),
                       [&](std::string_view name) { return start.starts_with(name); });
}

std::string looks_like_text(std::string_view text) {
    const std::string element = first_element(text);
    if (element == "html" || element == "head" || element == "body") return "an HTML page";
    if (element == "smil") return "a presentation (SMIL) without its message";
    if (!element.empty()) return "an XML document (" + element + ")";
    const std::string start = lower_case(text.substr(0, 32));
    if (start.find("<!doctype html") != std::string::npos) return "an HTML page";
    if (is_mail(text)) return "an e-mail";
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) return "an empty text";
    if (text[first] == '{' || text[first] == '[') return "a JSON document";
    return "a text";
}

}  // namespace

std::string looks_like(Bytes bytes) {
    if (bytes.empty()) return "an empty file";
    const std::string_view text = text_of(bytes);
    for (const Signature& signature : signatures) {
        if (text.size() >= signature.offset &&
            text.substr(signature.offset).starts_with(signature.start))
            return signature.what;
    }
    if (std::all_of(bytes.begin(), bytes.end(), [](uint8_t c) { return c == 0; }))
        return "nothing but zero bytes";
    const std::string element = first_element(text);
    if (!element.empty() && std::isalpha(static_cast<unsigned char>(element[0])) != 0)
        return looks_like_text(text);
    return is_plain_text(bytes) ? looks_like_text(text) : "data of an unknown kind";
}

}  // namespace mmskit_anatomy
