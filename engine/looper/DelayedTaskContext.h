#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <optional>

#include "base/Callback.h"
#include "base/RefBase.h"

class Looper;

// A delayed task between its posting and its end. It is shared by the looper's list and by the
// timer that runs it; whichever of the timer and releaseDelayTask() comes first decides whether it
// runs.
class DelayedTaskContext : public RefBase {
  public:
    // `looper` is not owned: it releases this object before it ends.
    DelayedTaskContext(const Callback<void (*)()>& task, Looper* looper)
        : mTask(task), mLooper(looper) {}

    // Runs the task, unless it was released, and takes it off the looper's list. For the timer
    // queue: returns -1, since a delayed task runs once.
    int taskProcessor();

    // The id of the timer, -1 until it has one. It is set before another thread knows this object.
    void setTimerId(int32_t id) { mTimerId = id; }
    int32_t getTimerId() const { return mTimerId; }

    bool isRunning() const { return mState == RUNNING; }

    // Gives the task up if it is still waiting: false when its timer has fired or it has been given
    // up before.
    bool release() { return advance(WAITING, RELEASED); }

    // Its place in the looper's list while it stands there. Guarded by the looper's lock.
    std::optional<std::list<sp<DelayedTaskContext>>::iterator> place;

  private:
    enum State : uint8_t { WAITING, RUNNING, RELEASED };

    bool advance(State from, State to) { return mState.compare_exchange_strong(from, to); }

    const Callback<void (*)()> mTask;
    Looper* const mLooper;
    int32_t mTimerId = -1;
    std::atomic<State> mState{WAITING};
};
