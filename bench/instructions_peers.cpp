// The same work by the libraries that Debian ships: what is not installed has no row.
#include <iconv.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "bench/inputs.h"
#include "bench/instructions.h"
#ifdef MMSKIT_HAVE_EXPAT
#include <expat.h>
#endif
#ifdef MMSKIT_HAVE_PUGIXML
#include <pugixml.hpp>
#endif
#ifdef MMSKIT_HAVE_WBXML
#include <wbxml/wbxml_conv.h>
#endif

namespace {

using instructions::count;

void convert(const char* from, const char* to, std::string text) {
    const iconv_t converter = iconv_open(to, from);
    char* in = text.data();
    size_t left = text.size();
    size_t room = 4 * text.size() + 1;
    char* const block = static_cast<char*>(std::malloc(room));
    char* out = block;
    if (iconv(converter, &in, &left, &out, &room) == static_cast<size_t>(-1)) std::abort();
    std::free(block);
    iconv_close(converter);
}

// A converter stays open here, so that a later opening finds its module loaded.
void keep_module(const char* from, const char* to = "UTF-8") {
    if (iconv_open(to, from) == reinterpret_cast<iconv_t>(-1)) std::abort();
}

std::string utf16_of(size_t one_in, const char* other) {
    std::string text;
    for (size_t i = 0; i < 32768; ++i)
        text += i % one_in == one_in - 1 ? std::string(other, 2)
                                         : std::string{static_cast<char>('a' + i % 26), '\0'};
    return text;
}

#ifdef MMSKIT_HAVE_EXPAT
void parse_with_expat(const std::string& text) {
    const XML_Parser parser = XML_ParserCreate(nullptr);
    // Handlers, so that names and attributes are taken apart.
    XML_SetElementHandler(
        parser, [](void*, const XML_Char*, const XML_Char**) {}, [](void*, const XML_Char*) {});
    XML_SetCharacterDataHandler(parser, [](void*, const XML_Char*, int) {});
    if (XML_Parse(parser, text.data(), static_cast<int>(text.size()), 1) == XML_STATUS_ERROR)
        std::abort();
    XML_ParserFree(parser);
}
#endif

#ifdef MMSKIT_HAVE_WBXML
// Its public interface gives XML text, not a tree.
void decode_with_libwbxml(const std::string& document) {
    std::string copy = document;
    WBXMLConvWBXML2XML* converter = nullptr;
    WB_UTINY* xml = nullptr;
    WB_ULONG size = 0;
    if (wbxml_conv_wbxml2xml_create(&converter) != WBXML_OK ||
        wbxml_conv_wbxml2xml_run(converter, reinterpret_cast<WB_UTINY*>(copy.data()),
                                 static_cast<WB_ULONG>(copy.size()), &xml, &size) != WBXML_OK)
        std::abort();
    std::free(xml);
    wbxml_conv_wbxml2xml_destroy(converter);
}
#endif

}  // namespace

void instructions::count_peers() {
    keep_module("UTF-16LE");
    keep_module("ISO-8859-1");
    count("iconv/utf16-ascii", [] {
        static const std::string text = utf16_of(32769, "");
        convert("UTF-16LE", "UTF-8", text);
    });
    count("iconv/utf16-mixed", [] {
        static const std::string text = utf16_of(4, "\xFC");
        convert("UTF-16LE", "UTF-8", text);
    });
    count("iconv/utf16-chinese", [] {
        static const std::string text = utf16_of(1, "\x77\x6D");
        convert("UTF-16LE", "UTF-8", text);
    });
    count("iconv/latin1-ascii", [] {
        static const std::string text(65536, 'a');
        convert("ISO-8859-1", "UTF-8", text);
    });
    count("iconv/latin1-mixed", [] {
        static const std::string text = testing_support::repeated("abc\xFC", 16384);
        convert("ISO-8859-1", "UTF-8", text);
    });
    keep_module("UTF-8", "UCS-2LE");
    keep_module("UCS-4LE");
    keep_module("UTF-16LE", "UCS-4LE");
    count("iconv/utf8-ascii-to-ucs2", [] {
        static const std::string text(65536, 'a');
        convert("UTF-8", "UCS-2LE", text);
    });
    count("iconv/utf8-mixed-to-ucs2", [] {
        static const std::string text = testing_support::repeated("abc\xC3\xBC", 65536 / 5);
        convert("UTF-8", "UCS-2LE", text);
    });
    count("iconv/ucs4-mixed-to-utf8", [] {
        static const std::string text =
            testing_support::repeated(std::string("a\0\0\0b\0\0\0c\0\0\0\xFC\0\0\0", 16), 4096);
        convert("UCS-4LE", "UTF-8", text);
    });
    count("iconv/utf16-mixed-to-ucs4", [] {
        static const std::string text = utf16_of(4, "\xFC");
        convert("UTF-16LE", "UCS-4LE", text);
    });
#ifdef MMSKIT_HAVE_EXPAT
    count("expat/smil", [] {
        static const std::string text = inputs::smil(3);
        parse_with_expat(text);
    });
    count("expat/textual-si", [] {
        static const std::string text = inputs::textual_si();
        parse_with_expat(text);
    });
#endif
#ifdef MMSKIT_HAVE_PUGIXML
    count("pugixml/smil", [] {
        static const std::string text = inputs::smil(3);
        pugi::xml_document document;
        if (!document.load_buffer(text.data(), text.size())) std::abort();
    });
#endif
#ifdef MMSKIT_HAVE_WBXML
    count("libwbxml/push-si", [] {
        static const std::string document = inputs::wbxml_si();
        decode_with_libwbxml(document);
    });
    count("libwbxml/push-sl", [] {
        static const std::string document = inputs::wbxml_sl();
        decode_with_libwbxml(document);
    });
#endif
}
