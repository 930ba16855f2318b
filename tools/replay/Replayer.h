#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/RefBase.h"
#include "tools/replay/ChargingPlan.h"
#include "tools/replay/TraceWalk.h"
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

// Runs a trace through the engine's model in the trace's own time (see TraceWalk.h).
//
// The engine's clock and data directory are the process's: one replay at a time.
class Replayer {
  public:
    using Listener = TraceWalk::Listener;

    // The engine's files are loaded from `dataDirectory`, which must exist, and left there.
    Replayer(const ChargingPlan& plan, const std::string& dataDirectory);
    ~Replayer();

    // While a training is waited for, `stopped` is asked whether to give up.
    void setStopped(std::function<bool()> stopped) { mStopped = std::move(stopped); }

    // Returns nothing when it was stopped; the model is gone in either case. Throws as a walk does.
    std::optional<ReplayResult> run(const Trace& trace, const Listener& listener);

    // During run(): whether the sequence network gave the last prediction, and how many trainings
    // have ended with a network to predict with.
    bool networkAnswered(const std::vector<std::string>& answer) const;
    int trainings() const;

  private:
    Replayer(const Replayer&) = delete;
    Replayer& operator=(const Replayer&) = delete;

    const ChargingPlan mPlan;
    const std::string mDataDirectory;
    std::function<bool()> mStopped = [] { return false; };
    sp<AppPreloadModel> mModel;
};
