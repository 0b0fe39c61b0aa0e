// Comparing ignoring case: two pairs with different rules. The fnSC_ pair is what names in a
// message are compared with, its departures from a plain comparison are kept because the order
// in which references are resolved depends on them; the fnSCRTL_ pair is the classic comparison.
#include <mmskit/runtime.h>

#include <cstddef>
#include <cstring>

namespace mmskit {
namespace {

constexpr bool is_lower(char c) {
    return c >= 'a' && c <= 'z';
}
constexpr bool is_upper(char c) {
    return c >= 'A' && c <= 'Z';
}
constexpr char case_bit = 'a' - 'A';

constexpr bool same_for_names(char a, char b) {
    if (a == b) return true;
    if (is_lower(a)) return b == a - case_bit;
    if (is_upper(a)) return b == a + case_bit;
    // QUIRK stricmp_ignores_non_letter_difference: a digit or sign in the first text matches any
    // byte. Media look-up passes the message's text first and marked parts over, which keeps
    // img1.jpg and img2.jpg apart.
    return true;
}

// QUIRK strnicmp_folds_only_b_to_y: capital A and capital Z stay as they are, so texts that
// differ in the case of these two are unequal. fnSCRTL_strnicmp is the one that folds them.
constexpr signed char fold_b_to_y(char c) {
    return static_cast<signed char>(c >= 'B' && c <= 'Y' ? c + case_bit : c);
}

constexpr int32_t fold_byte(char c) {
    return static_cast<unsigned char>(is_upper(c) ? c + case_bit : c);
}

int32_t compare_folded(const char* a, const char* b, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        const int32_t difference = fold_byte(a[i]) - fold_byte(b[i]);
        if (difference != 0) return difference;
        if (a[i] == '\0') return 0;
    }
    return 0;
}

}  // namespace
}  // namespace mmskit

extern "C" {

int32_t fnSC_STRICMP(const char* a, const char* b) {
    if (a == nullptr || b == nullptr) return -1;
    for (; *a != '\0' && *b != '\0'; ++a, ++b) {
        if (!mmskit::same_for_names(*a, *b)) return -1;
    }
    return *a == *b ? 0 : -1;
}

int32_t fnSC_STRNICMP(const char* a, const char* b, uint32_t n) {
    if (a == nullptr || b == nullptr) return -1;
    if (strnlen(a, n) < n) return -1;
    if (strnlen(b, n) < n) return 1;
    for (uint32_t i = 0; i < n; ++i) {
        const signed char first = mmskit::fold_b_to_y(a[i]);
        const signed char second = mmskit::fold_b_to_y(b[i]);
        if (first != second) return first < second ? -1 : 1;
    }
    return 0;
}

int32_t fnSCRTL_stricmp(const char* a, const char* b) {
    if (a == nullptr) return -1;
    if (b == nullptr) return 1;
    return mmskit::compare_folded(a, b, SIZE_MAX);
}

int32_t fnSCRTL_strnicmp(const char* a, const char* b, uint32_t n) {
    if (a == nullptr) return -1;
    if (b == nullptr) return 1;
    return mmskit::compare_folded(a, b, n);
}

}  // extern "C"
