#include "Protocol/src/MMSProl_Encode.h"

namespace mmskit {

uint8_t* encode(uint32_t* length, WriteRoutine write) {
    PduWriter out(measured_size(write));
    if (out.failed()) return nullptr;
    write(out);
    return out.release(length);
}

}  // namespace mmskit
