// The command lines of `send` and `fetch`.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ground/command_line.h"
#include "transport/http.h"
#include "transport/outcome.h"

namespace mmskit_transport {

// What both take.
struct WayOptions {
    std::string centre;  // --mmsc
    std::string proxy, interface, user_agent, profile;
    std::vector<std::string> headers, resolve;
    bool again = false;
    // For tests, which cannot wait as people do: milliseconds, and bytes.
    std::string connect_time, stall_time, total_time, retry_unit, answer_limit;

    // Both throw a WrongUsage for a value that cannot be.
    [[nodiscard]] HttpOptions http() const;
    [[nodiscard]] Patience patience() const;
};

struct SendOptions {
    std::string file, output, report, largest = "300K";
    WayOptions way;
};

struct FetchOptions {
    std::string source, folder;
    bool defer = false, reject = false, no_report = false, no_show = false;
    WayOptions way;
};

// "300K", "1M", "5000": bytes. Throws a WrongUsage that names the option.
uint64_t parse_size(const char* option, const std::string& word);

void declare_send(mmskit_tool::Command& command, SendOptions& options);
void declare_fetch(mmskit_tool::Command& command, FetchOptions& options);

}  // namespace mmskit_transport
