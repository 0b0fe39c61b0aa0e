// The handset's timers: the host's own timers drive it, so setting one reports success and starts
// nothing, and there is no list to keep.
#include <mmskit/storage.h>

extern "C" {

int32_t fnSCFS_SetTimer(uint32_t (*)(uint32_t), uint32_t, int32_t) {
    return 1;
}

void fnSCFS_CancelTimer(int32_t) {}

void fnSCFS_ReleaseTimerList(void) {}

}  // extern "C"
