// File buffers: typed values as decimal text and zero-ended strings in a caller's byte area. What
// is read comes from files and counts as hostile, and the members are the host's to set: every
// access is bounded by the limit, wherever the position stands.
#include <mmskit/storage.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "scshare/common/src/owned.h"

namespace mmskit {
namespace {

constexpr char line_tag = '\n';

// The longest text of a number or a date that is looked at; the longest date that the record of
// the services prints within its units has 33 characters.
constexpr size_t value_text = 39;

struct Text {
    const char* start;
    size_t length;
};

int64_t usable_size(const tSCFS_FileBuffer& buffer) {
    return buffer.pData != nullptr && buffer.iLimit >= 0 ? int64_t{buffer.iLimit} + 1 : 0;
}

// Index of the next byte, at most the usable size.
int64_t next_index(const tSCFS_FileBuffer& buffer) {
    return std::clamp<int64_t>(int64_t{buffer.iPosition} + 1, 0, usable_size(buffer));
}

// ---- Writing ------------------------------------------------------------------------------------

// Copies the bytes and moves past them and `step` more, which stay as they are: zero in a fresh
// area. The last step may leave the area; what is saved never does.
void put(tSCFS_FileBuffer* buffer, const void* bytes, int32_t length, int32_t step) {
    if (buffer == nullptr || length < 0) return;
    if (bytes == nullptr) length = 0;
    const int32_t position = std::max(buffer->iPosition, -1);
    const int64_t last = int64_t{position} + length;
    // QUIRK closed_for_good: the first write that does not fit pulls the limit down to the
    // position, so that a shorter one after it cannot leave a record with a hole.
    if (last > buffer->iLimit || (length != 0 && buffer->pData == nullptr)) {
        buffer->iLimit = std::min(buffer->iLimit, position);
        return;
    }
    if (length != 0) {
        std::memmove(buffer->pData + position + 1, bytes, static_cast<size_t>(length));
    }
    buffer->iPosition = static_cast<int32_t>(std::min<int64_t>(last + step, INT32_MAX));
}

template <typename... Values>
void put_formatted(tSCFS_FileBuffer* buffer, const char* format, Values... values) {
    char text[80];  // seven numbers of ten digits and six colons take 76
    const int length = std::snprintf(text, sizeof text, format, values...);
    put(buffer, text, length, 1);
}

// ---- Reading ------------------------------------------------------------------------------------

// Makes `index` the last byte that was used, and a line tag after it, too.
void move_to(tSCFS_FileBuffer& buffer, int64_t index) {
    const int64_t size = usable_size(buffer);
    if (index >= size) {
        buffer.iPosition = std::max(buffer.iPosition, buffer.iLimit);
        return;
    }
    if (index + 1 < size && buffer.pData[index + 1] == line_tag) ++index;
    buffer.iPosition = static_cast<int32_t>(index);
}

// The next string, inside the area and without its zero byte; empty at the end.
Text take_text(tSCFS_FileBuffer& buffer) {
    const int64_t start = next_index(buffer);
    const auto left = static_cast<size_t>(usable_size(buffer) - start);
    if (left == 0) {
        move_to(buffer, start);
        return {"", 0};
    }
    const auto* text = reinterpret_cast<const char*>(buffer.pData + start);
    const size_t length = strnlen(text, left);
    move_to(buffer, start + static_cast<int64_t>(length));
    return {text, length};
}

// The next string's first characters as a text of its own.
struct ValueText {
    explicit ValueText(tSCFS_FileBuffer& buffer) {
        const Text text = take_text(buffer);
        length = std::min(text.length, value_text);
        std::memcpy(characters, text.start, length);
    }
    char characters[value_text + 1] = {};
    size_t length;
};

tSCFS_DateTime parse_date_time(const ValueText& text) {
    constexpr size_t week = 6;
    uint32_t fields[week + 1] = {};
    size_t separators = 0;
    for (const char* at = text.characters;;) {
        if (separators <= week) {
            fields[separators] = static_cast<uint16_t>(std::strtol(at, nullptr, 10));
        }
        at = std::strchr(at, ':');
        if (at == nullptr) break;
        // QUIRK doubled_colon_is_no_separator: a run of them is one.
        while (*at == ':')
            ++at;
        ++separators;
    }
    // Only six separators make a date with a week.
    if (separators != week) fields[week] = 0;
    return {fields[0], fields[1], fields[2], fields[3], fields[4], fields[5], fields[week]};
}

}  // namespace
}  // namespace mmskit

extern "C" {

void fnSCFS_Init_Buffer(tSCFS_FileBuffer* buffer, int32_t size) {
    if (buffer == nullptr) return;
    buffer->iPosition = -1;
    buffer->iLimit = buffer->pData != nullptr ? std::max(size, 0) - 1 : -1;
    if (buffer->iLimit >= 0) std::memset(buffer->pData, 0, static_cast<size_t>(size));
}

void fnSCFS_Buffer_WriteString(tSCFS_FileBuffer* buffer, const char* text, int32_t length) {
    // QUIRK line_feed_string_is_a_line_tag: no zero byte follows it.
    const bool is_line_tag = text != nullptr && length == 1 && *text == mmskit::line_tag;
    mmskit::put(buffer, text, length, is_line_tag ? 0 : 1);
}

void fnSCFS_Buffer_WriteMem(tSCFS_FileBuffer* buffer, const void* bytes, int32_t length) {
    mmskit::put(buffer, bytes, length, 1);
}

void fnSCFS_Buffer_WriteInteger(tSCFS_FileBuffer* buffer, int32_t value) {
    fnSCFS_Buffer_WriteLong(buffer, value);
}

void fnSCFS_Buffer_WriteLong(tSCFS_FileBuffer* buffer, long value) {
    mmskit::put_formatted(buffer, "%ld", value);
}

void fnSCFS_Buffer_WriteDateTime(tSCFS_FileBuffer* buffer, uint32_t year, uint32_t month,
                                 uint32_t day, uint32_t hour, uint32_t minute, uint32_t second,
                                 uint32_t week) {
    mmskit::put_formatted(buffer, "%u:%u:%u:%u:%u:%u:%u", year, month, day, hour, minute, second,
                          week);
}

void fnSCFS_Buffer_WriteLineTag(tSCFS_FileBuffer* buffer) {
    mmskit::put(buffer, &mmskit::line_tag, 1, 0);
}

void fnSCFS_Buffer_WriteLine(tSCFS_FileBuffer* buffer, const char* text, int32_t length) {
    mmskit::put(buffer, text, length, 1);
    fnSCFS_Buffer_WriteLineTag(buffer);
}

int32_t fnSCFS_Buffer_IsEnd(const tSCFS_FileBuffer* buffer) {
    return buffer != nullptr && buffer->iPosition >= buffer->iLimit;
}

char* fnSCFS_Buffer_ReadString(tSCFS_FileBuffer* buffer) {
    if (buffer == nullptr) return nullptr;
    const mmskit::Text text = mmskit::take_text(*buffer);
    return mmskit::copy_text(text.start, text.length);
}

int32_t fnSCFS_Buffer_ReadInteger(tSCFS_FileBuffer* buffer) {
    return static_cast<int32_t>(
        std::clamp<long>(fnSCFS_Buffer_ReadLong(buffer), INT32_MIN, INT32_MAX));
}

long fnSCFS_Buffer_ReadLong(tSCFS_FileBuffer* buffer) {
    if (buffer == nullptr) return 0;
    return std::strtol(mmskit::ValueText(*buffer).characters, nullptr, 10);
}

int32_t fnSCFS_Buffer_ReadMem(tSCFS_FileBuffer* buffer, void* out, int32_t length) {
    if (buffer == nullptr || out == nullptr || length < 0) return 0;
    const int64_t start = mmskit::next_index(*buffer);
    const int64_t copied = std::min<int64_t>(length, mmskit::usable_size(*buffer) - start);
    const auto size = static_cast<size_t>(copied);
    if (size != 0) std::memcpy(out, buffer->pData + start, size);
    std::memset(static_cast<char*>(out) + size, 0, static_cast<size_t>(length) - size);
    mmskit::move_to(*buffer, start + copied);
    return static_cast<int32_t>(copied);
}

int32_t fnSCFS_Buffer_ReadDateTime(tSCFS_FileBuffer* buffer, tSCFS_DateTime* out) {
    if (buffer == nullptr || out == nullptr) return 0;
    const mmskit::ValueText text(*buffer);
    if (text.length == 0) return 0;
    *out = mmskit::parse_date_time(text);
    return 1;
}

}  // extern "C"
