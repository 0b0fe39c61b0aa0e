// Finding the part that a reference names, by a walk over the list of parts.
#pragma once

#include <mmskit/pdu.h>

#include <cstdint>

#include "Parser/src/smil_internal.h"

#pragma GCC visibility push(hidden)

namespace mmskit {

// The part that `id` names, marked IsSmil and counted, or null. Parts of one name are handed out
// in turn; when all are marked the first is given again.
tMMS_MediaData* take_part(tMMS_MediaData* list, TextView id);

// Takes `work` off what references may still cost in the message held (limits::reference_work).
// False, and noted for the host, when it is used up: the reference then names nothing.
bool reference_work_is_spent();
[[nodiscard]] inline bool spend_reference_work(uint64_t work) {
    // Without a message there is no budget; a list is then the caller's own.
    if (parser_state.tpSMIL_Union == nullptr) return true;
    if (work > parser_state.reference_budget) return reference_work_is_spent();
    parser_state.reference_budget -= work;
    return true;
}

}  // namespace mmskit

#pragma GCC visibility pop
