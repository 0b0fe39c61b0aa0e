// Decoders of what the relay answers and announces: confirmations, notifications and reports
// (OMA-MMS-ENC 6.1.2, 6.2, 6.5 to 6.7). A table of header fields and a syntax for each kind, read
// by the loop of MMSProl_Headers.h.
#include <mmskit/pdu.h>

#include "Protocol/src/MMSProl_Headers.h"
#include "Protocol/src/field_codes.h"

namespace mmskit {
namespace {

constexpr const char* no_transaction_id = "no transaction id";

constexpr HeaderField send_conf_fields[] = {
    {field::message_id, header_value::text, offsetof(tMMS_SendConf, pMessageId)},
    {field::message_type, header_value::octet, offsetof(tMMS_SendConf, bMessageType)},
    {field::version, header_value::octet, offsetof(tMMS_SendConf, bVersion)},
    {field::response_status, header_value::octet, offsetof(tMMS_SendConf, bResponseStatus)},
    // QUIRK response_text_is_taken_as_it_stands: a character set in front of it is not decoded.
    {field::response_text, header_value::raw_text, offsetof(tMMS_SendConf, pResponseText)},
    {field::transaction_id, header_value::text, offsetof(tMMS_SendConf, pTransactionId)},
};

constexpr HeaderField forward_conf_fields[] = {
    {field::message_id, header_value::text, offsetof(tMMS_SendConf, pMessageId)},
    {field::message_type, header_value::skip_octet},
    {field::version, header_value::octet, offsetof(tMMS_SendConf, bVersion)},
    // QUIRK forward_status_is_in_the_message_type: hosts and fnMMS_RecvFwdConfData read it there.
    {field::response_status, header_value::octet, offsetof(tMMS_SendConf, bMessageType)},
    {field::response_text, header_value::raw_text, offsetof(tMMS_SendConf, pResponseText)},
    {field::transaction_id, header_value::text, offsetof(tMMS_SendConf, pTransactionId)},
};

constexpr HeaderField notification_ind_fields[] = {
    {field::content_location, header_value::location,
     offsetof(tMMS_NotificationInd, pContentLocation)},
    {field::delivery_report, header_value::skip_octet},
    {field::delivery_time, header_value::skip_counted},
    {field::expiry, header_value::expiry, offsetof(tMMS_NotificationInd, iExpiry),
     offsetof(tMMS_NotificationInd, bExpiryToken)},
    {field::from, header_value::from, offsetof(tMMS_NotificationInd, From)},
    {field::message_class, header_value::message_class,
     offsetof(tMMS_NotificationInd, bMessageClass)},
    {field::message_type, header_value::message_type},
    {field::version, header_value::skip_octet},
    {field::message_size, header_value::long_integer, offsetof(tMMS_NotificationInd, iMessageSize)},
    {field::priority, header_value::octet, offsetof(tMMS_NotificationInd, bPriority)},
    {field::subject, header_value::encoded_string, offsetof(tMMS_NotificationInd, pSubject)},
    {field::transaction_id, header_value::text, offsetof(tMMS_NotificationInd, pTransactionId)},
};

constexpr HeaderField delivery_ind_fields[] = {
    {field::date, header_value::counted_integer, offsetof(tMMS_DeliveryInd, iDate)},
    {field::message_id, header_value::text, offsetof(tMMS_DeliveryInd, pMessageId)},
    {field::message_type, header_value::message_type},
    {field::version, header_value::skip_octet},
    {field::status, header_value::octet, offsetof(tMMS_DeliveryInd, bStatus)},
    {field::to, header_value::address, offsetof(tMMS_DeliveryInd, pTo)},
};

constexpr HeaderField read_orig_ind_fields[] = {
    {field::date, header_value::counted_integer, offsetof(tMMS_ReadOrigInd, iDate)},
    {field::from, header_value::from, offsetof(tMMS_ReadOrigInd, From)},
    {field::message_id, header_value::text, offsetof(tMMS_ReadOrigInd, pMessageId)},
    {field::message_type, header_value::message_type},
    {field::version, header_value::skip_octet},
    {field::to, header_value::address, offsetof(tMMS_ReadOrigInd, pTo)},
    {field::read_status, header_value::octet, offsetof(tMMS_ReadOrigInd, bReadStatus)},
};

constexpr MessageSyntax send_conf_syntax = {
    .kind = kind_send_conf,
    .unlisted = Unlisted::stop,
    .fields = send_conf_fields,
    .required = offsetof(tMMS_SendConf, pTransactionId),
    .missing = no_transaction_id,
};

constexpr MessageSyntax forward_conf_syntax = {
    .kind = kind_forward_conf,
    .unlisted = Unlisted::stop,
    .fields = forward_conf_fields,
    .required = offsetof(tMMS_SendConf, pTransactionId),
    .missing = no_transaction_id,
};

// QUIRK notification_without_a_location: it comes back when the input is used up, so that a host
// can still answer by its transaction id, and is refused when an unknown header ends it first.
constexpr MessageSyntax notification_ind_syntax = {
    .kind = kind_notification_ind,
    .message_type = message_type::notification_ind,
    .wrong_type = "message type is not m-notification-ind",
    .unlisted = Unlisted::stop,
    .fields = notification_ind_fields,
    .required = offsetof(tMMS_NotificationInd, pContentLocation),
    .required_at_end = false,
    .missing = "no content location",
};

// QUIRK delivery_report_ends_with_its_last_header: whatever follows makes it none.
constexpr MessageSyntax delivery_ind_syntax = {
    .kind = kind_delivery_ind,
    .message_type = message_type::delivery_ind,
    .wrong_type = "message type is not m-delivery-ind",
    .unlisted = Unlisted::fail,
    .fields = delivery_ind_fields,
};

constexpr MessageSyntax read_orig_ind_syntax = {
    .kind = kind_read_orig_ind,
    .message_type = message_type::read_orig_ind,
    .wrong_type = "message type is not m-read-orig-ind",
    .unlisted = Unlisted::stop,
    .fields = read_orig_ind_fields,
};

// OMA-MMS-ENC 7.2.27 (X-Mms-Response-Status): the assigned values up to unsupported-message.
uint8_t response_number(uint8_t status) {
    constexpr uint8_t ok = 0x80;
    constexpr uint8_t unsupported_message = 0x88;
    constexpr uint8_t another_status = 9;
    return status >= ok && status <= unsupported_message ? static_cast<uint8_t>(status - ok)
                                                         : another_status;
}

constexpr uint8_t no_response = 10;

uint8_t received_response(const MessageSyntax& syntax, uint8_t tMMS_SendConf::*status,
                          const uint8_t* pdu, int32_t length) {
    auto* confirmation = static_cast<tMMS_SendConf*>(parse_message(syntax, pdu, length));
    if (confirmation == nullptr) return no_response;
    const uint8_t number = response_number(confirmation->*status);
    fnMMS_FreeMessageMem(confirmation, syntax.kind);
    return number;
}

}  // namespace
}  // namespace mmskit

extern "C" tMMS_SendConf* fnMMS_ParseSendConf(const uint8_t* pdu, int32_t len) {
    return static_cast<tMMS_SendConf*>(mmskit::parse_message(mmskit::send_conf_syntax, pdu, len));
}

extern "C" tMMS_SendConf* fnMMS_ParseForwardConf(const uint8_t* pdu, int32_t len) {
    return static_cast<tMMS_SendConf*>(
        mmskit::parse_message(mmskit::forward_conf_syntax, pdu, len));
}

extern "C" tMMS_NotificationInd* fnMMS_ParseNotificationInd(const uint8_t* pdu, int32_t len) {
    return static_cast<tMMS_NotificationInd*>(
        mmskit::parse_message(mmskit::notification_ind_syntax, pdu, len));
}

extern "C" tMMS_DeliveryInd* fnMMS_ParseDeliveryInd(const uint8_t* pdu, int32_t len) {
    return static_cast<tMMS_DeliveryInd*>(
        mmskit::parse_message(mmskit::delivery_ind_syntax, pdu, len));
}

extern "C" tMMS_ReadOrigInd* fnMMS_ParseReadOrigInd(const uint8_t* pdu, int32_t len) {
    return static_cast<tMMS_ReadOrigInd*>(
        mmskit::parse_message(mmskit::read_orig_ind_syntax, pdu, len));
}

extern "C" uint8_t fnMMS_RecvSendConfData(const uint8_t* pdu, int32_t len) {
    return mmskit::received_response(mmskit::send_conf_syntax, &tMMS_SendConf::bResponseStatus, pdu,
                                     len);
}

extern "C" uint8_t fnMMS_RecvFwdConfData(const uint8_t* pdu, int32_t len) {
    return mmskit::received_response(mmskit::forward_conf_syntax, &tMMS_SendConf::bMessageType, pdu,
                                     len);
}
