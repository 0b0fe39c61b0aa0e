// Message records and their decoders: each rule as bytes in and a record out, also under damage and
// out of memory; the layout that hosts are compiled against; the defaults and the release by kind.
#include <gtest/gtest.h>
#include <mmskit/pdu.h>
#include <mmskit/runtime.h>

#include <cstddef>
#include <string>
#include <vector>

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

#define AT(record, member) offsetof(tMMS_##record, member)

// The place of every member; what it is on LP64, which never changes, tests/abi holds.
using Named = std::vector<std::pair<const char*, size_t>>;
struct Layout {
    Named octets, numbers, texts;
    std::pair<size_t, size_t> body = {};  // the pointer, and its size
};

std::string shown(const uint8_t* record, const Layout& layout) {
    const auto number = [&](size_t at) { return *reinterpret_cast<const uint32_t*>(record + at); };
    const auto text = [&](size_t at) { return *reinterpret_cast<char* const*>(record + at); };
    std::string out;
    for (const auto& [name, at] : layout.octets)
        out += m(name, record[at]);
    for (const auto& [name, at] : layout.numbers)
        out += m(name, number(at));
    for (const auto& [name, at] : layout.texts)
        out += m(name, text(at));
    const auto& [body, size] = layout.body;
    if (size == 0 || text(body) == nullptr) return out;
    return out + m("body", hex(text(body), number(size)).c_str());
}

// Packed by hand: one member a line takes a page.
// clang-format off
const Layout conf{{{"type", AT(SendConf, bMessageType)}, {"version", AT(SendConf, bVersion)},
    {"status", AT(SendConf, bResponseStatus)}}, {}, {{"tid", AT(SendConf, pTransactionId)},
    {"text", AT(SendConf, pResponseText)}, {"id", AT(SendConf, pMessageId)}}};
const Layout notification_ind{{{"class", AT(NotificationInd, bMessageClass)},
    {"priority", AT(NotificationInd, bPriority)}, {"token", AT(NotificationInd, bExpiryToken)}},
    {{"size", AT(NotificationInd, iMessageSize)}, {"expiry", AT(NotificationInd, iExpiry)}},
    {{"tid", AT(NotificationInd, pTransactionId)}, {"from", AT(NotificationInd, From)},
    {"subject", AT(NotificationInd, pSubject)}, {"at", AT(NotificationInd, pContentLocation)}}};
const Layout retrieve_conf{{{"class", AT(RetrieveConf, bMessageClass)},
    {"priority", AT(RetrieveConf, bPriority)}}, {{"delivery", AT(RetrieveConf, bDeliveryReport)},
    {"read", AT(RetrieveConf, bReadReport)}, {"date", AT(RetrieveConf, iDate)}},
    {{"tid", AT(RetrieveConf, pTransactionId)}, {"id", AT(RetrieveConf, pMessageId)},
    {"from", AT(RetrieveConf, From)}, {"to", AT(RetrieveConf, pTo)}, {"cc", AT(RetrieveConf, pCc)},
    {"subject", AT(RetrieveConf, pSubject)}}, {AT(RetrieveConf, pBody),
    AT(RetrieveConf, iBodyLen)}};
const Layout delivery_ind{{{"status", AT(DeliveryInd, bStatus)}},
    {{"date", AT(DeliveryInd, iDate)}}, {{"id", AT(DeliveryInd, pMessageId)},
    {"to", AT(DeliveryInd, pTo)}}};
const Layout read_orig_ind{{{"status", AT(ReadOrigInd, bReadStatus)}},
    {{"date", AT(ReadOrigInd, iDate)}}, {{"id", AT(ReadOrigInd, pMessageId)},
    {"from", AT(ReadOrigInd, From)}, {"to", AT(ReadOrigInd, pTo)}}};
// Flags and times, of which three are set in a new record.
const Layout send_request{{{"class", AT(SendReq, bMessageClass)},
    {"priority", AT(SendReq, bPriority)}}, {{"dr", AT(SendReq, bDeliveryReport)},
    {"rr", AT(SendReq, bReadReport)}, {"seen", AT(SendReq, bSenderVisible)},
    {"d", AT(SendReq, iDate)}, {"rel", AT(SendReq, bExpiryRelative)}, {"e", AT(SendReq, iExpiry)},
    {"rel", AT(SendReq, bDeliveryTimeRelative)}, {"t", AT(SendReq, iDeliveryTime)}},
    {{"tid", AT(SendReq, pTransactionId)}, {"from", AT(SendReq, From)}, {"to", AT(SendReq, pTo)},
    {"cc", AT(SendReq, pCc)}, {"bcc", AT(SendReq, pBcc)}, {"subject", AT(SendReq, pSubject)}},
    {AT(SendReq, pContent), AT(SendReq, iContentLen)}};
// clang-format on

using Read = std::string (*)(const uint8_t* pdu, int32_t length);
template <auto parse, uint8_t kind, const Layout& layout>
std::string read(const uint8_t* pdu, int32_t length) {
    auto* record = parse(pdu, length);
    uint32_t at = 0;
    const std::string reason = fnMMS_GetLastError(&at);
    std::string out = " " + reason + " at " + std::to_string(at);
    if (record != nullptr) out = shown(reinterpret_cast<const uint8_t*>(record), layout);
    EXPECT_EQ(record != nullptr, reason == "no error");
    fnMMS_FreeMessageMem(record, kind);
    return out.empty() ? "" : out.substr(1);
}
constexpr Read send_conf = read<fnMMS_ParseSendConf, 2, conf>;
constexpr Read forward_conf = read<fnMMS_ParseForwardConf, 11, conf>;
constexpr Read notification = read<fnMMS_ParseNotificationInd, 3, notification_ind>;
constexpr Read retrieve = read<fnMMS_ParseRetrieveConf, 4, retrieve_conf>;
constexpr Read delivery = read<fnMMS_ParseDeliveryInd, 5, delivery_ind>;
constexpr Read read_orig = read<fnMMS_ParseReadOrigInd, 9, read_orig_ind>;
constexpr Read send_req = read<fnMMS_ParseSendContent, 1, send_request>;

struct Case {
    const char* rule;
    Read read;
    const char *pdu, *expected;
};

const Case cases[] = {
    {"response_text_is_taken_as_it_stands", send_conf,
     "8C 81 98 7F 'T1' 00 8D 92 92 80 93 05 EA 7F 'ok' 00 8B 'm@x' 00",
     "type=129 version=146 status=128 tid=T1 text=\x05\xEA\x7Fok id=m@x"},
    {"confirmation_needs_a_transaction_id", send_conf, "8C 81 92 80", "no transaction id at 4"},
    {"forward_status_is_in_the_message_type", forward_conf,
     "8C 8A 98 'T' 00 8D 91 92 83 93 'no' 00 8B 'm' 00", "type=131 version=145 tid=T text=no id=m"},
    {"every_field_of_a_notification", notification,
     "8C 82 98 'T' 00 8D 92 86 80 87 02 81 05 89 06 80 '+1/T' 00 96 04 EA 'Hi' 00 8A 82 8E 02 10 00"
     "8F 82 88 04 81 02 01 00 83 'http://h/' 00",
     "class=130 priority=130 token=129 size=4096 expiry=256 tid=T from=+1 subject=Hi at=http://h/"},
    {"another_type", notification, "83 'h' 00 8C 80",
     "message type is not m-notification-ind at 3"},
    {"notification_without_a_location", notification, "98 'T' 00", "tid=T"},
    {"notification_without_a_location", notification, "98 'T' 00 85 01",
     "no content location at 3"},
    {"cut_off_location_is_dropped", notification, "98 'T' 00 83 'a' 00 83 'http://h", "tid=T"},
    {"every_field_of_a_delivery_report", delivery,
     "8C 86 8D 92 8B 'm' 00 97 '+1/TYPE=PLMN' 00 97 'b@c' 00 85 02 01 00 95 81",
     "status=129 date=256 id=m to=b@c"},
    {"delivery_report_ends_with_its_last_header", delivery, "95 81 8B 'm' 00 98 'T' 00",
     "unknown header field at 5"},
    {"date_is_counted", delivery, "85 20 'aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa' 95 81", "status=129"},
    {"every_field_of_a_read_report", read_orig,
     "8C 88 8D 91 85 01 07 89 04 80 'a@' 00 8B 'm' 00 97 '2' 00 9B 81",
     "status=129 date=7 id=m from=a@ to=2"},
    {"unknown_header_ends_a_read_report", read_orig, "97 '2' 00 92 80 9B 80", "to=2"},
    {"class_and_priority_read_back_as_wire_octets", send_req,
     "8C 80 98 'T' 00 8D 92 89 04 80 '+1' 00 97 '2/T' 00 97 'b@c' 00 82 '3' 00 82 '' 00 81 '4' 00"
     "96 'Hi' 00 8A 81 8F 82 86 80 90 80 94 80 88 02 81 05 87 01 81 84 A3 00",
     "class=129 priority=130 seen=1 rel=1 rel=1 tid=T from=+1 to=2;b@c cc=3; bcc=4 subject=Hi "
     "body=84 A3 00 "},
    {"empty_transaction_id", send_req, "8C 80 98 7F 00", "empty transaction id at 2"},
    {"reading_back_fails_on_a_date", send_req, "98 'T' 00 85 01 07", "unknown header field at 3"},
    {"every_field_of_a_retrieved_message", retrieve,
     "8C 84 98 'T1' 00 8D 92 8B 'm@x' 00 85 04 40 00 00 01 89 0A 80 '+1/TYPE=PLMN' 00"
     "97 '+2/TYPE=PLMN' 00 97 7F 'b@c' 00 82 '3' 00 81 'hidden' 00 96 04 EA 'Hi' 00"
     "8A 81 8F 82 86 80 90 80 94 81 99 80 9A 02 01 02 9D 'x' 00 A0 02 81 'y' A1 01 81"
     "84 8C 82 80",
     "class=129 priority=130 delivery=1 read=1 date=1073741825 tid=T1 id=m@x from=+1 to=+2;b@c "
     "cc=3 subject=Hi body=84 8C 82 80 "},
    {"code_above_the_range", retrieve, "A2 80", "unknown header field at 0"},
    {"unlisted_codes_are_read_over_by_their_first_octet", retrieve,
     "99 81 9A 1F 03 8C 82 00 9B 02 8C 82 83 'a' 00 91 7F E9 00 8F 80", "priority=128"},
    {"textual_name", retrieve, "'X' 00 'v' 00 8F 80 'Y' 00 8A 82", "class=130 priority=128"},
    {"later_value_counts", retrieve, "98 'a' 00 98 'b' 00 8A 82 8A 83", "class=131 tid=b"},
    {"unknown_flag_is_ignored", retrieve, "86 80 86 81 86 00 90 80 90 FF", "read=1"},
    {"textual_class_is_personal", retrieve, "8A 'mine' 00 8F 81", "class=128 priority=129"},
    {"unsupported_charset", retrieve, "96 'a' 00 96 05 11 03 E8 'a' 00 8F 81", "priority=129"},
    {"empty_recipient_counts", retrieve, "97 00 97 '1' 00 97 00", "to=;1;"},
    {"recipients_of_any_length", retrieve,
     "97 '12345678901234567890123456789012' 00 97 '12345678901234567890123456789012' 00",
     "to=12345678901234567890123456789012;12345678901234567890123456789012"},
    {"insert_address_stores_nothing", retrieve, "89 01 81 89 03 81 8C 82 8F 81", "priority=129"},
    {"from_without_a_length", retrieve, "89 80 '1' 00 89 81 8F 81", "priority=129 from=1"},
    {"sender_ends_at_its_nul", retrieve, "89 02 80 'a@b' 00 89 1F 81 00 80 'c@d' 00", "from=c@d"},
    {"date_lengths", retrieve, "85 01 07 85 1F 02 01 00 8F 81", "priority=129 date=256"},
    {"date_without_a_length_is_zero", retrieve, "85 01 07 85 FF 8F 81", "priority=129"},
    {"text_cut_off_by_the_end_ends_there", retrieve, "8B 'm' 00 98 'ab'", "tid=ab id=m"},
};

TEST(Decode, header_rules_and_each_message_damaged_and_out_of_memory) {
    constexpr const char* out_of_range = "null input or length out of range at 0";
    for (const Case& c : cases) {
        const std::string pdu = bytes(c.pdu);
        SCOPED_TRACE(std::string(c.rule) + ": " + hex(pdu));
        const Guarded guarded(pdu);
        EXPECT_EQ(c.read(guarded.data(), guarded.length()), c.expected);
        EXPECT_EQ(c.read(nullptr, 1), out_of_range);
        EXPECT_EQ(c.read(guarded.data(), -1), out_of_range);
        EXPECT_EQ(c.read(guarded.data(), 0), c.read == retrieve ? "" : out_of_range);
        damage_each_byte(pdu, c.read);
        fail_each_allocation([&] {
            const std::string got = c.read(guarded.data(), guarded.length());
            EXPECT_TRUE(got == c.expected || got.starts_with("out of memory at")) << got;
        });
    }
}

TEST(Decode, response_status_is_a_number_from_the_confirmation) {
    const std::pair<const char*, int> answers[] = {
        {"9800 9280", 0}, {"9800 9288", 8}, {"9800 9289", 9}, {"9800", 9}, {"9280", 10}};
    for (const auto& [notation, number] : answers) {
        const NoLeak check;
        const Guarded pdu(bytes(notation));
        EXPECT_EQ(fnMMS_RecvSendConfData(pdu.data(), pdu.length()), number) << notation;
        EXPECT_EQ(fnMMS_RecvFwdConfData(pdu.data(), pdu.length()), number) << notation;
    }
}

struct Kind {
    size_t size;
    std::vector<std::pair<size_t, uint8_t>> octets = {};  // of a new record, those that are not 0
    std::vector<size_t> ones = {};                        // offsets of the numbers that are 1
    std::vector<size_t> owned = {};  // offsets of the pointers, where no case above fills them
};
// clang-format off
const Kind kinds[] = {
    {sizeof(tMMS_SendReq), {{AT(SendReq, bPriority), 1}}, {AT(SendReq, bSenderVisible),
     AT(SendReq, bExpiryRelative), AT(SendReq, bDeliveryTimeRelative)}},
    {sizeof(tMMS_SendConf), {{AT(SendConf, bMessageType), 0x81}, {AT(SendConf, bVersion), 0x92}}},
    {sizeof(tMMS_NotificationInd)},
    {sizeof(tMMS_RetrieveConf)},
    {sizeof(tMMS_DeliveryInd)},
    {sizeof(tMMS_NotifyRespInd), {{AT(NotifyRespInd, bMessageType), 0x83},
     {AT(NotifyRespInd, bVersion), 0x92}}, {}, {AT(NotifyRespInd, pTransactionId)}},
    {sizeof(tMMS_AcknowledgeInd), {{AT(AcknowledgeInd, bMessageType), 0x85},
     {AT(AcknowledgeInd, bVersion), 0x92}}, {}, {AT(AcknowledgeInd, pTransactionId)}},
    {sizeof(tMMS_ReadRecInd), {}, {}, {AT(ReadRecInd, pMessageId), AT(ReadRecInd, pTo),
     AT(ReadRecInd, pReserved)}},
    {sizeof(tMMS_ReadOrigInd)},
    {sizeof(tMMS_ForwardReq), {}, {AT(ForwardReq, bExpiryRelative),
     AT(ForwardReq, bDeliveryTimeRelative)}, {AT(ForwardReq, pTransactionId), AT(ForwardReq, pTo),
     AT(ForwardReq, pCc), AT(ForwardReq, pBcc), AT(ForwardReq, pContentLocation)}},
    {sizeof(tMMS_SendConf)},
};
// clang-format on

TEST(Records, a_new_record_has_the_defaults_of_its_kind_and_is_freed_whole) {
    const NoLeak check;
    uint8_t number = 0;
    for (const Kind& kind : kinds) {
        auto* record = static_cast<uint8_t*>(fnMMS_AllocMessageMem(++number));
        ASSERT_NE(record, nullptr);
        std::vector<uint8_t> expected(kind.size, 0);
        for (const auto& [offset, value] : kind.octets)
            expected[offset] = value;
        for (const size_t offset : kind.ones)
            *reinterpret_cast<uint32_t*>(expected.data() + offset) = 1;
        EXPECT_EQ(std::vector<uint8_t>(record, record + kind.size), expected) << int{number};
        for (const size_t offset : kind.owned)
            *reinterpret_cast<void**>(record + offset) = fnSC_Malloc_Local(1);
        fnMMS_FreeMessageMem(record, number);
    }
    for (const uint8_t unknown : {uint8_t{0}, uint8_t{12}, uint8_t{0x84}}) {
        EXPECT_EQ(fnMMS_AllocMessageMem(unknown), nullptr);
        fnMMS_FreeMessageMem(&number, unknown);
    }
    fnMMS_FreeMessageMem(nullptr, 1);
}

}  // namespace
