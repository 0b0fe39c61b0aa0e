// The commands of mmskit, one source file each. A command declares its options on the application
// and, when it is the one on the command line, leaves in `run` what main() then calls.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

namespace mmskit_tool {

// Throws a Failure when the work cannot be done.
using Run = std::function<void()>;

void add_show_command(CLI::App& app, Run& run);
void add_extract_command(CLI::App& app, Run& run);
void add_compose_command(CLI::App& app, Run& run);
void add_forward_command(CLI::App& app, Run& run);
void add_respond_command(CLI::App& app, Run& run);
void add_store_command(CLI::App& app, Run& run);

}  // namespace mmskit_tool
