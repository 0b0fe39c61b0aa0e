// Push documents as XML text, read by both XML parsers that a build can have: they give the same
// tree, or refuse the text alike.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Push/src/push_internal.h"
#include "fuzz/xml_tree.h"

namespace {

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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    if (!clean(text) || text.empty()) return 0;
    const std::string rxp = fuzz::rxp_tree(text);
    const std::string expat = fuzz::expat_tree(text);
    if (rxp == expat) return 0;
    // A text marked as UTF-16 is none, having no zero bytes. Both refuse it, one before it reads
    // on.
    if ((text.starts_with("\xFE\xFF") || text.starts_with("\xFF\xFE")) && rxp[0] != '<' &&
        expat[0] != '<')
        return 0;
    (void)fprintf(stderr, "RXP:   %s\nexpat: %s\n", rxp.c_str(), expat.c_str());
    std::abort();
}
