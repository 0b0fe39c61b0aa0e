// The POSIX layer's timers: kept in the list that fnSCFS_TimerCallback looks into. Time itself is
// measured by the host.
#include "scfs/common/src/scfs_internal.h"
#include "scshare/common/src/owned.h"

extern "C" {

int32_t fnSCFS_SetTimer(uint32_t (*callback)(uint32_t), uint32_t param, int32_t timerId) {
    mmskit::Owned<tSCFS_Timer> timer(mmskit::new_record<tSCFS_Timer>());
    if (!timer) return 0;
    *timer = {callback, param, timerId};
    if (fnSCList_AddTail(&mmskit::scfs_state.timers, timer.get()) == nullptr) return 0;
    (void)timer.release();
    return 1;
}

void fnSCFS_CancelTimer(int32_t timerId) {
    tSCList& timers = mmskit::scfs_state.timers;
    for (tSCListNode* node = timers.pHead; node != nullptr; node = node->pNext) {
        auto* timer = static_cast<tSCFS_Timer*>(node->pData);
        if (timer == nullptr || timer->iTimerId != timerId) continue;
        fnSCList_Remove(&timers, node);
        mmskit::deallocate(timer);
        return;
    }
}

void fnSCFS_ReleaseTimerList(void) {
    fnSCList_Clear(&mmskit::scfs_state.timers, fnSC_Free);
}

}  // extern "C"
