// Messages that carriers and phones really sent, against the facts that an independent reader of
// the public encoding found in them. The messages are not part of the project; without a folder
// that MMSKIT_SAMPLES names the tests are skipped.

#include <gtest/gtest.h>
#include <mmskit/mmskit.h>

#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/support/faults.h"

namespace {

using nlohmann::json;
using namespace testing_support;

std::string number(int64_t value) {
    return value != 0 ? std::to_string(value) : "(null)";
}

std::string without_type(const std::string& address) {
    return address.find('@') == std::string::npos ? address.substr(0, address.find('/')) : address;
}

// A fact as a record has it: a text, a list of addresses, a number; 0 as if it were absent.
std::string wire(const json& facts, const std::string& key) {
    if (!facts.contains(key)) return "(null)";
    const json& fact = facts[key];
    static const json tokens{
        {"personal", 128}, {"advertisement", 129}, {"us-ascii", 3}, {"utf-8", 106}};
    if (key == "message-class" || key == "charset") return number(tokens.at(std::string(fact)));
    if (key == "content-id") return fact.dump().substr(2, fact.dump().size() - 4);
    if (key == "expiry") return number(fact["relative"]);
    if (key == "from") return without_type(fact.is_object() ? fact["text"] : fact);
    std::string list;
    for (const json& address : fact.is_array() ? fact : json::array())
        list += (list.empty() ? "" : ";") + without_type(address["text"]);
    if (fact.is_array()) return list;
    if (fact.is_boolean()) return number(fact.get<bool>());
    if (fact.is_number()) return number(fact);
    return fact.is_object() ? fact["text"] : fact;
}

// Keys of facts, each followed by what the record has for it.
void compare(const json&) {}
template <typename Value, typename... Rest>
void compare(const json& facts, const char* key, Value value, Rest... rest) {
    if constexpr (std::is_pointer_v<Value>) {
        EXPECT_EQ(text(value), wire(facts, key)) << key;
    } else {
        EXPECT_EQ(number(value), wire(facts, key)) << key;
    }
    compare(facts, rest...);
}

void expect(const json& facts, const tMMS_NotificationInd& r) {
    EXPECT_EQ(r.bExpiryToken, 0x81);
    compare(facts, "transaction-id", r.pTransactionId, "from", r.From, "subject", r.pSubject,
            "content-location", r.pContentLocation, "message-class", r.bMessageClass,
            "message-size", r.iMessageSize, "expiry", r.iExpiry);
}
void expect(const json& facts, const tMMS_DeliveryInd& r) {
    compare(facts, "message-id", r.pMessageId, "to", r.pTo, "date", r.iDate, "status", r.bStatus);
}
void expect(const json& facts, const tMMS_ReadOrigInd& r) {
    compare(facts, "message-id", r.pMessageId, "from", r.From, "to", r.pTo, "date", r.iDate,
            "read-status", r.bReadStatus);
}
void expect(const json& facts, const tMMS_SendConf& r) {
    compare(facts, "transaction-id", r.pTransactionId, "message-id", r.pMessageId, "response-text",
            r.pResponseText, "response-status", r.bResponseStatus);
}
void expect(const json& facts, const tMMS_RetrieveConf& conf) {
    compare(facts, "transaction-id", conf.pTransactionId, "message-id", conf.pMessageId, "from",
            conf.From, "to", conf.pTo, "cc", conf.pCc, "subject", conf.pSubject, "date", conf.iDate,
            "priority", conf.bPriority, "delivery-report", conf.bDeliveryReport, "read-report",
            conf.bReadReport, "message-class", conf.bMessageClass);
    tMMS_ContentUnion* content =
        fnMMS_GetMediaDataFromPdu(conf.pBody, static_cast<int32_t>(conf.iBodyLen));
    ASSERT_NE(content, nullptr);
    const uint8_t* const message = conf.pBody + conf.iBodyLen - facts["size"].get<int64_t>();
    const tMMS_MediaData* part = content->pMediaList;
    for (const json& fact : facts["parts"]) {
        SCOPED_TRACE(fact.dump());
        if (fact["content_type"] == "application/smil") {
            const tMMS_SmilPart* smil = content->pSmil;
            ASSERT_NE(smil, nullptr);
            compare(fact, "size", smil->iDataLen, "offset", smil->pData - message);
            continue;
        }
        ASSERT_NE(part, nullptr);
        compare(fact, "content_type", part->pContentType, "size", part->iDataLen, "offset",
                part->pData - message, "content-id", part->pContentId);
        compare(fact["params"], "charset", part->iCharset);
        EXPECT_EQ(part->bHasCharset, part->iCharset != 0);
        if (fact["params"].contains("name")) compare(fact["params"], "name", part->pName);
        if (fact.contains("content-location"))
            compare(fact, "content-location", part->pContentLocation);
        part = part->pNext;
    }
    EXPECT_EQ(part, nullptr);
    fnMMS_FreeMediaData(content);
}

template <auto parse, uint8_t kind>
void expect_record(const Guarded& pdu, const json& facts) {
    auto* record = parse(pdu.data(), pdu.length());
    ASSERT_NE(record, nullptr) << fnMMS_GetLastError(nullptr);
    expect(facts, *record);
    fnMMS_FreeMessageMem(record, kind);
}

struct Samples : testing::Test {
    const std::string folder = std::string(MMSKIT_SAMPLES) + "/";
    json all = json::parse(std::ifstream(folder + "facts.json"), nullptr, false);
    void SetUp() override {
        if (!all.is_object()) GTEST_SKIP() << "no sample messages here";
        // What the wire says and this library deliberately answers otherwise.
        // address_text_is_taken_as_it_stands: a From with a character set of its own.
        all["retrieve-phone-4.mms"]["facts"]["from"] = bytes("0D 83 '01234567890'");
        // empty_text_after_utf8_is_null
        all["retrieve-phone-4.mms"]["facts"].erase("subject");
        // response_text_is_taken_as_it_stands: length, character set and quote stay in the text.
        json& response = all["send-conf-2.mms"]["facts"]["response-text"]["text"];
        response = bytes("1F 39 EA 7F") + response.get<std::string>();
    }
};

TEST_F(Samples, headers_and_parts_are_those_of_the_wire) {
    const std::map<std::string, void (*)(const Guarded&, const json&)> readers{
        {"m-notification-ind", expect_record<fnMMS_ParseNotificationInd, 3>},
        {"m-delivery-ind", expect_record<fnMMS_ParseDeliveryInd, 5>},
        {"m-read-orig-ind", expect_record<fnMMS_ParseReadOrigInd, 9>},
        {"m-retrieve-conf", expect_record<fnMMS_ParseRetrieveConf, 4>},
        {"m-send-conf", expect_record<fnMMS_ParseSendConf, 2>}};
    for (const auto& [file, sample] : all.items()) {
        SCOPED_TRACE(file);
        const NoLeak check;
        const Guarded pdu(file_bytes(folder + file));
        const json& facts = sample["facts"];
        const auto reader = readers.find(facts["message_type"]);
        if (reader != readers.end())
            reader->second(pdu, facts);
        else  // reading_back_fails_on_a_date
            EXPECT_EQ(fnMMS_ParseSendContent(pdu.data(), pdu.length()), nullptr);
    }
}

}  // namespace
