// The headers of a message as facts with readable values, for every record that the library
// decodes and for the walk over plain headers. Names of values are those of OMA-MMS-ENC 7.
#pragma once

#include <span>
#include <string>
#include <vector>

#include <mmskit/pdu.h>

#include "facts.h"

namespace mmskit_tool {

std::vector<HeaderFact> retrieved_headers(const tMMS_RetrieveConf& record);
std::vector<HeaderFact> send_conf_headers(const tMMS_SendConf& record);
std::vector<HeaderFact> forward_conf_headers(const tMMS_SendConf& record);
std::vector<HeaderFact> notification_headers(const tMMS_NotificationInd& record);
std::vector<HeaderFact> delivery_headers(const tMMS_DeliveryInd& record);
std::vector<HeaderFact> read_orig_headers(const tMMS_ReadOrigInd& record);

// A run of assigned values from `first` on.
struct TokenNames {
    uint8_t first;
    std::span<const char* const> names;
};
extern const std::span<const TokenNames> class_names, priority_names, status_names,
    read_status_names, visibility_names;

// A value without a name is shown as it came: 0xnn.
std::string token_name(uint8_t code, std::span<const TokenNames> runs);
std::string hex_byte(uint8_t byte);

// 0x92 is "1.2" (WAP-230 8.4.2.3, Version-value).
std::string version_name(uint8_t version);

}  // namespace mmskit_tool
