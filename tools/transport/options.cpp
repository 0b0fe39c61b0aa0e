#include "transport/options.h"

#include <algorithm>
#include <charconv>

#include "ground/file_io.h"
#include "ground/safe_text.h"
#include "transport/address.h"

namespace mmskit_transport {
namespace {

using mmskit_tool::Command;
using mmskit_tool::visible;
using mmskit_tool::WrongUsage;

[[noreturn]] void wrong(const std::string& option, const std::string& word,
                        const std::string& expected) {
    throw WrongUsage(option + ": \"" + visible(word) + "\" is not " + expected);
}

uint64_t parse_number(const char* option, const std::string& word, uint64_t otherwise) {
    if (word.empty()) return otherwise;
    uint64_t value = 0;
    const char* end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, value);
    if (error != std::errc() || stop != end || value == 0 || value > INT32_MAX)
        wrong(option, word, "a number above 0");
    return value;
}

int64_t milliseconds(const char* option, const std::string& word, int64_t otherwise) {
    return static_cast<int64_t>(parse_number(option, word, static_cast<uint64_t>(otherwise)));
}

// What goes into a header of HTTP must not end it.
void check_line(const char* option, const std::string& word) {
    const bool clean = std::all_of(word.begin(), word.end(), [](char c) {
        return static_cast<unsigned char>(c) >= ' ' && c != 0x7F;
    });
    if (!clean) wrong(option, word, "one line of text");
}

void check_header(const std::string& word) {
    check_line("--header", word);
    const std::size_t colon = word.find(':');
    if (colon == 0 || colon == std::string::npos || word.find(' ') < colon)
        wrong("--header", word, "of the form 'Name: value'");
}

void declare_way(Command& command, WayOptions& way) {
    command.option("--proxy", way.proxy, "HOST:PORT", "The carrier's HTTP proxy");
    command.option("--user-agent", way.user_agent, "TEXT", "The name of the client");
    command.option("--uaprof", way.profile, "URL",
                   "The terminal profile (x-wap-profile): centres fit media to it");
    command.option("--header", way.headers, "'NAME: VALUE'", "A further header of HTTP");
    command.option("--interface", way.interface, "NAME",
                   "The network interface or address to go out by");
    command.option("--resolve", way.resolve, "HOST:PORT:ADDRESS",
                   "The address of a host, instead of asking for it");
    command.further_codes(", 4 a request left and it is not known whether it was taken");
    command.option("--connect-time", way.connect_time, "MS", "").hide();
    command.option("--stall-time", way.stall_time, "MS", "").hide();
    command.option("--total-time", way.total_time, "MS", "").hide();
    command.option("--retry-unit", way.retry_unit, "MS", "").hide();
    command.option("--answer-limit", way.answer_limit, "BYTES", "").hide();
}

}  // namespace

HttpOptions WayOptions::http() const {
    HttpOptions out;
    out.user_agent = user_agent.empty() ? "mmskit/" MMSKIT_VERSION : user_agent;
    out.profile = profile;
    out.headers = headers;
    check_line("--user-agent", user_agent);
    check_line("--uaprof", profile);
    for (const std::string& header : headers)
        check_header(header);
    if (!proxy.empty()) out.proxy = proxy_url(proxy);
    out.interface = interface;
    out.resolve = resolve;
    for (const std::string& entry : resolve)
        if (std::count(entry.begin(), entry.end(), ':') < 2)
            wrong("--resolve", entry, "of the form HOST:PORT:ADDRESS");
    out.connect_milliseconds =
        milliseconds("--connect-time", connect_time, out.connect_milliseconds);
    out.stall_seconds =
        (milliseconds("--stall-time", stall_time, out.stall_seconds * 1000) + 999) / 1000;
    out.total_milliseconds = milliseconds("--total-time", total_time, out.total_milliseconds);
    out.answer_limit = parse_number("--answer-limit", answer_limit, out.answer_limit);
    return out;
}

Patience WayOptions::patience() const {
    Patience out;
    out.unit_milliseconds = milliseconds("--retry-unit", retry_unit, out.unit_milliseconds);
    return out;
}

uint64_t parse_size(const char* option, const std::string& word) {
    constexpr uint64_t kilobyte = 1024;
    const char unit = word.empty() ? '\0' : word.back();
    const bool kilo = unit == 'K' || unit == 'k';
    const bool mega = unit == 'M' || unit == 'm';
    const std::string digits = word.substr(0, word.size() - (kilo || mega ? 1 : 0));
    if (digits.empty() || digits.size() > 9 ||
        digits.find_first_not_of("0123456789") != std::string::npos) {
        wrong(option, word, "a size such as 300K");
    }
    const uint64_t factor = mega ? kilobyte * kilobyte : kilo ? kilobyte : 1;
    return parse_number(option, digits, 0) * factor;
}

void declare_send(Command& command, SendOptions& options) {
    command.word("MESSAGE", &options.file, "A message as compose and respond write it").require();
    command.option("--mmsc", options.way.centre, "URL", "Where the message centre is").require();
    command.option("-o,--output", options.output, "FILE", "Keep the centre's answer");
    command.option("--max-size", options.largest, "SIZE",
                   "Warn of a message above it; 300K without the option");
    command
        .option("--report", options.report, "REPORT",
                "Send no message, but what a phone answers to MESSAGE")
        .among({"read", "deleted", "acknowledge", "retrieved", "rejected", "deferred"});
    command.flag("--again", options.way.again,
                 "Send even if it was sent, or may have been; it may then arrive twice");
    declare_way(command, options.way);
}

void declare_fetch(Command& command, FetchOptions& options) {
    command.word("NOTIFICATION", &options.source, "A notification, or the URL of a message")
        .require();
    command.option("-o,--output", options.folder, "DIR", "The folder to keep messages in")
        .require();
    command.option("--mmsc", options.way.centre, "URL",
                   "Where answers go; without it, where the message lies");
    command.flag("--defer", options.defer, "Tell the centre that it is fetched later");
    command.flag("--reject", options.reject, "Tell the centre that it is not wanted");
    command.flag("--no-report", options.no_report, "Do not let the sender have a delivery report");
    command.flag("--no-show", options.no_show, "Do not show the message");
    command.flag("--again", options.way.again, "Fetch even if it is here or was rejected");
    command.exclude("--defer", {"--reject"});
    declare_way(command, options.way);
}

}  // namespace mmskit_transport
