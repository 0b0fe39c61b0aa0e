// mmskit: look into and write multimedia messages from the command line. A host of the library like
// any other: it uses the public headers only. Exit codes: 0 done, 1 the work failed (one line on
// standard error says why), 2 the command line is wrong, 3 done, but something of the message is
// lost.
#include <csignal>
#include <cstdio>
#include <new>
#include <string_view>

#include "commands/commands.h"
#include "ground/exit_status.h"
#include "ground/file_io.h"
#include "ground/heap.h"
#include "ground/out_of_memory.h"
#include "ground/safe_text.h"

namespace mmskit_tool {
namespace {

constexpr Command (*commands[])() = {
    show_command,    preview_command, list_command,    explain_command, extract_command,
    compose_command, forward_command, respond_command, size_command,    decompose_command,
    store_command,   send_command,    fetch_command};

int run_command_line(int argc, char** argv) {
    if (argc > 1 && std::string_view(argv[1]) == "--version")
        return write_output("mmskit " MMSKIT_VERSION "\n"), 0;
    if (is_for_transport(argc, argv)) return run_transport(argv), 0;
    Command mmskit("mmskit", "Look into multimedia messages (MMS) and write them.");
    for (const auto make : commands)
        mmskit.add(make());
    if (argc > 1 && std::string_view(argv[1]) == "--declarations")
        return write_output(mmskit.declarations()), 0;
    const Asked asked = mmskit.parse(argc, argv);
    if (asked.command == nullptr) return write_output(asked.help), 0;
    return asked.command->run();
}

int guarded_main(int argc, char** argv) {
    // A closed pipe and a file size limit are then errors of the write, told like any other.
    (void)std::signal(SIGPIPE, SIG_IGN);
    (void)std::signal(SIGXFSZ, SIG_IGN);
    end_well_without_memory();
    prepare_heap();
    try {
        return run_command_line(argc, argv);
    } catch (const WrongUsage& wrong) {
        (void)std::fprintf(stderr, "%s\n", visible(wrong.what()).c_str());
        return exit_usage;
    } catch (const std::bad_alloc&) {
        end_out_of_memory();
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "mmskit: %s\n", error.what());
    }
    return exit_failed;
}

}  // namespace
}  // namespace mmskit_tool

int main(int argc, char** argv) {
    return mmskit_tool::guarded_main(argc, argv);
}
