#include "transport/address.h"

#include <algorithm>
#include <cctype>
#include <string_view>
#include <vector>

#include "ground/file_io.h"
#include "ground/safe_text.h"

namespace mmskit_transport {
namespace {

using mmskit_tool::Failure;
using mmskit_tool::visible;

bool printable(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < 0x7F; });
}

// The length of "http://" or "https://" at the front, in any case; 0 when it is neither.
std::size_t scheme_length(const std::string& url) {
    std::string front = url.substr(0, 8);
    std::transform(front.begin(), front.end(), front.begin(), [](char c) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    });
    if (front.starts_with("http://")) return 7;
    return front == "https://" ? 8 : 0;
}

bool digits(std::string_view text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> out(1);
    for (const char c : text) {
        if (c == separator) {
            out.emplace_back();
        } else {
            out.back() += c;
        }
    }
    return out;
}

std::string without_zero_padding(const std::string& host) {
    std::vector<std::string> octets = split(host, '.');
    const bool numeric =
        octets.size() == 4 && std::all_of(octets.begin(), octets.end(), [](const auto& octet) {
            return octet.size() <= 3 && digits(octet);
        });
    if (!numeric) return host;
    std::string out;
    for (std::string& octet : octets) {
        octet.erase(0, std::min(octet.find_first_not_of('0'), octet.size() - 1));
        out += (out.empty() ? "" : ".") + octet;
    }
    return out;
}

}  // namespace

void check_url(const std::string& url, const char* what) {
    const std::size_t scheme = scheme_length(url);
    const bool host = scheme != 0 && url.find_first_of("/?#", scheme) != scheme;
    if (scheme != 0 && host && url.size() > scheme && printable(url)) return;
    throw Failure(std::string(what) + ": \"" + visible(url.substr(0, 40)) +
                  "\" is no http or https address");
}

std::string short_url(const std::string& url) {
    const std::size_t scheme = scheme_length(url);
    const std::size_t path = std::min(url.find_first_of("/?#", scheme), url.size());
    std::string host = url.substr(scheme, path - scheme);
    host.erase(0, host.rfind('@') + 1);  // npos + 1 is 0
    const bool more = path + 1 < url.size();
    return visible(url.substr(0, scheme) + host.substr(0, 100)) + (more ? "/..." : "");
}

std::string proxy_url(const std::string& word) {
    std::string rest = word;
    if (word.find("://") != std::string::npos) {
        if (!word.starts_with("http://"))
            throw Failure("--proxy: only an http proxy is known, not \"" + visible(word) + '"');
        rest.erase(0, 7);
    }
    if (rest.ends_with('/')) rest.pop_back();
    std::string port = "80";
    const std::size_t colon = rest.rfind(':');
    if (colon != std::string::npos && !rest.ends_with(']')) {
        port = rest.substr(colon + 1);
        rest.resize(colon);
    }
    const bool good = !rest.empty() && printable(rest) && digits(port) && port.size() <= 5 &&
                      rest.find('/') == std::string::npos;
    if (!good) throw Failure("--proxy: \"" + visible(word) + "\" is not host:port");
    return "http://" + without_zero_padding(rest) + ':' + port;
}

}  // namespace mmskit_transport
