// The state behind fnMMS_GetLastError: a static reason and an offset, nothing owned. All-zero is
// idle, so there is nothing to set up or tear down.
#include "Protocol/src/MMSProl_Error.h"

#include <mmskit/pdu.h>

namespace mmskit {
namespace {

struct DecodeState {
    const char* reason;
    uint32_t offset;
};

DecodeState state;

}  // namespace

void note_decode_failure(const char* reason, uint64_t offset) {
    state = {reason, static_cast<uint32_t>(offset)};  // in an input, and those have 31-bit lengths
}

void note_decode_success() {
    state = {};
}

}  // namespace mmskit

extern "C" const char* fnMMS_GetLastError(uint32_t* offset) {
    if (offset != nullptr) *offset = mmskit::state.offset;
    return mmskit::state.reason != nullptr ? mmskit::state.reason : "no error";
}
