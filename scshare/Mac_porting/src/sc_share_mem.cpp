// Memory: the one door through which the library allocates, and plain block operations over the
// C library. A build with MMSKIT_TEST_HOOKS counts at this door and fails on demand; a release
// build holds no trace of that.
#include <mmskit/runtime.h>

#include <cstdlib>
#include <cstring>

#include "scshare/common/src/alloc_hook.h"
#include "scshare/common/src/owned.h"

namespace mmskit {
#ifdef MMSKIT_TEST_HOOKS

namespace {
struct {
    uint64_t asked;
    uint64_t fail_at;
    bool persistent;
    uint64_t live;
    uint64_t bytes;
} allocations;

bool allocation_fails(uint64_t size) {
    ++allocations.asked;
    allocations.bytes += size;
    if (allocations.fail_at == 0 || allocations.asked < allocations.fail_at) return false;
    return allocations.persistent || allocations.asked == allocations.fail_at;
}
void block_gained() {
    ++allocations.live;
}
void block_lost() {
    --allocations.live;
}
}  // namespace

void fail_allocation(uint64_t n, bool persistent) {
    allocations.asked = 0;
    allocations.bytes = 0;
    allocations.fail_at = n;
    allocations.persistent = persistent;
}
uint64_t live_allocations() {
    return allocations.live;
}
uint64_t counted_allocations() {
    return allocations.asked;
}
uint64_t counted_bytes() {
    return allocations.bytes;
}

#else

namespace {
constexpr bool allocation_fails(uint64_t) {
    return false;
}
constexpr void block_gained() {}
constexpr void block_lost() {}
}  // namespace

#endif

// Larger blocks may come from the system as zeros already, which only calloc knows.
constexpr uint32_t zeroed_by_hand = 4096;

void* allocate_unfilled(uint64_t size) {
    if (size > UINT32_MAX || allocation_fails(size)) return nullptr;
    void* p = std::malloc(size != 0 ? static_cast<size_t>(size) : 1);
    if (p != nullptr) block_gained();
    return p;
}

void deallocate(void* p) {
    if (p == nullptr) return;
    std::free(p);
    block_lost();
}

}  // namespace mmskit

extern "C" {

void* fnSC_Malloc_Local(uint32_t size) {
    if (size <= mmskit::zeroed_by_hand) {  // malloc's fast path, which calloc does not have
        void* p = mmskit::allocate_unfilled(size);
        if (p != nullptr) std::memset(p, 0, size);
        return p;
    }
    if (mmskit::allocation_fails(size)) return nullptr;
    void* p = std::calloc(1, size);
    if (p != nullptr) mmskit::block_gained();
    return p;
}

void fnSC_Free(void* ppBlock) {
    if (ppBlock == nullptr) return;
    // The caller's variable is a pointer of some object type; its bytes are copied because it
    // may not be accessed as a void*.
    void* p = nullptr;
    std::memcpy(&p, ppBlock, sizeof p);
    if (p == nullptr) return;
    std::free(p);
    mmskit::block_lost();
    p = nullptr;
    std::memcpy(ppBlock, &p, sizeof p);
}

void* fnSC_Realloc_Local(void* p, uint32_t size) {
    if (mmskit::allocation_fails(size)) return nullptr;
    void* moved = std::realloc(p, size != 0 ? size : 1);
    if (p == nullptr && moved != nullptr) mmskit::block_gained();
    return moved;
}

void* fnSC_MEMCPY(void* d, const void* s, uint32_t n) {
    return std::memcpy(d, s, n);
}

void* fnSC_MEMSET(void* d, int32_t c, uint32_t n) {
    return std::memset(d, c, n);
}

void* fnSC_MEMCHR(const void* s, int32_t c, uint32_t n) {
    return const_cast<void*>(std::memchr(s, c, n));
}

int32_t fnSC_MEMCMP(const void* a, const void* b, uint32_t n) {
    return std::memcmp(a, b, n);
}

char* fnSC_MEMSTR(const char* buf, const char* needle, int32_t len) {
    if (buf == nullptr || needle == nullptr || len <= 0) return nullptr;
    // QUIRK memstr_misses_match_at_end: the last byte of the buffer never belongs to a match, so
    // a text that fills the buffer to its end counts as cut off and is not found.
    const auto searched = static_cast<size_t>(len) - 1;
    return static_cast<char*>(memmem(const_cast<char*>(buf), searched, needle, strlen(needle)));
}

char* fnSC_MEMSTRCOPY(const char* s) {
    return mmskit::copy_text(s != nullptr ? s : "");
}

}  // extern "C"
