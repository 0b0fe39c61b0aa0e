// What a client answers, as PDUs of the library, and the digest by which a message is known again.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace mmskit_transport {

// X-Mms-Status (OMA-MMS-ENC 7.3.54) by its name: "retrieved", "rejected" or "deferred".
uint8_t notify_status(const std::string& name);

std::vector<uint8_t> notify_response(const std::string& transaction_id, uint8_t status,
                                     bool report_allowed);
std::vector<uint8_t> acknowledgement(const std::string& transaction_id, bool report_allowed);
// Dated now.
std::vector<uint8_t> read_report(const std::string& message_id, const std::string& sender,
                                 bool deleted);

// 16 hexadecimal digits (FNV-1a). Tells one's own messages apart; no protection against somebody
// who makes two of the same digest.
std::string digest(std::span<const uint8_t> bytes);

}  // namespace mmskit_transport
