// Reads a send request back into its record: a table of header fields and a syntax, read by the
// loop of MMSProl_Headers.h.
#include <mmskit/pdu.h>

#include <iterator>

#include "Protocol/src/MMSProl_Headers.h"

namespace mmskit {
namespace {

// QUIRK reading_back_fails_on_a_date: Date has no row, nor has any other header without a use in
// the record, so only requests made without a date come back.
// QUIRK class_and_priority_read_back_as_wire_octets: the encoder takes numbers from 0. Flags and
// times are read over and keep the defaults of a new record.
constexpr HeaderField send_req_fields[] = {
    {0x81, header_value::address_list, offsetof(tMMS_SendReq, pBcc)},
    {0x82, header_value::address_list, offsetof(tMMS_SendReq, pCc)},
    {0x84, header_value::content, offsetof(tMMS_SendReq, pContent),
     offsetof(tMMS_SendReq, iContentLen)},
    {0x86, header_value::skip_octet},    // X-Mms-Delivery-Report
    {0x87, header_value::skip_counted},  // X-Mms-Delivery-Time
    {0x88, header_value::skip_counted},  // X-Mms-Expiry
    {0x89, header_value::from, offsetof(tMMS_SendReq, From)},
    {0x8A, header_value::message_class, offsetof(tMMS_SendReq, bMessageClass)},
    {0x8C, header_value::skip_octet},  // X-Mms-Message-Type
    {0x8D, header_value::skip_octet},  // X-Mms-MMS-Version
    {0x8F, header_value::octet, offsetof(tMMS_SendReq, bPriority)},
    {0x90, header_value::skip_octet},  // X-Mms-Read-Report
    {0x94, header_value::skip_octet},  // X-Mms-Sender-Visibility
    {0x96, header_value::encoded_string, offsetof(tMMS_SendReq, pSubject)},
    {0x97, header_value::address_list, offsetof(tMMS_SendReq, pTo)},
    {0x98, header_value::transaction_id, offsetof(tMMS_SendReq, pTransactionId)},
};

constexpr MessageSyntax send_req_syntax = {
    .kind = kind_send_req,
    .unlisted = Unlisted::fail,
    .fields = send_req_fields,
    .field_count = std::size(send_req_fields),
};

}  // namespace
}  // namespace mmskit

extern "C" tMMS_SendReq* fnMMS_ParseSendContent(const uint8_t* pdu, int32_t len) {
    return static_cast<tMMS_SendReq*>(mmskit::parse_message(mmskit::send_req_syntax, pdu, len));
}
