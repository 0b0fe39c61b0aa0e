// Header facts from the library's records: a fact for each member that the message gave. Members
// hold the octets of the wire; zero means that the header was absent.
#include "header_facts.h"

#include <array>
#include <cstdio>
#include <memory>

#include <mmskit/runtime.h>
#include <mmskit/wsp.h>

namespace mmskit_tool {
namespace {

constexpr std::array class_texts{"personal", "advertisement", "informational", "auto"};
constexpr std::array priority_texts{"low", "normal", "high"};
constexpr std::array visibility_texts{"hide", "show"};
constexpr std::array read_status_texts{"read", "deleted without being read"};
constexpr std::array status_texts{"expired",      "retrieved",     "rejected",  "deferred",
                                  "unrecognised", "indeterminate", "forwarded", "unreachable"};
constexpr std::array response_texts{"ok",
                                    "error-unspecified",
                                    "error-service-denied",
                                    "error-message-format-corrupt",
                                    "error-sending-address-unresolved",
                                    "error-message-not-found",
                                    "error-network-problem",
                                    "error-content-not-accepted",
                                    "error-unsupported-message"};
constexpr std::array transient_texts{
    "error-transient-failure", "error-transient-sending-address-unresolved",
    "error-transient-message-not-found", "error-transient-network-problem",
    "error-transient-partial-success"};
constexpr std::array permanent_texts{"error-permanent-failure",
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

constexpr uint8_t first_assigned = 0x80;
constexpr TokenNames class_runs[] = {{first_assigned, class_texts}};
constexpr TokenNames priority_runs[] = {{first_assigned, priority_texts}};
constexpr TokenNames visibility_runs[] = {{first_assigned, visibility_texts}};
constexpr TokenNames read_status_runs[] = {{first_assigned, read_status_texts}};
constexpr TokenNames status_runs[] = {{first_assigned, status_texts}};
constexpr TokenNames response_runs[] = {
    {first_assigned, response_texts}, {0xC0, transient_texts}, {0xE0, permanent_texts}};

constexpr uint8_t absolute_time = 0x80;

// Builds a list of facts; what is absent adds none.
class Headers {
  public:
    Headers& text(const char* name, const char* key, const char* value) {
        if (value != nullptr) list_.push_back({name, key, std::string(value)});
        return *this;
    }
    Headers& token(const char* name, const char* key, uint8_t code,
                   std::span<const TokenNames> names) {
        if (code != 0) list_.push_back({name, key, token_name(code, names)});
        return *this;
    }
    Headers& date(uint32_t seconds) {
        if (seconds != 0) list_.push_back({"Date", "date", Date{seconds}});
        return *this;
    }
    Headers& add(HeaderFact fact) {
        list_.push_back(std::move(fact));
        return *this;
    }
    std::vector<HeaderFact> take() { return std::move(list_); }

  private:
    std::vector<HeaderFact> list_;
};

// The library hands the text out with the length and character set that stood before it.
void add_response_text(Headers& headers, const char* raw) {
    if (raw == nullptr) return;
    const auto* cursor = reinterpret_cast<const uint8_t*>(raw);
    char* decoded = DecodeEncodedString(&cursor, nullptr);
    headers.text("X-Mms-Response-Text", "response_text", decoded != nullptr ? decoded : raw);
    fnSC_Free(&decoded);
}

std::vector<HeaderFact> confirmation_headers(const tMMS_SendConf& record, uint8_t status) {
    Headers headers;
    headers.token("X-Mms-Response-Status", "response_status", status, response_runs);
    add_response_text(headers, record.pResponseText);
    headers.text("Message-ID", "message_id", record.pMessageId)
        .text("X-Mms-Transaction-Id", "transaction_id", record.pTransactionId);
    return headers.take();
}

}  // namespace

const std::span<const TokenNames> class_names = class_runs;
const std::span<const TokenNames> priority_names = priority_runs;
const std::span<const TokenNames> status_names = status_runs;
const std::span<const TokenNames> read_status_names = read_status_runs;
const std::span<const TokenNames> visibility_names = visibility_runs;

std::string hex_byte(uint8_t byte) {
    char buffer[8];
    (void)std::snprintf(buffer, sizeof buffer, "0x%02x", byte);
    return buffer;
}

std::string token_name(uint8_t code, std::span<const TokenNames> runs) {
    for (const TokenNames& run : runs) {
        if (code >= run.first && code - run.first < static_cast<int>(run.names.size())) {
            return run.names[static_cast<std::size_t>(code - run.first)];
        }
    }
    return hex_byte(code);
}

std::string version_name(uint8_t version) {
    const int minor = version & 0x0F;
    std::string name = std::to_string((version >> 4) & 7);
    if (minor != 0x0F) name += '.' + std::to_string(minor);
    return name;
}

std::vector<HeaderFact> retrieved_headers(const tMMS_RetrieveConf& record) {
    return Headers()
        .text("From", "from", record.From)
        .text("To", "to", record.pTo)
        .text("Cc", "cc", record.pCc)
        .text("Subject", "subject", record.pSubject)
        .date(record.iDate)
        .text("Message-ID", "message_id", record.pMessageId)
        .text("X-Mms-Transaction-Id", "transaction_id", record.pTransactionId)
        .token("X-Mms-Message-Class", "message_class", record.bMessageClass, class_names)
        .token("X-Mms-Priority", "priority", record.bPriority, priority_names)
        .add({"X-Mms-Delivery-Report", "delivery_report", record.bDeliveryReport != 0})
        .add({"X-Mms-Read-Report", "read_report", record.bReadReport != 0})
        .take();
}

std::vector<HeaderFact> send_conf_headers(const tMMS_SendConf& record) {
    return confirmation_headers(record, record.bResponseStatus);
}

// The library keeps the status of a forward confirmation in the member of the message type.
std::vector<HeaderFact> forward_conf_headers(const tMMS_SendConf& record) {
    return confirmation_headers(record, record.bMessageType);
}

std::vector<HeaderFact> notification_headers(const tMMS_NotificationInd& record) {
    Headers headers;
    headers.text("From", "from", record.From)
        .text("Subject", "subject", record.pSubject)
        .text("Content-Location", "content_location", record.pContentLocation);
    if (record.iMessageSize != 0) {
        headers.add({"X-Mms-Message-Size", "message_size", ByteCount{record.iMessageSize}});
    }
    if (record.bExpiryToken == absolute_time) {
        headers.add({"X-Mms-Expiry", "expiry", Date{record.iExpiry}});
    } else if (record.bExpiryToken != 0) {
        headers.add({"X-Mms-Expiry", "expiry", Period{record.iExpiry}});
    }
    return headers.text("X-Mms-Transaction-Id", "transaction_id", record.pTransactionId)
        .token("X-Mms-Message-Class", "message_class", record.bMessageClass, class_names)
        .token("X-Mms-Priority", "priority", record.bPriority, priority_names)
        .take();
}

std::vector<HeaderFact> delivery_headers(const tMMS_DeliveryInd& record) {
    return Headers()
        .text("To", "to", record.pTo)
        .token("X-Mms-Status", "status", record.bStatus, status_names)
        .date(record.iDate)
        .text("Message-ID", "message_id", record.pMessageId)
        .take();
}

std::vector<HeaderFact> read_orig_headers(const tMMS_ReadOrigInd& record) {
    return Headers()
        .text("From", "from", record.From)
        .text("To", "to", record.pTo)
        .token("X-Mms-Read-Status", "read_status", record.bReadStatus, read_status_names)
        .date(record.iDate)
        .text("Message-ID", "message_id", record.pMessageId)
        .take();
}

}  // namespace mmskit_tool
