#pragma once

#include <memory>
#include <optional>
#include <string>

#include "preload/AppEvaluation.h"
#include "tools/common/DataDirectory.h"
#include "tools/inspect/EngineFiles.h"

class Bayes;

// A start of the engine on a copy of its files, in a temporary directory where its loaders may
// delete and rename. The engine's data directory is the copy from then on: one at a time.
class EngineStart {
  public:
    explicit EngineStart(const EngineFiles& files);
    ~EngineStart();

    // What its loaders have made of the files.
    bool bayesReady() const { return mBayesReady; }
    bool networkReady() const { return mNetworkReady; }
    Bayes* model() const { return mModel.get(); }        // null when refused
    bool networkInUse() const { return mNetworkInUse; }  // as the evaluation file says
    const AppEvaluation& evaluation() const { return mEvaluation; }

    // A file of the copy as the start has left it; nothing when it is gone or cannot be read.
    std::optional<std::string> content(const std::string& name) const;

  private:
    const TemporaryDirectory mCopy;
    bool mBayesReady = false;
    bool mNetworkReady = false;
    std::unique_ptr<Bayes> mModel;
    bool mNetworkInUse = false;
    AppEvaluation mEvaluation;
};
