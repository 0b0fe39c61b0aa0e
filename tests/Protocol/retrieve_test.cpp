// Headers of retrieved messages: each rule as bytes in and a record out, and whole messages under
// damage and out of memory.
#include <gtest/gtest.h>
#include <mmskit/pdu.h>

#include <string>

#include "tests/support/faults.h"

namespace {

using namespace testing_support;

// Every member of the record that is not zero, or why there is none.
std::string shown(const tMMS_RetrieveConf* r) {
    uint32_t offset = 0;
    if (r == nullptr) {
        const char* reason = fnMMS_GetLastError(&offset);
        return std::string(reason) + " at " + std::to_string(offset);
    }
    std::string out;
    using Text = std::pair<const char*, const char*>;
    using Number = std::pair<const char*, uint32_t>;
    for (const auto& [name, value] :
         {Text("tid=", r->pTransactionId), Text("id=", r->pMessageId), Text("from=", r->From),
          Text("to=", r->pTo), Text("cc=", r->pCc), Text("subject=", r->pSubject)})
        if (value != nullptr) out += std::string(name) + value + " ";
    for (const auto& [name, value] :
         {Number("date=", r->iDate), Number("class=", r->bMessageClass),
          Number("priority=", r->bPriority), Number("delivery=", r->bDeliveryReport),
          Number("read=", r->bReadReport)})
        if (value != 0) out += name + std::to_string(value) + " ";
    if (r->pBody != nullptr) out += "body=" + hex(r->pBody, r->iBodyLen);
    return out.substr(0, out.find_last_not_of(' ') + 1);
}

std::string parsed(const uint8_t* pdu, int32_t length) {
    tMMS_RetrieveConf* record = fnMMS_ParseRetrieveConf(pdu, length);
    const std::string out = shown(record);
    fnMMS_FreeMessageMem(record, 4);
    return out;
}

std::string parsed(const std::string& pdu) {
    return parsed(reinterpret_cast<const uint8_t*>(pdu.data()), static_cast<int32_t>(pdu.size()));
}

struct Case {
    const char* rule;
    const char* pdu;
    const char* expected;
};

constexpr const char* whole_message =
    "8C 84 98 'T1' 00 8D 92 8B 'm@x' 00 85 04 40 00 00 01 89 0A 80 '+1/TYPE=PLMN' 00"
    "97 '+2/TYPE=PLMN' 00 97 7F 'b@c' 00 82 '3' 00 81 'hidden' 00 96 04 EA 'Hi' 00"
    "8A 81 8F 82 86 80 90 80 94 81 99 80 9A 02 01 02 9D 'x' 00 A0 02 81 'y' A1 01 81"
    "84 8C 82 80";
constexpr const char* whole_record =
    "tid=T1 id=m@x from=+1 to=+2;b@c cc=3 subject=Hi date=1073741825 class=129 priority=130 "
    "delivery=1 read=1 body=84 8C 82 80";

const Case cases[] = {
    {"every_field_of_a_whole_message", whole_message, whole_record},
    {"no_bytes_are_an_empty_record", "", ""},
    {"another_message_type", "98 'T' 00 8C 82", "message type is not m-retrieve-conf at 3"},
    {"code_below_the_range", "8F 81 80 80", "unknown header field at 2"},
    {"code_above_the_range", "A2 80", "unknown header field at 0"},
    {"unlisted_codes_are_read_over_by_their_first_octet",
     "99 81 9A 1F 03 8C 82 00 9B 02 8C 82 83 'a' 00 91 7F E9 00 8F 80", "priority=128"},
    {"counted_values_have_one_length_octet", "A1 1F 'aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa' 8F 80",
     "priority=128"},
    {"textual_header_is_skipped_by_its_name", "'X-A' 00 'value' 00 8F 80 'X-B' 00 8A 82 98 'T' 00",
     "tid=T class=130 priority=128"},
    {"later_value_replaces_the_earlier", "98 'a' 00 98 'b' 00 86 80 86 81 8A 82 8A 83",
     "tid=b class=131"},
    {"unknown_flag_value_changes_nothing", "86 80 86 00 90 80 90 FF", "delivery=1 read=1"},
    {"textual_class_is_personal", "8A 'mine' 00 8F 81", "class=128 priority=129"},
    {"unsupported_charset_gives_no_subject", "96 'a' 00 96 05 11 03 E8 'a' 00 8F 81",
     "priority=129"},
    {"empty_recipient_counts", "97 00 97 '1' 00 97 00", "to=;1;"},
    {"insert_address_stores_nothing", "89 01 81 89 03 81 8C 82 8F 81", "priority=129"},
    {"from_without_a_length_takes_its_token", "89 80 '1' 00 89 81 8F 81", "from=1 priority=129"},
    {"sender_ends_at_its_nul", "89 02 80 'a@b' 00 8F 81 89 1F 81 00 80 'c@d' 00",
     "from=c@d priority=129"},
    {"date_lengths", "85 01 07 85 1F 02 01 00 8F 81", "date=256 priority=129"},
    {"date_without_a_length_is_zero", "85 01 07 85 FF 8F 81", "priority=129"},
    {"text_cut_off_by_the_end_ends_there", "8B 'm' 00 98 'ab'", "tid=ab id=m"},
    {"missing_octets_are_zero", "8F 81 85 02 01", "date=256 priority=129"},
};

TEST(Retrieve, header_rules) {
    for (const Case& c : cases) {
        const std::string pdu = bytes(c.pdu);
        SCOPED_TRACE(std::string(c.rule) + ": " + hex(pdu));
        const NoLeak check;
        const Guarded guarded(pdu);
        EXPECT_EQ(parsed(guarded.data(), guarded.length()), c.expected);
    }
}

TEST(Retrieve, refused_input_leaves_a_reason_until_a_decoder_succeeds) {
    const uint8_t byte = 0x84;
    EXPECT_EQ(parsed(nullptr, 1), "null input or length out of range at 0");
    EXPECT_EQ(parsed(&byte, -1), "null input or length out of range at 0");
    EXPECT_EQ(parsed(&byte, 1), "body=84");
    EXPECT_STREQ(fnMMS_GetLastError(nullptr), "no error");
}

TEST(Retrieve, out_of_memory_gives_no_part_of_a_record) {
    fail_each_allocation([pdu = bytes(whole_message)] {
        const std::string got = parsed(pdu);
        if (got != whole_record) {
            EXPECT_EQ(got.substr(0, 16), "out of memory at");
        }
    });
}

TEST(Retrieve, damaged_messages_are_read_within_bounds) {
    damage_each_byte(bytes(whole_message),
                     [](const uint8_t* data, int32_t length) { parsed(data, length); });
}

// One allocation for each address and a growing list: a list copied for each header would show.
TEST(Retrieve, joining_recipients_is_linear) {
    constexpr size_t count = 10000;
    std::string pdu;
    for (size_t i = 0; i < count; ++i)
        pdu += bytes("97 '1234' 00 82 '1234' 00");
    mmskit::fail_allocation(0, false);
    EXPECT_EQ(parsed(pdu).size(), std::string("to= cc=").size() + 2 * (count * 5 - 1));
    EXPECT_LT(mmskit::counted_allocations(), 2 * count + 64);
}

}  // namespace
