#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/replay/ChargingPlan.h"
#include "tools/trace/Trace.h"

// What a walk along a trace drives: the engine's model, or a predictor alone.
class WalkSubject {
  public:
    virtual ~WalkSubject() = default;

    virtual void setCharging(bool charging) = 0;
    virtual void open(const Trace& trace, size_t row) = 0;
    virtual std::vector<std::string> predict() = 0;

    // The periodic step, and whether a training that it started is still under way.
    virtual void update() = 0;
    virtual bool isTraining() = 0;
};

// Takes a subject through a trace in the trace's own time. For each opening, in this order: what
// the time since the one before holds, the wall clock set to the opening's time, the opening, a
// prediction. A last update ends the walk.
//
// The time between two openings holds, in order of time and at equal times in this order, the edges
// of the charging plan, and the updates: of the marks every 300 s after the first opening the first
// one behind the previous opening and the first one not before each edge. (At the marks in between
// nothing new could happen.) A training that an update starts is waited for, so that a walk is the
// same every time.
//
// The engine's clock is the process's: one walk at a time.
class TraceWalk {
  public:
    // Called after each opening's prediction, with the opening's place in the trace. Returning
    // false stops the walk.
    using Listener = std::function<bool(size_t row, const std::vector<std::string>& answer)>;

    // The trace and the subject must live as long as this.
    TraceWalk(const Trace& trace, const ChargingPlan& plan, WalkSubject& subject);

    // While a training is waited for, `stopped` is asked whether to give up.
    void setStopped(std::function<bool()> stopped) { mStopped = std::move(stopped); }

    // False when it was stopped. Throws std::runtime_error when a file of the engine's could not be
    // written or read, since its answers are not those of a device whose storage works.
    bool run(const Listener& listener);

  private:
    bool passTime(TraceTime from, TraceTime to);
    TraceTime firstMarkNotBefore(TraceTime time) const;
    bool update();

    const Trace& mTrace;
    const ChargingPlan mPlan;
    WalkSubject& mSubject;
    std::function<bool()> mStopped = [] { return false; };
};
