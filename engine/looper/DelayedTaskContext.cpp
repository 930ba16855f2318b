#include "looper/DelayedTaskContext.h"

#include "base/Logger.h"
#include "looper/Looper.h"

namespace {

constexpr char TAG[] = "Looper";

}  // namespace

int DelayedTaskContext::taskProcessor() {
    const TraceScope trace(TAG, "taskProcessor");
    if (!advance(WAITING, RUNNING)) {
        FRAMEWORK_LOG(LEVEL_WARNING, TAG, "DelayedTaskContext object is released");
        return -1;
    }
    mTask();
    mState = RELEASED;
    mLooper->releaseDelayTask(sp<DelayedTaskContext>(this));
    return -1;
}
