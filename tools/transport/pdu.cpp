#include "transport/pdu.h"

#include <mmskit/pdu.h>

#include <array>
#include <cstdio>
#include <ctime>
#include <memory>
#include <new>

namespace mmskit_transport {
namespace {

std::vector<uint8_t> taken(uint8_t* pdu, uint32_t size) {
    struct Release {
        void operator()(uint8_t* block) const { fnMMS_FreeMadeMsgPduBuf(block); }
    };
    const std::unique_ptr<uint8_t[], Release> owner(pdu);
    if (pdu == nullptr) throw std::bad_alloc();
    return {pdu, pdu + size};
}

}  // namespace

uint8_t notify_status(const std::string& name) {
    if (name == "rejected") return 0x82;
    return name == "deferred" ? 0x83 : 0x81;
}

std::vector<uint8_t> notify_response(const std::string& transaction_id, uint8_t status,
                                     bool report_allowed) {
    uint32_t size = 0;
    uint8_t* pdu =
        fnMMS_MakeNotifyRespPdu(transaction_id.c_str(), report_allowed ? 1 : 0, status, &size);
    return taken(pdu, size);
}

std::vector<uint8_t> acknowledgement(const std::string& transaction_id, bool report_allowed) {
    uint32_t size = 0;
    uint8_t* pdu = fnMMS_MakeAcknowledgePdu(transaction_id.c_str(), report_allowed ? 1 : 0, &size);
    return taken(pdu, size);
}

std::vector<uint8_t> read_report(const std::string& message_id, const std::string& sender,
                                 bool deleted) {
    std::string id = message_id;
    std::string to = sender;
    tMMS_ReadRecInd report{};  // borrows both texts
    report.pMessageId = id.data();
    report.pTo = to.data();
    report.bReadStatus = deleted ? 1 : 0;
    report.iDate = static_cast<uint32_t>(std::time(nullptr));
    uint32_t size = 0;
    uint8_t* pdu = fnMMS_MakeReadRecIndPdu(&report, &size);
    return taken(pdu, size);
}

std::string digest(std::span<const uint8_t> bytes) {
    uint64_t hash = 0xCBF29CE484222325;
    for (const uint8_t byte : bytes)
        hash = (hash ^ byte) * 0x100000001B3;
    std::array<char, 20> text{};
    (void)std::snprintf(text.data(), text.size(), "%016llx", static_cast<unsigned long long>(hash));
    return text.data();
}

}  // namespace mmskit_transport
