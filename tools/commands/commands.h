// The commands of mmskit, one source file each: its options, and the work that they ask for. The
// work throws a Failure when it cannot be done.
#pragma once

#include "ground/command_line.h"

namespace mmskit_tool {

Command show_command();
Command list_command();
Command explain_command();
Command extract_command();
Command preview_command();
Command decompose_command();
Command compose_command();
Command forward_command();
Command respond_command();
Command size_command();
Command store_command();

// These two only stand in the list of commands: another program does their work.
Command send_command();
Command fetch_command();
[[nodiscard]] bool is_for_transport(int argc, char** argv);
// Becomes that program, and returns only by a Failure.
void run_transport(char** argv);

}  // namespace mmskit_tool
