// The decoder of retrieved messages: a table of header fields and a syntax, read by the loop of
// MMSProl_Headers.h. The other kinds are in MMSProl_Indications and MMSProl_SendContent.
#include <mmskit/pdu.h>

#include <iterator>

#include "Protocol/src/MMSProl_Headers.h"

namespace mmskit {
namespace {

// OMA-MMS-ENC 6.3. The remaining header codes of the standard are read over.
constexpr HeaderField retrieve_conf_fields[] = {
    {0x81, header_value::skip_text},  // Bcc
    {0x82, header_value::address_list, offsetof(tMMS_RetrieveConf, pCc)},
    {0x84, header_value::content, offsetof(tMMS_RetrieveConf, pBody),
     offsetof(tMMS_RetrieveConf, iBodyLen)},
    {0x85, header_value::long_integer, offsetof(tMMS_RetrieveConf, iDate)},
    {0x86, header_value::yes_no, offsetof(tMMS_RetrieveConf, bDeliveryReport)},
    {0x89, header_value::from, offsetof(tMMS_RetrieveConf, From)},
    {0x8A, header_value::message_class, offsetof(tMMS_RetrieveConf, bMessageClass)},
    {0x8B, header_value::text, offsetof(tMMS_RetrieveConf, pMessageId)},
    {0x8C, header_value::message_type},
    {0x8D, header_value::skip_octet},  // X-Mms-MMS-Version
    {0x8F, header_value::octet, offsetof(tMMS_RetrieveConf, bPriority)},
    {0x90, header_value::yes_no, offsetof(tMMS_RetrieveConf, bReadReport)},
    {0x94, header_value::skip_octet},  // X-Mms-Sender-Visibility
    {0x96, header_value::encoded_string, offsetof(tMMS_RetrieveConf, pSubject)},
    {0x97, header_value::address_list, offsetof(tMMS_RetrieveConf, pTo)},
    {0x98, header_value::text, offsetof(tMMS_RetrieveConf, pTransactionId)},
    {0xA0, header_value::skip_counted},  // X-Mms-Previously-Sent-By
    {0xA1, header_value::skip_counted},  // X-Mms-Previously-Sent-Date
};

constexpr MessageSyntax retrieve_conf_syntax = {
    .kind = kind_retrieve_conf,
    .message_type = 0x84,
    .wrong_type = "message type is not m-retrieve-conf",
    .least_length = 0,
    .first_code = 0x81,
    .last_code = 0xA1,
    .unlisted = Unlisted::read_over,
    .textual_names = true,
    .fields = retrieve_conf_fields,
    .field_count = std::size(retrieve_conf_fields),
};

}  // namespace
}  // namespace mmskit

extern "C" tMMS_RetrieveConf* fnMMS_ParseRetrieveConf(const uint8_t* pdu, int32_t len) {
    return static_cast<tMMS_RetrieveConf*>(
        mmskit::parse_message(mmskit::retrieve_conf_syntax, pdu, len));
}
