// The loops that break things, written once: every allocation fails in turn, the input is cut at
// every length, every byte is changed. A scenario is a callable that cleans up after itself.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "scshare/common/src/alloc_hook.h"
#include "tests/support/bytes.h"
#include "tests/support/guarded.h"

namespace testing_support {

// Blocks that a scenario leaves allocated show at the end of the scope.
class NoLeak {
  public:
    NoLeak() : before_(mmskit::live_allocations()) {}
    ~NoLeak() { EXPECT_EQ(mmskit::live_allocations(), before_) << "blocks leaked"; }
    NoLeak(const NoLeak&) = delete;
    NoLeak& operator=(const NoLeak&) = delete;

  private:
    uint64_t before_;
};

// Runs `scenario` with its first, second, ... allocation failing, once for that allocation alone
// and once for it and all after it, until a run needs no more allocations than were let through.
template <typename Scenario>
void fail_each_allocation(Scenario scenario) {
    for (const bool persistent : {false, true}) {
        for (uint64_t n = 1;; ++n) {
            SCOPED_TRACE(testing::Message()
                         << "allocation " << n << (persistent ? " and after" : " only"));
            uint64_t asked = 0;
            {
                const NoLeak check;
                mmskit::fail_allocation(n, persistent);
                scenario();
                asked = mmskit::counted_allocations();
                mmskit::fail_allocation(0, false);
            }
            if (asked < n || testing::Test::HasFailure()) break;
        }
    }
}

// Runs `scenario(data, length)` on `input` cut at every length and with single bytes changed, each
// time flush against an unmapped page. `step` thins out the byte changes of large inputs.
template <typename Scenario>
void damage_each_byte(std::string_view input, Scenario scenario, size_t step = 1) {
    const auto run = [&scenario](std::string_view damaged) {
        const NoLeak check;
        const Guarded guarded(damaged);
        scenario(guarded.data(), guarded.length());
    };
    for (size_t n = 0; n <= input.size() && !testing::Test::HasFailure(); n += n < 512 ? 1 : step) {
        SCOPED_TRACE(testing::Message() << "cut to " << n << " bytes");
        run(input.substr(0, n));
    }
    std::string changed(input);
    for (size_t at = 0; at < input.size(); at += at < 512 ? 1 : step) {
        for (const int value : {0x00, 0x01, 0x1F, 0x20, 0x7F, 0x80, 0xFF, input[at] ^ 1}) {
            SCOPED_TRACE(testing::Message() << "byte " << at << " is " << value);
            changed[at] = static_cast<char>(value);
            run(changed);
            if (testing::Test::HasFailure()) return;
        }
        changed[at] = input[at];
    }
}

}  // namespace testing_support
