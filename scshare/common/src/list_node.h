// What the list can do inside the library only.
#pragma once

#include <mmskit/runtime.h>

#pragma GCC visibility push(hidden)

namespace mmskit {

// In tSCList::uReserved: the list could not be loaded and is short of what its file holds, so
// saving it would lose that. Loading, clearing and starting the list anew take the mark away.
inline constexpr uint32_t load_failed_mark = 0x6661696C;

// Moves the only node of `from` to the end of `list`. Needs no memory, unlike fnSCList_AddTail.
void append_node(tSCList& list, tSCList& from);

}  // namespace mmskit

#pragma GCC visibility pop
