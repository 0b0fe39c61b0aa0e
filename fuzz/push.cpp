// Service Indication and Service Loading, in WBXML and as XML text. Oracle: a record written in
// both forms is read alike, as it was written; any text is one tree to both XML parsers.
#include <fcntl.h>
#include <unistd.h>

#include "fuzz/harness.h"
#include "tests/support/push_facts.h"
#if MMSKIT_FUZZ_XML_BACKENDS
#include "Push/src/push_internal.h"
#include "fuzz/xml_tree.h"
#endif

namespace {

using namespace fuzz;
using namespace testing_support;

// XML text goes through a file below the current folder.
class InFolder {
  public:
    InFolder() : before_(open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        if (before_ < 0 || chdir(folder().c_str()) != 0) std::abort();
    }
    ~InFolder() {
        for (const char* left : {"umb/tmp/xmlsic.xml", "umb/tmp/xmlsl.xml"})
            unlink(left);
        if (fchdir(before_) != 0) std::abort();
        close(before_);
    }
    InFolder(const InFolder&) = delete;
    InFolder& operator=(const InFolder&) = delete;

  private:
    int before_;
};

void run_wbxml(Bytes input) {
    const std::string document = text_of(input), sl = decode_sl(document);
    tell(decode_si(document));
    tell(sl);
    const size_t action = sl.rfind("action=");
    hold(sl == "null" || (action < sl.size() && std::strchr("567", sl[action + 7])), "an action");
}

// The action, or 0.
template <auto decode, auto release>
uint32_t action_in_text(const std::string& text) {
    const Guarded guarded(std::string_view(text.c_str(), text.size() + 1));
    auto* record = decode(guarded.chars(), static_cast<uint32_t>(text.size()));
    tell(record != nullptr ? facts(*record) : "none");
    const uint32_t action = record != nullptr ? record->bAction : 0;
    release(record);
    return action;
}

void run_xml(Bytes input) {
    const InFolder here;
    const std::string text = text_of(input).c_str();
    for (const uint32_t action : {action_in_text<fnMMSPush_DecodeXmlSic, fnMMSPush_FreeSic>(text),
                                  action_in_text<fnMMSPush_DecodeXmlSl, fnMMSPush_FreeSlc>(text)})
        hold(action == 0 || action == 5, "an action");
}

// Letters that stand for themselves in both forms, and those that XML text writes otherwise.
std::string letters(Input& input) {
    constexpr std::string_view alphabet =
        "abcdefghijklmnopqrstuvwxyz0123456789-._~:/?#[]@!$()*+,;=%&<>\"' ";
    std::string text = "x" + input.text() + "x";
    for (char& c : text)
        c = alphabet[uint8_t(c) % alphabet.size()];
    return text;
}

std::string escaped(const std::string& text) {
    std::string out;
    for (const char c : text)
        out += std::strchr("&<>\"'", c) == nullptr ? std::string(1, c)
                                                   : "&#" + std::to_string(int(c)) + ';';
    return out;
}

std::string inline_text(const std::string& text) {
    return '\x03' + text + '\0';
}

void run_push(Bytes bytes) {
    Input input{bytes};
    const InFolder here;
    const std::string href = letters(input), id = letters(input), text = letters(input);
    const std::string indication = "href=" + href + " id=" + id + " text=" + text + " action=5 ";
    const std::string loading = "href=" + href + " action=5 ";
    hold(decode_si(testing_support::bytes("02 05 6A 00 45 C6 0B") + inline_text(href) + '\x11' +
                   inline_text(id) + "\x05\x01" + inline_text(text) + "\1\1") == indication + "106",
         "an indication");
    hold(decode_sl(testing_support::bytes("02 06 6A 00 85 05 08") + inline_text(href) + '\x01') ==
             loading + "106",
         "a loading");
    if (!MMSKIT_READS_XML) return;
    hold(decode_xml_si("<?xml version='1.0'?><si><indication href='" + escaped(href) +
                       "' si-id=\"" + escaped(id) + "\" action='signal-none'>" + escaped(text) +
                       "</indication></si>") == indication + "166",
         "an indication as text");
    hold(decode_xml_sl("<sl action='execute-low' href=\"" + escaped(href) + "\"/>") ==
             loading + "166",
         "a loading as text");
}

#if MMSKIT_FUZZ_XML_BACKENDS
// As the decoders clean it; false when they do not let the parser see it.
bool clean(std::string& text) {
    text.resize(std::strlen(text.c_str()));
    getXmlEncodingCharset(text.data(), static_cast<int32_t>(text.size()), nullptr);
    text.resize(std::strlen(text.c_str()));
    removeXmlUnusedTag(text.data(), "<!DOCTYPE", ">", static_cast<int32_t>(text.size()));
    mmskit::strip_comments(text.data());
    text.resize(std::strlen(text.c_str()));
    return mmskit::xml_within_limits(text.c_str());
}

void run_xml_backends(Bytes input) {
    std::string text = text_of(input);
    if (!clean(text) || text.empty()) return;
    const std::string rxp = rxp_tree(text);
    const std::string expat = expat_tree(text);
    tell(rxp);
    // A text marked as UTF-16 is none, having no zero bytes. Both refuse it, one before it reads
    // on.
    const bool marked = (text.starts_with("\xFE\xFF") || text.starts_with("\xFF\xFE")) &&
                        rxp[0] != '<' && expat[0] != '<';
    hold(rxp == expat || marked, ("RXP: " + rxp + "\nexpat: " + expat).c_str());
}
#endif

constexpr Target targets[] = {
    {"wbxml", run_wbxml},
    {"xml", run_xml},
    {"push", run_push},
#if MMSKIT_FUZZ_XML_BACKENDS
    {"xml_backends", run_xml_backends},
#endif
};

}  // namespace

const std::span<const Target> fuzz::push_targets = targets;
