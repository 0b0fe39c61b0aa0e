// mmskit send and mmskit fetch: both are the work of mmskit-transport, a program beside this one,
// so that this one needs no network library. The words of the line go to it as they stand.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>

#include "commands/commands.h"
#include "ground/file_io.h"
#include "ground/safe_text.h"

namespace mmskit_tool {
namespace {

struct NoOptions {};

void declare(Command&, NoOptions&) {}

void work(const NoOptions&) {}

}  // namespace

Command send_command() {
    return Command::of("send", "Send a message, or an answer, to a message centre", declare, work);
}

Command fetch_command() {
    return Command::of("fetch", "Fetch a message that a notification announces", declare, work);
}

bool is_for_transport(int argc, char** argv) {
    constexpr std::array<std::string_view, 2> names{"send", "fetch"};
    return argc > 1 && std::find(names.begin(), names.end(), argv[1]) != names.end();
}

void run_transport(char** argv) {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::string program = (self.parent_path() / "mmskit-transport").string();
    (void)::execv(program.c_str(), argv);
    if (errno == ENOENT)
        throw Failure(std::string(argv[1]) +
                      " is done by mmskit-transport, which is not built: ./run " + argv[1] +
                      " builds it, and so does cmake with -DMMSKIT_BUILD_TRANSPORT=ON");
    throw Failure(visible(program) + ": " + std::strerror(errno));
}

}  // namespace mmskit_tool
