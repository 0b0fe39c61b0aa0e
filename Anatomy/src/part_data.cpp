// Transfer encodings and character sets of parts; see part_data.h.
#include "Anatomy/src/part_data.h"

#include <mmskit/runtime.h>

#include <cstring>

#include "Anatomy/src/charset.h"
#include "Anatomy/src/decode.h"

namespace mmskit_anatomy {
namespace {

// The text that the exact slide view makes of the data as it stands, compared with `utf8`.
bool exact_view_reads(Bytes data, const ExactPart& exact, std::string_view utf8) {
    const bool converts =
        exact.has_charset && (exact.charset == mib_iso_8859_1 || exact.charset == mib_ucs2 ||
                              exact.charset == mib_utf_16);
    if (!converts) {
        const std::string_view raw = text_of(data);
        return raw == utf8 && raw.find('\0') == raw.npos;
    }
    auto length = static_cast<uint32_t>(data.size());
    char* text =
        fnCharSet_DecodeString2Local(static_cast<int32_t>(exact.charset), data.data(), &length);
    const bool same = text != nullptr ? utf8 == std::string_view(text, length) : utf8.empty();
    fnSC_Free(&text);
    return same;
}

// The encoding that an XML declaration names, for a presentation whose type has no charset.
std::string_view declared_in_xml(Bytes data) {
    constexpr std::size_t longest_declaration = 200;
    const std::string_view head = text_of(data.first(std::min(longest_declaration, data.size())));
    if (!head.starts_with("<?xml")) return {};
    const std::string_view declaration = head.substr(0, head.find("?>"));
    constexpr std::string_view word = "encoding=";
    const std::size_t at = declaration.find(word);
    if (at == declaration.npos || at + word.size() >= declaration.size()) return {};
    const char quote = declaration[at + word.size()];
    const std::string_view value = declaration.substr(at + word.size() + 1);
    return value.substr(0, value.find(quote));
}

struct Declared {
    uint32_t number = 0;
    std::string_view name;
};

Declared declared_set(const ContentType& type, Bytes data, bool presentation) {
    if (type.charset != 0 || !type.charset_name.empty()) return {type.charset, type.charset_name};
    const bool mark =
        data.size() >= 2 && data.size() % 2 == 0 &&
        ((data[0] == 0xFE && data[1] == 0xFF) || (data[0] == 0xFF && data[1] == 0xFE));
    if (mark) return {mib_utf_16, {}};
    if (!presentation) return {};
    if (data.size() >= 2 && (data[0] == 0 || data[1] == 0)) return {mib_utf_16, {}};
    return {0, declared_in_xml(data)};
}

std::string text_flaw(const ContentType& type, const Text& text) {
    const std::string used(text.used);
    if (text.as_declared) return "in " + used + (text.damaged ? ", damaged" : "");
    if (!type.has_charset) return "no character set, read as " + used;
    return "declared " + (type.charset_name.empty() ? "none" : type.charset_name) + ", read as " +
           used;
}

bool same_bytes(Bytes data, std::string_view text) {
    return data.size() == text.size() && text == text_of(data);
}

Bytes undo_transfer(Tree& tree, uint32_t node, const std::string& called, const std::string& how,
                    bool cut, PartDetail& detail) {
    const Bytes data = tree.at(detail.data);
    const bool base64 = how == "base64";
    if (!base64 && how != "quoted-printable") return data;
    const std::size_t room = tree.decoding_room();
    Decoded decoded = base64 ? decode_base64(data, room) : decode_quoted_printable(data, room);
    if (base64 && !decoded.whole && !decoded.limited && decoded.used < data.size()) {
        constexpr std::size_t most_of = 10;
        if (decoded.used < data.size() / most_of) {
            tree.flaw(node, MMS_FLAW_REPAIRED, called + ": declared base64, and is not");
            return data;
        }
        if (!cut) tree.flaw(node, MMS_FLAW_LOST, called + ": its base64 is damaged");
    }
    if (decoded.limited) {
        tree.flaw(node, MMS_FLAW_LOST, called + ": too large to be decoded");
        return data;
    }
    Bytes kept;
    if (!tree.keep_decoded(std::move(decoded.bytes), detail.data, kept)) return data;
    detail.transfer_decoded = true;
    tree.flaw(node, MMS_FLAW_REPAIRED, called + ": sent in " + how);
    return kept;
}

}  // namespace

bool is_presentation(std::string_view type) {
    return type == "application/smil" || type == "application/smil+xml" || type == "text/smil";
}

// Cards and calendars are files, which say themselves how they are written.
bool is_text(std::string_view type) {
    constexpr std::string_view files[] = {"text/x-vcard",     "text/vcard",    "text/directory",
                                          "text/x-vcalendar", "text/calendar", "text/smil"};
    return type.starts_with("text/") &&
           std::find(std::begin(files), std::end(files), type) == std::end(files);
}

void hand_out(Tree& tree, uint32_t node, const std::string& called, const ContentType& type,
              const PartHeaders& headers, const ExactPart& exact, tMMS_Part& part,
              PartDetail& detail) {
    const Bytes data =
        undo_transfer(tree, node, called, headers.transfer_encoding, part.iMissing != 0, detail);
    part.pData = data.data();
    part.iDataLen = static_cast<uint32_t>(data.size());
    const bool presentation = is_presentation(type.type);
    part.bText = is_text(type.type) ? 1 : 0;
    if (part.bText == 0 && !presentation) return;
    const Declared declared = declared_set(type, data, presentation);
    const Text text = to_utf8(data, declared.number, declared.name);
    if (presentation) {
        detail.text_exact = same_bytes(data, text.utf8) && !detail.transfer_decoded;
    } else {
        detail.text_exact = !detail.transfer_decoded && exact_view_reads(data, exact, text.utf8);
    }
    if (!same_bytes(data, text.utf8)) {
        detail.text_converted = true;
        uint8_t* const copy = tree.arena.bytes(text.utf8.size() + 1);
        std::memcpy(copy, text.utf8.c_str(), text.utf8.size() + 1);
        part.pData = copy;
        part.iDataLen = static_cast<uint32_t>(text.utf8.size());
    }
    if (!detail.text_exact && !detail.transfer_decoded &&
        (detail.text_converted || !text.as_declared))
        tree.flaw(node, MMS_FLAW_REPAIRED, called + ": " + text_flaw(type, text));
}

}  // namespace mmskit_anatomy
