// Push records as one line of text, for whole comparisons: every field that is not null or zero,
// and the charset.
#pragma once

#include <mmskit/push.h>

#include <cstdio>
#include <memory>
#include <string>

namespace testing_support {

using OwnedSi = std::unique_ptr<tPush_SiContent, decltype(&fnMMSPush_FreeSic)>;
using OwnedSl = std::unique_ptr<tPush_SlContent, decltype(&fnMMSPush_FreeSlc)>;

inline std::string facts(const tSCFS_DateTime& t) {
    char out[128];
    std::snprintf(out, sizeof out, "%u-%u-%u/%u:%u:%u/%u", t.iYear, t.iMonth, t.iDay, t.iHour,
                  t.iMinute, t.iSecond, t.iWeek);
    return out;
}

inline std::string fact(const char* name, const std::string& value, const char* absent) {
    return value == absent ? "" : name + value + ' ';
}
inline std::string fact(const char* name, const char* text) {
    return text == nullptr ? "" : fact(name, text, "\xFF");
}

inline std::string facts(OwnedSi si) {
    if (!si) return "null";
    return fact("href=", si->pHref) + fact("id=", si->pSiId) + fact("text=", si->pNotifyText) +
           fact("action=", std::to_string(si->bAction), "0") +
           fact("created=", facts(si->tCreated), "0-0-0/0:0:0/0") +
           fact("expires=", facts(si->tSiExpires), "0-0-0/0:0:0/0") + std::to_string(si->iCharset);
}

inline std::string facts(OwnedSl sl) {
    if (!sl) return "null";
    return fact("href=", sl->pHref) + fact("action=", std::to_string(sl->bAction), "0") +
           std::to_string(sl->iCharset);
}

inline std::string decode_si(const void* data, size_t size) {
    return facts(
        OwnedSi(fnMMSPush_DecodeSic(static_cast<const uint8_t*>(data), static_cast<uint32_t>(size)),
                fnMMSPush_FreeSic));
}
inline std::string decode_sl(const void* data, size_t size) {
    return facts(
        OwnedSl(fnMMSPush_DecodeSlc(static_cast<const uint8_t*>(data), static_cast<uint32_t>(size)),
                fnMMSPush_FreeSlc));
}
// The textual decoders work in the text that they are given.
inline std::string decode_xml_si(std::string text) {
    const auto length = static_cast<uint32_t>(text.size());
    return facts(OwnedSi(fnMMSPush_DecodeXmlSic(text.data(), length), fnMMSPush_FreeSic));
}
inline std::string decode_xml_sl(std::string text) {
    const auto length = static_cast<uint32_t>(text.size());
    return facts(OwnedSl(fnMMSPush_DecodeXmlSl(text.data(), length), fnMMSPush_FreeSlc));
}

// A document of tests/Push/ through an independent encoder; empty when that is not installed.
inline std::string encode_independently(const std::string& name) {
    const std::string command =
        "xml2wbxml -o - '" MMSKIT_SOURCE_DIR "/tests/Push/" + name + ".xml' 2>/dev/null";
    std::string out;
    if (FILE* pipe = popen(command.c_str(), "r")) {
        char block[4096];
        for (size_t n; (n = std::fread(block, 1, sizeof block, pipe)) != 0;)
            out.append(block, n);
        pclose(pipe);
    }
    return out;
}

}  // namespace testing_support
