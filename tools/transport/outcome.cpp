#include "transport/outcome.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "ground/safe_text.h"
#include "transport/address.h"
#include "transport/stop.h"

namespace mmskit_transport {
namespace {

using mmskit_tool::visible;

constexpr std::array<int64_t, 3> waits{2, 4, 8};

// A 5xx may come from a gateway whose centre has the message, or from a centre that failed after it
// took it. These cannot: not implemented, version, and a network that wants a log-in first.
bool refuses(int status) {
    constexpr std::array certain{501, 505, 511};
    return (status >= 300 && status < 500) ||
           std::find(certain.begin(), certain.end(), status) != certain.end();
}

std::string explain_redirect(const Exchange& exchange) {
    std::string line = std::to_string(exchange.status) + ", a redirect";
    if (!exchange.location.empty()) line += " to " + short_url(exchange.location);
    return line + ", which is not followed: is this device on the carrier's MMS network?";
}

}  // namespace

bool Patience::wait(int attempt, const std::string& why) const {
    const auto index = static_cast<std::size_t>(attempt);
    if (index >= waits.size() || stop_wanted()) return false;
    say(why + "; trying again in " + std::to_string(waits[index]) + " s");
    return wait_milliseconds(waits[index] * unit_milliseconds);
}

Fate fate_of(const Exchange& exchange) {
    if (!exchange.answered) return exchange.body_left ? Fate::unknown : Fate::not_sent;
    if (exchange.status >= 200 && exchange.status < 300) return Fate::answered;
    return refuses(exchange.status) ? Fate::refused : Fate::unknown;
}

std::string explain(const Exchange& exchange, const std::string& url) {
    if (!exchange.answered) return short_url(url) + ": " + exchange.problem;
    if (exchange.status >= 300 && exchange.status < 400)
        return short_url(url) + " answered " + explain_redirect(exchange);
    return short_url(url) + " answered with HTTP status " + std::to_string(exchange.status);
}

Exchange post_patiently(const Http& http, const std::string& url, std::span<const uint8_t> pdu,
                        const Patience& patience) {
    for (int attempt = 0;; ++attempt) {
        Exchange exchange = http.post(url, pdu);
        const bool again = !exchange.answered && !exchange.body_left && exchange.transient;
        if (!again || !patience.wait(attempt, explain(exchange, url))) return exchange;
    }
}

void say(const std::string& line) {
    (void)std::fprintf(stderr, "mmskit: %s\n", visible(line).c_str());
}

}  // namespace mmskit_transport
