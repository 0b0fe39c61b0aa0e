// Encoding requests, responses and reports: each rule as a call in and bytes out.
#include <gtest/gtest.h>
#include <mmskit/pdu.h>

#include "tests/support/faults.h"
#include "tests/support/made.h"

namespace {

using namespace testing_support;

// Encoders take their record const: texts of a test need no copies.
char* t(const char* text) {
    return const_cast<char*>(text);
}
// A new record with what `fill` sets.
std::string send(void (*fill)(tMMS_SendReq&)) {
    auto* fresh = static_cast<tMMS_SendReq*>(fnMMS_AllocMessageMem(1));
    tMMS_SendReq record = *fresh;
    fnMMS_FreeMessageMem(fresh, 1);
    record.pTransactionId = t("T1");
    fill(record);
    return made<fnMMS_MakeSendMessagePdu>(&record);
}

const std::string head = "8C 80 98 'T1' 00 8D 92 ";
const std::string relay = "89 01 81 ";
const std::string tail = "8F 81 94 81 86 81 90 81 ";
const std::string phone = "'/TYPE=PLMN' 00 ";

TEST(Request, encoding_rules) {
    using S = tMMS_SendReq;
    auto* const body = reinterpret_cast<uint8_t*>(t("\x84"));
    const S full = {1,           1,           0,       t("T1"), t("a@b.c"), t(" 1; 2"),
                    t("c@d;;3"), t("\xC3;e"), t("hi"), body,    3,          2,
                    0x7FFFFFFF,  0,           256,     1,       1,          1};
    const tMMS_ForwardReq forward = {1,          0, nullptr, t("1"), t("2"), t("3@"),
                                     t("\xE9l"), 1, 1,       1000,   0,      1000};
    const tMMS_ReadRecInd other = {t("M"), t("a@"), t("z"), 2, 9};
    const tMMS_ReadRecInd late_report = {t("M"), t("a@"), nullptr, 1, 0x80000001};
    const tMMS_ReadRecInd nameless = {nullptr, t("1"), nullptr, 0, 0};
    const tMMS_ReadRecInd to_nobody = {t("M"), nullptr, nullptr, 0, 0};
    const auto odd = [](S& r) {
        r.pTransactionId = nullptr, r.bMessageClass = 4, r.bPriority = 3, r.iContentLen = 9;
    };
    const auto late = [](S& r) {
        r.iDate = 0x80000000, r.iExpiry = 0xFFFFFFFF, r.iDeliveryTime = 0x7FFFFFFF;
    };
    const struct {
        const char* rule;
        std::string made, expected;
    } cases[] = {
        {"every_field", made<fnMMS_MakeSendMessagePdu>(&full),
         head + "85 04 7F FF FF FF 89 07 80 'a@b.c' 00 97 '1'" + phone + "97 '2'" + phone +
             "82 'c@d' 00 81 7F C3" + phone + "81 'e'" + phone + "96 04 EA 'hi' 00 8A 83" +
             "88 04 80 02 01 00 87 03 81 01 01 8F 82 94 80 86 80 90 80 84"},
        {"out_of_range_and_absent", send(odd), "8C 80 98 00 8D 92" + relay + "8A 80" + tail},
        {"times_of_2_to_the_31_and_more_have_four_octets", send(late),
         head + "85 04 80 00 00 00" + relay + "8A 80 88 06 81 04 FF FF FF FF" +
             "87 06 81 04 7F FF FF FF" + tail},
        {"delivery_time_token_is_always_relative",
         send([](S& r) { r.bDeliveryTimeRelative = 0, r.iDeliveryTime = 1000; }),
         head + relay + "8A 80 87 04 81 02 03 E8" + tail},
        {"from_is_never_quoted", send([](S& r) { r.From = t("\xC3@b"); }),
         head + "89 05 80 C3 '@b' 00 8A 80" + tail},
        {"sender_of_28", send([](S& r) { r.From = t("234567890123456789"); }),
         head + "89 1E 80 '234567890123456789'" + phone + "8A 80" + tail},
        {"sender_of_29", send([](S& r) { r.From = t("1234567890123456789"); }),
         head + "89 1F 1F 80 '1234567890123456789'" + phone + "8A 80" + tail},
        {"forward_honours_its_flags", made<fnMMS_MakeFWDMessagePdu>(&forward),
         "8C 89 98 00 8D 92 85 01 01" + relay + "97 '1'" + phone + "82 '2'" + phone +
             "81 '3@' 00 88 04 81 02 03 E8 87 04 80 02 03 E8 86 80 90 81 83 7F E9 'l' 00"},
        {"a_late_report", made<fnMMS_MakeReadRecIndPdu>(&late_report),
         "8C 87 8D 92 8B 'M' 00 89 01 81 97 'a@' 00 85 04 80 00 00 01 9B 81"},
        {"any_other_status_is_read", made<fnMMS_MakeReadRecIndPdu>(&other),
         "8C 87 8D 92 8B 'M' 00 89 01 81 97 'a@' 00 85 01 09 9B 80"},
        {"no_answer_is_reported", made<fnMMS_MakeNotifyRespPdu>("T1", 0, 0x82),
         "8C 83 98 'T1' 00 8D 92 91 81 95 82"},
        {"a_report_of_reading", made<fnMMS_MakeReadReportPdu>("T1", "1", "\xC3"),
         head + relay + "97 '1'" + phone + "96 04 EA 7F C3 00 8A 83 86 81 90 81 84 A3 00"},
        {"no_message_id", made<fnMMS_MakeReadRecIndPdu>(&nameless), "'null 77'"},
        {"no_reported_sender", made<fnMMS_MakeReadRecIndPdu>(&to_nobody), "'null 77'"},
        {"no_recipient", made<fnMMS_MakeReadReportPdu>("T1", nullptr, "r"), "'null 77'"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(hex(c.made), hex(bytes(c.expected))) << c.rule;
}

}  // namespace
