#pragma once

#include <pthread.h>

#include "base/LockOrder.h"
#include "base/ThreadAnnotations.h"

// A POSIX mutex with default attributes: not recursive, no error checking. An unexpected failure of
// the platform's call is logged and ends the process.
class CAPABILITY("mutex") Mutex : private LockPlace {
  public:
    // The rank says under which other locks this one may be taken (LockOrder.h).
    explicit Mutex(LockRank rank = LockRank::NONE) : LockPlace(rank) {}
    ~Mutex();

    void lock() ACQUIRE() {
        check();
        if (pthread_mutex_trylock(&mMutex) != 0) lockHeld();
        noteTaken();
    }

    void unlock() RELEASE() {
        noteReleased();
        if (pthread_mutex_unlock(&mMutex) != 0) fail("pthread_mutex_unlock error");
    }

    // False when the mutex is held elsewhere.
    bool tryLock() TRY_ACQUIRE(true);

  private:
    friend class Condition;

    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lockHeld();

    [[noreturn]] static void fail(const char* message);

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
