#pragma once

#include <deque>
#include <list>

#include "base/Callback.h"
#include "base/Mutex.h"
#include "looper/DelayedTaskContext.h"
#include "looper/KsLooper.h"
#include "looper/LooperQuitListener.h"
#include "looper/TimerNotifier.h"

// A KsLooper that runs tasks, in the order of their posting, at the end of a turn.
//
//     const sp<Looper> looper(new Looper(timer));  // on the thread that will run it
//     timer->setTimerNotifier(looper.get());       // so that a delayed task wakes the loop
//     looper->run();                               // any thread: looper->sendTask(task);
//
// A looper is made and destroyed on the thread that runs it; on one thread, the looper made last is
// destroyed first. Its destruction drops tasks that have not run. Tasks and delayed tasks may be
// posted and released from any thread, also from inside a task; the quit listeners belong to the
// looper's own thread.
class Looper : public KsLooper, public TimerNotifier {
  public:
    // The calling thread's looper, or null.
    static Looper* current();

    explicit Looper(sp<KsTimer> timer);

    const char* getName() const override { return "Looper"; }
    ~Looper() override;

    void processTasks() override;
    void emitQuit() override;

    virtual void sendTask(const Callback<void (*)()>& task);

    // Runs `task` in `delayMs` milliseconds, as a timer (also when that is 0). Returns an id for
    // releaseDelayTask(), or -1.
    virtual int sendDelayTask(const Callback<void (*)()>& task, int delayMs);

    // Drops a delayed task: 1 when it will never run, 0 when there is none of this id that waits.
    virtual int releaseDelayTask(int id);

    virtual void addQuitListener(const sp<LooperQuitListener>& listener);
    virtual void removeQuitListener(const sp<LooperQuitListener>& listener);

    void notifyDelayChange() override;

    virtual void releaseDelayTask(sp<DelayedTaskContext> context);

  private:
    using TaskQueue = std::deque<Callback<void (*)()>>;
    using DelayedTaskList = std::list<sp<DelayedTaskContext>>;

    bool processOneTask();
    void swapQueue();
    void dropTasks();
    void removeContextLocked(DelayedTaskContext& context) REQUIRES(mDelayLock);

    // Keeps what the looper's thread writes for every task out of the cache lines in which others
    // post.
    struct Gap {
        char bytes[64];
    };

    Looper* const mPrevious;  // the thread's looper before this one
    [[maybe_unused]] Gap mGap1;
    TaskQueue mProcessingQueue;  // of the looper's thread
    [[maybe_unused]] Gap mGap2;
    TaskQueue mPendingQueue GUARDED_BY(mQueueLock);
    std::list<sp<LooperQuitListener>> mQuitListeners;      // of the looper's thread
    DelayedTaskList mDelayedTasks GUARDED_BY(mDelayLock);  // neither ended nor released
    Mutex mQueueLock{LockRank::TASKS};
    Mutex mDelayLock{LockRank::TASKS};
};
