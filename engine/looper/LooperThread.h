#pragma once

#include "base/Callback.h"
#include "base/Condition.h"
#include "base/Mutex.h"
#include "base/Thread.h"
#include "looper/Looper.h"

// A thread that runs a Looper.
//
//     sp<LooperThread> worker(new LooperThread);
//     if (worker->start("worker", 0, 0) != 0) return -1;
//     worker->sendTask(task);
//     worker->requestExitAndWait();
//
// Any thread that holds a reference may call. It is started once; it keeps itself alive until it is
// asked to exit.
class LooperThread : public Thread {
  public:
    const char* getName() const override { return "LooperThread"; }
    ~LooperThread() override = default;

    // Returns once the looper exists: 0, or the error of Thread::start(); ENOMEM when the thread
    // has ended without a looper that can be woken.
    int start(const char* name, int priority, unsigned long stackSize) override;

    int run() override;
    void innerRun() override;

    // 1 when the task was handed to the looper, 0 when there is none or the exit has been
    // requested. A task that the last turn of the loop does not reach is dropped.
    int sendTask(const Callback<void (*)()>& task);
    int sendDelayedTask(const Callback<void (*)()>& task, int delayMs);

    // Ends the loop at the end of its turn; a thread that is yet to start will end after one turn.
    void requestExit();

    // The same, and waits for the thread's end. Not for the thread itself.
    void requestExitAndWait();

    // The looper; null before start() and after the loop's end. It dies with the loop: only use it
    // while nobody can have requested the exit.
    Looper* getLooper();

  private:
    // What start() waits for. It does not change any more once it is decided.
    enum Start { PENDING, MADE_LOOPER, MADE_NO_LOOPER };

    void decideStartLocked(Start start) REQUIRES(mMutex);

    Looper* mLooper GUARDED_BY(mMutex) = nullptr;  // owned by run()
    Mutex mMutex{LockRank::LOOPER_THREAD};
    Condition mCondition;
    bool mExitRequested GUARDED_BY(mMutex) = false;
    Start mStart GUARDED_BY(mMutex) = PENDING;
};
