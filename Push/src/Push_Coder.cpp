// Numbers and dates of push documents: the last-octet integer, the opaque date of WBXML (WAP-167
// 8.2.2) and the ISO 8601 date of XML text.
#include <cstring>

#include "Push/src/push_internal.h"

namespace mmskit {

uint32_t push_uintvar(BoundedReader& in) {
    // QUIRK last_octet_integer: the octets before the last are skipped and not accumulated, so that
    // 0x83 0x6A is 106. Public identifiers, charsets, table and date lengths all rely on it.
    while ((in.peek() & 0x80) != 0)
        in.skip(1);
    return in.byte();
}

void push_date(BoundedReader& in, int64_t length, tSCFS_DateTime* out) {
    const Slice octets = in.take(length > 0 ? static_cast<uint64_t>(length) : 0);
    if (out == nullptr) return;
    const auto pair = [octets](size_t at) -> uint32_t {
        const uint32_t value = at < octets.size ? octets.data[at] : 0;
        return (value >> 4) * 10 + (value & 0x0F);
    };
    out->iYear = pair(0) * 100 + pair(1);
    out->iMonth = pair(2);
    out->iDay = pair(3);
    out->iHour = pair(4);
    out->iMinute = pair(5);
    out->iSecond = pair(6);
}

namespace {

uint32_t decimal(const char* digits, size_t count) {
    uint32_t value = 0;
    for (size_t i = 0; i < count && digits[i] >= '0' && digits[i] <= '9'; ++i)
        value = value * 10 + static_cast<uint32_t>(digits[i] - '0');
    return value;
}

}  // namespace
}  // namespace mmskit

extern "C" {

uint32_t PushOctets2Uintvar(const uint8_t** ppCursor) {
    auto in = mmskit::BoundedReader::unbounded(*ppCursor);
    const uint32_t value = mmskit::push_uintvar(in);
    *ppCursor = in.here();
    return value;
}

void ParseTime(const uint8_t** ppCursor, int32_t iLen, tSCFS_DateTime* pTime) {
    auto in = mmskit::BoundedReader::unbounded(*ppCursor);
    mmskit::push_date(in, iLen, pTime);
    *ppCursor = in.here();
}

void ParseCharTime(const char* pStr, tSCFS_DateTime* pTime) {
    constexpr size_t iso_date_length = 20;
    if (pTime == nullptr || pStr == nullptr || std::strlen(pStr) != iso_date_length) return;
    pTime->iYear = mmskit::decimal(pStr, 4);
    pTime->iMonth = mmskit::decimal(pStr + 5, 2);
    pTime->iDay = mmskit::decimal(pStr + 8, 2);
    pTime->iHour = mmskit::decimal(pStr + 11, 2);
    pTime->iMinute = mmskit::decimal(pStr + 14, 2);
    pTime->iSecond = mmskit::decimal(pStr + 17, 2);
}

}  // extern "C"
