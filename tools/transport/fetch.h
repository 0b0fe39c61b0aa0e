#pragma once

#include "transport/options.h"

namespace mmskit_transport {

// The exit status.
int fetch_message(const FetchOptions& options);

}  // namespace mmskit_transport
