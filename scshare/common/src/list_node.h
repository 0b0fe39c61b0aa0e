// What the list can do inside the library only.
#pragma once

#include <mmskit/runtime.h>

namespace mmskit {

// Moves the only node of `from` to the end of `list`. Needs no memory, unlike fnSCList_AddTail.
void append_node(tSCList& list, tSCList& from);

}  // namespace mmskit
