#pragma once

#include <cstdint>

#include "base/Condition.h"
#include "base/Mutex.h"
#include "base/SimpleThread.h"

// A SimpleThread that tells whether it runs and that can be joined, although it is detached. Any
// thread that holds a reference may call any of its functions.
class Thread : public SimpleThread {
  public:
    const char* getName() const override { return "Thread"; }
    ~Thread() override = default;

    int start(const char* name, int priority, unsigned long stackSize) override;
    void innerRun() override;

    virtual bool isRunning() const;

    // The kernel's id of the thread while it runs, else -1.
    int getIdOfThread() const;

    // Waits until the thread has run its exit tasks: 0 when it has ended. 1 at once when there is
    // nothing to wait for: no thread was ever created, or the caller is the thread itself.
    int join();

  private:
    enum State : int32_t {
        NOT_STARTED = 0,
        STARTING = 1,  // for ever, when the thread could not be created
        RUNNING = 2,
        ENDING = 3,  // counts as running; never set
        FINISHED = 4,
    };

    bool isRunningLocked() const REQUIRES(mMutex) { return mState == RUNNING || mState == ENDING; }

    State mState GUARDED_BY(mMutex) = NOT_STARTED;
    mutable Mutex mMutex{LockRank::THREAD};
    Condition mCondition;
    bool mJoinWaiting GUARDED_BY(mMutex) = false;
    bool mCreated GUARDED_BY(mMutex) = false;
};
