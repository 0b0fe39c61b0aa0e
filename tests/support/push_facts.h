// Push records as one line of text, for whole comparisons: every field that is not null or zero,
// and the charset.
#pragma once

#include <mmskit/push.h>

#include <string>
#include <type_traits>

#include "tests/support/bytes.h"
#include "tests/support/guarded.h"

namespace testing_support {

inline std::string facts(const tSCFS_DateTime& t) {
    return print("%u-%u-%u/%u:%u:%u/%u", t.iYear, t.iMonth, t.iDay, t.iHour, t.iMinute, t.iSecond,
                 t.iWeek);
}
inline std::string fact(const char* name, const std::string& value, const char* absent) {
    return value == absent ? "" : name + value + ' ';
}
inline std::string facts(const tPush_SiContent& si) {
    return fact("href=", text(si.pHref), "(null)") + fact("id=", text(si.pSiId), "(null)") +
           fact("text=", text(si.pNotifyText), "(null)") +
           fact("action=", std::to_string(si.bAction), "0") +
           fact("created=", facts(si.tCreated), "0-0-0/0:0:0/0") +
           fact("expires=", facts(si.tSiExpires), "0-0-0/0:0:0/0") + std::to_string(si.iCharset);
}
inline std::string facts(const tPush_SlContent& sl) {
    return fact("href=", text(sl.pHref), "(null)") +
           fact("action=", std::to_string(sl.bAction), "0") + std::to_string(sl.iCharset);
}

// What a decoder makes of a document that ends at an unmapped page, a text with its terminator.
template <auto decode, auto release, typename Byte>
std::string decoded(const std::string& document) {
    const size_t terminator = std::is_same_v<Byte, char> ? 1 : 0;
    const Guarded guarded(std::string_view(document.c_str(), document.size() + terminator));
    auto* record =
        decode(reinterpret_cast<Byte*>(guarded.data()), static_cast<uint32_t>(document.size()));
    const std::string out = record != nullptr ? facts(*record) : "null";
    release(record);
    return out;
}
constexpr auto decode_si = decoded<fnMMSPush_DecodeSic, fnMMSPush_FreeSic, const uint8_t>;
constexpr auto decode_sl = decoded<fnMMSPush_DecodeSlc, fnMMSPush_FreeSlc, const uint8_t>;
constexpr auto decode_xml_si = decoded<fnMMSPush_DecodeXmlSic, fnMMSPush_FreeSic, char>;
constexpr auto decode_xml_sl = decoded<fnMMSPush_DecodeXmlSl, fnMMSPush_FreeSlc, char>;

}  // namespace testing_support
