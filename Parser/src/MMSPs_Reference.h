// Finding the part that a reference names, by a walk over the list of parts.
#pragma once

#include <mmskit/pdu.h>

#include <cstdint>

#include "Parser/src/smil_internal.h"

#pragma GCC visibility push(hidden)

namespace mmskit {

// The part that `id` names, marked IsSmil and counted, or null. Parts of one name are handed out
// in turn; when all are marked the first is given again. `look_up` is empty or of the reference
// before, over the same list, whose text it still holds then.
tMMS_MediaData* take_part(LookUp& look_up, tMMS_MediaData* list, TextView id);

// Takes `work` off what references may still cost in the message held; see pay().
[[nodiscard]] inline bool pay_for_reference(uint64_t work) {
    return pay(parser_state.references, work, "more references than can be looked up");
}

}  // namespace mmskit

#pragma GCC visibility pop
