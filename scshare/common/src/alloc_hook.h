// Allocation failure on demand, for tests only: built when MMSKIT_TEST_HOOKS is defined and
// absent from a release build. All allocations of the library pass fnSC_Malloc_Local or
// fnSC_Realloc_Local, so counting there sees every one.
#pragma once

#ifdef MMSKIT_TEST_HOOKS

#include <cstdint>

#pragma GCC visibility push(hidden)

namespace mmskit {

// Makes the n-th allocation from now (1 is the next) give null, and every one after it when
// `persistent`; 0 turns failing off.
void fail_allocation(uint64_t n, bool persistent);

// Blocks that are allocated and not yet freed, and allocations asked for since the last
// fail_allocation().
uint64_t live_allocations();
uint64_t counted_allocations();
// Bytes asked for since then, whether freed again or not: the work that a message causes.
uint64_t counted_bytes();

}  // namespace mmskit

#pragma GCC visibility pop

#endif
