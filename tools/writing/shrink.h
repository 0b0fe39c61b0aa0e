// Pictures made smaller until a message fits into what a message centre takes. The work is done by
// libvips' command, vipsthumbnail, which is needed only when there is something to do.
#pragma once

#include <cstdint>
#include <functional>

#include "writing/message_plan.h"

namespace mmskit_tool {

struct ShrinkLimits {
    uint64_t message = 0;          // bytes of the whole message
    uint32_t smallest_side = 640;  // pixels; neither side of a picture becomes shorter
    bool keep_metadata = false;    // camera, date and place
};

// "300K", "1M", "5000" in bytes. Throws a Failure that says what is expected.
uint64_t parse_size(std::string_view word);

// Shrinks the largest picture of the plan a step, then the one that is the largest now, until
// `size_of` gives no more than the limit. A picture keeps its orientation and its colours (sRGB).
// What is no PNG becomes JPEG; a PNG does when it is not small enough as PNG. Pictures that need
// not be shrunk stay as they are. Throws a Failure with the sizes of all parts when it cannot be
// done, and one that names the package when libvips' command is not there.
void shrink_to_fit(MessagePlan& plan, const ShrinkLimits& limits,
                   const std::function<uint64_t(const MessagePlan&)>& size_of);

}  // namespace mmskit_tool
