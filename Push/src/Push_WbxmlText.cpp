// Strings of WBXML push documents: inline strings with the suffix tokens of an address, and strings
// of the table (WAP-192 5.8.4).
#include <array>
#include <cstring>

#include "Push/src/push_internal.h"

namespace mmskit {
namespace {

constexpr uint8_t inline_string = 0x03;
constexpr uint8_t first_suffix = 0x85;
constexpr size_t suffix_length = 5;
constexpr std::array<const char*, 4> suffixes{".com/", ".edu/", ".net/", ".org/"};

const char* suffix_of(uint8_t token) {
    const size_t index = size_t{token} - first_suffix;
    return token >= first_suffix && index < suffixes.size() ? suffixes[index] : nullptr;
}

}  // namespace

PushString push_string(BoundedReader& in) {
    BoundedReader ahead = in;
    const Slice first = ahead.text();
    const char* suffix = suffix_of(ahead.peek());
    if (suffix == nullptr) {
        PushString plain{OwnedText(copy_text(first.data, first.size)),
                         static_cast<uint32_t>(first.size + 1)};
        if (!plain.text) return {};
        in = ahead;
        return plain;
    }
    Slice second;
    BoundedReader behind = ahead;
    behind.skip(1);
    if (behind.byte() == inline_string) second = behind.text();
    // QUIRK suffix_counts_two_more: what is counted is the text that comes out, two bytes more than
    // were read, so a document may end by its count before what stands behind the address.
    const uint64_t size = uint64_t{first.size} + second.size + suffix_length + 1;
    PushString joined{OwnedText(static_cast<char*>(allocate(size))), static_cast<uint32_t>(size)};
    if (!joined.text) return {};
    char* end = joined.text.get();
    std::memcpy(end, first.data, first.size);
    std::memcpy(end + first.size, suffix, suffix_length);
    if (second.size != 0) std::memcpy(end + first.size + suffix_length, second.data, second.size);
    // QUIRK suffix_alone_is_left: without a string behind it the suffix stays under the cursor, and
    // the decoder refuses it as its next token.
    in = second.size != 0 ? behind : ahead;
    return joined;
}

char* push_table_string(BoundedReader table, int32_t index) {
    // QUIRK table_reference_is_ordinal: the operand numbers the strings of the table; it is no byte
    // offset. Both agree for the first string.
    for (; index > 0 && !table.at_end(); --index)
        (void)table.text();
    const Slice text = table.text();
    auto* copy = static_cast<char*>(allocate(uint64_t{text.size} + 2));
    if (copy != nullptr && text.size != 0) std::memcpy(copy, text.data, text.size);
    return copy;
}

}  // namespace mmskit

extern "C" {

char* MMS_GetStringFromPdu(const uint8_t** ppCursor, uint32_t* pLen) {
    auto in = mmskit::BoundedReader::unbounded(*ppCursor);
    mmskit::PushString string = mmskit::push_string(in);
    *pLen = string.counted;
    *ppCursor = in.here();
    return string.text.release();
}

char* MMS_GetStringFromStrTable(const uint8_t* pTable, int16_t iIndex, uint32_t iLimit) {
    return mmskit::push_table_string(mmskit::BoundedReader(pTable, iLimit), iIndex);
}

}  // extern "C"
