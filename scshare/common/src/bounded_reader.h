// The one bounded reader under all decoding. The rule that every decoder keeps through it: the
// library answers as if zero bytes followed the input, and never reads there. So a text that the
// input cuts off ends there, a missing octet is zero, and a skip past the end stays past the end.
// Positions are 64-bit offsets; no length is ever computed as an unsigned difference.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#pragma GCC visibility push(hidden)

namespace mmskit {

// Bytes of the input, cut to what is really there. `data` is null when `size` is 0 only if the
// reader itself was empty; nothing is owned.
struct Slice {
    const uint8_t* data = nullptr;
    size_t size = 0;
};

class BoundedReader {
  public:
    BoundedReader() = default;
    BoundedReader(const uint8_t* data, size_t size)
        : data_(data), size_(data != nullptr ? size : 0) {}
    explicit BoundedReader(Slice s) : data_(s.data), size_(s.size) {}

    // Over bytes whose end is unknown: for the cursor routines that carry no length and are
    // called only with values that are known to end.
    static BoundedReader unbounded(const uint8_t* data) {
        BoundedReader r;
        r.data_ = data;
        r.size_ = unknown_size;
        return r;
    }

    // Offset from the start; beyond size() once something past the end was read or skipped.
    uint64_t position() const { return position_; }
    uint64_t size() const { return size_; }
    bool at_end() const { return position_ >= size_; }
    // Set for good once anything past the end was asked for.
    bool past_end() const { return position_ > size_; }
    // Bytes that are really there from the cursor on.
    uint64_t remaining() const { return at_end() ? 0 : size_ - position_; }
    // The cursor; the end of the input when it is past it.
    const uint8_t* here() const { return data_ + (size_ - remaining()); }

    // The byte `ahead` of the cursor without moving; 0 past the end.
    uint8_t peek(uint64_t ahead = 0) const {
        return ahead < remaining() ? data_[position_ + ahead] : uint8_t{0};
    }
    uint8_t byte() {
        if (!at_end()) return data_[position_++];
        skip(1);
        return 0;
    }
    void skip(uint64_t count) { position_ += std::min(count, position_limit - position_); }
    void seek(uint64_t position) { position_ = std::min(position, position_limit); }

    // The next `count` bytes, cut to what is there; the cursor moves the whole count.
    Slice take(uint64_t count) {
        const Slice s = there(count);
        skip(count);
        return s;
    }
    // A reader of its own over the next `count` bytes, cut to what is there.
    BoundedReader child(uint64_t count) { return BoundedReader(take(count)); }
    // Whether an end was ever told.
    bool is_bounded() const { return size_ != unknown_size; }
    // The same reader at the same place, the input ending at that position already.
    BoundedReader cut_at(uint64_t position) const {
        BoundedReader r = *this;
        if (position < size_) r.size_ = position;
        return r;
    }

    // The text from the cursor to its NUL (or to the end of the input), without the NUL; the
    // cursor moves past the NUL, which is taken to stand right after the end if there is none.
    // memchr looks no further than the NUL, so it serves where no end was told too. Inlined at
    // every use this would be a tenth of the decoders.
    [[gnu::noinline]] Slice text() {
        const Slice rest{here(), static_cast<size_t>(remaining())};
        const void* nul = rest.size != 0 ? std::memchr(rest.data, 0, rest.size) : nullptr;
        const size_t size = nul != nullptr
                                ? static_cast<size_t>(static_cast<const uint8_t*>(nul) - rest.data)
                                : rest.size;
        // A text is no longer than memory, so this stays far from the end of the numbers.
        position_ += static_cast<uint64_t>(size) + 1;
        return {rest.data, size};
    }

  private:
    static constexpr uint64_t unknown_size = UINT64_MAX / 4;
    static constexpr uint64_t position_limit = UINT64_MAX / 3;

    // What is really there of the next `count` bytes.
    Slice there(uint64_t count) const {
        const uint64_t left = remaining();
        return {here(), static_cast<size_t>(count < left ? count : left)};
    }

    const uint8_t* data_ = nullptr;
    uint64_t size_ = 0;
    uint64_t position_ = 0;
};

}  // namespace mmskit

#pragma GCC visibility pop
