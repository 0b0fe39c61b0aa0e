// Message records by kind: a table gives each kind its fresh state and the offsets of the blocks
// that a record owns, and is all that making and freeing one needs. A new owned member must be
// added to its list here.
#include "Protocol/src/MMSProl_Records.h"

#include <mmskit/pdu.h>

#include <cstddef>
#include <cstring>

#include "Protocol/src/field_codes.h"
#include "scshare/common/src/owned.h"

namespace mmskit {
namespace {

using Offset = uint16_t;

constexpr tMMS_SendReq fresh_send_req = [] {
    tMMS_SendReq r{};
    r.bSenderVisible = 1;
    r.bPriority = 1;
    r.bExpiryRelative = 1;
    r.bDeliveryTimeRelative = 1;
    return r;
}();
constexpr tMMS_ForwardReq fresh_forward_req = [] {
    tMMS_ForwardReq r{};
    r.bExpiryRelative = 1;
    r.bDeliveryTimeRelative = 1;
    return r;
}();
template <typename T>
constexpr T fresh_with_type(uint8_t message_type) {
    T r{};
    r.bMessageType = message_type;
    r.bVersion = version_1_2;
    return r;
}
constexpr auto fresh_send_conf = fresh_with_type<tMMS_SendConf>(message_type::send_conf);
constexpr auto fresh_notify_resp =
    fresh_with_type<tMMS_NotifyRespInd>(message_type::notifyresp_ind);
constexpr auto fresh_acknowledge =
    fresh_with_type<tMMS_AcknowledgeInd>(message_type::acknowledge_ind);

constexpr Offset send_req_owns[] = {offsetof(tMMS_SendReq, pTransactionId),
                                    offsetof(tMMS_SendReq, From),
                                    offsetof(tMMS_SendReq, pTo),
                                    offsetof(tMMS_SendReq, pCc),
                                    offsetof(tMMS_SendReq, pBcc),
                                    offsetof(tMMS_SendReq, pSubject),
                                    offsetof(tMMS_SendReq, pContent)};
constexpr Offset send_conf_owns[] = {offsetof(tMMS_SendConf, pTransactionId),
                                     offsetof(tMMS_SendConf, pResponseText),
                                     offsetof(tMMS_SendConf, pMessageId)};
constexpr Offset notification_owns[] = {
    offsetof(tMMS_NotificationInd, pTransactionId), offsetof(tMMS_NotificationInd, From),
    offsetof(tMMS_NotificationInd, pSubject), offsetof(tMMS_NotificationInd, pContentLocation)};
constexpr Offset retrieve_conf_owns[] = {
    offsetof(tMMS_RetrieveConf, pBody),      offsetof(tMMS_RetrieveConf, pTransactionId),
    offsetof(tMMS_RetrieveConf, pMessageId), offsetof(tMMS_RetrieveConf, From),
    offsetof(tMMS_RetrieveConf, pTo),        offsetof(tMMS_RetrieveConf, pCc),
    offsetof(tMMS_RetrieveConf, pSubject)};
constexpr Offset delivery_owns[] = {offsetof(tMMS_DeliveryInd, pMessageId),
                                    offsetof(tMMS_DeliveryInd, pTo)};
constexpr Offset notify_resp_owns[] = {offsetof(tMMS_NotifyRespInd, pTransactionId)};
constexpr Offset acknowledge_owns[] = {offsetof(tMMS_AcknowledgeInd, pTransactionId)};
constexpr Offset read_rec_owns[] = {offsetof(tMMS_ReadRecInd, pMessageId),
                                    offsetof(tMMS_ReadRecInd, pTo),
                                    offsetof(tMMS_ReadRecInd, pReserved)};
constexpr Offset read_orig_owns[] = {offsetof(tMMS_ReadOrigInd, pMessageId),
                                     offsetof(tMMS_ReadOrigInd, From),
                                     offsetof(tMMS_ReadOrigInd, pTo)};
constexpr Offset forward_req_owns[] = {
    offsetof(tMMS_ForwardReq, pTransactionId), offsetof(tMMS_ForwardReq, pTo),
    offsetof(tMMS_ForwardReq, pCc), offsetof(tMMS_ForwardReq, pBcc),
    offsetof(tMMS_ForwardReq, pContentLocation)};

struct RecordType {
    const void* fresh;  // null: all zero
    const Offset* owned;
    uint16_t size;
    uint8_t owned_count;
};

template <typename T, size_t N>
constexpr RecordType record_type(const T* fresh, const Offset (&owned)[N]) {
    return {fresh, owned, sizeof(T), N};
}
template <typename T, size_t N>
constexpr RecordType record_type(const Offset (&owned)[N]) {
    return record_type(static_cast<const T*>(nullptr), owned);
}

// In the order of the kinds, the first of which is 1.
constexpr RecordType record_types[] = {
    record_type(&fresh_send_req, send_req_owns),
    record_type(&fresh_send_conf, send_conf_owns),
    record_type<tMMS_NotificationInd>(notification_owns),
    record_type<tMMS_RetrieveConf>(retrieve_conf_owns),
    record_type<tMMS_DeliveryInd>(delivery_owns),
    record_type(&fresh_notify_resp, notify_resp_owns),
    record_type(&fresh_acknowledge, acknowledge_owns),
    record_type<tMMS_ReadRecInd>(read_rec_owns),
    record_type<tMMS_ReadOrigInd>(read_orig_owns),
    record_type(&fresh_forward_req, forward_req_owns),
    record_type<tMMS_SendConf>(send_conf_owns),
};
static_assert(sizeof(record_types) / sizeof(record_types[0]) == kind_forward_conf);

const RecordType* find_record_type(uint8_t kind) {
    return kind >= kind_send_req && kind <= kind_forward_conf ? &record_types[kind - 1] : nullptr;
}

}  // namespace
}  // namespace mmskit

extern "C" void* fnMMS_AllocMessageMem(uint8_t kind) {
    const mmskit::RecordType* type = mmskit::find_record_type(kind);
    if (type == nullptr) return nullptr;
    void* record = mmskit::allocate(type->size);
    if (record != nullptr && type->fresh != nullptr) std::memcpy(record, type->fresh, type->size);
    return record;
}

extern "C" void fnMMS_FreeMessageMem(void* record, uint8_t kind) {
    const mmskit::RecordType* type = mmskit::find_record_type(kind);
    if (record == nullptr || type == nullptr) return;
    for (size_t i = 0; i < type->owned_count; ++i) {
        void* block = nullptr;
        std::memcpy(&block, static_cast<char*>(record) + type->owned[i], sizeof block);
        mmskit::deallocate(block);
    }
    mmskit::deallocate(record);
}
