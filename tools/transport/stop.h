// Ctrl-C and its kin. A signal asks the work to stop, so that what is known can still be written
// down; a second one ends the program at once, and the journal is true all the same.
#pragma once

#include <cstdint>

namespace mmskit_transport {

void catch_stop_signals();
bool stop_wanted();

// False when it was asked to stop before the time was over.
bool wait_milliseconds(int64_t time);

}  // namespace mmskit_transport
