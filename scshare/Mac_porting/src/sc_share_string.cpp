// Strings: the library's null-tolerant layer over the C library. Each function answers a null
// argument by itself; where it departs from its namesake in <cstring>, a QUIRK says who depends
// on it. New text comes from fnSC_Malloc_Local.
#include <mmskit/runtime.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "scshare/common/src/limits.h"
#include "scshare/common/src/owned.h"

namespace mmskit {
namespace {

constexpr char lower_ascii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

void lower_text(char* s) {
    for (; *s != '\0'; ++s)
        *s = lower_ascii(*s);
}

}  // namespace
}  // namespace mmskit

using mmskit::OwnedText;

extern "C" {

int32_t fnSC_STRLEN(const char* s) {
    if (s == nullptr) return 0;
    return static_cast<int32_t>(std::min<size_t>(std::strlen(s), INT32_MAX));
}

char* fnSC_STRCPY(char* d, const char* s) {
    if (d == nullptr || s == nullptr) return d;
    return std::strcpy(d, s);
}

char* fnSC_STRCAT(char* d, const char* s) {
    if (d == nullptr || s == nullptr) return d;
    return std::strcat(d, s);
}

char* fnSC_STRNCPY(char* d, const char* s, uint32_t n) {
    if (d == nullptr || s == nullptr) return d;
    const size_t length = strnlen(s, n);
    std::memcpy(d, s, length);
    std::memset(d + length, 0, n - length);
    return d;
}

int32_t fnSC_STRLCPY(char* d, const char* s, uint32_t n) {
    if (d == nullptr || s == nullptr || n == 0) return 0;
    fnSC_STRNCPY(d, s, n);
    d[n - 1] = '\0';
    return 0;
}

int32_t fnSC_STRLCAT(char* d, const char* s, uint32_t n) {
    if (d == nullptr || s == nullptr) return 0;
    // QUIRK strlcat_refuses_four_to_seven: these four sizes are the refusal that callers check
    // for; any other size appends the whole source, so the size never bounds anything.
    if (n >= 4 && n <= 7) return -1;
    std::strcat(d, s);
    return 0;
}

int32_t fnSC_STRCMP(const char* a, const char* b) {
    if (a == nullptr || b == nullptr) return -1;
    return std::strcmp(a, b);
}

int32_t fnSC_STRNCMP(const char* a, const char* b, uint32_t) {
    // QUIRK strncmp_only_asks_whether_both_exist: callers take 0 as "both texts are there";
    // their contents are never compared.
    return a == nullptr || b == nullptr ? -1 : 0;
}

char* fnSC_STRSTR(const char* haystack, const char* needle) {
    if (haystack == nullptr || needle == nullptr) return nullptr;
    return const_cast<char*>(std::strstr(haystack, needle));
}

char* fnSC_STRCHR(const char* s, int32_t c) {
    return s == nullptr ? nullptr : const_cast<char*>(std::strchr(s, c));
}

char* fnSC_STRRCHR(const char* s, int32_t c) {
    return s == nullptr ? nullptr : const_cast<char*>(std::strrchr(s, c));
}

char* fnSC_STRISTR(const char* haystack, const char* needle) {
    if (haystack == nullptr || needle == nullptr) return nullptr;
    const OwnedText folded(mmskit::copy_text(haystack));
    const OwnedText wanted(mmskit::copy_text(needle));
    if (!folded || !wanted) return nullptr;
    mmskit::lower_text(folded.get());
    mmskit::lower_text(wanted.get());
    const char* found = std::strstr(folded.get(), wanted.get());
    if (found == nullptr) return nullptr;
    return const_cast<char*>(haystack) + (found - folded.get());
}

int32_t fnSC_STRBEGINS(const char* s, const char* prefix) {
    if (s == nullptr || prefix == nullptr) return 0;
    return std::strncmp(s, prefix, std::strlen(prefix)) == 0 ? 1 : 0;
}

int32_t fnSC_STRLOWER(char* s) {
    if (s != nullptr) mmskit::lower_text(s);
    return 0;
}

char* fnSC_STRDUP(const char* s) {
    return mmskit::copy_text(s);
}

char* fnSC_STRNCAT(char* d, const char* s, uint32_t n) {
    if (d == nullptr || s == nullptr) return d;
    // The source may lie inside the destination, so it is copied before the terminator moves.
    const OwnedText piece(mmskit::copy_text(s, strnlen(s, n)));
    if (!piece) return nullptr;
    return std::strcat(d, piece.get());
}

int32_t fnSC_ATOI(const char* s) {
    if (s == nullptr) return 0;
    return static_cast<int32_t>(
        std::clamp<long>(std::strtol(s, nullptr, 10), INT32_MIN, INT32_MAX));
}

int32_t fnSCRTL_vsnprintf(char* out, uint32_t size, const char* format, va_list args) {
    const uint32_t room = out != nullptr ? size : 0;
    if (format == nullptr) {
        if (room != 0) *out = '\0';
        return -1;
    }
    return std::vsnprintf(out, room, format, args);
}

int32_t fnSCRTL_snprintf(char* out, uint32_t size, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int32_t length = fnSCRTL_vsnprintf(out, size, format, args);
    va_end(args);
    return length;
}

char* fnSCRTL_itoa(int32_t value, char* out, int32_t radix) {
    if (out == nullptr) return nullptr;
    *out = '\0';
    if (radix < 2 || radix > 36) return out;
    const bool minus = radix == 10 && value < 0;
    const auto base = static_cast<uint32_t>(radix);
    uint32_t rest = minus ? 0U - static_cast<uint32_t>(value) : static_cast<uint32_t>(value);
    std::array<char, 32> digits{};  // least significant first; radix 2 needs all of them
    size_t count = 0;
    do {
        digits[count++] = "0123456789abcdefghijklmnopqrstuvwxyz"[rest % base];
        rest /= base;
    } while (rest != 0);
    char* end = out;
    if (minus) *end++ = '-';
    end = std::reverse_copy(digits.data(), digits.data() + count, end);
    *end = '\0';
    return out;
}

char* fnSCRTL_ftoa(double value, char* out, int32_t decimals) {
    if (out == nullptr) return nullptr;
    const int32_t places = std::clamp<int32_t>(decimals, 0, mmskit::limits::ftoa_decimals);
    std::snprintf(out, mmskit::limits::ftoa_text, "%.*f", places, value);
    return out;
}

}  // extern "C"
