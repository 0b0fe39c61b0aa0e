// See wsp_fields.h.
#include "Anatomy/src/wsp_fields.h"

#include <array>

namespace mmskit_anatomy {
namespace {

// In the order of their codes; a field's later codes have its name again.
constexpr std::string_view words =
    "Accept Accept-Charset Accept-Encoding Accept-Language Accept-Ranges Age Allow "
    "Authorization Cache-Control Connection Content-Base Content-Encoding "
    "Content-Language Content-Length Content-Location Content-MD5 Content-Range "
    "Content-Type Date Etag Expires From Host If-Modified-Since If-Match If-None-Match "
    "If-Range If-Unmodified-Since Location Last-Modified Max-Forwards Pragma "
    "Proxy-Authenticate Proxy-Authorization Public Range Referer Retry-After Server "
    "Transfer-Encoding Upgrade User-Agent Vary Via Warning WWW-Authenticate "
    "Content-Disposition X-Wap-Application-Id X-Wap-Content-URI X-Wap-Initiator-URI "
    "Accept-Application Bearer-Indication Push-Flag Profile Profile-Diff Profile-Warning "
    "Expect TE Trailer Accept-Charset Accept-Encoding Cache-Control Content-Range "
    "X-Wap-Tod Content-ID Set-Cookie Cookie Encoding-Version Profile-Warning "
    "Content-Disposition X-WAP-Security Cache-Control";

constexpr auto names = [] {
    std::array<std::string_view, 0x48> split{};
    std::string_view left = words;
    for (std::string_view& name : split) {
        name = left.substr(0, left.find(' '));
        left.remove_prefix(name.size() < left.size() ? name.size() + 1 : name.size());
    }
    return split;
}();
static_assert(names[0x11] == "Content-Type" && names.back() == "Cache-Control");

}  // namespace

std::string_view wsp_header_name(uint8_t code) {
    const std::size_t index = code & 0x7FU;
    return code >= 0x80 && index < names.size() ? names[index] : std::string_view();
}

}  // namespace mmskit_anatomy
