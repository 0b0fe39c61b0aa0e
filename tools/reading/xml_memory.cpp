// The memory of RXP, which reads push documents that come as XML text. It does not look at what its
// allocator gives it, but calls it by names that a program may define itself: with these it never
// meets a null pointer, and the command ends as without memory anywhere else.
#include <cstdlib>

#include "ground/out_of_memory.h"
#include "reading/push_facts.h"

namespace {

// RXP counts in int; a negative size is one that did not fit.
void* block_or_end(void* old, int bytes) {
    void* block =
        bytes < 0 ? nullptr : std::realloc(old, bytes != 0 ? static_cast<size_t>(bytes) : 1);
    if (block == nullptr) mmskit_tool::end_out_of_memory();
    return block;
}

}  // namespace

extern "C" {

void* Malloc(int bytes);
void* Realloc(void* block, int bytes);
void Free(void* block);

void* Malloc(int bytes) {
    return block_or_end(nullptr, bytes);
}

void* Realloc(void* block, int bytes) {
    return block_or_end(block, bytes);
}

void Free(void* block) {
    std::free(block);
}

}  // extern "C"

namespace mmskit_tool {

// Called where XML text is read, so that a linker takes this file.
void use_checked_xml_memory() {}

}  // namespace mmskit_tool
