// The tables of mms_fields.h.
#include "Anatomy/src/mms_fields.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "Anatomy/src/cursor.h"
#include "Anatomy/src/letters.h"

namespace mmskit_anatomy {
namespace {

using std::string_view;

constexpr string_view classes_names[] = {"personal", "advertisement", "informational", "auto"};
constexpr TokenRun classes[] = {{0x80, classes_names}};
constexpr string_view priorities_names[] = {"low", "normal", "high"};
constexpr TokenRun priorities[] = {{0x80, priorities_names}};
constexpr string_view responses_plain_names[] = {"ok",
                                                 "error-unspecified",
                                                 "error-service-denied",
                                                 "error-message-format-corrupt",
                                                 "error-sending-address-unresolved",
                                                 "error-message-not-found",
                                                 "error-network-problem",
                                                 "error-content-not-accepted",
                                                 "error-unsupported-message"};
constexpr string_view responses_transient_names[] = {
    "error-transient-failure", "error-transient-sending-address-unresolved",
    "error-transient-message-not-found", "error-transient-network-problem",
    "error-transient-partial-success"};
constexpr string_view responses_permanent_names[] = {
    "error-permanent-failure",
    "error-permanent-service-denied",
    "error-permanent-message-format-corrupt",
    "error-permanent-sending-address-unresolved",
    "error-permanent-message-not-found",
    "error-permanent-content-not-accepted",
    "error-permanent-reply-charging-limitations-not-met",
    "error-permanent-reply-charging-request-not-accepted",
    "error-permanent-reply-charging-forwarding-denied",
    "error-permanent-reply-charging-not-supported",
    "error-permanent-address-hiding-not-supported",
    "error-permanent-lack-of-prepaid"};
constexpr TokenRun responses[] = {{0x80, responses_plain_names},
                                  {0xC0, responses_transient_names},
                                  {0xE0, responses_permanent_names}};
constexpr string_view visibilities_names[] = {"hide", "show"};
constexpr TokenRun visibilities[] = {{0x80, visibilities_names}};
constexpr string_view statuses_names[] = {"expired",   "retrieved",    "rejected",
                                          "deferred",  "unrecognised", "indeterminate",
                                          "forwarded", "unreachable"};
constexpr TokenRun statuses[] = {{0x80, statuses_names}};
constexpr string_view retrievals_plain_names[] = {"ok"};
constexpr string_view retrievals_transient_names[] = {"error-transient-failure",
                                                      "error-transient-message-not-found",
                                                      "error-transient-network-problem"};
constexpr string_view retrievals_permanent_names[] = {
    "error-permanent-failure", "error-permanent-service-denied",
    "error-permanent-message-not-found", "error-permanent-content-unsupported"};
constexpr TokenRun retrievals[] = {{0x80, retrievals_plain_names},
                                   {0xC0, retrievals_transient_names},
                                   {0xE0, retrievals_permanent_names}};
constexpr string_view readings_names[] = {"read", "deleted without being read"};
constexpr TokenRun readings[] = {{0x80, readings_names}};
constexpr string_view charging_names[] = {"requested", "requested-text-only", "accepted",
                                          "accepted-text-only"};
constexpr TokenRun charging[] = {{0x80, charging_names}};
constexpr string_view states_names[] = {"draft", "sent", "new", "retrieved", "forwarded"};
constexpr TokenRun states[] = {{0x80, states_names}};
constexpr string_view flag_changes_names[] = {"add", "remove", "filter"};
constexpr TokenRun flag_changes[] = {{0x80, flag_changes_names}};
constexpr string_view stores_plain_names[] = {"success"};
constexpr string_view stores_transient_names[] = {"error-transient-failure",
                                                  "error-transient-network-problem"};
constexpr string_view stores_permanent_names[] = {
    "error-permanent-failure", "error-permanent-service-denied",
    "error-permanent-message-format-corrupt", "error-permanent-message-not-found",
    "error-permanent-mmbox-full"};
constexpr TokenRun stores[] = {
    {0x80, stores_plain_names}, {0xC0, stores_transient_names}, {0xE0, stores_permanent_names}};
constexpr string_view units_names[] = {"messages", "bytes"};
constexpr TokenRun units[] = {{0x80, units_names}};
constexpr string_view modes_names[] = {"manual"};
constexpr TokenRun modes[] = {{0x80, modes_names}};
constexpr string_view contents_names[] = {"text",          "image-basic", "image-rich",
                                          "video-basic",   "video-rich",  "megapixel",
                                          "content-basic", "content-rich"};
constexpr TokenRun contents[] = {{0x80, contents_names}};
constexpr string_view cancels_names[] = {"cancel-request-successfully-received",
                                         "cancel-request-corrupted"};
constexpr TokenRun cancels[] = {{0x80, cancels_names}};

// In the order of their codes, from 0x81 on.
constexpr Field fields[] = {
    {0x81, "Bcc", ValueKind::address, {}},
    {0x82, "Cc", ValueKind::address, {}},
    {0x83, "Content-Location", ValueKind::text, {}},
    {0x84, "Content-Type", ValueKind::body, {}},
    {0x85, "Date", ValueKind::date, {}},
    {0x86, "X-Mms-Delivery-Report", ValueKind::flag, {}},
    {0x87, "X-Mms-Delivery-Time", ValueKind::time, {}},
    {0x88, "X-Mms-Expiry", ValueKind::time, {}},
    {0x89, "From", ValueKind::from, {}},
    {0x8A, "X-Mms-Message-Class", ValueKind::token, classes},
    {0x8B, "Message-ID", ValueKind::text, {}},
    {0x8C, "X-Mms-Message-Type", ValueKind::type, {}},
    {0x8D, "X-Mms-MMS-Version", ValueKind::version, {}},
    {0x8E, "X-Mms-Message-Size", ValueKind::number, {}},
    {0x8F, "X-Mms-Priority", ValueKind::token, priorities},
    {0x90, "X-Mms-Read-Report", ValueKind::flag, {}},
    {0x91, "X-Mms-Report-Allowed", ValueKind::flag, {}},
    {0x92, "X-Mms-Response-Status", ValueKind::token, responses},
    {0x93, "X-Mms-Response-Text", ValueKind::encoded, {}},
    {0x94, "X-Mms-Sender-Visibility", ValueKind::token, visibilities},
    {0x95, "X-Mms-Status", ValueKind::token, statuses},
    {0x96, "Subject", ValueKind::encoded, {}},
    {0x97, "To", ValueKind::address, {}},
    {0x98, "X-Mms-Transaction-Id", ValueKind::text, {}},
    {0x99, "X-Mms-Retrieve-Status", ValueKind::token, retrievals},
    {0x9A, "X-Mms-Retrieve-Text", ValueKind::encoded, {}},
    {0x9B, "X-Mms-Read-Status", ValueKind::token, readings},
    {0x9C, "X-Mms-Reply-Charging", ValueKind::token, charging},
    {0x9D, "X-Mms-Reply-Charging-Deadline", ValueKind::time, {}},
    {0x9E, "X-Mms-Reply-Charging-ID", ValueKind::text, {}},
    {0x9F, "X-Mms-Reply-Charging-Size", ValueKind::number, {}},
    {0xA0, "X-Mms-Previously-Sent-By", ValueKind::sent_by, {}},
    {0xA1, "X-Mms-Previously-Sent-Date", ValueKind::sent_date, {}},
    {0xA2, "X-Mms-Store", ValueKind::flag, {}},
    {0xA3, "X-Mms-MM-State", ValueKind::token, states},
    {0xA4, "X-Mms-MM-Flags", ValueKind::flags, flag_changes},
    {0xA5, "X-Mms-Store-Status", ValueKind::token, stores},
    {0xA6, "X-Mms-Store-Status-Text", ValueKind::encoded, {}},
    {0xA7, "X-Mms-Stored", ValueKind::flag, {}},
    {0xA8, "X-Mms-Attributes", ValueKind::token, {}},
    {0xA9, "X-Mms-Totals", ValueKind::flag, {}},
    {0xAA, "X-Mms-Mbox-Totals", ValueKind::total, units},
    {0xAB, "X-Mms-Quotas", ValueKind::flag, {}},
    {0xAC, "X-Mms-Mbox-Quotas", ValueKind::total, units},
    {0xAD, "X-Mms-Message-Count", ValueKind::number, {}},
    {0xAE, "Content", ValueKind::bytes, {}},
    {0xAF, "X-Mms-Start", ValueKind::number, {}},
    {0xB0, "Additional-headers", ValueKind::bytes, {}},
    {0xB1, "X-Mms-Distribution-Indicator", ValueKind::flag, {}},
    {0xB2, "X-Mms-Element-Descriptor", ValueKind::bytes, {}},
    {0xB3, "X-Mms-Limit", ValueKind::number, {}},
    {0xB4, "X-Mms-Recommended-Retrieval-Mode", ValueKind::token, modes},
    {0xB5, "X-Mms-Recommended-Retrieval-Mode-Text", ValueKind::encoded, {}},
    {0xB6, "X-Mms-Status-Text", ValueKind::encoded, {}},
    {0xB7, "X-Mms-Applic-ID", ValueKind::text, {}},
    {0xB8, "X-Mms-Reply-Applic-ID", ValueKind::text, {}},
    {0xB9, "X-Mms-Aux-Applic-Info", ValueKind::text, {}},
    {0xBA, "X-Mms-Content-Class", ValueKind::token, contents},
    {0xBB, "X-Mms-DRM-Content", ValueKind::flag, {}},
    {0xBC, "X-Mms-Adaptation-Allowed", ValueKind::flag, {}},
    {0xBD, "X-Mms-Replace-ID", ValueKind::text, {}},
    {0xBE, "X-Mms-Cancel-ID", ValueKind::text, {}},
    {0xBF, "X-Mms-Cancel-Status", ValueKind::token, cancels},
};
static_assert(std::size(fields) == 0x3F);

// By their lengths, then by their letters.
constexpr bool less_word(string_view a, string_view b) {
    if (a.size() != b.size()) return a.size() < b.size();
    for (std::size_t i = 0; i < a.size(); ++i)
        if (to_lower(a[i]) != to_lower(b[i])) return to_lower(a[i]) < to_lower(b[i]);
    return false;
}

constexpr auto fields_by_name = [] {
    std::array<const Field*, std::size(fields)> sorted{};
    for (std::size_t i = 0; i != sorted.size(); ++i)
        sorted[i] = &fields[i];
    std::sort(sorted.begin(), sorted.end(),
              [](const Field* a, const Field* b) { return less_word(a->name, b->name); });
    return sorted;
}();

struct MessageType {
    string_view name;
    std::array<uint8_t, 5> needed;  // 0 behind the last
};

// In the order of their octets, from 0x80 on. A version is not among the needed: a message without
// one is of version 1.0.
constexpr MessageType message_types[] = {
    {"m-send-req", {0x98, 0x89, 0x84}},
    {"m-send-conf", {0x98, 0x92}},
    {"m-notification-ind", {0x98, 0x8A, 0x8E, 0x88, 0x83}},
    {"m-notifyresp-ind", {0x98, 0x95}},
    {"m-retrieve-conf", {0x85, 0x84}},
    {"m-acknowledge-ind", {0x98}},
    {"m-delivery-ind", {0x8B, 0x97, 0x85, 0x95}},
    {"m-read-rec-ind", {0x8B, 0x97, 0x89, 0x9B}},
    {"m-read-orig-ind", {0x8B, 0x97, 0x89, 0x9B}},
    {"m-forward-req", {0x98, 0x97, 0x89, 0x83}},
    {"m-forward-conf", {0x98, 0x92}},
    {"m-mbox-store-req", {0x98, 0x83}},
    {"m-mbox-store-conf", {0x98}},
    {"m-mbox-view-req", {0x98}},
    {"m-mbox-view-conf", {0x98}},
    {"m-mbox-upload-req", {0x98, 0x84}},
    {"m-mbox-upload-conf", {0x98}},
    {"m-mbox-delete-req", {0x98}},
    {"m-mbox-delete-conf", {0x98}},
    {"m-mbox-descr", {}},
    {"m-delete-req", {0x98}},
    {"m-delete-conf", {0x98}},
    {"m-cancel-req", {0x98, 0xBE}},
    {"m-cancel-conf", {0x98, 0xBF}},
};

}  // namespace

const Field* find_field(uint8_t code) {
    const std::size_t index = static_cast<std::size_t>(code) - 0x81;
    return code > 0x80 && index < std::size(fields) ? &fields[index] : nullptr;
}

const Field* find_field(string_view name) {
    const auto found = std::lower_bound(
        fields_by_name.begin(), fields_by_name.end(), name,
        [](const Field* field, string_view wanted) { return less_word(field->name, wanted); });
    return found != fields_by_name.end() && same_word((*found)->name, name) ? *found : nullptr;
}

std::string token_name(const Field& field, uint8_t octet) {
    for (const TokenRun& run : field.tokens)
        if (octet >= run.first && static_cast<std::size_t>(octet - run.first) < run.names.size())
            return std::string(run.names[static_cast<std::size_t>(octet - run.first)]);
    return hex_octet(octet);
}

uint8_t token_octet(const Field& field, string_view name) {
    for (const TokenRun& run : field.tokens)
        for (std::size_t i = 0; i < run.names.size(); ++i)
            if (same_word(run.names[i], name)) return static_cast<uint8_t>(run.first + i);
    return 0;
}

string_view message_type_name(uint8_t octet) {
    const std::size_t index = static_cast<std::size_t>(octet) - 0x80;
    return octet >= 0x80 && index < std::size(message_types) ? message_types[index].name
                                                             : string_view();
}

std::span<const uint8_t> needed_fields(uint8_t message_type) {
    if (message_type_name(message_type).empty()) return {};
    const auto& needed = message_types[message_type - 0x80U].needed;
    std::size_t count = 0;
    while (count < needed.size() && needed[count] != 0)
        ++count;
    return {needed.data(), count};
}

}  // namespace mmskit_anatomy
