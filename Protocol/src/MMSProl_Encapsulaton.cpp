// The decoder of retrieved messages: a table of header fields and a syntax, read by the loop of
// MMSProl_Headers.h. The other kinds are in MMSProl_Indications and MMSProl_SendContent.
#include <mmskit/pdu.h>

#include "Protocol/src/MMSProl_Headers.h"
#include "Protocol/src/field_codes.h"

namespace mmskit {
namespace {

// OMA-MMS-ENC 6.3. The remaining header codes of the standard are read over.
constexpr HeaderField retrieve_conf_fields[] = {
    {field::bcc, header_value::skip_text},
    {field::cc, header_value::address_list, offsetof(tMMS_RetrieveConf, pCc)},
    {field::content_type, header_value::content, offsetof(tMMS_RetrieveConf, pBody),
     offsetof(tMMS_RetrieveConf, iBodyLen)},
    {field::date, header_value::long_integer, offsetof(tMMS_RetrieveConf, iDate)},
    {field::delivery_report, header_value::yes_no, offsetof(tMMS_RetrieveConf, bDeliveryReport)},
    {field::from, header_value::from, offsetof(tMMS_RetrieveConf, From)},
    {field::message_class, header_value::message_class, offsetof(tMMS_RetrieveConf, bMessageClass)},
    {field::message_id, header_value::text, offsetof(tMMS_RetrieveConf, pMessageId)},
    {field::message_type, header_value::message_type},
    {field::version, header_value::skip_octet},
    {field::priority, header_value::octet, offsetof(tMMS_RetrieveConf, bPriority)},
    {field::read_report, header_value::yes_no, offsetof(tMMS_RetrieveConf, bReadReport)},
    {field::sender_visibility, header_value::skip_octet},
    {field::subject, header_value::encoded_string, offsetof(tMMS_RetrieveConf, pSubject)},
    {field::to, header_value::address_list, offsetof(tMMS_RetrieveConf, pTo)},
    {field::transaction_id, header_value::text, offsetof(tMMS_RetrieveConf, pTransactionId)},
    {field::previously_sent_by, header_value::skip_counted},
    {field::previously_sent_date, header_value::skip_counted},
};

constexpr MessageSyntax retrieve_conf_syntax = {
    .kind = kind_retrieve_conf,
    .message_type = message_type::retrieve_conf,
    .wrong_type = "message type is not m-retrieve-conf",
    .least_length = 0,
    .first_code = field::bcc,
    .last_code = field::previously_sent_date,
    .unlisted = Unlisted::read_over,
    .textual_names = true,
    .fields = retrieve_conf_fields,
};

}  // namespace
}  // namespace mmskit

extern "C" tMMS_RetrieveConf* fnMMS_ParseRetrieveConf(const uint8_t* pdu, int32_t len) {
    return static_cast<tMMS_RetrieveConf*>(
        mmskit::parse_message(mmskit::retrieve_conf_syntax, pdu, len));
}
