#include "looper/LooperThread.h"

#include <cerrno>
#include <new>

#include "base/Logger.h"

namespace {

constexpr char TAG[] = "LooperThread";

}  // namespace

int LooperThread::start(const char* name, int priority, unsigned long stackSize) {
    const TraceScope trace(TAG, "start");
    const sp<LooperThread> self(this);  // the thread may be over before this function is
    MutexLock lock(mMutex);
    const int error = Thread::start(name, priority, stackSize);
    if (error != 0) return error;
    while (mStart == PENDING) mCondition.wait(mMutex);
    return mStart == MADE_LOOPER ? 0 : ENOMEM;
}

void LooperThread::innerRun() {
    Thread::innerRun();
    MutexLock lock(mMutex);
    decideStartLocked(MADE_NO_LOOPER);
}

void LooperThread::decideStartLocked(Start start) {
    if (mStart == PENDING) mStart = start;
    mCondition.signalAll();
}

int LooperThread::run() {
    sp<Looper> looper;
    {
        MutexLock lock(mMutex);
        const sp<KsTimer> timer(new KsTimer);
        looper = new (std::nothrow) Looper(timer);
        if (looper && looper->canBeWoken()) {
            timer->setTimerNotifier(looper.get());
            mLooper = looper.get();
            if (mExitRequested) mLooper->addTerminatedHandler();
            decideStartLocked(MADE_LOOPER);
        }
    }
    if (!looper) FRAMEWORK_LOG(LEVEL_ERROR, TAG, "mLooper is NULL as cant allocate memory");
    if (!looper || !looper->canBeWoken()) return 0;
    looper->run();
    {
        MutexLock lock(mMutex);
        mLooper = nullptr;
        mExitRequested = true;
    }
    // Without the lock, since what a dropped task holds may post to this thread once more.
    looper.reset();
    return 0;
}

int LooperThread::sendTask(const Callback<void (*)()>& task) {
    MutexLock lock(mMutex);
    if (mExitRequested || mLooper == nullptr) return 0;
    mLooper->sendTask(task);
    return 1;
}

int LooperThread::sendDelayedTask(const Callback<void (*)()>& task, int delayMs) {
    MutexLock lock(mMutex);
    if (mExitRequested || mLooper == nullptr) return 0;
    mLooper->sendDelayTask(task, delayMs);
    return 1;
}

void LooperThread::requestExit() {
    MutexLock lock(mMutex);
    if (mExitRequested) return;
    mExitRequested = true;
    if (mLooper != nullptr) mLooper->addTerminatedHandler();
}

void LooperThread::requestExitAndWait() {
    requestExit();
    join();
}

Looper* LooperThread::getLooper() {
    MutexLock lock(mMutex);
    return mLooper;
}
