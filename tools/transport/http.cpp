#include "transport/http.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <new>

#include "ground/file_io.h"
#include "ground/safe_text.h"
#include "transport/progress.h"
#include "transport/stop.h"

namespace mmskit_transport {
namespace {

using mmskit_tool::Failure;
using mmskit_tool::visible;

constexpr const char* media_type = "application/vnd.wap.mms-message";

struct HandleRelease {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
struct ListRelease {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

class List {
  public:
    void add(const std::string& line) {
        curl_slist* longer = curl_slist_append(list_.get(), line.c_str());
        if (longer == nullptr) throw std::bad_alloc();
        (void)list_.release();
        list_.reset(longer);
    }
    [[nodiscard]] curl_slist* get() const { return list_.get(); }

  private:
    std::unique_ptr<curl_slist, ListRelease> list_;
};

// Everything that the callbacks of one request share.
struct Work {
    std::span<const uint8_t> to_send;
    std::size_t handed = 0;  // bytes of it that libcurl took
    uint64_t limit = 0;
    bool headers_ended = false;
    bool too_large = false;
    bool out_of_memory = false;
    Exchange exchange;
    Progress progress;
};

// From the moment that libcurl asks for the first byte it may have left.
std::size_t give_body(char* out, std::size_t size, std::size_t count, void* user) {
    auto& work = *static_cast<Work*>(user);
    work.exchange.body_left = true;
    const std::size_t part = std::min(size * count, work.to_send.size() - work.handed);
    std::memcpy(out, work.to_send.data() + work.handed, part);
    work.handed += part;
    return part;
}

// Nothing is ever sent again from its beginning.
int refuse_rewind(void*, curl_off_t, int) {
    return CURL_SEEKFUNC_FAIL;
}

std::size_t take_body(char* data, std::size_t size, std::size_t count, void* user) {
    auto& work = *static_cast<Work*>(user);
    std::vector<uint8_t>& body = work.exchange.body;
    const std::size_t length = size * count;
    work.too_large = length > work.limit - body.size();
    if (work.too_large) return 0;
    try {
        body.insert(body.end(), data, data + length);
    } catch (const std::bad_alloc&) {
        work.out_of_memory = true;
        return 0;
    }
    return length;
}

std::size_t take_header(char* data, std::size_t size, std::size_t count, void* user) {
    constexpr std::string_view chunked = "transfer-encoding:";
    auto& work = *static_cast<Work*>(user);
    const std::string_view line(data, size * count);
    if (line.starts_with("HTTP/")) work.exchange.end_told = false;  // after a 1xx comes another
    work.headers_ended = line == "\r\n" || line == "\n";
    if (line.size() > chunked.size() && curl_strnequal(data, chunked.data(), chunked.size()) != 0)
        work.exchange.end_told = true;
    return line.size();
}

int tell_progress(void* user, curl_off_t coming, curl_off_t came, curl_off_t, curl_off_t) {
    auto& work = *static_cast<Work*>(user);
    if (work.exchange.status == 0 && came == 0 && !work.to_send.empty()) {
        work.progress.show("sent", work.handed, work.to_send.size());
    } else {
        work.progress.show("received", static_cast<uint64_t>(came),
                           static_cast<uint64_t>(std::max<curl_off_t>(coming, 0)));
    }
    return stop_wanted() ? 1 : 0;
}

template <typename Value>
void set(CURL* handle, CURLoption option, Value value) {
    const CURLcode code = curl_easy_setopt(handle, option, value);
    if (code == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
    if (code != CURLE_OK) throw Failure(std::string("libcurl: ") + curl_easy_strerror(code));
}

void set_connection(CURL* handle, const HttpOptions& options) {
    set(handle, CURLOPT_NOSIGNAL, 1L);
    set(handle, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
#if LIBCURL_VERSION_NUM >= 0x075500
    set(handle, CURLOPT_PROTOCOLS_STR, "http,https");
#else
    set(handle, CURLOPT_PROTOCOLS, static_cast<long>(CURLPROTO_HTTP | CURLPROTO_HTTPS));
#endif
    set(handle, CURLOPT_FOLLOWLOCATION, 0L);
    set(handle, CURLOPT_FRESH_CONNECT, 1L);
    set(handle, CURLOPT_FORBID_REUSE, 1L);
    set(handle, CURLOPT_PATH_AS_IS, 1L);  // a content location is an opaque text
    // Empty, not null: null would take the proxy of the environment.
    set(handle, CURLOPT_PROXY, options.proxy.c_str());
    set(handle, CURLOPT_NOPROXY, "");
    if (!options.interface.empty()) set(handle, CURLOPT_INTERFACE, options.interface.c_str());
    set(handle, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(options.connect_milliseconds));
    set(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(options.total_milliseconds));
    set(handle, CURLOPT_LOW_SPEED_LIMIT, 100L);
    set(handle, CURLOPT_LOW_SPEED_TIME, static_cast<long>(options.stall_seconds));
}

void set_callbacks(CURL* handle, Work& work) {
    set(handle, CURLOPT_WRITEFUNCTION, take_body);
    set(handle, CURLOPT_WRITEDATA, &work);
    set(handle, CURLOPT_HEADERFUNCTION, take_header);
    set(handle, CURLOPT_HEADERDATA, &work);
    set(handle, CURLOPT_NOPROGRESS, 0L);
    set(handle, CURLOPT_XFERINFOFUNCTION, tell_progress);
    set(handle, CURLOPT_XFERINFODATA, &work);
    if (work.to_send.empty()) return;
    set(handle, CURLOPT_POST, 1L);
    set(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(work.to_send.size()));
    set(handle, CURLOPT_READFUNCTION, give_body);
    set(handle, CURLOPT_READDATA, &work);
    set(handle, CURLOPT_SEEKFUNCTION, refuse_rewind);
}

List request_headers(const HttpOptions& options, bool post) {
    List list;
    // A centre that reads only the MMS type here replaces every medium by a text.
    list.add(std::string("Accept: */*, ") + media_type);
    list.add("Expect:");  // no 100-continue: many centres let it wait for a second
    if (post) list.add(std::string("Content-Type: ") + media_type);
    if (!options.profile.empty()) list.add("x-wap-profile: " + options.profile);
    for (const std::string& header : options.headers)
        list.add(header);
    return list;
}

bool is_transient(CURLcode code) {
    constexpr std::array codes{CURLE_COULDNT_RESOLVE_PROXY,
                               CURLE_COULDNT_RESOLVE_HOST,
                               CURLE_COULDNT_CONNECT,
                               CURLE_OPERATION_TIMEDOUT,
                               CURLE_GOT_NOTHING,
                               CURLE_SEND_ERROR,
                               CURLE_RECV_ERROR,
                               CURLE_PARTIAL_FILE,
                               CURLE_SSL_CONNECT_ERROR,
                               CURLE_PROXY};
    return std::find(codes.begin(), codes.end(), code) != codes.end();
}

std::string problem_of(CURLcode code, const char* details, const Work& work) {
    if (work.too_large) return "the answer is larger than " + std::to_string(work.limit) + " bytes";
    if (work.out_of_memory) return "out of memory";
    if (stop_wanted()) return "stopped";
    return visible(*details != '\0' ? details : curl_easy_strerror(code));
}

void finish(CURL* handle, CURLcode code, const char* details, Work& work) {
    Exchange& exchange = work.exchange;
    long status = 0;
    (void)curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
    exchange.status = static_cast<int>(status);
    const char* text = nullptr;
    (void)curl_easy_getinfo(handle, CURLINFO_CONTENT_TYPE, &text);
    if (text != nullptr) exchange.content_type = text;
    text = nullptr;
    (void)curl_easy_getinfo(handle, CURLINFO_REDIRECT_URL, &text);
    if (text != nullptr) exchange.location = text;
    curl_off_t length = -1;
    (void)curl_easy_getinfo(handle, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
    exchange.end_told = exchange.end_told || length >= 0;
    // A connection that ends in the headers is a whole answer to libcurl.
    if (code == CURLE_OK && !work.headers_ended) code = CURLE_PARTIAL_FILE;
    exchange.answered = code == CURLE_OK;
    if (exchange.answered) return;
    exchange.problem = problem_of(code, details, work);
    exchange.transient =
        is_transient(code) && !work.too_large && !work.out_of_memory && !stop_wanted();
}

Exchange perform(const std::string& url, std::span<const uint8_t> pdu, const HttpOptions& options) {
    const std::unique_ptr<CURL, HandleRelease> handle(curl_easy_init());
    if (handle == nullptr) throw std::bad_alloc();
    std::array<char, CURL_ERROR_SIZE> details{};
    Work work;
    work.to_send = pdu;
    work.limit = options.answer_limit;
    const List headers = request_headers(options, !pdu.empty());
    List resolve;
    for (const std::string& entry : options.resolve)
        resolve.add(entry);
    set(handle.get(), CURLOPT_ERRORBUFFER, details.data());
    set(handle.get(), CURLOPT_URL, url.c_str());
    set(handle.get(), CURLOPT_USERAGENT, options.user_agent.c_str());
    set(handle.get(), CURLOPT_HTTPHEADER, headers.get());
    if (resolve.get() != nullptr) set(handle.get(), CURLOPT_RESOLVE, resolve.get());
    set_connection(handle.get(), options);
    set_callbacks(handle.get(), work);
    const CURLcode code = curl_easy_perform(handle.get());
    work.progress.clear();
    if (code == CURLE_OUT_OF_MEMORY) work.out_of_memory = true;
    finish(handle.get(), code, details.data(), work);
    return std::move(work.exchange);
}

}  // namespace

Http::Http(HttpOptions options) : options_(std::move(options)) {
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK)
        throw Failure("libcurl cannot be started");
}

Http::~Http() {
    curl_global_cleanup();
}

Exchange Http::get(const std::string& url) const {
    return perform(url, {}, options_);
}

Exchange Http::post(const std::string& url, std::span<const uint8_t> pdu) const {
    return perform(url, pdu, options_);
}

}  // namespace mmskit_transport
