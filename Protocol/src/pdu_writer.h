// The one writer under all encoding. It grows, and its failure is sticky: write everything, ask
// once. A measuring writer counts without storing, so the pass that measures a length is the
// pass that writes it. Sizes are 64-bit; a result over 32 bits is a failure.
#pragma once

#include <cstdint>
#include <cstring>

#include "scshare/common/src/owned.h"

#pragma GCC visibility push(hidden)

namespace mmskit {

class PduWriter {
  public:
    // Grows as needed. `capacity` is reserved at once: with the exact size known (from a
    // measuring pass) there is one allocation and no copy.
    explicit PduWriter(uint64_t capacity = 0) {
        if (capacity != 0) reserve(capacity);
    }
    // Counts only.
    static PduWriter measuring() {
        PduWriter w;
        w.mode_ = Mode::measure;
        return w;
    }
    // Over the caller's memory of unknown size: for the cursor routines that carry no length.
    static PduWriter onto(uint8_t* out) {
        PduWriter w;
        w.mode_ = Mode::borrowed;
        w.borrowed_ = out;
        return w;
    }

    // As if `count` bytes were written, if this one counts only; else false.
    [[nodiscard]] bool counts(uint64_t count) {
        if (mode_ != Mode::measure) return false;
        size_ += count;
        return true;
    }
    void byte(uint8_t value);
    void bytes(const void* data, uint64_t count);
    // The text and its NUL; a null text is an empty one.
    void text(const char* s) {
        bytes(s != nullptr ? s : "", (s != nullptr ? std::strlen(s) : 0) + 1);
    }

    uint64_t size() const { return size_; }
    bool failed() const { return failed_; }

    // Gives the buffer of a growing one away and stores its length; null, with *length as it was,
    // when any write failed. An empty result is a block of no bytes.
    [[nodiscard]] uint8_t* release(uint32_t* length) {
        if (buffer_.get() == nullptr) reserve(1);
        if (failed_) return nullptr;
        *length = static_cast<uint32_t>(size_);
        return buffer_.release();
    }

  private:
    enum class Mode : uint8_t { grow, measure, borrowed };

    // Where `count` bytes go that do not fit into the buffer, or null when they cannot be stored.
    uint8_t* room(uint64_t count);
    void reserve(uint64_t capacity);

    static constexpr uint64_t minimum_capacity = 64;

    OwnedBytes buffer_;
    uint8_t* borrowed_ = nullptr;
    uint64_t size_ = 0;
    uint64_t capacity_ = 0;
    Mode mode_ = Mode::grow;
    bool failed_ = false;
};

}  // namespace mmskit

#pragma GCC visibility pop
