#pragma once

#include <time.h>

#include <atomic>
#include <cstdint>
#include <vector>

#include "base/Callback.h"
#include "base/Mutex.h"
#include "base/RefBase.h"
#include "looper/KsTimerEvent.h"
#include "looper/TimerNotifier.h"

// A queue of timed callbacks on the boot-time clock, which neither a suspended phone nor a change
// of the wall clock disturbs.
//
//     const int id = timer->addTimerCallback(200, [](void*) { return -1; }, nullptr);
//
// A callback decides by its result what becomes of its timer: -1 ends it, 0 repeats it with its
// delay, a positive value repeats it after that many milliseconds and becomes its delay.
//
// Any thread may add and remove timers, also from inside a callback. The callbacks run on the
// thread that calls processEvents(), without the lock; at that time their timer is in no queue, and
// to remove it has no effect.
class KsTimer : public RefBase {
  public:
    KsTimer() = default;
    explicit KsTimer(TimerNotifier* notifier) : mNotifier(notifier) {}

    const char* getName() const override { return "KsTimer"; }
    ~KsTimer() override;

    // Who is told of a new first deadline; null for nobody. Not owned.
    void setTimerNotifier(TimerNotifier* notifier);

    // Forgets `notifier` if it is the one that is set, and returns once it is not being told.
    void clearTimerNotifier(const TimerNotifier* notifier);

    // Adds a timer that is due in `delayMs` milliseconds, at once when that is 0 or less. Returns
    // its id, or -1 when the clock cannot be read. `data` is not owned.
    int addTimerCallback(long long delayMs, int (*callback)(void*), void* data);
    int addTimerCallback(long long delayMs, Callback<int (*)()> task);

    // The two halves of the above, for a caller that needs the id before the timer can fire.
    // initTimerEvent() leaves `event` as it is and returns false when the clock cannot be read.
    bool initTimerEvent(KsTimerEvent& event, long long delayMs, Callback<int (*)()> task);
    void addTimerEvent(KsTimerEvent event);

    void removeTimerCallback(int id);

    // Writes the lines of removeTimerCallback() for a timer whose callback runs: it is in no queue,
    // and nothing is looked for.
    void logRemovalOfFired(int id);

    // Removes many at once, in the time of one.
    void removeTimerCallbacks(std::vector<int> ids);

    void clearTimerQueue();

    // Milliseconds until the first timer is due, rounded up; 0 when one is due, -1 when there is
    // none. In 32 bits: more than 24.8 days come out as a negative number.
    int nextTimerEvent();

    // Runs what is due, and what has become due meanwhile.
    void processEvents();

    // 1, 2, ... 0x7ffffffe, 1, ...
    int getNextTimerId();

    // a - b and a + b with the nanoseconds brought into 0..999999999; always true.
    static bool subTimeSpec(const timespec& a, const timespec& b, timespec& out);
    static bool addTimeSpec(const timespec& a, const timespec& b, timespec& out);

    // -1, 0 or 1.
    static int cmpTimeSpec(const timespec& a, const timespec& b);

    void addDelayToTimeval(long long ms, timespec& t);

  private:
    using EventQueue = std::vector<KsTimerEvent>;

    bool prepareEvent(KsTimerEvent& event, long long delayMs, const char* failure);
    int addEvent(KsTimerEvent event, const char* prefix);
    void pushLocked(KsTimerEvent event) REQUIRES(mLock);
    KsTimerEvent popLocked() REQUIRES(mLock);
    template <typename Predicate>
    EventQueue takeLocked(Predicate isTaken) REQUIRES(mLock);
    void logRemovalLocked(int id) REQUIRES(mLock);
    int waitForFirst(timespec& now);
    bool takeDueEvent(KsTimerEvent& event, const timespec& now);
    bool repeatEvent(KsTimerEvent& event, int result);

    TimerNotifier* mNotifier GUARDED_BY(mLock) = nullptr;
    std::atomic<int32_t> mLastId{0};
    EventQueue mTimerQueue GUARDED_BY(mLock);  // a heap
    Mutex mLock{LockRank::TIMERS};
};
