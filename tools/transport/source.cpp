#include "transport/source.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <ctime>
#include <span>
#include <string_view>

#include "ground/file_io.h"
#include "ground/safe_text.h"
#include "transport/address.h"
#include "transport/pdu.h"
#include "transport/reading.h"

namespace mmskit_transport {
namespace {

using mmskit_tool::Failure;
using mmskit_tool::visible;

std::string digest_of(const std::string& text) {
    return digest({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}

// Different texts give different names: what a name may not hold is =XX, and a long text keeps its
// front and its digest.
std::string file_name_of(const std::string& text) {
    constexpr std::size_t longest = 120;
    constexpr const char* hex = "0123456789ABCDEF";
    std::string out;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::isalnum(byte) != 0 || (c == '-' && !out.empty()) || c == '_' || c == '@' ||
            (c == '.' && !out.empty())) {
            out += c;
        } else {
            ((out += '=') += hex[byte >> 4]) += hex[byte & 15];
        }
    }
    if (out.size() > longest) out.replace(longest, std::string::npos, '=' + digest_of(text));
    return out;
}

bool is_url(const std::string& word) {
    const std::size_t colon = word.find("://");
    return colon != std::string::npos &&
           std::all_of(word.begin(), word.begin() + static_cast<std::ptrdiff_t>(colon),
                       [](char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; });
}

// A relative time counts from when the notification came, which is when its file was written.
int64_t arrival(const std::string& file) {
    struct stat status {};
    if (file == "-" || ::stat(file.c_str(), &status) != 0) return std::time(nullptr);
    return status.st_mtime;
}

}  // namespace

bool Source::expired() const {
    return expires && std::time(nullptr) >= *expires;
}

Source source_of(const std::string& word) {
    Source source;
    if (is_url(word)) {
        check_url(word, "URL");
        source.url = word;
        const std::string last = word.substr(std::min(word.rfind('/') + 1, word.size()));
        source.name =
            file_name_of(last.substr(0, last.find_first_of("?#"))) + '=' + digest_of(word);
        return source;
    }
    const std::string name = visible(mmskit_tool::input_name(word));
    const Message message(mmskit_tool::read_input(word));
    if (message.type() != Type::notification_ind)
        throw Failure(name + ": this is " + type_name(message.type()) + ", not a notification");
    source.url = message.text(Code::content_location);
    source.transaction_id = message.text(Code::transaction_id);
    if (source.transaction_id.empty()) throw Failure(name + ": it has no transaction id");
    if (source.url.empty()) throw Failure(name + ": it does not say where the message lies");
    check_url(source.url, "content location");
    source.name = file_name_of(source.transaction_id);
    if (const Field* expiry = message.find(Code::expiry))
        source.expires = expiry->number + (expiry->relative ? arrival(word) : 0);
    return source;
}

}  // namespace mmskit_transport
