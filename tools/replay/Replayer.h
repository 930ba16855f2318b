#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/RefBase.h"
#include "tools/replay/ChargingPlan.h"
#include "tools/trace/Trace.h"

class AppPreloadModel;

// A predictor's counters: openings scored, and how many of them it had predicted first, or among
// the first four.
struct PredictorScore {
    int opened = 0;
    int top1 = 0;
    int top4 = 0;
};

struct ReplayResult {
    // The model's counters at the end, with what it loaded at the start.
    PredictorScore bayes;
    PredictorScore network;
    int apps = 0;  // size of the application table

    // Counted during this run.
    size_t openings = 0;
    size_t predictions = 0;  // answers that were not empty
    int trainings = 0;       // that ended with a network to predict with
    std::chrono::duration<double> duration{0};
};

// Runs a trace through the engine's model in the trace's own time. For each opening, in this order:
// what the time since the one before holds, the wall clock set to the opening's time, the opening's
// event, a prediction.
//
// The time between two openings holds, in order of time and at equal times in this order, the edges
// of the charging plan, each as an event, and the model's updates: of the marks every 300 s after
// the first opening the first one behind the previous opening and the first one not before each
// edge. (At the marks in between nothing new could happen.) A training that an update starts is
// waited for, so that a replay is the same every time.
//
// The engine's clock and data directory are the process's: one replay at a time.
class Replayer {
  public:
    // Called after each opening's prediction, with the opening's place in the trace. Returning
    // false stops the replay.
    using Listener = std::function<bool(size_t row, const std::vector<std::string>& answer)>;

    // The engine's files are loaded from `dataDirectory`, which must exist, and left there.
    Replayer(const ChargingPlan& plan, const std::string& dataDirectory);
    ~Replayer();

    // While a training is waited for, `stopped` is asked whether to give up.
    void setStopped(std::function<bool()> stopped) { mStopped = std::move(stopped); }

    // Returns nothing when it was stopped; the model is gone in either case.
    std::optional<ReplayResult> run(const Trace& trace, const Listener& listener);

    // During run(): whether the sequence network gave the last prediction.
    bool networkAnswered(const std::vector<std::string>& answer) const;

  private:
    Replayer(const Replayer&) = delete;
    Replayer& operator=(const Replayer&) = delete;

    bool replay(const Trace& trace, const Listener& listener, ReplayResult& result);
    bool passTime(TraceTime from, TraceTime to);
    TraceTime firstMarkNotBefore(TraceTime time) const;
    void sendCharging(bool charging);
    void sendOpening(const Trace& trace, size_t row);
    bool update();

    const ChargingPlan mPlan;
    const std::string mDataDirectory;
    std::function<bool()> mStopped = [] { return false; };
    TraceTime mStart{0};  // of the trace
    sp<AppPreloadModel> mModel;
};
