#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/BrainDataListener.h"
#include "base/Mutex.h"
#include "base/ThreadAnnotations.h"
#include "preload/AppEvaluation.h"
#include "preload/BayesAdapter.h"
#include "preload/PersistentFile.h"
#include "preload/SystemData.h"
#include "preload/ZmlAdapter.h"

class Looper;

// The prediction engine: it trains two predictors, the naive Bayes model and the sequence network,
// on the apps that come to the front, predicts with the one that is ready, and counts how often it
// was right.
//
// Events arrive on the worker thread, predictions are asked for on the host's threads; any thread
// may call. The model's lock is taken before an adapter's. Files lie in the data directory, which
// is created when it is missing; the model's own is "AppPreloadEvaluation".
class AppPreloadModel : public BrainDataListener {
  public:
    AppPreloadModel();
    ~AppPreloadModel() override;

    // Has updateModel() called every five minutes on the thread of `looper`, or of the caller's
    // looper when that is null, if it has one. The timer holds a plain pointer to this model and is
    // never removed: it ends with its looper, whose thread must have been joined before the model
    // is released.
    void start(Looper* looper);

    // APP_OPENED teaches, trains and scores; CHARGING sets the charging state. The rest is ignored.
    void onBrainDataAvailable(sp<BrainEvent>& event) override;

    // The packages to preload, best first; empty when no predictor is ready.
    std::vector<std::string> predict();

    // Stores the evaluation, and lets the sequence network store its history and train.
    void updateModel();

    // The timer's function: calls updateModel() and returns 0, so that the timer repeats.
    static int TimerCallBack(void* model);

    // For reports: copies of what the model counts.
    AppEvaluation bayesEvaluation();
    AppEvaluation zmlEvaluation();

    // Whether the sequence network is training now, and how many trainings of this process have
    // ended with a network to predict with.
    bool isTraining();
    int trainingsReady();

    // The number of packages the engine knows.
    int appCount();

    // Whether openings of the package are ignored.
    static bool isExcluded(const std::string& package);

  private:
    enum Status : int32_t {
        STATUS_WORKING = 0,
        STATUS_NO_DIRECTORY = -3,
    };

    void onAppOpened(const BrainEvent& event);
    void evaluateLocked(std::string& package) REQUIRES(mLock);
    AppEvaluation* evaluationForLocked(const std::string& package) REQUIRES(mLock);
    AppEvaluation& storedEvaluationLocked() REQUIRES(mLock);

    // Both always return 0.
    int loadEvaluationLocked() REQUIRES(mLock);
    int storeEvaluationLocked() REQUIRES(mLock);

    SystemData mSystemData GUARDED_BY(mLock);
    int32_t mCharging GUARDED_BY(mLock) = 0;
    int32_t mStatus = STATUS_WORKING;  // set by the constructor alone
    Mutex mLock{LockRank::MODEL};
    std::vector<std::string> mPackageList GUARDED_BY(mLock);
    BayesAdapter mBayesAdapter;
    ZmlAdapter mZmlAdapter;
    PersistentFile mEvaluationFile GUARDED_BY(mLock);
    AppEvaluation mZmlEvaluation GUARDED_BY(mLock);
    AppEvaluation mBayesEvaluation GUARDED_BY(mLock);
    bool mUsingZml GUARDED_BY(mLock) = false;  // which of them made the last prediction
};
