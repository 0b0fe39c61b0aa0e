// Posting to a message centre, and what can be known of it afterwards. A message that is posted
// twice is delivered twice: a request is repeated by itself only while no byte of its body has
// left. After that only an answer can tell, and without one nobody knows.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "transport/http.h"

namespace mmskit_transport {

enum ExitStatus : int {
    exit_done = 0,
    exit_failed = 1,
    exit_usage = 2,
    exit_unknown = 4  // a request left, and whether it was taken is not known
};

// How long to wait before the next attempt of what failed for a moment: 2, 4 and 8 units.
struct Patience {
    int64_t unit_milliseconds = 1000;
    // False when there is no further attempt, or when it was asked to stop.
    bool wait(int attempt, const std::string& why) const;
};

enum class Fate {
    answered,  // with a 2xx status; what the answer says is another matter
    not_sent,  // nothing of the body has left
    refused,   // by an answer that cannot mean that it was taken
    unknown
};
Fate fate_of(const Exchange& exchange);

// One line for a person: what came of the request to that URL.
std::string explain(const Exchange& exchange, const std::string& url);

Exchange post_patiently(const Http& http, const std::string& url, std::span<const uint8_t> pdu,
                        const Patience& patience);

// A line on standard error.
void say(const std::string& line);

}  // namespace mmskit_transport
