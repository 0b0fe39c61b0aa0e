// A piece of text that belongs to someone else and has no terminator.
#pragma once

#include <cstddef>
#include <cstring>

namespace mmskit {

// `data` is null only for no text at all, which is not the same as an empty one. Made from
// NUL-terminated text by itself; the texts that it is used for hold no NUL.
struct TextView {
    const char* data = nullptr;
    size_t size = 0;

    constexpr TextView() = default;
    constexpr TextView(const char* text, size_t length) : data(text), size(length) {}
    // NOLINTNEXTLINE(google-explicit-constructor): a text is a view of itself
    constexpr TextView(const char* text)
        : data(text), size(text != nullptr ? __builtin_strlen(text) : 0) {}

    const char* end() const { return data + size; }
    bool equals(TextView other) const {
        return size == other.size && std::memcmp(data, other.data, size) == 0;
    }
};

}  // namespace mmskit
