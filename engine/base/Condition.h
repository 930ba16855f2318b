#pragma once

#include <pthread.h>

#include "base/Mutex.h"

// A POSIX condition variable on the monotonic clock, so that a change of the wall clock does not
// disturb a timed wait. As with any condition variable a wait may end early: wait in a loop.
class Condition {
  public:
    Condition();
    ~Condition();

    // Returns the result of pthread_cond_wait, 0 on success.
    int wait(Mutex& mutex) REQUIRES(mutex);

    // Waits at most `ms` milliseconds: 0 when signalled, ETIMEDOUT when the time ran out, -1 at
    // once (the mutex stays held throughout) when `ms` is less than 1 or the clock cannot be read.
    int wait(Mutex& mutex, int ms) REQUIRES(mutex);

    void signal();
    void signalAll();

  private:
    Condition(const Condition&) = delete;
    Condition& operator=(const Condition&) = delete;

    pthread_cond_t mCondition;
};
