// What a hostile message can make the library do, in bytes asked for, which counts each conversion,
// copy and record whether it is kept or not: bounded by the message's size, and doubling at most
// with it. The shapes are those that mmskit-worst measures in time.
#include <gtest/gtest.h>
#include <mmskit/mmskit.h>

#include "bench/worst/shapes.h"
#include "fuzz/walk.h"
#include "tests/support/faults.h"

namespace {

using namespace testing_support;

struct Door {
    const char* name;
    void (*open)(const uint8_t* body, int32_t length);
    uint64_t factor;  // bytes asked for, for each byte of the message, beside a fixed 4 MB
};

const Door doors[] = {
    {"split",
     [](const uint8_t* body, int32_t length) {
         fnMMS_FreeMediaData(fnMMS_GetMediaDataFromPdu(body, length));
     },
     16},
    {"view", fuzz::walk_body, 48},
    {"re-edit",
     [](const uint8_t* body, int32_t length) {
         fnCPS_ReEditMms(body, length);
         fnCPS_Quit();
     },
     64},
};

uint64_t bytes_asked(const Door& door, const worst::Shape& shape, size_t size) {
    const std::string message = shape.make(size);
    const size_t at = worst::body_start(message);
    const NoLeak check;
    mmskit::fail_allocation(0, false);
    door.open(reinterpret_cast<const uint8_t*>(message.data()) + at,
              static_cast<int32_t>(message.size() - at));
    return mmskit::counted_bytes();
}

TEST(Budget, what_a_message_makes_the_library_copy_is_bounded_by_its_size) {
    constexpr uint64_t fixed = 4U << 20;
    constexpr size_t size = 256U << 10;
    for (const worst::Shape& shape : worst::messages) {
        for (const Door& door : doors) {
            const uint64_t once = bytes_asked(door, shape, size);
            EXPECT_LE(once, fixed + door.factor * size) << door.name << ": " << shape.name;
            if (once < fixed) continue;
            EXPECT_LE(bytes_asked(door, shape, 2 * size), 2 * once * 115 / 100)
                << door.name << ": " << shape.name << " grows faster than its size";
        }
    }
}

}  // namespace
