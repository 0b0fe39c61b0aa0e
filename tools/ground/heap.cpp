#include "ground/heap.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <limits>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace mmskit_tool {

void prepare_heap() {
#if defined(__GLIBC__) && defined(MADV_HUGEPAGE)
    constexpr int room = 16 << 20;  // bytes; the last large page touched is memory as a whole
    constexpr std::ptrdiff_t small = 1 << 20;
    constexpr int usual_pad = 128 << 10;
    constexpr std::size_t first_block = 256 << 10;  // more than what is left of the heap
    constexpr int own_pages = 1 << 20;              // from this size on a block is not of the heap
    (void)mallopt(M_MMAP_THRESHOLD, own_pages);
    (void)mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    (void)mallopt(M_TOP_PAD, room);
    char* const first = static_cast<char*>(::sbrk(0)) + small;
    void* volatile grows_the_heap = std::malloc(first_block);
    std::free(grows_the_heap);
    (void)mallopt(M_TOP_PAD, usual_pad);
    char* const end = static_cast<char*>(::sbrk(0));
    // Where there is no such room the heap grows as ever; a small message needs no large page.
    if (end > first) (void)::madvise(first, static_cast<std::size_t>(end - first), MADV_HUGEPAGE);
#endif
}

}  // namespace mmskit_tool
