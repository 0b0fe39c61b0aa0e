// Reads a send request back into its record: a table of header fields and a syntax, read by the
// loop of MMSProl_Headers.h.
#include <mmskit/pdu.h>

#include "Protocol/src/MMSProl_Headers.h"
#include "Protocol/src/field_codes.h"

namespace mmskit {
namespace {

// QUIRK reading_back_fails_on_a_date: Date has no row, nor has any other header without a use in
// the record, so only requests made without a date come back.
// QUIRK class_and_priority_read_back_as_wire_octets: the encoder takes numbers from 0. Flags and
// times are read over and keep the defaults of a new record.
constexpr HeaderField send_req_fields[] = {
    {field::bcc, header_value::address_list, offsetof(tMMS_SendReq, pBcc)},
    {field::cc, header_value::address_list, offsetof(tMMS_SendReq, pCc)},
    {field::content_type, header_value::content, offsetof(tMMS_SendReq, pContent),
     offsetof(tMMS_SendReq, iContentLen)},
    {field::delivery_report, header_value::skip_octet},
    {field::delivery_time, header_value::skip_counted},
    {field::expiry, header_value::skip_counted},
    {field::from, header_value::from, offsetof(tMMS_SendReq, From)},
    {field::message_class, header_value::message_class, offsetof(tMMS_SendReq, bMessageClass)},
    {field::message_type, header_value::skip_octet},
    {field::version, header_value::skip_octet},
    {field::priority, header_value::octet, offsetof(tMMS_SendReq, bPriority)},
    {field::read_report, header_value::skip_octet},
    {field::sender_visibility, header_value::skip_octet},
    {field::subject, header_value::encoded_string, offsetof(tMMS_SendReq, pSubject)},
    {field::to, header_value::address_list, offsetof(tMMS_SendReq, pTo)},
    {field::transaction_id, header_value::transaction_id, offsetof(tMMS_SendReq, pTransactionId)},
};

constexpr MessageSyntax send_req_syntax = {
    .kind = kind_send_req,
    .unlisted = Unlisted::fail,
    .fields = send_req_fields,
};

}  // namespace
}  // namespace mmskit

extern "C" tMMS_SendReq* fnMMS_ParseSendContent(const uint8_t* pdu, int32_t len) {
    return static_cast<tMMS_SendReq*>(mmskit::parse_message(mmskit::send_req_syntax, pdu, len));
}
