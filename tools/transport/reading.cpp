#include "transport/reading.h"

#include <mmskit/anatomy.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <new>
#include <utility>

namespace mmskit_transport {
namespace {

using Bytes = std::span<const uint8_t>;

struct AnatomyRelease {
    void operator()(tMMS_Anatomy* anatomy) const { fnMMS_FreeAnatomy(anatomy); }
};

// What the message lost is marked where it stands. That a header is missing which the standard
// wants is noted only: nothing was cut there. A status of retrieval is no cut either.
bool all_there(const tMMS_Anatomy& anatomy) {
    const std::span<const tMMS_Node> nodes(anatomy.pNodes, anatomy.iNodes);
    const std::span<const tMMS_Part> parts(anatomy.pParts, anatomy.iParts);
    const auto lost = [](const tMMS_Node& node) {
        return node.iFlaw == MMS_FLAW_LOST &&
               node.iCode != static_cast<uint32_t>(Code::retrieve_status);
    };
    return std::none_of(nodes.begin(), nodes.end(), lost) &&
           std::none_of(parts.begin(), parts.end(),
                        [](const tMMS_Part& part) { return part.iMissing != 0; });
}

Field field_of(const tMMS_HeaderField& header) {
    Field field;
    field.code = static_cast<uint8_t>(header.iCode);
    const bool text = header.iForm == MMS_VALUE_TEXT || header.iForm == MMS_VALUE_ADDRESS;
    if (text) field.text = header.pValue;
    field.number = header.iNumber;
    field.relative = header.iForm == MMS_VALUE_PERIOD;
    return field;
}

using Names = std::pair<int64_t, const char*>;

template <std::size_t count>
std::string name_of(const std::array<Names, count>& names, int64_t value) {
    for (const auto& [number, name] : names)
        if (number == value) return name;
    std::array<char, 16> text{};
    (void)std::snprintf(text.data(), text.size(), "0x%02X", static_cast<unsigned>(value & 0xFF));
    return text.data();
}

// OMA-MMS-ENC 7.3.48
constexpr std::array response_statuses{
    Names{0x80, "ok"},
    Names{0x81, "error-unspecified"},
    Names{0x82, "error-service-denied"},
    Names{0x83, "error-message-format-corrupt"},
    Names{0x84, "error-sending-address-unresolved"},
    Names{0x85, "error-message-not-found"},
    Names{0x86, "error-network-problem"},
    Names{0x87, "error-content-not-accepted"},
    Names{0x88, "error-unsupported-message"},
    Names{0xC0, "error-transient-failure"},
    Names{0xC1, "error-transient-sending-address-unresolved"},
    Names{0xC2, "error-transient-message-not-found"},
    Names{0xC3, "error-transient-network-problem"},
    Names{0xC4, "error-transient-partial-success"},
    Names{0xE0, "error-permanent-failure"},
    Names{0xE1, "error-permanent-service-denied"},
    Names{0xE2, "error-permanent-message-format-corrupt"},
    Names{0xE3, "error-permanent-sending-address-unresolved"},
    Names{0xE4, "error-permanent-message-not-found"},
    Names{0xE5, "error-permanent-content-not-accepted"},
    Names{0xE6, "error-permanent-reply-charging-limitations-not-met"},
    Names{0xE7, "error-permanent-reply-charging-request-not-accepted"},
    Names{0xE8, "error-permanent-reply-charging-forwarding-denied"},
    Names{0xE9, "error-permanent-reply-charging-not-supported"},
    Names{0xEA, "error-permanent-address-hiding-not-supported"},
    Names{0xEB, "error-permanent-lack-of-prepaid"}};

// OMA-MMS-ENC 7.3.50
constexpr std::array retrieve_statuses{Names{0x80, "ok"},
                                       Names{0xC0, "error-transient-failure"},
                                       Names{0xC1, "error-transient-message-not-found"},
                                       Names{0xC2, "error-transient-network-problem"},
                                       Names{0xE0, "error-permanent-failure"},
                                       Names{0xE1, "error-permanent-service-denied"},
                                       Names{0xE2, "error-permanent-message-not-found"},
                                       Names{0xE3, "error-permanent-content-unsupported"}};

constexpr std::array message_types{
    Names{0x80, "m-send-req"},         Names{0x81, "m-send-conf"},
    Names{0x82, "m-notification-ind"}, Names{0x83, "m-notifyresp-ind"},
    Names{0x84, "m-retrieve-conf"},    Names{0x85, "m-acknowledge-ind"},
    Names{0x86, "m-delivery-ind"},     Names{0x87, "m-read-rec-ind"},
    Names{0x88, "m-read-orig-ind"},    Names{0x89, "m-forward-req"},
    Names{0x8A, "m-forward-conf"},     Names{0, "no message"}};

// Tags of a page that end no line.
bool is_inside_a_line(std::string_view tag) {
    constexpr std::array<std::string_view, 9> names{"a", "b",    "i",  "em",  "strong",
                                                    "u", "span", "tt", "font"};
    if (tag.starts_with('/')) tag.remove_prefix(1);
    const std::string_view name = tag.substr(0, tag.find_first_of(" \t\r\n>"));
    return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

Message::Message(Bytes bytes) {
    const std::unique_ptr<tMMS_Anatomy, AnatomyRelease> anatomy(
        fnMMS_Dissect(bytes.data(), static_cast<uint32_t>(bytes.size())));
    if (anatomy == nullptr) throw std::bad_alloc();
    looks_like_ = anatomy->pLooksLike;
    if (anatomy->iMessage != MMS_MESSAGE_PDU) return;
    type_ = static_cast<Type>(anatomy->iMessageType);
    bare_ = anatomy->iMessageLayer == 0 && anatomy->iMessageOffset == 0;
    whole_ = all_there(*anatomy);
    for (const tMMS_HeaderField& header : std::span(anatomy->pHeaders, anatomy->iHeaders))
        if (header.iCode != 0) fields_.push_back(field_of(header));
    for (const tMMS_Part& part : std::span(anatomy->pParts, anatomy->iParts))
        part_names_.emplace_back(part.pName != nullptr ? part.pName : "");
}

const Field* Message::find(Code code) const {
    const auto found = std::find_if(fields_.rbegin(), fields_.rend(), [code](const Field& field) {
        return field.code == static_cast<uint8_t>(code);
    });
    return found == fields_.rend() ? nullptr : &*found;
}

std::string Message::text(Code code) const {
    const Field* field = find(code);
    return field != nullptr ? field->text : std::string();
}

std::string response_status_name(int64_t status) {
    return name_of(response_statuses, status);
}

std::string retrieve_status_name(int64_t status) {
    return name_of(retrieve_statuses, status);
}

std::string type_name(Type type) {
    const std::string name = name_of(message_types, static_cast<int64_t>(type));
    return name.starts_with("0x") ? "a message of type " + name : name;
}

std::string first_line(Bytes bytes) {
    constexpr std::size_t longest = 120;
    constexpr std::size_t looked_at = 65536;
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()),
                                std::min(bytes.size(), looked_at));
    if (text.find('\0') != std::string_view::npos) return {};
    const bool page = text.find_first_not_of(" \t\r\n\xEF\xBB\xBF") == text.find('<');
    std::string line;
    for (std::size_t at = 0; at < text.size() && line.size() < longest; ++at) {
        const char c = text[at];
        const bool tag = page && c == '<';
        const bool blank = c == ' ' || c == '\t';
        if (tag || c == '\n' || c == '\r') {
            if (!line.empty() && !(tag && is_inside_a_line(text.substr(at + 1)))) break;
            if (tag) at = std::min(text.find('>', at), text.size());
        } else if (!(line.empty() && blank)) {
            line += c;
        }
    }
    return line;
}

}  // namespace mmskit_transport
