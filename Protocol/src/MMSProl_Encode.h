// Encoding in two passes by one routine: the first counts, the second writes into a block of
// exactly that size. So a result costs one allocation and every byte of content is copied once.
// A routine is a callable that takes the writer and writes the same bytes each time.
#pragma once

#include <cstdint>

#include "Protocol/src/pdu_writer.h"
#include "Protocol/src/wsp_values.h"

#pragma GCC visibility push(hidden)

namespace mmskit {

template <typename Write>
uint64_t measured_size(const Write& write) {
    PduWriter counter = PduWriter::measuring();
    write(counter);
    return counter.size();
}

// Any such callable, by its address and what calls it, so that encode() is compiled once.
class WriteRoutine {
  public:
    template <typename Write>
    // NOLINTNEXTLINE(google-explicit-constructor): a callable is its routine
    WriteRoutine(const Write& write)
        : write_(&write), call_([](PduWriter& out, const void* callable) {
              (*static_cast<const Write*>(callable))(out);
          }) {}
    // `write` for the record.
    template <auto write, typename Record>
    static WriteRoutine of(const Record& record) {
        return {&record, [](PduWriter& out, const void* it) {
                    write(out, *static_cast<const Record*>(it));
                }};
    }
    void operator()(PduWriter& out) const { call_(out, write_); }

  private:
    using Call = void (*)(PduWriter& out, const void* callable);
    WriteRoutine(const void* write, Call call) : write_(write), call_(call) {}

    const void* write_;
    Call call_;
};

// The block, its size at `length`; null, with *length as it was, when memory is out or 32 bits
// cannot hold the size. Nothing of the content is read then.
[[nodiscard]] uint8_t* encode(uint32_t* length, WriteRoutine write);

// What `write` writes, after its value-length (WAP-230 8.4.2.2). A size that 32 bits cannot hold
// is cut here: the whole is refused by encode().
template <typename Write>
void write_with_length(PduWriter& out, const Write& write) {
    const uint64_t size = measured_size(write);
    write_value_length(out, static_cast<uint32_t>(size));
    if (!out.counts(size)) write(out);
}

}  // namespace mmskit

#pragma GCC visibility pop
