#pragma once

#include <pthread.h>

#include "base/ThreadAnnotations.h"

// A POSIX mutex with default attributes: not recursive, no error checking. An unexpected failure of
// the platform's call is logged and ends the process.
class CAPABILITY("mutex") Mutex {
  public:
    Mutex() = default;
    ~Mutex();

    void lock() ACQUIRE();
    void unlock() RELEASE();

    // False when the mutex is held elsewhere.
    bool tryLock() TRY_ACQUIRE(true);

  private:
    friend class Condition;

    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    pthread_mutex_t mMutex = PTHREAD_MUTEX_INITIALIZER;
};

// Holds a mutex for the length of a scope.
class SCOPED_CAPABILITY MutexLock {
  public:
    explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : mMutex(mutex) { mMutex.lock(); }
    ~MutexLock() RELEASE() { mMutex.unlock(); }

  private:
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    Mutex& mMutex;
};
