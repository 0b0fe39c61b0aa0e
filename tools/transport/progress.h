// A line of bytes and rate on a terminal that is rewritten in place; nothing elsewhere.
#pragma once

#include <chrono>
#include <cstdint>

namespace mmskit_transport {

class Progress {
  public:
    Progress();
    // `total` 0: not known.
    void show(const char* what, uint64_t bytes, uint64_t total);
    void clear();

  private:
    using Clock = std::chrono::steady_clock;
    bool terminal_;
    bool shown_ = false;
    Clock::time_point start_ = Clock::now();
    Clock::time_point last_ = start_;
};

}  // namespace mmskit_transport
