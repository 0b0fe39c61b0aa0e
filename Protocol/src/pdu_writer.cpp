// What every write of the encoders comes down to, kept out of line: inlined, it was half the size
// of the encoders.
#include "Protocol/src/pdu_writer.h"

#include <algorithm>

namespace mmskit {

void PduWriter::byte(uint8_t value) {
    if (mode_ != Mode::measure) {
        uint8_t* to = size_ < capacity_ ? buffer_.get() + size_ : room(1);
        if (to != nullptr) *to = value;
    }
    ++size_;
}

void PduWriter::bytes(const void* data, uint64_t count) {
    if (mode_ != Mode::measure) {
        uint8_t* to = size_ + count <= capacity_ ? buffer_.get() + size_ : room(count);
        if (to != nullptr && count != 0) std::memcpy(to, data, static_cast<size_t>(count));
    }
    size_ += count;
}

uint8_t* PduWriter::room(uint64_t count) {
    if (mode_ == Mode::borrowed) return borrowed_ + size_;
    const uint64_t needed = size_ + count;
    // Doubles, so that appending costs linear time in all; never past 32 bits by doubling alone.
    const auto doubled = std::clamp<uint64_t>(capacity_ * 2, minimum_capacity, UINT32_MAX);
    reserve(std::max(doubled, needed));
    return failed_ ? nullptr : buffer_.get() + size_;
}

void PduWriter::reserve(uint64_t capacity) {
    if (failed_) return;
    OwnedBytes larger(static_cast<uint8_t*>(allocate_unfilled(capacity)));
    if (!larger) {
        failed_ = true;
        return;
    }
    if (size_ != 0) std::memcpy(larger.get(), buffer_.get(), static_cast<size_t>(size_));
    buffer_ = static_cast<OwnedBytes&&>(larger);
    capacity_ = capacity;
}

}  // namespace mmskit
