// The addresses that a user or a message gives: checked, and shortened before they are shown.
#pragma once

#include <string>

namespace mmskit_transport {

// Throws a Failure unless it is an http or https URL of printable ASCII with a host. `what` names
// it in the message.
void check_url(const std::string& url, const char* what);

// What may stand in a message: scheme, host and port. The rest of a content location is as good as
// a password to the message.
std::string short_url(const std::string& url);

// "host:port" or "http://host:port" as libcurl takes it. Carriers write "010.000.000.172:8080"; the
// zeros would make the numbers octal. Without a port it is 80. Throws a Failure for anything else.
std::string proxy_url(const std::string& word);

}  // namespace mmskit_transport
