// mmskit-transport: the way to a message centre and back (MM1 over HTTP), a program of its own so
// that the mmskit command needs no network library. `mmskit send` and `mmskit fetch` run it.
#include <csignal>
#include <cstdio>
#include <exception>
#include <new>
#include <string_view>

#include "ground/file_io.h"
#include "ground/safe_text.h"
#include "transport/fetch.h"
#include "transport/options.h"
#include "transport/send.h"
#include "transport/stop.h"

namespace mmskit_transport {
namespace {

using mmskit_tool::Command;
using mmskit_tool::visible;

// What a command ends with, past the parser that knows no exit status.
struct Ended {
    int status;
};

void run_send(const SendOptions& options) {
    throw Ended{send_message(options)};
}

void run_fetch(const FetchOptions& options) {
    throw Ended{fetch_message(options)};
}

int run_command_line(int argc, char** argv) {
    Command all("mmskit", "Send messages to a message centre, and fetch them from it.");
    all.add(Command::of("send", "Send a message, or an answer, to a message centre", declare_send,
                        run_send));
    all.add(Command::of("fetch", "Fetch a message that a notification announces", declare_fetch,
                        run_fetch));
    if (argc > 1 && std::string_view(argv[1]) == "--declarations") {
        mmskit_tool::write_output(all.declarations());
        return exit_done;
    }
    const mmskit_tool::Asked asked = all.parse(argc, argv);
    mmskit_tool::write_output(asked.help);
    if (asked.command != nullptr) asked.command->run();
    return exit_done;
}

int guarded_main(int argc, char** argv) {
    (void)std::signal(SIGPIPE, SIG_IGN);
    (void)std::signal(SIGXFSZ, SIG_IGN);
    catch_stop_signals();
    try {
        return run_command_line(argc, argv);
    } catch (const Ended& ended) {
        return ended.status;
    } catch (const mmskit_tool::WrongUsage& wrong) {
        (void)std::fprintf(stderr, "%s\n", visible(wrong.what()).c_str());
        return exit_usage;
    } catch (const std::bad_alloc&) {
        (void)std::fputs("mmskit: out of memory\n", stderr);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "mmskit: %s\n", error.what());
    }
    return exit_failed;
}

}  // namespace
}  // namespace mmskit_transport

int main(int argc, char** argv) {
    return mmskit_transport::guarded_main(argc, argv);
}
