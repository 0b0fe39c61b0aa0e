// Options that take a group of words: --slide text=Hello image=a.jpg. The argument parser knows
// one value an option, so the words of a group are packed into one before it sees them.
#pragma once

#include <string>
#include <vector>

namespace mmskit_tool {

// The arguments without the program's name, each group of words packed into one argument.
std::vector<std::string> pack_groups(int argc, const char* const* argv);

// The words of a packed argument.
std::vector<std::string> unpack_group(const std::string& packed);

}  // namespace mmskit_tool
