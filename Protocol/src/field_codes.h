// The header fields of a message and the values of X-Mms-Message-Type as they stand on the wire:
// assigned numbers as short integers (OMA-MMS-ENC 7.3.25 and 7.4, table 12). The tables of the
// decoders and the encoders are written in these names.
#pragma once

#include <cstdint>

namespace mmskit {

namespace field {
inline constexpr uint8_t bcc = 0x81;
inline constexpr uint8_t cc = 0x82;
inline constexpr uint8_t content_location = 0x83;
inline constexpr uint8_t content_type = 0x84;
inline constexpr uint8_t date = 0x85;
inline constexpr uint8_t delivery_report = 0x86;
inline constexpr uint8_t delivery_time = 0x87;
inline constexpr uint8_t expiry = 0x88;
inline constexpr uint8_t from = 0x89;
inline constexpr uint8_t message_class = 0x8A;
inline constexpr uint8_t message_id = 0x8B;
inline constexpr uint8_t message_type = 0x8C;
inline constexpr uint8_t version = 0x8D;
inline constexpr uint8_t message_size = 0x8E;
inline constexpr uint8_t priority = 0x8F;
inline constexpr uint8_t read_report = 0x90;
inline constexpr uint8_t report_allowed = 0x91;
inline constexpr uint8_t response_status = 0x92;
inline constexpr uint8_t response_text = 0x93;
inline constexpr uint8_t sender_visibility = 0x94;
inline constexpr uint8_t status = 0x95;
inline constexpr uint8_t subject = 0x96;
inline constexpr uint8_t to = 0x97;
inline constexpr uint8_t transaction_id = 0x98;
inline constexpr uint8_t read_status = 0x9B;
inline constexpr uint8_t previously_sent_by = 0xA0;
inline constexpr uint8_t previously_sent_date = 0xA1;
}  // namespace field

namespace message_type {
inline constexpr uint8_t send_req = 0x80;
inline constexpr uint8_t send_conf = 0x81;
inline constexpr uint8_t notification_ind = 0x82;
inline constexpr uint8_t notifyresp_ind = 0x83;
inline constexpr uint8_t retrieve_conf = 0x84;
inline constexpr uint8_t acknowledge_ind = 0x85;
inline constexpr uint8_t delivery_ind = 0x86;
inline constexpr uint8_t read_rec_ind = 0x87;
inline constexpr uint8_t read_orig_ind = 0x88;
inline constexpr uint8_t forward_req = 0x89;
}  // namespace message_type

inline constexpr uint8_t version_1_2 = 0x92;

// Content types of a body, as short integers (WAP-230 8.4.2.24).
inline constexpr uint8_t multipart_mixed = 0xA3;
inline constexpr uint8_t multipart_related = 0xB3;

}  // namespace mmskit
