// One request to a message centre and its answer, over libcurl. Every request has a connection of
// its own that is closed after it: on one that is used again, a request whose connection dies
// before the first answer byte would be sent a second time without a word.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace mmskit_transport {

struct HttpOptions {
    std::string user_agent;
    std::string profile;               // x-wap-profile; empty: none
    std::vector<std::string> headers;  // "Name: value"
    std::string proxy;                 // as proxy_url() gives it; empty: none
    std::string interface;
    std::vector<std::string> resolve;  // "host:port:address"
    int64_t connect_milliseconds = 30000;
    int64_t stall_seconds = 60;  // under 100 bytes a second for so long
    int64_t total_milliseconds = 600000;
    uint64_t answer_limit = uint64_t{16} << 20;  // bytes
};

// What came of a request.
struct Exchange {
    bool answered = false;   // a whole answer came; `problem` tells when not
    bool transient = false;  // the problem may be gone in a moment
    bool body_left = false;  // bytes of the request's body may have reached somebody
    std::string problem;

    int status = 0;  // of HTTP; 0: not even that came
    std::string content_type;
    std::string location;   // of a redirect
    bool end_told = false;  // a length or chunks said where the answer ends
    std::vector<uint8_t> body;
};

class Http {
  public:
    explicit Http(HttpOptions options);
    ~Http();
    Http(const Http&) = delete;
    Http& operator=(const Http&) = delete;

    Exchange get(const std::string& url) const;
    Exchange post(const std::string& url, std::span<const uint8_t> pdu) const;

  private:
    HttpOptions options_;
};

}  // namespace mmskit_transport
