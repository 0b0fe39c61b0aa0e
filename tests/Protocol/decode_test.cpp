// Decoding what a network sends and send requests read back: each rule as bytes in and a record
// out, and whole messages under damage and out of memory.
#include <gtest/gtest.h>
#include <mmskit/pdu.h>

#include <string>

#include "tests/support/faults.h"

namespace {

using namespace testing_support;

// A member of a record; nothing if it is null or zero.
std::string m(const char* name, const char* value) {
    return value != nullptr ? std::string(" ") + name + "=" + value : "";
}
std::string m(const char* name, uint32_t value) {
    return value != 0 ? m(name, std::to_string(value).c_str()) : "";
}
std::string body(const uint8_t* data, uint32_t size) {
    return data != nullptr ? m("body", hex(data, size).c_str()) : "";
}

std::string shown(const tMMS_SendConf& r) {
    return m("type", r.bMessageType) + m("version", r.bVersion) + m("status", r.bResponseStatus) +
           m("tid", r.pTransactionId) + m("text", r.pResponseText) + m("id", r.pMessageId);
}
std::string shown(const tMMS_NotificationInd& r) {
    return m("class", r.bMessageClass) + m("priority", r.bPriority) + m("token", r.bExpiryToken) +
           m("size", r.iMessageSize) + m("expiry", r.iExpiry) + m("tid", r.pTransactionId) +
           m("from", r.From) + m("subject", r.pSubject) + m("at", r.pContentLocation);
}
std::string shown(const tMMS_DeliveryInd& r) {
    return m("status", r.bStatus) + m("id", r.pMessageId) + m("to", r.pTo) + m("date", r.iDate);
}
std::string shown(const tMMS_ReadOrigInd& r) {
    return m("status", r.bReadStatus) + m("id", r.pMessageId) + m("from", r.From) + m("to", r.pTo) +
           m("date", r.iDate);
}
std::string shown(const tMMS_SendReq& r) {
    EXPECT_EQ(r.bSenderVisible + r.bExpiryRelative + r.bDeliveryTimeRelative, 3U);
    EXPECT_EQ(r.bDeliveryReport + r.bReadReport + r.iDate + r.iExpiry + r.iDeliveryTime, 0U);
    return m("class", r.bMessageClass) + m("priority", r.bPriority) + m("tid", r.pTransactionId) +
           m("from", r.From) + m("to", r.pTo) + m("cc", r.pCc) + m("bcc", r.pBcc) +
           m("subject", r.pSubject) + body(r.pContent, r.iContentLen);
}
std::string shown(const tMMS_RetrieveConf& r) {
    return m("tid", r.pTransactionId) + m("id", r.pMessageId) + m("from", r.From) + m("to", r.pTo) +
           m("cc", r.pCc) + m("subject", r.pSubject) + m("date", r.iDate) +
           m("class", r.bMessageClass) + m("priority", r.bPriority) +
           m("delivery", r.bDeliveryReport) + m("read", r.bReadReport) + body(r.pBody, r.iBodyLen);
}

using Read = std::string (*)(const uint8_t* pdu, int32_t length);
template <auto parse, uint8_t kind>
std::string read(const uint8_t* pdu, int32_t length) {
    auto* record = parse(pdu, length);
    uint32_t at = 0;
    const std::string reason = fnMMS_GetLastError(&at);
    const std::string out =
        record != nullptr ? shown(*record) : " " + reason + " at " + std::to_string(at);
    EXPECT_EQ(record != nullptr, reason == "no error");
    fnMMS_FreeMessageMem(record, kind);
    return out.empty() ? "" : out.substr(1);
}
constexpr Read send_conf = read<fnMMS_ParseSendConf, 2>;
constexpr Read forward_conf = read<fnMMS_ParseForwardConf, 11>;
constexpr Read notification = read<fnMMS_ParseNotificationInd, 3>;
constexpr Read retrieve = read<fnMMS_ParseRetrieveConf, 4>;
constexpr Read delivery = read<fnMMS_ParseDeliveryInd, 5>;
constexpr Read read_orig = read<fnMMS_ParseReadOrigInd, 9>;
constexpr Read send_req = read<fnMMS_ParseSendContent, 1>;

struct Case {
    const char* rule;
    Read read;
    const char *pdu, *expected;
};

// The first of a kind is the whole message that the failure loops break.
const Case cases[] = {
    {"every_field_of_a_send_confirmation", send_conf,
     "8C 81 98 7F 'T1' 00 8D 92 92 80 93 7F 'ok' 00 8B 'm@x' 00",
     "type=129 version=146 status=128 tid=T1 text=\x7Fok id=m@x"},
    {"response_text_is_taken_as_it_stands", send_conf, "98 'T' 00 93 04 EA 'ab' 00",
     "type=129 version=146 tid=T text=\x04\xEA"
     "ab"},
    {"unknown_header_ends_a_confirmation", send_conf, "98 'T' 00 95 92 80",
     "type=129 version=146 tid=T"},
    {"confirmation_needs_a_transaction_id", send_conf, "8C 81 92 80", "no transaction id at 4"},
    {"forward_status_is_in_the_message_type", forward_conf,
     "8C 8A 98 'T' 00 8D 91 92 83 93 'no' 00 8B 'm' 00", "type=131 version=145 tid=T text=no id=m"},
    {"every_field_of_a_notification", notification,
     "8C 82 98 'T' 00 8D 92 86 80 87 02 81 05 89 06 80 '+1/T' 00 96 04 EA 'Hi' 00 8A 82 8E 02 10 00"
     "8F 82 88 04 81 02 01 00 83 'http://h/' 00",
     "class=130 priority=130 token=129 size=4096 expiry=256 tid=T from=+1 subject=Hi at=http://h/"},
    {"notification_of_another_type", notification, "83 'h' 00 8C 80",
     "message type is not m-notification-ind at 3"},
    {"notification_without_a_location", notification, "98 'T' 00", "tid=T"},
    {"notification_without_a_location", notification, "98 'T' 00 85 01",
     "no content location at 3"},
    {"cut_off_location_is_dropped", notification, "98 'T' 00 83 'a' 00 83 'http://h", "tid=T"},
    {"expiry_has_one_length_octet", notification,
     "88 20 80 01 07 'aaaaaaaaaaaaaaaaaaaaaaaaaaaaa' 8F 81", "priority=129 token=128 expiry=7"},
    {"every_field_of_a_delivery_report", delivery,
     "8C 86 8D 92 8B 'm' 00 97 '+1/TYPE=PLMN' 00 97 'b@c' 00 85 02 01 00 95 81",
     "status=129 id=m to=b@c date=256"},
    {"delivery_report_ends_with_its_last_header", delivery, "95 81 8B 'm' 00 98 'T' 00",
     "unknown header field at 5"},
    {"date_advances_by_its_length_octet", delivery,
     "85 20 'aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa' 95 81", "status=129"},
    {"every_field_of_a_read_report", read_orig,
     "8C 88 8D 91 85 01 07 89 04 80 'a@' 00 8B 'm' 00 97 '2' 00 9B 81",
     "status=129 id=m from=a@ to=2 date=7"},
    {"unknown_header_ends_a_read_report", read_orig, "97 '2' 00 92 80 9B 80", "to=2"},
    {"every_field_of_a_send_request", send_req,
     "8C 80 98 'T' 00 8D 92 89 04 80 '+1' 00 97 '2/T' 00 97 'b@c' 00 82 '3' 00 82 '' 00 81 '4' 00"
     "96 'Hi' 00 8A 81 8F 82 86 80 90 80 94 80 88 02 81 05 87 01 81 84 A3 00",
     "class=129 priority=130 tid=T from=+1 to=2;b@c cc=3; bcc=4 subject=Hi body=84 A3 00 "},
    {"class_and_priority_read_back_as_wire_octets", send_req, "8A 80 8F 80 86 80",
     "class=128 priority=128"},
    {"request_without_a_body", send_req, "98 'T' 00 8A 'x' 00", "class=128 priority=1 tid=T"},
    {"empty_transaction_id", send_req, "8C 80 98 7F 00", "empty transaction id at 2"},
    {"reading_back_fails_on_a_date", send_req, "98 'T' 00 85 01 07", "unknown header field at 3"},
    {"every_field_of_a_retrieved_message", retrieve,
     "8C 84 98 'T1' 00 8D 92 8B 'm@x' 00 85 04 40 00 00 01 89 0A 80 '+1/TYPE=PLMN' 00"
     "97 '+2/TYPE=PLMN' 00 97 7F 'b@c' 00 82 '3' 00 81 'hidden' 00 96 04 EA 'Hi' 00"
     "8A 81 8F 82 86 80 90 80 94 81 99 80 9A 02 01 02 9D 'x' 00 A0 02 81 'y' A1 01 81"
     "84 8C 82 80",
     "tid=T1 id=m@x from=+1 to=+2;b@c cc=3 subject=Hi date=1073741825 class=129 priority=130 "
     "delivery=1 read=1 body=84 8C 82 80 "},
    {"no_bytes_are_an_empty_record", retrieve, "", ""},
    {"another_message_type", retrieve, "98 'T' 00 8C 82",
     "message type is not m-retrieve-conf at 3"},
    {"code_above_the_range", retrieve, "A2 80", "unknown header field at 0"},
    {"unlisted_codes_are_read_over_by_their_first_octet", retrieve,
     "99 81 9A 1F 03 8C 82 00 9B 02 8C 82 83 'a' 00 91 7F E9 00 8F 80", "priority=128"},
    {"counted_values_have_one_length_octet", retrieve,
     "A1 1F 'aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa' 8F 80", "priority=128"},
    {"textual_header_is_skipped_by_its_name", retrieve,
     "'X-A' 00 'value' 00 8F 80 'X-B' 00 8A 82 98 'T' 00", "tid=T class=130 priority=128"},
    {"later_value_replaces_the_earlier", retrieve, "98 'a' 00 98 'b' 00 86 80 86 81 8A 82 8A 83",
     "tid=b class=131"},
    {"unknown_flag_value_changes_nothing", retrieve, "86 80 86 00 90 80 90 FF",
     "delivery=1 read=1"},
    {"textual_class_is_personal", retrieve, "8A 'mine' 00 8F 81", "class=128 priority=129"},
    {"unsupported_charset_gives_no_subject", retrieve, "96 'a' 00 96 05 11 03 E8 'a' 00 8F 81",
     "priority=129"},
    {"empty_recipient_counts", retrieve, "97 00 97 '1' 00 97 00", "to=;1;"},
    {"insert_address_stores_nothing", retrieve, "89 01 81 89 03 81 8C 82 8F 81", "priority=129"},
    {"from_without_a_length_takes_its_token", retrieve, "89 80 '1' 00 89 81 8F 81",
     "from=1 priority=129"},
    {"sender_ends_at_its_nul", retrieve, "89 02 80 'a@b' 00 8F 81 89 1F 81 00 80 'c@d' 00",
     "from=c@d priority=129"},
    {"date_lengths", retrieve, "85 01 07 85 1F 02 01 00 8F 81", "date=256 priority=129"},
    {"date_without_a_length_is_zero", retrieve, "85 01 07 85 FF 8F 81", "priority=129"},
    {"text_cut_off_by_the_end_ends_there", retrieve, "8B 'm' 00 98 'ab'", "tid=ab id=m"},
};

TEST(Decode, header_rules) {
    for (const Case& c : cases) {
        const std::string pdu = bytes(c.pdu);
        SCOPED_TRACE(std::string(c.rule) + ": " + hex(pdu));
        const NoLeak check;
        const Guarded guarded(pdu);
        EXPECT_EQ(c.read(guarded.data(), guarded.length()), c.expected);
        EXPECT_EQ(c.read(nullptr, 1), "null input or length out of range at 0");
        EXPECT_EQ(c.read(guarded.data(), -1), "null input or length out of range at 0");
        if (c.read != retrieve) {
            EXPECT_EQ(c.read(guarded.data(), 0), "null input or length out of range at 0");
        }
    }
}

TEST(Decode, damaged_messages_are_read_within_bounds_and_out_of_memory_is_no_record) {
    for (const Case& c : cases) {
        if (std::string(c.rule).find("every_field") != 0 && c.read != forward_conf) continue;
        SCOPED_TRACE(c.rule);
        const std::string pdu = bytes(c.pdu);
        damage_each_byte(pdu, c.read);
        fail_each_allocation([&] {
            const Guarded guarded(pdu);
            const std::string got = c.read(guarded.data(), guarded.length());
            EXPECT_TRUE(got == c.expected || got.starts_with("out of memory at")) << got;
        });
    }
}

TEST(Decode, response_status_is_a_number_from_the_confirmation) {
    const std::pair<const char*, int> answers[] = {{"98 'T' 00 92 80", 0}, {"98 'T' 00 92 88", 8},
                                                   {"98 'T' 00 92 89", 9}, {"98 'T' 00", 9},
                                                   {"92 80", 10},          {"", 10}};
    for (const auto& [notation, number] : answers) {
        const NoLeak check;
        const Guarded pdu(bytes(notation));
        EXPECT_EQ(fnMMS_RecvSendConfData(pdu.data(), pdu.length()), number) << notation;
        EXPECT_EQ(fnMMS_RecvFwdConfData(pdu.data(), pdu.length()), number) << notation;
    }
}

// One allocation for each address and a growing list: a list copied for each header would show.
TEST(Decode, joining_recipients_is_linear) {
    constexpr size_t count = 10000;
    std::string pdu;
    for (size_t i = 0; i < count; ++i)
        pdu += bytes("97 '1234' 00 82 '1234' 00");
    const Guarded guarded(pdu);
    mmskit::fail_allocation(0, false);
    EXPECT_EQ(retrieve(guarded.data(), guarded.length()).size(), 7 + 2 * (count * 5 - 1));
    EXPECT_LT(mmskit::counted_allocations(), 2 * count + 64);
}

}  // namespace
