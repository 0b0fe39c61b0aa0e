// Attachments: ten slots, of which the leading TotalAttachment are counted. Re-editing may leave
// one beyond the count, so filling a slot frees what stands there and emptying means all ten.
#include <mmskit/runtime.h>

#include <cstring>

#include "Composer/src/composer_internal.h"
#include "scshare/common/src/log.h"
#include "scshare/common/src/owned.h"

namespace mmskit {
namespace {

// Only a slot that holds data has its size in the total: a failed add leaves a bare size.
void vacate(CPSAttachment& slot) {
    if (slot.pData != nullptr) tCPS_NewMessage.iTotalSize -= slot.iSize;
    CPSClearAttachment(&slot);
}

}  // namespace

CPSAttachment* attachment_slot(int32_t index) {
    return index >= 0 && index < CPS_MAX_ATTACHMENTS ? tCPS_NewMessage.attachment[index] : nullptr;
}

// Copies before it vacates: what a host adds may be what stands in the slot.
bool fill_attachment_slot(CPSAttachment& slot, const CPSAttachmentInfo& info) {
    const uint32_t size = info.iSize;
    OwnedBytes data(static_cast<uint8_t*>(allocate(size)));
    if (data && size != 0) std::memcpy(data.get(), info.pData, size);
    OwnedText type(fnSC_MEMSTRCOPY(info.pType));
    OwnedText name(fnSC_MEMSTRCOPY(info.pName));
    vacate(slot);
    slot.iSize = size;
    if (!data || !type || !name) return false;
    slot.pData = data.release();
    slot.Type = type.release();
    slot.Name = name.release();
    tCPS_NewMessage.iTotalSize += size;
    log_line("Attachment->Name is:%s", slot.Name);
    return true;
}

}  // namespace mmskit

using namespace mmskit;

extern "C" {

int32_t fnCPS_AddAttachment(const CPSAttachmentInfo* info) {
    CPSAttachment* slot = attachment_slot(tCPS_NewMessage.TotalAttachment);
    if (slot == nullptr) return CPS_LIMIT_REACHED;
    if (info == nullptr || info->pData == nullptr || info->pType == nullptr ||
        info->pName == nullptr)
        return CPS_BAD_ARGUMENT;
    if (!fill_attachment_slot(*slot, *info)) return CPS_NO_MEMORY;
    ++tCPS_NewMessage.TotalAttachment;
    log_line("TotalAttachment =%d ", tCPS_NewMessage.TotalAttachment);
    return CPS_OK;
}

int32_t fnCPS_DeleteAttachment(int32_t index) {
    CPSAttachment* slot = attachment_slot(index);
    if (slot == nullptr || index >= tCPS_NewMessage.TotalAttachment) return CPS_BAD_INDEX;
    vacate(*slot);
    for (int32_t next = index + 1; next < tCPS_NewMessage.TotalAttachment; ++next) {
        CPSAttachment* from = attachment_slot(next);
        if (from == nullptr) break;
        *slot = *from;
        CPSInitAttachment(from);
        slot = from;
    }
    --tCPS_NewMessage.TotalAttachment;
    return CPS_OK;
}

void fnCPS_DeleteAllAttachments(void) {
    for (CPSAttachment& slot : tCPS_Attachment)
        vacate(slot);
    tCPS_NewMessage.TotalAttachment = 0;
}

int32_t fnCPS_GetAttachment(CPSAttachmentInfo* out, int32_t index) {
    if (out == nullptr) return CPS_BAD_ARGUMENT;
    const CPSAttachment* slot = attachment_slot(index);
    if (slot == nullptr) return CPS_BAD_INDEX;
    *out = {slot->pData, slot->Name, slot->Type, slot->iSize};
    return CPS_OK;
}

const char* fnCPS_GetAttachmentName(int32_t index) {
    const CPSAttachment* slot = attachment_slot(index);
    return slot != nullptr ? slot->Name : nullptr;
}

int32_t fnCPS_GetTotalAttachments(void) {
    return tCPS_NewMessage.TotalAttachment;
}

}  // extern "C"
