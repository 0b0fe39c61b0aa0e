// Request records filled from a plan for the library's encoders, and the one PDU that a phone
// never writes, composed from the library's value encoders.
#include "writing/message_encoder.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <ctime>
#include <limits>
#include <new>

#include "ground/file_io.h"

namespace mmskit_tool {
namespace {

constexpr uint8_t send_record_kind = 1;
constexpr uint8_t forward_record_kind = 10;

template <typename Record, uint8_t kind>
struct RecordFree {
    void operator()(Record* record) const { fnMMS_FreeMessageMem(record, kind); }
};
template <typename Record, uint8_t kind>
using RecordOwner = std::unique_ptr<Record, RecordFree<Record, kind>>;

template <typename Record, uint8_t kind>
RecordOwner<Record, kind> new_record() {
    auto* record = static_cast<Record*>(fnMMS_AllocMessageMem(kind));
    if (record == nullptr) throw std::bad_alloc();
    return RecordOwner<Record, kind>(record);
}

// The record's own copy; null for no text.
char* own(const std::string& text) {
    if (text.empty()) return nullptr;
    char* copy = fnSC_MEMSTRCOPY(text.c_str());
    if (copy == nullptr) throw std::bad_alloc();
    return copy;
}

// What both kinds of request hold.
template <typename Record>
void fill_request(Record& record, const MessagePlan& plan, std::span<const uint8_t> content) {
    if (plan.to.empty() && plan.cc.empty() && plan.bcc.empty())
        throw Failure("the message has no recipient: give a to, cc or bcc");
    record.pTo = own(plan.to);
    record.pCc = own(plan.cc);
    record.pBcc = own(plan.bcc);
    record.pTransactionId =
        own(plan.transaction_id.value_or(default_transaction_id(plan, content)));
    record.iDate = plan.date.value_or(0);
    record.bDeliveryReport = plan.delivery_report ? 1 : 0;
    record.bReadReport = plan.read_report ? 1 : 0;
    if (plan.expiry) {
        record.bExpiryRelative = plan.expiry->relative ? 1 : 0;
        record.iExpiry = plan.expiry->seconds;
    }
    if (plan.delivery_time) {
        record.bDeliveryTimeRelative = plan.delivery_time->relative ? 1 : 0;
        record.iDeliveryTime = plan.delivery_time->seconds;
    }
}

// From the message's date, or from now without one.
uint32_t seconds_to_delivery(const MessagePlan& plan) {
    if (plan.delivery_time->relative) return plan.delivery_time->seconds;
    const uint32_t from = plan.date.value_or(0) != 0 ? *plan.date : now_seconds();
    if (plan.delivery_time->seconds <= from) throw Failure("the delivery time has passed");
    return plan.delivery_time->seconds - from;
}

LibraryBytes made(uint8_t* pdu, uint32_t size) {
    if (pdu == nullptr) throw Failure("the message cannot be encoded: it is too large");
    return {std::unique_ptr<uint8_t[], LibraryBytes::Free>(pdu), size};
}

// Header fields through the library's cursor encoders, which check no bound: every value is
// given the room that it can take at most.
class HeaderWriter {
  public:
    void bytes(std::initializer_list<uint8_t> octets) { out_.insert(out_.end(), octets); }

    void text(uint8_t code, const std::string& value) {
        bytes({code});
        with_room(value.size() + 2,
                  [&](uint8_t** cursor) { EncodeTextString(cursor, value.c_str()); });
    }

    void encoded_text(uint8_t code, const std::string& value) {
        bytes({code});
        with_room(value.size() + 8,
                  [&](uint8_t** cursor) { EncodeEncodedString(cursor, value.c_str()); });
    }

    void date(uint8_t code, uint32_t seconds) {
        const auto value = static_cast<int32_t>(seconds);
        bytes({code, static_cast<uint8_t>(GetLongIntLength(value))});
        with_room(sizeof value, [&](uint8_t** cursor) { LongInt2Octets(cursor, value); });
    }

    // From: a value-length, the token "address present" and the address.
    void from(const std::string& address) {
        HeaderWriter value;
        value.bytes({0x80});
        value.with_room(address.size() + address_room, [&](uint8_t** cursor) {
            (void)EncodeAddressString(cursor, address.c_str());
        });
        bytes({0x89});
        with_room(6, [&](uint8_t** cursor) {
            *cursor += EncodeValueLength(*cursor, static_cast<int32_t>(value.out_.size()));
        });
        append(value.out_);
    }

    // Every entry takes a header code and the address; there is at least a byte of list for each.
    void addresses(uint8_t code, const std::string& list) {
        with_room(list.size() * (address_room + 2) + address_room,
                  [&](uint8_t** cursor) { EncodeMultiRcver(cursor, list.c_str(), code); });
    }

    void append(std::span<const uint8_t> data) {
        out_.insert(out_.end(), data.begin(), data.end());
    }
    std::vector<uint8_t> take() { return std::move(out_); }

  private:
    static constexpr std::size_t address_room = 12;  // a quote, "/TYPE=PLMN" and a NUL

    template <typename Encode>
    void with_room(std::size_t room, Encode encode) {
        const std::size_t start = out_.size();
        out_.resize(start + room);
        uint8_t* cursor = out_.data() + start;
        encode(&cursor);
        out_.resize(static_cast<std::size_t>(cursor - out_.data()));
    }

    std::vector<uint8_t> out_;
};

}  // namespace

std::string default_transaction_id(const MessagePlan& plan, std::span<const uint8_t> content) {
    uint64_t hash = 0xCBF29CE484222325U;  // FNV-1a
    const auto mix = [&](std::span<const uint8_t> data) {
        for (const uint8_t byte : data)
            hash = (hash ^ byte) * 0x100000001B3U;
    };
    const auto mix_text = [&](const std::string& text) {
        // The NUL keeps neighbours apart.
        mix({reinterpret_cast<const uint8_t*>(text.c_str()), text.size() + 1});
    };
    for (const std::string* list : {&plan.to, &plan.cc, &plan.bcc})
        mix_text(*list);
    mix_text(plan.subject.value_or(""));
    mix(content);
    // The same message composed again is another one, in the same moment and process too.
    static uint32_t counter = 0;
    timespec now{};
    (void)clock_gettime(CLOCK_REALTIME, &now);
    for (const int64_t value :
         {int64_t{now.tv_sec}, int64_t{now.tv_nsec}, int64_t{getpid()}, int64_t{++counter}})
        mix_text(std::to_string(value));
    std::array<char, 24> id{};
    (void)std::snprintf(id.data(), id.size(), "T%016llx", static_cast<unsigned long long>(hash));
    return id.data();
}

LibraryBytes send_request(const MessagePlan& plan, LibraryBytes body) {
    const auto record = new_record<tMMS_SendReq, send_record_kind>();
    fill_request(*record, plan, body.bytes());
    // QUIRK delivery_time_token_is_always_relative: so it is sent as the seconds to it.
    if (plan.delivery_time) record->iDeliveryTime = seconds_to_delivery(plan);
    record->From = own(plan.from.value_or(""));
    record->pSubject = own(plan.subject.value_or(""));
    record->bMessageClass = plan.message_class;
    record->bPriority = plan.priority;
    record->bSenderVisible = plan.hide_sender ? 0 : 1;
    record->iContentLen = body.size;
    record->pContent = body.data.release();
    uint32_t size = 0;
    uint8_t* pdu = fnMMS_MakeSendMessagePdu(record.get(), &size);
    return made(pdu, size);
}

LibraryBytes forward_request(const MessagePlan& plan, const std::string& location) {
    if (plan.delivery_time) (void)seconds_to_delivery(plan);
    const auto record = new_record<tMMS_ForwardReq, forward_record_kind>();
    fill_request(*record, plan,
                 {reinterpret_cast<const uint8_t*>(location.data()), location.size()});
    record->pContentLocation = own(location);
    uint32_t size = 0;
    uint8_t* pdu = fnMMS_MakeFWDMessagePdu(record.get(), &size);
    return made(pdu, size);
}

std::vector<uint8_t> retrieved_message(const MessagePlan& plan, std::span<const uint8_t> body) {
    HeaderWriter out;
    out.bytes({0x8C, 0x84});
    out.text(0x98, plan.transaction_id.value_or(default_transaction_id(plan, body)));
    out.bytes({0x8D, 0x92});
    if (plan.message_id) out.text(0x8B, *plan.message_id);
    const uint32_t date = plan.date ? *plan.date : now_seconds();
    if (date != 0) out.date(0x85, date);
    if (plan.from && !plan.hide_sender) out.from(*plan.from);
    out.addresses(0x97, plan.to);
    out.addresses(0x82, plan.cc);
    if (plan.subject) out.encoded_text(0x96, *plan.subject);
    const auto token = [](int value) { return static_cast<uint8_t>(0x80 + value); };
    out.bytes({0x8A, token(plan.message_class), 0x8F, token(plan.priority)});
    out.bytes({0x86, token(plan.delivery_report ? 0 : 1), 0x90, token(plan.read_report ? 0 : 1)});
    out.append(body);
    std::vector<uint8_t> pdu = out.take();
    if (pdu.size() > std::numeric_limits<int32_t>::max())
        throw Failure("the message is larger than 2147483647 bytes");
    return pdu;
}

}  // namespace mmskit_tool
