#pragma once

#include <memory>

#include "tools/replay/TraceWalk.h"

// One of the engine's two predictors without the other: taught and asked as the model would teach
// and ask it, but always asked when it can answer.
class PredictorAlone : public WalkSubject {
  public:
    // How many trainings have ended with a network to predict with.
    virtual int trainings() = 0;
};

// The naive Bayes model: a sample with each opening, a prediction after it. The time that passes
// means nothing to it.
std::unique_ptr<PredictorAlone> makeBayesAlone();

// The sequence network: trained as the charging plan allows, with an answer only once it has been.
std::unique_ptr<PredictorAlone> makeNetworkAlone();
