#pragma once

// The order in which locks nest: a thread takes a lock only while all that it holds have a lower
// rank. Builds with KSBRAIN_LOCK_ORDER (debug builds and those with a sanitizer) end the process
// where it is broken. To the others, a Mutex's rank is a note to the reader.
enum class LockRank : unsigned char {
    NONE,  // takes no part

    API,         // start, stop, sending
    PREDICTION,  // held throughout a prediction; a stop takes it to withdraw the model

    LISTENERS,  // of the dispatcher
    MODEL,
    LIVING_ADAPTERS,  // held throughout a training's callback
    ADAPTER,
    BAYES,

    SESSIONS,  // of the sequence library: its open sessions,
    SESSION,   // one of them,
    TRAINING,  // and its training thread

    LOOPER_THREAD,
    THREAD,
    TASKS,  // a looper's queue or its delayed tasks, never both
    TIMERS,
    HANDLERS,  // of all loops
    APPROVED_DESCRIPTORS,

    LATCH,
};

// A lock's place in the order. It does nothing, and as a base class takes no room, in builds that
// do not check.
class LockPlace {
#if defined(KSBRAIN_LOCK_ORDER)
  protected:
    explicit LockPlace(LockRank rank) : mRank(rank) {}

    // Whether the calling thread may wait for the lock: ends the process if not.
    void check() const;

    void noteTaken() const;
    void noteReleased() const;

  private:
    const LockRank mRank;
#else
  protected:
    explicit LockPlace(LockRank) {}
    void check() const {}
    void noteTaken() const {}
    void noteReleased() const {}
#endif
};
