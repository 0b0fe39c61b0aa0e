// Collects what a push document says. The library reads XML text through a temporary file below the
// current folder, so that is done in a private folder which is made and removed for it.
#include "reading/push_facts.h"

#include <mmskit/mmskit.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <utility>

#include "ground/file_io.h"
#include "ground/out_of_memory.h"
#include "reading/header_facts.h"
#include "reading/render.h"

namespace mmskit_tool {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view white_space = " \t\r\n";
constexpr uint32_t xml_charset = 166;              // what a record from XML text bears
constexpr bool reads_xml = MMSKIT_READS_XML != 0;  // whether the library has an XML parser

struct SiFree {
    void operator()(tPush_SiContent* si) const { fnMMSPush_FreeSic(si); }
};
struct SlFree {
    void operator()(tPush_SlContent* sl) const { fnMMSPush_FreeSlc(sl); }
};

bool is_xml(std::span<const uint8_t> bytes) {
    constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
    std::string_view text = text_of(bytes);
    if (text.starts_with(byte_order_mark)) text.remove_prefix(byte_order_mark.size());
    const std::size_t start = text.find_first_not_of(white_space);
    return start != std::string_view::npos && text[start] == '<';
}

// The local name of the first element, comments passed over as the library does.
std::string_view root_name(std::string_view text) {
    while (true) {
        const std::size_t open = text.find('<');
        if (open == std::string_view::npos) return {};
        text.remove_prefix(open + 1);
        if (!text.empty() && text[0] != '!' && text[0] != '?') break;
        if (!text.starts_with("!--")) continue;
        const std::size_t close = text.find('>');
        text.remove_prefix(close != std::string_view::npos ? close : text.size());
    }
    std::string_view name = text.substr(0, text.find_first_of(" \t\r\n/>"));
    if (const std::size_t colon = name.find(':'); colon != std::string_view::npos) {
        name.remove_prefix(colon + 1);
    }
    return name;
}

// Makes a folder of its own the current one, with the folders that the library writes to; the end
// brings the earlier one back and removes it, and needs no memory for that.
class PrivateFolder {
  public:
    PrivateFolder() : before_(open_folder(".")) {
        std::error_code error;
        // cppcheck-suppress useInitializationList  ; the error is made first
        folder_ = (fs::temp_directory_path(error) / "mmskit-XXXXXX").string();
        bool made = !error && mkdtemp(folder_.data()) != nullptr;
        if (made) there_ = open_folder(folder_.c_str());
        made = made && ::mkdirat(there_, "umb", 0700) == 0 &&
               ::mkdirat(there_, "umb/tmp", 0700) == 0 && ::fchdir(there_) == 0;
        if (made) return;
        remove();
        throw Failure("cannot make a temporary folder");
    }
    ~PrivateFolder() { remove(); }
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

  private:
    static int open_folder(const char* path) {
        return ::open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    }
    void remove() {
        for (const char* file : {"umb/tmp/xmlsic.xml", "umb/tmp/xmlsl.xml"})
            (void)::unlinkat(there_, file, 0);
        for (const char* folder : {"umb/tmp", "umb"})
            (void)::unlinkat(there_, folder, AT_REMOVEDIR);
        if (before_ < 0 || ::fchdir(before_) != 0) static_cast<void>(::chdir("/") == 0);
        (void)::rmdir(folder_.c_str());
        (void)::close(there_);
        (void)::close(before_);
    }

    int before_, there_ = -1;
    std::string folder_;
    Temporary at_the_end_{[](void* self) { static_cast<PrivateFolder*>(self)->remove(); }, this};
};

template <typename Free, typename Record>
std::unique_ptr<Record, Free> decode(std::span<const uint8_t> bytes,
                                     Record* (*binary)(const uint8_t*, uint32_t),
                                     Record* (*textual)(char*, uint32_t)) {
    std::unique_ptr<Record, Free> record;
    const auto size = static_cast<uint32_t>(bytes.size());
    if (is_xml(bytes)) {
        if (!reads_xml) throw Flaw{"this build reads no push documents as XML text", 0};
        std::string text(text_of(bytes));
        use_checked_xml_memory();
        const PrivateFolder folder;
        record.reset(textual(text.data(), size));
    } else {
        record.reset(binary(bytes.data(), size));
    }
    if (record == nullptr) throw Flaw{"not a push document that can be decoded", 0};
    return record;
}

void add(MessageFacts& facts, const char* name, const char* key, std::string value) {
    facts.headers.push_back({name, key, std::move(value)});
}

// The library leaves the texts of WBXML in the document's character set.
void add_text(MessageFacts& facts, const char* name, const char* key, const char* text,
              uint32_t charset) {
    constexpr uint32_t latin1 = 4;
    if (text == nullptr) return;
    std::string value = text;
    if (charset == latin1) {
        auto length = static_cast<uint32_t>(value.size());
        char* utf8 = fnCharSet_DecodeString2Local(static_cast<int32_t>(charset),
                                                  reinterpret_cast<const uint8_t*>(text), &length);
        if (utf8 != nullptr) value = utf8;
        fnCharSet_CharSetFreeStringBuf(utf8);
    }
    add(facts, name, key, std::move(value));
}

void add_date(MessageFacts& facts, const char* name, const char* key, const tSCFS_DateTime& date) {
    constexpr tSCFS_DateTime absent{};
    if (std::memcmp(&date, &absent, sizeof date) == 0) return;
    std::array<char, 80> text{};
    (void)std::snprintf(text.data(), text.size(), "%04u-%02u-%02uT%02u:%02u:%02uZ", date.iYear,
                        date.iMonth, date.iDay, date.iHour, date.iMinute, date.iSecond);
    add(facts, name, key, text.data());
}

template <std::size_t count>
void add_action(MessageFacts& facts, uint8_t action, const std::array<const char*, count>& names) {
    constexpr uint8_t first = 5;
    if (action < first || std::size_t{action} - first >= count) return;
    add(facts, "Action", "action", names[std::size_t{action} - first]);
}

void add_charset(MessageFacts& facts, uint32_t charset) {
    if (charset == xml_charset) return;
    constexpr std::array<std::pair<uint32_t, const char*>, 3> names{
        {{3, "US-ASCII"}, {4, "ISO-8859-1"}, {106, "UTF-8"}}};
    for (const auto& [mib, name] : names) {
        if (mib == charset) return add(facts, "Charset", "charset", name);
    }
    add(facts, "Charset", "charset", std::to_string(charset));
}

void collect_si(std::span<const uint8_t> bytes, MessageFacts& facts) {
    constexpr std::array actions{"signal-none", "signal-low", "signal-medium", "signal-high",
                                 "delete"};
    facts.kind = "service indication";
    const auto si = decode<SiFree>(bytes, fnMMSPush_DecodeSic, fnMMSPush_DecodeXmlSic);
    add_text(facts, "Text", "text", si->pNotifyText, si->iCharset);
    add_text(facts, "Address", "href", si->pHref, si->iCharset);
    add_text(facts, "Identifier", "si_id", si->pSiId, si->iCharset);
    add_action(facts, si->bAction, actions);
    add_date(facts, "Created", "created", si->tCreated);
    add_date(facts, "Expires", "si_expires", si->tSiExpires);
    add_charset(facts, si->iCharset);
}

void collect_sl(std::span<const uint8_t> bytes, MessageFacts& facts) {
    constexpr std::array actions{"execute-low", "execute-high", "cache"};
    facts.kind = "service loading";
    const auto sl = decode<SlFree>(bytes, fnMMSPush_DecodeSlc, fnMMSPush_DecodeXmlSl);
    add_text(facts, "Address", "href", sl->pHref, sl->iCharset);
    add_action(facts, sl->bAction, actions);
    add_charset(facts, sl->iCharset);
}

}  // namespace

std::optional<PushKind> recognize_push(std::span<const uint8_t> bytes) {
    constexpr uint8_t last_version = 0x03;
    constexpr uint8_t si_public_id = 0x05;
    constexpr uint8_t sl_public_id = 0x06;
    if (is_xml(bytes)) {
        const std::string_view root = root_name(text_of(bytes));
        if (root == "si") return PushKind::service_indication;
        if (root == "sl") return PushKind::service_loading;
        return std::nullopt;
    }
    if (bytes.size() < 2 || bytes[0] > last_version) return std::nullopt;
    if (bytes[1] == si_public_id) return PushKind::service_indication;
    if (bytes[1] == sl_public_id) return PushKind::service_loading;
    return std::nullopt;
}

void collect_push(std::span<const uint8_t> bytes, PushKind kind, MessageFacts& facts) {
    facts.size = bytes.size();
    (kind == PushKind::service_indication ? collect_si : collect_sl)(bytes, facts);
}

}  // namespace mmskit_tool
