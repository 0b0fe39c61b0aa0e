// How the command ends.
#pragma once

#include <algorithm>

namespace mmskit_tool {

inline constexpr int exit_done = 0;
inline constexpr int exit_failed = 1;  // nothing could be shown, or the work failed
inline constexpr int exit_usage = 2;   // the command line is wrong
inline constexpr int exit_lost = 3;    // done, but something of the message is not there

// Of several files: one that failed is worse than one of which something is lost.
inline int worse_status(int a, int b) {
    if (a == exit_failed || b == exit_failed) return exit_failed;
    return std::max(a, b);
}

}  // namespace mmskit_tool
