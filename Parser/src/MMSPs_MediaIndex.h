// Finding the part that a reference names: by a walk over the list, or through an index once the
// walks of a large message add up. Both give the same part. The index is built over the list of
// the message held (parser_state.tpSMIL_Element) and lives until reset_parser_state().
#pragma once

#include <mmskit/pdu.h>

#include <cstdint>

namespace mmskit {

// The part that `id` names, marked IsSmil and counted, or null. Parts of one name are handed out
// in turn; when all are marked the first is given again.
tMMS_MediaData* take_part(tMMS_MediaData* list, const char* id);

// Takes back the mark of the part that take_part() gave last.
void unmark_part(tMMS_MediaData* part);

}  // namespace mmskit
