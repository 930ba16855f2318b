#pragma once

#include <cstdint>

#include "base/Condition.h"
#include "base/Mutex.h"

// Lets threads wait until something has happened `count` times.
//
//     Latch ready(1);
//     ...                // another thread: ready.countDown();
//     ready.wait();
class Latch {
  public:
    explicit Latch(int count) : mCount(count) {}

    // One occurrence. One too many is logged and otherwise ignored.
    void countDown();

    // Returns once the count is 0 or less.
    void wait();

  private:
    Latch(const Latch&) = delete;
    Latch& operator=(const Latch&) = delete;

    int32_t mCount GUARDED_BY(mMutex);
    int32_t mWaiters GUARDED_BY(mMutex) = 0;
    Mutex mMutex{LockRank::LATCH};
    Condition mCondition;
};
