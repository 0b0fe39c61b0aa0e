// Owners of library memory: what a function allocates is held here until it is given away by
// release(), so that every early return is clean. Relies on fnSC_Malloc_Local zero-filling.
#pragma once

#include <mmskit/runtime.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#pragma GCC visibility push(hidden)

namespace mmskit {

// The allocating call inside the library: zeroed bytes, or null when the size does not fit
// in 32 bits or memory is out.
[[nodiscard]] inline void* allocate(uint64_t size) {
    return size > UINT32_MAX ? nullptr : fnSC_Malloc_Local(static_cast<uint32_t>(size));
}

// The same for a block that is written whole at once: its bytes are anything.
[[nodiscard]] void* allocate_unfilled(uint64_t size);

// fnSC_Free for a pointer that is not needed any more; null is ignored.
void deallocate(void* p);

struct PlainFree {
    void operator()(void* p) const { deallocate(p); }
};

// A unique owner of one block. Free is called for a non-null block only, but for PlainFree, which
// looks itself. Inlined always: an owner that another function is given to destroy cannot stay in a
// register.
template <typename T, typename Free = PlainFree>
class Owned {
  public:
    Owned() = default;
    explicit Owned(T* p) : p_(p) {}
    Owned(Owned&& other) noexcept : p_(other.release()) {}
    Owned& operator=(Owned&& other) noexcept {
        reset(other.release());
        return *this;
    }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    [[gnu::always_inline]] ~Owned() { free(p_); }

    T* get() const { return p_; }
    T* operator->() const { return p_; }
    T& operator*() const { return *p_; }
    explicit operator bool() const { return p_ != nullptr; }

    [[nodiscard]] T* release() {
        T* p = p_;
        p_ = nullptr;
        return p;
    }
    [[gnu::always_inline]] void reset(T* p = nullptr) {
        free(p_);
        p_ = p;
    }

  private:
    [[gnu::always_inline]] static void free(T* p) {
        if (std::is_same_v<Free, PlainFree> || p != nullptr) Free{}(p);
    }

    T* p_ = nullptr;
};

using OwnedText = Owned<char>;
using OwnedBytes = Owned<uint8_t>;

// A zeroed record of type T, or null.
template <typename T>
[[nodiscard]] T* new_record() {
    return static_cast<T*>(allocate(sizeof(T)));
}

// A NUL-terminated copy of `size` bytes, or null.
[[nodiscard]] inline char* copy_text(const void* bytes, size_t size) {
    auto* copy = static_cast<char*>(allocate_unfilled(static_cast<uint64_t>(size) + 1));
    if (copy == nullptr) return nullptr;
    if (size != 0) std::memcpy(copy, bytes, size);
    copy[size] = '\0';
    return copy;
}

// A copy of a NUL-terminated text; null for a null text or when memory is out.
[[nodiscard]] inline char* copy_text(const char* text) {
    return text == nullptr ? nullptr : copy_text(text, std::strlen(text));
}

// Puts `fresh` in place of an owned text or block, freeing what stood there.
template <typename T>
void replace_owned(T*& field, T* fresh) {
    deallocate(field);
    field = fresh;
}

}  // namespace mmskit

#pragma GCC visibility pop
