#include "base/Thread.h"

int Thread::start(const char* name, int priority, unsigned long stackSize) {
    const sp<Thread> self(this);  // outlives the lock, even if nobody else holds the object
    MutexLock lock(mMutex);
    if (mState != NOT_STARTED) return 1;
    mState = STARTING;
    const int error = SimpleThread::start(name, priority, stackSize);
    mCreated = error == 0;
    return error;
}

void Thread::innerRun() {
    {
        MutexLock lock(mMutex);
        mState = RUNNING;
        setId(getTid());
    }
    run();
    runOnExitTasks();
    MutexLock lock(mMutex);
    mState = FINISHED;
    setId(-1);
    if (mJoinWaiting) mCondition.signalAll();
}

bool Thread::isRunning() const {
    MutexLock lock(mMutex);
    return isRunningLocked();
}

int Thread::getIdOfThread() const {
    MutexLock lock(mMutex);
    return isRunningLocked() ? getId() : -1;
}

int Thread::join() {
    MutexLock lock(mMutex);
    if (!mCreated) return 1;
    if (mState == FINISHED) return 0;
    // start() held the lock until the handle was stored.
    if (pthread_equal(*getThreadId(), pthread_self()) != 0) return 1;
    mJoinWaiting = true;
    while (mState != FINISHED) mCondition.wait(mMutex);
    return 0;
}
