// What the exact decoders alone make of the bytes, for those who test them: the members of their
// records, and the body as it came. A value is named as the tolerant reader names it where both
// read the same; else it stands as the number of the wire.
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <type_traits>

#include <mmskit/runtime.h>
#include <mmskit/wsp.h>

#include "reading/header_facts.h"
#include "reading/open_message.h"
#include "reading/push_facts.h"
#include "reading/slide_view.h"

namespace mmskit_tool {
namespace {

enum class Form : uint8_t { text, encoded, token, flag, date, expiry, size };

// A member of a record. Texts are char*, tokens an octet, all else uint32_t.
struct Member {
    const char* header;
    Form form;
    std::size_t offset;
};

constexpr uint8_t absolute_time = 0x80;

constexpr Member retrieved[] = {
    {"From", Form::text, offsetof(tMMS_RetrieveConf, From)},
    {"To", Form::text, offsetof(tMMS_RetrieveConf, pTo)},
    {"Cc", Form::text, offsetof(tMMS_RetrieveConf, pCc)},
    {"Subject", Form::text, offsetof(tMMS_RetrieveConf, pSubject)},
    {"Date", Form::date, offsetof(tMMS_RetrieveConf, iDate)},
    {"Message-ID", Form::text, offsetof(tMMS_RetrieveConf, pMessageId)},
    {"X-Mms-Transaction-Id", Form::text, offsetof(tMMS_RetrieveConf, pTransactionId)},
    {"X-Mms-Message-Class", Form::token, offsetof(tMMS_RetrieveConf, bMessageClass)},
    {"X-Mms-Priority", Form::token, offsetof(tMMS_RetrieveConf, bPriority)},
    {"X-Mms-Delivery-Report", Form::flag, offsetof(tMMS_RetrieveConf, bDeliveryReport)},
    {"X-Mms-Read-Report", Form::flag, offsetof(tMMS_RetrieveConf, bReadReport)},
};
// Flags and times that the request does not give have the values of a new record.
constexpr Member send_req[] = {
    {"From", Form::text, offsetof(tMMS_SendReq, From)},
    {"To", Form::text, offsetof(tMMS_SendReq, pTo)},
    {"Cc", Form::text, offsetof(tMMS_SendReq, pCc)},
    {"Bcc", Form::text, offsetof(tMMS_SendReq, pBcc)},
    {"Subject", Form::text, offsetof(tMMS_SendReq, pSubject)},
    {"X-Mms-Transaction-Id", Form::text, offsetof(tMMS_SendReq, pTransactionId)},
    {"X-Mms-Message-Class", Form::token, offsetof(tMMS_SendReq, bMessageClass)},
    {"X-Mms-Priority", Form::token, offsetof(tMMS_SendReq, bPriority)},
    {"X-Mms-Delivery-Report", Form::flag, offsetof(tMMS_SendReq, bDeliveryReport)},
    {"X-Mms-Read-Report", Form::flag, offsetof(tMMS_SendReq, bReadReport)},
};
constexpr Member send_conf[] = {
    {"X-Mms-Response-Status", Form::token, offsetof(tMMS_SendConf, bResponseStatus)},
    {"X-Mms-Response-Text", Form::encoded, offsetof(tMMS_SendConf, pResponseText)},
    {"Message-ID", Form::text, offsetof(tMMS_SendConf, pMessageId)},
    {"X-Mms-Transaction-Id", Form::text, offsetof(tMMS_SendConf, pTransactionId)},
};
// The decoder keeps the status of a forward confirmation in the member of the message type.
constexpr Member forward_conf[] = {
    {"X-Mms-Response-Status", Form::token, offsetof(tMMS_SendConf, bMessageType)},
    {"X-Mms-Response-Text", Form::encoded, offsetof(tMMS_SendConf, pResponseText)},
    {"Message-ID", Form::text, offsetof(tMMS_SendConf, pMessageId)},
    {"X-Mms-Transaction-Id", Form::text, offsetof(tMMS_SendConf, pTransactionId)},
};
constexpr Member notification[] = {
    {"From", Form::text, offsetof(tMMS_NotificationInd, From)},
    {"Subject", Form::text, offsetof(tMMS_NotificationInd, pSubject)},
    {"Content-Location", Form::text, offsetof(tMMS_NotificationInd, pContentLocation)},
    {"X-Mms-Message-Size", Form::size, offsetof(tMMS_NotificationInd, iMessageSize)},
    {"X-Mms-Expiry", Form::expiry, offsetof(tMMS_NotificationInd, iExpiry)},
    {"X-Mms-Transaction-Id", Form::text, offsetof(tMMS_NotificationInd, pTransactionId)},
    {"X-Mms-Message-Class", Form::token, offsetof(tMMS_NotificationInd, bMessageClass)},
    {"X-Mms-Priority", Form::token, offsetof(tMMS_NotificationInd, bPriority)},
};
constexpr Member delivery[] = {
    {"To", Form::text, offsetof(tMMS_DeliveryInd, pTo)},
    {"X-Mms-Status", Form::token, offsetof(tMMS_DeliveryInd, bStatus)},
    {"Date", Form::date, offsetof(tMMS_DeliveryInd, iDate)},
    {"Message-ID", Form::text, offsetof(tMMS_DeliveryInd, pMessageId)},
};
constexpr Member read_orig[] = {
    {"From", Form::text, offsetof(tMMS_ReadOrigInd, From)},
    {"To", Form::text, offsetof(tMMS_ReadOrigInd, pTo)},
    {"X-Mms-Read-Status", Form::token, offsetof(tMMS_ReadOrigInd, bReadStatus)},
    {"Date", Form::date, offsetof(tMMS_ReadOrigInd, iDate)},
    {"Message-ID", Form::text, offsetof(tMMS_ReadOrigInd, pMessageId)},
};

template <typename Value, typename Record>
Value member(const Record& record, std::size_t offset) {
    Value value;
    std::memcpy(&value, reinterpret_cast<const char*>(&record) + offset, sizeof value);
    return value;
}

// The name of an octet as the message's own header has it.
std::string token_text(const tMMS_Anatomy& anatomy, std::string_view header, uint8_t octet) {
    for (uint32_t i = 0; i < anatomy.iHeaders; ++i) {
        const tMMS_HeaderField& field = anatomy.pHeaders[i];
        if (header == field.pName && field.iNumber == octet && field.iForm == MMS_VALUE_TOKEN)
            return field.pValue;
    }
    char hex[sizeof "0xFF"];
    (void)std::snprintf(hex, sizeof hex, "0x%02X", octet);
    return hex;
}

// The decoder hands the text out with the length and character set that stood before it.
std::string decoded_text(const char* raw) {
    const auto* cursor = reinterpret_cast<const uint8_t*>(raw);
    char* decoded = DecodeEncodedString(&cursor, nullptr);
    std::string text = decoded != nullptr ? decoded : raw;
    fnSC_Free(&decoded);
    return text;
}

// What the member says; nothing where the message did not give it.
template <typename Record>
std::optional<decltype(HeaderFact::value)> value_of(const Record& record, const Member& it,
                                                    const tMMS_Anatomy& anatomy) {
    if (it.form == Form::text || it.form == Form::encoded) {
        const auto* text = member<const char*>(record, it.offset);
        if (text == nullptr) return std::nullopt;
        return it.form == Form::text ? std::string(text) : decoded_text(text);
    }
    if (it.form == Form::token) {
        const auto octet = member<uint8_t>(record, it.offset);
        if (octet < 0x80) return std::nullopt;  // not given
        return token_text(anatomy, it.header, octet);
    }
    const auto number = member<uint32_t>(record, it.offset);
    if (it.form == Form::flag) return number != 0;
    if constexpr (requires { record.bExpiryToken; }) {
        if (it.form == Form::expiry && record.bExpiryToken == absolute_time) return Date{number};
        if (it.form == Form::expiry && record.bExpiryToken != 0) return Period{number};
    }
    if (number == 0 || it.form == Form::expiry) return std::nullopt;
    if (it.form == Form::date) return Date{number};
    return ByteCount{number};
}

template <typename Record>
void collect(const Record& record, std::span<const Member> members, const tMMS_Anatomy& anatomy,
             MessageFacts& facts) {
    for (const Member& it : members) {
        if (auto value = value_of(record, it, anatomy))
            facts.headers.push_back({it.header, json_key_of(it.header), *value});
    }
}

// Gives the length of the body, which is the end of the bytes.
template <auto parse, uint8_t record_kind>
std::size_t decode(std::span<const uint8_t> bytes, std::span<const Member> members,
                   const tMMS_Anatomy& anatomy, MessageFacts& facts) {
    const auto release = [](auto* record) { fnMMS_FreeMessageMem(record, record_kind); };
    auto* const parsed = parse(bytes.data(), static_cast<int32_t>(bytes.size()));
    if (parsed == nullptr) throw last_flaw(0);
    const std::unique_ptr<std::remove_pointer_t<decltype(parsed)>, decltype(release)> record(
        parsed, release);
    collect(*record, members, anatomy, facts);
    if constexpr (requires { record->iContentLen; }) return record->iContentLen;
    return 0;
}

// By the value of X-Mms-Message-Type (OMA-MMS-ENC 7.3.30).
struct Kind {
    uint8_t type;
    std::size_t (*decode)(std::span<const uint8_t>, std::span<const Member>, const tMMS_Anatomy&,
                          MessageFacts&);
    std::span<const Member> members;
};
constexpr Kind kinds[] = {
    {0x80, decode<fnMMS_ParseSendContent, 1>, send_req},
    {0x81, decode<fnMMS_ParseSendConf, 2>, send_conf},
    {0x82, decode<fnMMS_ParseNotificationInd, 3>, notification},
    {0x86, decode<fnMMS_ParseDeliveryInd, 5>, delivery},
    {0x88, decode<fnMMS_ParseReadOrigInd, 9>, read_orig},
    {0x8A, decode<fnMMS_ParseForwardConf, 11>, forward_conf},
};

}  // namespace

void OpenMessage::open_exact() {
    constexpr uint8_t content_type_code = 0x84;
    constexpr uint8_t message_type_code = 0x8C;
    kind_ = anatomy_->pKind;
    facts_.kind = kind_.c_str();
    if (bytes_[0] == message_type_code && bytes_.size() > 1) return open_exact_pdu();
    if (bytes_[0] == content_type_code) {
        facts_.kind = "message body";
        if (!lay_out_exact(bytes_)) throw last_flaw(0);
        return;
    }
    const auto push = recognize_push(bytes_);
    if (!push) throw Flaw{"neither a message nor a message body nor a push document", 0};
    collect_push(bytes_, *push, facts_);
}

// The headers are told: what they were told from is not held beside the slides.
bool OpenMessage::lay_out_exact(std::span<const uint8_t> body) {
    anatomy_.reset();
    return lay_out(body);
}

void OpenMessage::open_exact_pdu() {
    constexpr uint8_t retrieved_type = 0x84;
    if (bytes_[1] == retrieved_type) {
        record_.reset(fnMMS_ParseRetrieveConf(bytes_.data(), static_cast<int32_t>(bytes_.size())));
        if (record_ == nullptr) throw last_flaw(0);
        collect(*record_, retrieved, *anatomy_, facts_);
        const std::size_t length = record_->pBody != nullptr ? record_->iBodyLen : 0;
        std::vector<uint8_t>().swap(bytes_);  // the record has the body
        if (length != 0 && !lay_out_exact({record_->pBody, length}))
            facts_.body_flaw = last_flaw(facts_.size - length);
        return;
    }
    for (const Kind& kind : kinds) {
        if (kind.type != bytes_[1]) continue;
        const std::size_t length = kind.decode(bytes_, kind.members, *anatomy_, facts_);
        const std::span<const uint8_t> body = std::span(bytes_).last(length);
        if (length != 0 && !lay_out_exact(body))
            facts_.body_flaw = last_flaw(bytes_.size() - length);
        return;
    }
    throw Flaw{"there is no exact decoder for " + std::string(facts_.kind), std::nullopt};
}

}  // namespace mmskit_tool
