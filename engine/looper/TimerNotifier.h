#pragma once

// Learns that a timer queue has a new first deadline. It is told on the thread that added the
// timer, under the queue's lock: it must not call back into the same KsTimer.
class TimerNotifier {
  public:
    virtual ~TimerNotifier() = default;

    virtual void notifyDelayChange() = 0;
};
