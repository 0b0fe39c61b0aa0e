// Strings of WBXML push documents: inline strings with the suffix tokens of an address, and strings
// of the table (WAP-192 5.8.4).
#include <cstring>
#include <iterator>

#include "Push/src/push_internal.h"

namespace mmskit {
namespace {

constexpr uint8_t inline_string = 0x03;
constexpr uint8_t first_suffix = 0x85;
constexpr size_t suffix_size = 5;
constexpr char suffixes[][suffix_size + 1] = {".com/", ".edu/", ".net/", ".org/"};

}  // namespace

void PushString::put(char* out) const {
    out = put_piece(out, first);
    if (suffix.size != 0) out = put_piece(put_piece(out, suffix), second);
    *out = '\0';
}

PushString push_string(BoundedReader& in) {
    PushString string;
    string.first = in.text();
    const size_t suffix = size_t{in.peek()} - first_suffix;
    if (suffix < std::size(suffixes)) {
        string.suffix = slice_of(suffixes[suffix]);
        BoundedReader behind = in;
        behind.skip(1);
        if (behind.byte() == inline_string) string.second = behind.text();
        // QUIRK suffix_alone_is_left: without a string behind it the suffix stays under the cursor,
        // and the decoder refuses the document, as it is no token there.
        string.suffix_left = string.second.size == 0;
        if (!string.suffix_left) in = behind;
    }
    // QUIRK suffix_counts_two_more: what is counted is the text that comes out, two bytes more than
    // were read, so a document may end by its count before what stands behind the address.
    string.counted = static_cast<uint32_t>(uint64_t{string.length()} + 1);
    return string;
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
    const mmskit::PushString string = mmskit::push_string(in);
    char* text = string.copy({});
    *pLen = text != nullptr ? string.counted : 0;
    if (text != nullptr) *ppCursor = in.here();
    return text;
}

char* MMS_GetStringFromStrTable(const uint8_t* pTable, int16_t iIndex, uint32_t iLimit) {
    return mmskit::push_table_string(mmskit::BoundedReader(pTable, iLimit), iIndex);
}

}  // extern "C"
