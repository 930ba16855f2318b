#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "base/Mutex.h"
#include "zml/Learner.h"
#include "zml/NetworkFile.h"
#include "zml/SequenceFollower.h"
#include "zml/TrainingThread.h"
#include "zml/ZmlSession.h"

namespace zml {

// What stands behind a ZmlSession, whose operations these are. At most one network is in hand: a
// fresh one that waits for its training, or a loaded one that predicts; asyncTrain() hands the
// fresh one over to the training thread. Any thread may call.
class SessionState {
  public:
    SessionState(const std::string& name, LearnerFactory makeLearner);
    ~SessionState() { close(); }

    bool isNetworkTrained();
    bool createSequenceNetwork(int mode, const int* data, int length) EXCLUDES(mLock);
    int asyncTrain(void (*callback)(TrainingResult, void*), long& job, void* user) EXCLUDES(mLock);
    bool predictSequence(const int* input, int inputLength, float* output, int& outputLength)
        EXCLUDES(mLock);
    void releaseNetwork() EXCLUDES(mLock);

    // What makes up the scores that predictSequence() would give; false when it would fail. Leaves
    // the session as it is.
    bool explain(const int* input, int inputLength, Scores& scores, ScoreParts& parts)
        EXCLUDES(mLock);

    // Ends the session: cancels a training and waits for a callback that has begun, unless it is
    // that callback which calls.
    void close() EXCLUDES(mLock);

    // Whether no callback runs or will run.
    bool isIdle() { return mTraining->isIdle(); }

  private:
    SessionState(const SessionState&) = delete;
    SessionState& operator=(const SessionState&) = delete;

    void dropNetworkLocked() REQUIRES(mLock);
    Scores askLocked(SequenceFollower& follower, const int* input) REQUIRES(mLock);
    std::unique_ptr<Learner> readNetwork();
    void reportUnusableFile(const std::string& problem);

    const std::string mName;
    const LearnerFactory mMakeLearner;
    const NetworkFile mFile;
    const std::shared_ptr<TrainingThread> mTraining;
    std::atomic<bool> mFileReported{false};

    Mutex mLock{LockRank::SESSION};
    std::unique_ptr<Learner> mLoaded GUARDED_BY(mLock);
    std::unique_ptr<SequenceFollower> mFollower GUARDED_BY(mLock);  // of what mLoaded is asked
    std::shared_ptr<TrainingJob> mFresh GUARDED_BY(mLock);
};

}  // namespace zml
