#pragma once

#include "transport/options.h"

namespace mmskit_transport {

// The exit status.
int send_message(const SendOptions& options);

}  // namespace mmskit_transport
