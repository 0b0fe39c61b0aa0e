// Confirmations, notifications, reports and send requests read back: each rule as bytes in and a
// record out, and whole messages under damage and out of memory.
#include <gtest/gtest.h>
#include <mmskit/pdu.h>

#include <initializer_list>
#include <string>
#include <utility>
#include <variant>

#include "tests/support/faults.h"

namespace {

using namespace testing_support;

// The members that are not zero.
using Member = std::pair<const char*, std::variant<const char*, uint32_t>>;
std::string listed(std::initializer_list<Member> members) {
    std::string out;
    for (const auto& [name, value] : members) {
        const char* const* const words = std::get_if<const char*>(&value);
        const std::string shown = words == nullptr    ? std::to_string(std::get<uint32_t>(value))
                                  : *words != nullptr ? *words
                                                      : "0";
        if (shown != "0") out += (out.empty() ? "" : " ") + (name + ("=" + shown));
    }
    return out;
}

std::string shown(const tMMS_SendConf& r) {
    return listed({{"type", r.bMessageType},
                   {"version", r.bVersion},
                   {"status", r.bResponseStatus},
                   {"tid", r.pTransactionId},
                   {"text", r.pResponseText},
                   {"id", r.pMessageId}});
}
std::string shown(const tMMS_NotificationInd& r) {
    return listed({{"class", r.bMessageClass},
                   {"priority", r.bPriority},
                   {"token", r.bExpiryToken},
                   {"size", r.iMessageSize},
                   {"expiry", r.iExpiry},
                   {"tid", r.pTransactionId},
                   {"from", r.From},
                   {"subject", r.pSubject},
                   {"at", r.pContentLocation}});
}
std::string shown(const tMMS_DeliveryInd& r) {
    return listed({{"status", r.bStatus}, {"id", r.pMessageId}, {"to", r.pTo}, {"date", r.iDate}});
}
std::string shown(const tMMS_ReadOrigInd& r) {
    return listed({{"status", r.bReadStatus},
                   {"id", r.pMessageId},
                   {"from", r.From},
                   {"to", r.pTo},
                   {"date", r.iDate}});
}
std::string shown(const tMMS_SendReq& r) {
    EXPECT_EQ(r.bSenderVisible + r.bExpiryRelative + r.bDeliveryTimeRelative, 3U);
    EXPECT_EQ(r.bDeliveryReport + r.bReadReport + r.iDate + r.iExpiry + r.iDeliveryTime, 0U);
    const std::string body = hex(r.pContent, r.iContentLen);
    return listed({{"class", r.bMessageClass},
                   {"priority", r.bPriority},
                   {"tid", r.pTransactionId},
                   {"from", r.From},
                   {"to", r.pTo},
                   {"cc", r.pCc},
                   {"bcc", r.pBcc},
                   {"subject", r.pSubject},
                   {"body", r.pContent != nullptr ? body.c_str() : nullptr}});
}

using Read = std::string (*)(const uint8_t* pdu, int32_t length);
template <auto parse, uint8_t kind>
std::string read(const uint8_t* pdu, int32_t length) {
    auto* record = parse(pdu, length);
    uint32_t at = 0;
    const std::string reason = fnMMS_GetLastError(&at);
    const std::string out =
        record != nullptr ? shown(*record) : reason + " at " + std::to_string(at);
    fnMMS_FreeMessageMem(record, kind);
    return out;
}
constexpr Read send_conf = read<fnMMS_ParseSendConf, 2>;
constexpr Read forward_conf = read<fnMMS_ParseForwardConf, 11>;
constexpr Read notification = read<fnMMS_ParseNotificationInd, 3>;
constexpr Read delivery = read<fnMMS_ParseDeliveryInd, 5>;
constexpr Read read_orig = read<fnMMS_ParseReadOrigInd, 9>;
constexpr Read send_req = read<fnMMS_ParseSendContent, 1>;

struct Case {
    const char* rule;
    Read read;
    const char* pdu;
    const char* expected;
};

// The first one of a kind is the whole message that the failure loops break.
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
    {"delivery_report_of_another_type", delivery, "8C 87 95 81",
     "message type is not m-delivery-ind at 0"},
    {"date_advances_by_its_length_octet", delivery,
     "85 20 'aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa' 95 81", "status=129"},
    {"every_field_of_a_read_report", read_orig,
     "8C 88 8D 91 85 01 07 89 04 80 'a@' 00 8B 'm' 00 97 '2' 00 9B 81",
     "status=129 id=m from=a@ to=2 date=7"},
    {"unknown_header_ends_a_read_report", read_orig, "97 '2' 00 92 80 9B 80", "to=2"},
    {"read_report_of_another_type", read_orig, "9B 80 8C 86",
     "message type is not m-read-orig-ind at 2"},
    {"every_field_of_a_send_request", send_req,
     "8C 80 98 'T' 00 8D 92 89 04 80 '+1' 00 97 '2/T' 00 97 'b@c' 00 82 '3' 00 82 '' 00 81 '4' 00"
     "96 'Hi' 00 8A 81 8F 82 86 80 90 80 94 80 88 02 81 05 87 01 81 84 A3 00",
     "class=129 priority=130 tid=T from=+1 to=2;b@c cc=3; bcc=4 subject=Hi body=84 A3 00 "},
    {"class_and_priority_read_back_as_wire_octets", send_req, "8A 80 8F 80 86 80",
     "class=128 priority=128"},
    {"request_without_a_body", send_req, "98 'T' 00 8A 'x' 00", "class=128 priority=1 tid=T"},
    {"empty_transaction_id", send_req, "8C 80 98 7F 00", "empty transaction id at 2"},
    {"reading_back_fails_on_a_date", send_req, "98 'T' 00 85 01 07", "unknown header field at 3"},
};

TEST(Indication, header_rules) {
    for (const Case& c : cases) {
        const std::string pdu = bytes(c.pdu);
        SCOPED_TRACE(std::string(c.rule) + ": " + hex(pdu));
        const NoLeak check;
        const Guarded guarded(pdu);
        EXPECT_EQ(c.read(guarded.data(), guarded.length()), c.expected);
        EXPECT_EQ(c.read(guarded.data(), 0), "null input or length out of range at 0");
        EXPECT_EQ(c.read(nullptr, 1), "null input or length out of range at 0");
    }
}

TEST(Indication, damaged_messages_are_read_within_bounds_and_out_of_memory_is_no_record) {
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

TEST(Indication, response_status_is_a_number_from_the_confirmation) {
    using Answer = std::pair<const char*, int>;
    const NoLeak check;
    for (const auto& [notation, number] :
         {Answer("98 'T' 00 92 80", 0), Answer("98 'T' 00 92 88", 8), Answer("98 'T' 00 92 89", 9),
          Answer("98 'T' 00", 9), Answer("92 80", 10), Answer("", 10)}) {
        SCOPED_TRACE(notation);
        const Guarded pdu(bytes(notation));
        EXPECT_EQ(fnMMS_RecvSendConfData(pdu.data(), pdu.length()), number);
        EXPECT_EQ(fnMMS_RecvFwdConfData(pdu.data(), pdu.length()), number);
    }
}

}  // namespace
