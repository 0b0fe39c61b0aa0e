// Why the last decoder of the PDU layer gave null: the one mutable state of this folder. Every
// decoder ends through one of these two calls.
#pragma once

#include <cstdint>

#pragma GCC visibility push(hidden)

namespace mmskit {

// `reason` is a static text; `offset` is where in the decoder's input it gave up.
void note_decode_failure(const char* reason, uint64_t offset);
// Back to idle: no error, offset 0.
void note_decode_success();

inline constexpr const char* out_of_memory = "out of memory";
inline constexpr const char* no_input = "null input or length out of range";

}  // namespace mmskit

#pragma GCC visibility pop
