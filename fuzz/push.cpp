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
using testing_support::facts;

using Si = Owner<tPush_SiContent, fnMMSPush_FreeSic>;
using Sl = Owner<tPush_SlContent, fnMMSPush_FreeSlc>;

template <typename Record>
void told(const Record& record) {
    tell(std::string_view(record != nullptr ? facts(*record) : "none"));
}

// XML text goes through a file below the current folder.
class InFolder {
  public:
    InFolder() : before_(open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        if (before_ < 0 || chdir(folder().c_str()) != 0) std::abort();
    }
    ~InFolder() {
        if (fchdir(before_) != 0) std::abort();
        close(before_);
    }
    InFolder(const InFolder&) = delete;
    InFolder& operator=(const InFolder&) = delete;

  private:
    int before_;
};

template <typename Owner, auto decode>
Owner from_xml(const std::string& text) {
    const InFolder here;
    const std::unique_ptr<char[]> exact(new char[text.size() + 1]);
    std::memcpy(exact.get(), text.c_str(), text.size() + 1);
    Owner record(decode(exact.get(), static_cast<uint32_t>(text.size())));
    for (const char* left : {"umb/tmp/xmlsic.xml", "umb/tmp/xmlsl.xml"})
        unlink(left);
    return record;
}

void run_wbxml(Bytes input) {
    const Exact document(input);
    const Si si(fnMMSPush_DecodeSic(document.data.get(), uint32_t(input.size())));
    told(si);
    const Sl sl(fnMMSPush_DecodeSlc(document.data.get(), uint32_t(input.size())));
    told(sl);
    hold(sl == nullptr || (sl->bAction >= 5 && sl->bAction <= 7), "an action");
}

void run_xml(Bytes input) {
    const std::string text = text_of(input).c_str();
    const Si si = from_xml<Si, fnMMSPush_DecodeXmlSic>(text);
    told(si);
    const Sl sl = from_xml<Sl, fnMMSPush_DecodeXmlSl>(text);
    told(sl);
    hold(si == nullptr || (si->bAction == 0 || si->bAction == 5), "an action of si");
    hold(sl == nullptr || (sl->bAction == 0 || sl->bAction == 5), "an action of sl");
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

std::string octets(std::initializer_list<int> values) {
    return {values.begin(), values.end()};
}

void run_push(Bytes bytes) {
    Input input{bytes};
    const std::string href = letters(input), id = letters(input), text = letters(input);
    const std::string si_bytes = octets({2, 5, 0x6A, 0, 0x45, 0xC6, 0x0B}) + inline_text(href) +
                                 '\x11' + inline_text(id) + "\x05\x01" + inline_text(text) + "\1\1";
    const Exact document(si_bytes);
    const Si si(fnMMSPush_DecodeSic(document.data.get(), uint32_t(si_bytes.size())));
    const Si si_text = from_xml<Si, fnMMSPush_DecodeXmlSic>(
        "<?xml version='1.0'?><si><indication href='" + escaped(href) + "' si-id=\"" + escaped(id) +
        "\" action='signal-none'>" + escaped(text) + "</indication></si>");
    for (const Si* each : {&si, &si_text})
        hold((each == &si_text && !MMSKIT_READS_XML) ||
                 (*each != nullptr && (*each)->pHref == href && (*each)->pSiId == id &&
                  (*each)->pNotifyText == text && (*each)->bAction == 5),
             "an indication as written");
    const std::string sl_bytes = octets({2, 6, 0x6A, 0, 0x85, 5, 8}) + inline_text(href) + '\x01';
    const Exact loading(sl_bytes);
    const Sl sl(fnMMSPush_DecodeSlc(loading.data.get(), uint32_t(sl_bytes.size())));
    const Sl sl_text = from_xml<Sl, fnMMSPush_DecodeXmlSl>("<sl action='execute-low' href=\"" +
                                                           escaped(href) + "\"/>");
    for (const Sl* each : {&sl, &sl_text})
        hold(
            (each == &sl_text && !MMSKIT_READS_XML) || (*each != nullptr && (*each)->pHref == href),
            "a loading as written");
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
