#include "zml/SessionState.h"

#include <algorithm>
#include <utility>

#include "base/Environment.h"
#include "zml/Log.h"

namespace zml {

namespace {

constexpr int REFUSED = -1;

// Names the trainings of the process.
std::atomic<long> gJobs{0};

bool areIds(const int* ids, int count) {
    return std::all_of(ids, ids + count, [](int id) { return id >= 0 && id < VOCABULARY; });
}

// Why a sequence cannot be trained on, null when it can.
const char* findFault(const int* sequence, int length) {
    if (sequence == nullptr) return "no sequence";
    if (length <= CONTEXT) return "the sequence is too short";
    return areIds(sequence, length) ? nullptr : "an id is out of range";
}

}  // namespace

SessionState::SessionState(const std::string& name, LearnerFactory makeLearner)
    : mName(name),
      mMakeLearner(std::move(makeLearner)),
      mFile(environment::dataDirectory(), name),
      mTraining(std::make_shared<TrainingThread>(mFile)) {}

bool SessionState::isNetworkTrained() {
    return readNetwork() != nullptr;
}

bool SessionState::createSequenceNetwork(int mode, const int* data, int length) {
    MutexLock lock(mLock);
    dropNetworkLocked();
    if (mode == ZmlSession::MODE_LOAD) {
        mLoaded = readNetwork();
        if (mLoaded == nullptr) return false;
        mFollower = std::make_unique<SequenceFollower>(mLoaded->ids());
        return true;
    }
    const char* const fault =
        mode == ZmlSession::MODE_CREATE ? findFault(data, length) : "unknown mode";
    if (fault != nullptr) {
        ZML_LOG(ANDROID_LOG_WARN, "%s: no network is created: %s", mName.c_str(), fault);
        return false;
    }
    mFresh = std::make_shared<TrainingJob>();
    mFresh->learner = mMakeLearner();
    mFresh->ids.assign(data, data + length);
    return true;
}

int SessionState::asyncTrain(void (*callback)(TrainingResult, void*), long& job, void* user) {
    MutexLock lock(mLock);
    if (callback == nullptr || mFresh == nullptr) {
        ZML_LOG(ANDROID_LOG_WARN, "%s: nothing is trained: no %s", mName.c_str(),
                callback == nullptr ? "callback" : "fresh network");
        return REFUSED;
    }
    mFresh->callback = callback;
    mFresh->user = user;
    if (!mTraining->start(mFresh)) {
        ZML_LOG(ANDROID_LOG_WARN, "%s: the training is not started", mName.c_str());
        return REFUSED;
    }
    mFresh.reset();
    job = ++gJobs;
    return 0;
}

bool SessionState::predictSequence(const int* input, int inputLength, float* output,
                                   int& outputLength) {
    const bool valid = input != nullptr && inputLength == CONTEXT && areIds(input, inputLength) &&
                       output != nullptr && outputLength >= VOCABULARY;
    MutexLock lock(mLock);
    if (!valid || mLoaded == nullptr) {
        ZML_LOG(ANDROID_LOG_WARN, "%s: no prediction: %s", mName.c_str(),
                valid ? "no network is loaded" : "unusable input or output");
        return false;
    }
    const Scores scores = askLocked(*mFollower, input);
    std::copy(scores.begin(), scores.end(), output);
    outputLength = VOCABULARY;
    return true;
}

bool SessionState::explain(const int* input, int inputLength, Scores& scores, ScoreParts& parts) {
    MutexLock lock(mLock);
    if (mLoaded == nullptr || inputLength != CONTEXT || !areIds(input, inputLength)) return false;
    SequenceFollower copy = *mFollower;
    scores = askLocked(copy, input);
    parts = copy.parts();
    return true;
}

Scores SessionState::askLocked(SequenceFollower& follower, const int* input) {
    const Scores network = mLoaded->scores(input[0], input[1]);
#ifdef KSBRAIN_NETWORK_ALONE
    (void)follower;
    return network;
#else
    return follower.ask(input[0], input[1], network);
#endif
}

void SessionState::releaseNetwork() {
    MutexLock lock(mLock);
    mTraining->cancel();
    dropNetworkLocked();
}

void SessionState::dropNetworkLocked() {
    mLoaded.reset();
    mFollower.reset();
    mFresh.reset();
}

void SessionState::close() {
    releaseNetwork();
    mTraining->close();
}

std::unique_ptr<Learner> SessionState::readNetwork() {
    StoredNetwork stored;
    std::string problem;
    switch (mFile.read(stored, problem)) {
        case NetworkFile::Read::MISSING:
            return nullptr;
        case NetworkFile::Read::UNUSABLE:
            reportUnusableFile(problem);
            return nullptr;
        case NetworkFile::Read::WHOLE:
            break;
    }
    std::unique_ptr<Learner> learner = mMakeLearner();
    if (stored.kind == learner->kind() && learner->deserialise(stored.parameters)) return learner;
    reportUnusableFile("of another learner");
    return nullptr;
}

void SessionState::reportUnusableFile(const std::string& problem) {
    if (mFileReported.exchange(true)) return;
    ZML_LOG(ANDROID_LOG_WARN, "%s counts as no trained network: it is %s", mFile.path().c_str(),
            problem.c_str());
}

}  // namespace zml
