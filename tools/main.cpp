// mmskit: look into and write multimedia messages from the command line. A host of the library like
// any other: it uses the public headers only. Exit codes: 0 done, 1 the work failed (one line on
// standard error says why), 2 the command line is wrong.
#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <new>
#include <sstream>
#include <utility>

#include "commands.h"
#include "file_io.h"
#include "safe_text.h"
#include "words.h"

namespace mmskit_tool {
namespace {

constexpr int exit_failure = 1;
constexpr int exit_usage = 2;

constexpr std::array commands{add_show_command,    add_extract_command, add_compose_command,
                              add_forward_command, add_respond_command, add_store_command};

// The argument parser's own messages: help and version go to standard output.
int end_parse(const CLI::App& app, const CLI::ParseError& error) {
    std::ostringstream out;
    std::ostringstream problem;
    const int code = app.exit(error, out, problem);
    write_output(out.str());
    if (code == 0) return 0;
    std::istringstream lines(problem.str());
    for (std::string line; std::getline(lines, line);) {
        (void)std::fprintf(stderr, "%s\n", visible(line).c_str());
    }
    return exit_usage;
}

int run_command_line(int argc, char** argv) {
    CLI::App app("Look into multimedia messages (MMS) and write them.", "mmskit");
    app.set_version_flag("--version", std::string("mmskit ") + MMSKIT_VERSION);
    app.require_subcommand(1);
    app.footer("Exit codes: 0 done, 1 failed, 2 wrong usage.");
    Run run;
    for (const auto add : commands)
        add(app, run);
    try {
        std::vector<std::string> arguments = pack_groups(argc, argv);
        std::reverse(arguments.begin(), arguments.end());  // the order that the parser takes
        app.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        return end_parse(app, error);
    }
    run();
    return 0;
}

int guarded_main(int argc, char** argv) {
    // A closed pipe and a file size limit are then errors of the write, told like any other.
    (void)std::signal(SIGPIPE, SIG_IGN);
    (void)std::signal(SIGXFSZ, SIG_IGN);
    try {
        return run_command_line(argc, argv);
    } catch (const std::bad_alloc&) {
        (void)std::fputs("mmskit: out of memory\n", stderr);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "mmskit: %s\n", error.what());
    }
    return exit_failure;
}

}  // namespace
}  // namespace mmskit_tool

int main(int argc, char** argv) {
    return mmskit_tool::guarded_main(argc, argv);
}
