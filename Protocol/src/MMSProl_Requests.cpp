// Encoders of what a client sends (OMA-MMS-ENC 6): requests, responses and reports. Each is a
// list of header fields in the fixed order in which they go out. Sizes come from encode(), so no
// text is too long for its buffer.
#include <mmskit/pdu.h>

#include <cstring>

#include "Protocol/src/MMSProl_Encode.h"
#include "Protocol/src/field_codes.h"

namespace mmskit {
namespace {

constexpr uint8_t class_auto = 0x83;
constexpr uint8_t address_present = 0x80;
constexpr uint8_t insert_address = 0x81;
constexpr uint8_t time_absolute = 0x80;
constexpr uint8_t time_relative = 0x81;

void write_octet(PduWriter& out, uint8_t code, uint8_t value) {
    out.byte(code);
    out.byte(value);
}

void write_yes_no(PduWriter& out, uint8_t code, bool yes) {
    write_octet(out, code, yes ? 0x80 : 0x81);
}

void write_start(PduWriter& out, uint8_t type, const char* transaction_id) {
    write_octet(out, field::message_type, type);
    out.byte(field::transaction_id);
    out.text(transaction_id);
    write_octet(out, field::version, version_1_2);
}

void write_date(PduWriter& out, uint32_t seconds) {
    if (seconds == 0) return;
    out.byte(field::date);
    write_long_integer(out, seconds);
}

void write_time(PduWriter& out, uint8_t code, bool relative, uint32_t seconds) {
    if (seconds == 0) return;
    write_octet(out, code, static_cast<uint8_t>(long_integer_octets(seconds) + 2));
    out.byte(relative ? time_relative : time_absolute);
    write_long_integer(out, seconds);
}

void write_sender(PduWriter& out, const char* from) {
    out.byte(field::from);
    if (from == nullptr) {
        write_value_length(out, 1);
        out.byte(insert_address);
        return;
    }
    // QUIRK from_is_never_quoted: unlike a recipient, a first byte of 0x80 or above gets no quote;
    // the value-length delimits the address, and relays take it as it stands.
    const char* suffix = std::strchr(from, '@') == nullptr ? "/TYPE=PLMN" : "";
    const size_t length = std::strlen(from);
    write_value_length(out, static_cast<uint32_t>(1 + length + std::strlen(suffix) + 1));
    out.byte(address_present);
    out.bytes(from, length);
    out.text(suffix);
}

template <typename Request>
void write_recipients(PduWriter& out, const Request& request) {
    write_receivers(out, request.pTo, field::to);
    write_receivers(out, request.pCc, field::cc);
    write_receivers(out, request.pBcc, field::bcc);
}

void write_address_field(PduWriter& out, uint8_t code, const char* address) {
    out.byte(code);
    write_address(out, address);
}

void write_subject(PduWriter& out, const char* subject) {
    out.byte(field::subject);
    write_encoded_string(out, subject);
}

// The code of a value from 0 to `highest` is 0x80 and up; any other value has the usual one's.
uint8_t choice(uint8_t value, uint8_t highest, uint8_t usual) {
    return static_cast<uint8_t>(0x80 | (value <= highest ? value : usual));
}

void write_send_request(PduWriter& out, const tMMS_SendReq& request) {
    write_start(out, message_type::send_req, request.pTransactionId);
    write_date(out, request.iDate);
    write_sender(out, request.From);
    write_recipients(out, request);
    if (request.pSubject != nullptr) write_subject(out, request.pSubject);
    write_octet(out, field::message_class, choice(request.bMessageClass, 3, 0));
    write_time(out, field::expiry, request.bExpiryRelative != 0, request.iExpiry);
    // QUIRK delivery_time_token_is_always_relative: hosts give a send request seconds from now
    // whatever bDeliveryTimeRelative says; the flag counts in a forward request only.
    write_time(out, field::delivery_time, true, request.iDeliveryTime);
    write_octet(out, field::priority, choice(request.bPriority, 2, 1));
    write_octet(out, field::sender_visibility, request.bSenderVisible != 0 ? 0x81 : 0x80);
    write_yes_no(out, field::delivery_report, request.bDeliveryReport != 0);
    write_yes_no(out, field::read_report, request.bReadReport != 0);
    if (request.pContent != nullptr) out.bytes(request.pContent, request.iContentLen);
}

void write_forward_request(PduWriter& out, const tMMS_ForwardReq& request) {
    write_start(out, message_type::forward_req, request.pTransactionId);
    write_date(out, request.iDate);
    write_sender(out, nullptr);
    write_recipients(out, request);
    write_time(out, field::expiry, request.bExpiryRelative != 0, request.iExpiry);
    write_time(out, field::delivery_time, request.bDeliveryTimeRelative != 0,
               request.iDeliveryTime);
    write_yes_no(out, field::delivery_report, request.bDeliveryReport != 0);
    write_yes_no(out, field::read_report, request.bReadReport != 0);
    out.byte(field::content_location);
    write_quoted_text(out, request.pContentLocation);
}

void write_read_report(PduWriter& out, const char* transaction_id, const char* to,
                       const char* subject) {
    write_start(out, message_type::send_req, transaction_id);
    write_sender(out, nullptr);
    write_address_field(out, field::to, to);
    write_subject(out, subject);
    write_octet(out, field::message_class, class_auto);
    write_yes_no(out, field::delivery_report, false);
    write_yes_no(out, field::read_report, false);
    write_octet(out, field::content_type, multipart_mixed);
    out.byte(0);  // entries
}

void write_read_rec(PduWriter& out, const tMMS_ReadRecInd& report) {
    write_octet(out, field::message_type, message_type::read_rec_ind);
    write_octet(out, field::version, version_1_2);
    out.byte(field::message_id);
    out.text(report.pMessageId);
    write_sender(out, nullptr);
    write_address_field(out, field::to, report.pTo);
    write_date(out, report.iDate);
    write_octet(out, field::read_status, report.bReadStatus == 1 ? 0x81 : 0x80);
}

}  // namespace
}  // namespace mmskit

using mmskit::PduWriter;
using mmskit::WriteRoutine;
namespace field = mmskit::field;

extern "C" {

uint8_t* fnMMS_MakeSendMessagePdu(const tMMS_SendReq* request, uint32_t* len) {
    if (request == nullptr || len == nullptr) return nullptr;
    return mmskit::encode(len, WriteRoutine::of<mmskit::write_send_request>(*request));
}

uint8_t* fnMMS_MakeFWDMessagePdu(const tMMS_ForwardReq* request, uint32_t* len) {
    if (request == nullptr || len == nullptr) return nullptr;
    return mmskit::encode(len, WriteRoutine::of<mmskit::write_forward_request>(*request));
}

uint8_t* fnMMS_MakeNotifyRespPdu(const char* tid, int32_t reportAllowed, int32_t status,
                                 uint32_t* len) {
    if (tid == nullptr || len == nullptr) return nullptr;
    return mmskit::encode(len, [=](PduWriter& out) {
        mmskit::write_start(out, mmskit::message_type::notifyresp_ind, tid);
        mmskit::write_yes_no(out, field::report_allowed, reportAllowed != 0);
        mmskit::write_octet(out, field::status, static_cast<uint8_t>(status));
    });
}

uint8_t* fnMMS_MakeAcknowledgePdu(const char* tid, int32_t reportAllowed, uint32_t* len) {
    if (tid == nullptr || len == nullptr) return nullptr;
    return mmskit::encode(len, [=](PduWriter& out) {
        mmskit::write_start(out, mmskit::message_type::acknowledge_ind, tid);
        mmskit::write_yes_no(out, field::report_allowed, reportAllowed != 0);
    });
}

uint8_t* fnMMS_MakeReadReportPdu(const char* tid, const char* to, const char* subject,
                                 uint32_t* len) {
    if (tid == nullptr || to == nullptr || subject == nullptr || len == nullptr) return nullptr;
    return mmskit::encode(
        len, [=](PduWriter& out) { mmskit::write_read_report(out, tid, to, subject); });
}

uint8_t* fnMMS_MakeReadRecIndPdu(const tMMS_ReadRecInd* report, uint32_t* len) {
    if (report == nullptr || len == nullptr) return nullptr;
    if (report->pMessageId == nullptr || report->pTo == nullptr) return nullptr;
    return mmskit::encode(len, WriteRoutine::of<mmskit::write_read_rec>(*report));
}

void fnMMS_FreeMadeMsgPduBuf(uint8_t* pdu) {
    mmskit::deallocate(pdu);
}

}  // extern "C"
