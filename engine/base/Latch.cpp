#include "base/Latch.h"

#include "base/Logger.h"

void Latch::countDown() {
    MutexLock lock(mMutex);
    if (mCount < 1) {
        FRAMEWORK_LOG(LEVEL_ERROR, "Latch", "mCount is incorrect when counting down %d", mCount);
        return;
    }
    --mCount;
    if (mWaiters != 0) mCondition.signalAll();
}

void Latch::wait() {
    MutexLock lock(mMutex);
    while (mCount > 0) {
        ++mWaiters;
        mCondition.wait(mMutex);
        --mWaiters;
    }
}
