// Bytes flush against an unmapped page: reading one byte past the end stops the test at once.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace testing_support {

class Guarded {
  public:
    explicit Guarded(std::string_view bytes) : size_(bytes.size()) {
        const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        mapped_ = (size_ / page + 2) * page;
        void* base =
            mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (base == MAP_FAILED) std::abort();
        base_ = static_cast<uint8_t*>(base);
        uint8_t* guard = base_ + mapped_ - page;
        if (mprotect(guard, page, PROT_NONE) != 0) std::abort();
        data_ = guard - size_;
        std::memcpy(data_, bytes.data(), size_);
    }
    ~Guarded() { munmap(base_, mapped_); }
    Guarded(const Guarded&) = delete;
    Guarded& operator=(const Guarded&) = delete;

    uint8_t* data() const { return data_; }
    char* chars() const { return reinterpret_cast<char*>(data_); }
    int32_t length() const { return static_cast<int32_t>(size_); }
    size_t size() const { return size_; }

  private:
    uint8_t* base_;
    uint8_t* data_;
    size_t size_;
    size_t mapped_;
};

}  // namespace testing_support
