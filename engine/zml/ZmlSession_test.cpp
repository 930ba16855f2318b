#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <future>
#include <new>
#include <thread>

#include "base/SimpleThread.h"
#include "platform/testing/LogCapture.h"
#include "platform/testing/TempDir.h"
#include "zml/SessionState.h"
#include "zml/ZmlSessionManager.h"
#include "zml/test/TinyLearner.h"

namespace {

constexpr char NAME[] = "habits";
constexpr int REFUSED = -1;

// One training: runs what the test wants in its callback and keeps the result.
class Training {
  public:
    explicit Training(std::function<void()> inCallback = [] {}) : mInCallback(inCallback) {}

    template <typename Session>
    int start(Session& session) {
        long job = 0;
        return session.asyncTrain(callback, job, this);
    }
    TrainingResult result() { return mResult.get_future().get(); }
    bool hasEnded() const { return mEnded; }

  private:
    static void callback(TrainingResult result, void* user) {
        auto* const self = static_cast<Training*>(user);
        self->mInCallback();
        self->mEnded = true;
        self->mResult.set_value(result);
    }

    const std::function<void()> mInCallback;
    std::atomic<bool> mEnded{false};
    std::promise<TrainingResult> mResult;
};

// Trains until it is cancelled.
class EndlessLearner : public zml::TinyLearner {
  public:
    static std::atomic<bool> sBegun;

    bool train(const std::vector<int>&, const std::atomic<bool>& cancelled) override {
        sBegun = true;
        while (!cancelled) std::this_thread::yield();
        return false;
    }
};
std::atomic<bool> EndlessLearner::sBegun{false};

class LearnerWithoutMemory : public zml::TinyLearner {
  public:
    bool train(const std::vector<int>&, const std::atomic<bool>&) override {
        throw std::bad_alloc();
    }
};

bool hasTrainingThread() {
    for (const std::string& task : entriesOf("/proc/self/task")) {
        std::string name;
        std::ifstream("/proc/self/task/" + task + "/comm") >> name;
        if (name == "zml-train") return true;
    }
    return false;
}

class ZmlSessionTest : public testing::Test {
  protected:
    ~ZmlSessionTest() override { mManager.releaseSessionLocked(NAME); }

    template <typename Session>
    bool createFresh(Session& session) {
        return session.createSequenceNetwork(1, mIds.data(), static_cast<int>(mIds.size()));
    }

    // A session whose fresh network waits for its training.
    ZmlSession& startFresh() {
        ZmlSession* const session = mManager.startSessionLocked(NAME);
        if (session == nullptr || !createFresh(*session)) abort();
        return *session;
    }

    // The most likely id after two others; -1 when there is no prediction.
    long predict(ZmlSession& session, int older, int newer) {
        int input[] = {older, newer};
        float output[40] = {};
        int length = 40;
        if (!session.predictSequence(input, 2, output, length) || length != 30) return -1;
        return std::max_element(output, output + length) - output;
    }

    const TempDir mDir;
    LogCapture mLog;
    ZmlSessionManager& mManager = *ZmlSessionManager::getInstance();
    std::vector<int> mIds = {3, 1, 4, 3, 1, 4, 3, 1, 29, 3, 1, 4};
};
using ZmlSessionThreads = ZmlSessionTest;

TEST_F(ZmlSessionTest, aTrainedNetworkPredictsAlsoAfterTheNextStart) {
    ZmlSession& session = startFresh();
    mIds.assign(mIds.size(), 0);  // the library has its copy
    EXPECT_FALSE(session.isNetworkTrained());
    bool storedBeforeCallback = false;
    Training training([&] { storedBeforeCallback = session.isNetworkTrained(); });
    ASSERT_EQ(training.start(session), 0);
    ASSERT_EQ(training.result(), TRAINING_SUCCESS);
    EXPECT_TRUE(storedBeforeCallback);
    session.releaseNetwork();
    mManager.releaseSessionLocked(NAME);

    ZmlSession& next = *mManager.startSessionLocked(NAME);
    ASSERT_TRUE(next.isNetworkTrained() && next.createSequenceNetwork(0, nullptr, 0));
    EXPECT_EQ(predict(next, 3, 1), 4);
    next.releaseNetwork();
    EXPECT_EQ(predict(next, 3, 1), -1);
}

TEST_F(ZmlSessionTest, unusableArgumentsAreRefusedAndLogged) {
    ZmlSession& session = startFresh();
    for (const std::string& name : {std::string(NAME), std::string(), std::string(".hidden"),
                                    std::string("a/b"), std::string("a\0b", 3)}) {
        EXPECT_EQ(mManager.startSessionLocked(name), nullptr) << name;
    }
    EXPECT_EQ(mLog.count("is not started"), 5);

    Training training;
    long job = 0;
    EXPECT_EQ(session.asyncTrain(nullptr, job, nullptr), REFUSED);
    ASSERT_EQ(training.start(session), 0);
    ASSERT_EQ(training.result(), TRAINING_SUCCESS);
    EXPECT_EQ(training.start(session), REFUSED);  // there is no other fresh network

    int ids[] = {0, 29, 1, 30, -1};
    const auto create = [&](int mode, int* from, int length) {
        return session.createSequenceNetwork(mode, from, length);
    };
    EXPECT_FALSE(create(1, ids, 2) || create(1, ids, -1) || create(1, ids + 1, 3) ||
                 create(1, ids + 2, 3) || create(1, nullptr, 3) || create(2, ids, 3));
    EXPECT_EQ(mLog.count("no network is created"), 6);

    float scores[30] = {};
    const auto predicts = [&](int* input, int inputLength, float* output, int room) {
        return session.predictSequence(input, inputLength, output, room);
    };
    EXPECT_FALSE(predicts(ids, 2, scores, 30));  // nothing is loaded
    ASSERT_TRUE(create(0, nullptr, 0));
    EXPECT_TRUE(predicts(ids, 2, scores, 30));
    EXPECT_FALSE(predicts(ids + 2, 2, scores, 30) || predicts(ids, 1, scores, 30) ||
                 predicts(ids, 3, scores, 30) || predicts(nullptr, 2, scores, 30) ||
                 predicts(ids, 2, nullptr, 30) || predicts(ids, 2, scores, 29));
    EXPECT_EQ(mLog.count("no prediction"), 7);
}

TEST_F(ZmlSessionTest, aNetworkThatCannotBeReadOrStoredIsReported) {
    mDir.write("habits.zml", "not a network at all, but long enough");
    ZmlSession& session = startFresh();
    EXPECT_FALSE(session.isNetworkTrained() || session.isNetworkTrained());
    EXPECT_EQ(mLog.count("not a network"), 1);
    mDir.remove();
    Training training;
    ASSERT_EQ(training.start(session), 0);
    EXPECT_EQ(training.result(), TRAINING_FAILED);
}

TEST_F(ZmlSessionTest, aTrainingWithoutMemoryEndsTheProcess) {
    const auto train = [&] {
        alarm(60);
        mLog.tell([](const char* message) { fputs(message, stderr); });
        zml::SessionState session(NAME, [] { return std::make_unique<LearnerWithoutMemory>(); });
        Training training;
        if (createFresh(session) && training.start(session) == 0) training.result();
    };
    EXPECT_EXIT(train(), testing::KilledBySignal(SIGABRT),
                "FATAL  an exception in a training ends the process: St9bad_alloc");
}

TEST_F(ZmlSessionThreads, releasingTheNetworkCancelsATraining) {
    zml::SessionState session(NAME, [] { return std::make_unique<EndlessLearner>(); });
    Training cancelled;
    Training refused;
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(createFresh(session));
        EndlessLearner::sBegun = false;
        ASSERT_EQ(cancelled.start(session), 0);
        while (!EndlessLearner::sBegun) std::this_thread::yield();
        ASSERT_TRUE(createFresh(session));
        EXPECT_EQ(refused.start(session), REFUSED);  // the first still trains
        session.releaseNetwork();
    }
    session.close();
    EXPECT_FALSE(cancelled.hasEnded() || refused.hasEnded() || mDir.exists("habits.zml"));
}

TEST_F(ZmlSessionThreads, releasingASessionWaitsForItsCallback) {
    ZmlSession& session = startFresh();
    std::promise<void> begun;
    Training late;
    Training training([&] {
        ASSERT_TRUE(session.createSequenceNetwork(0, nullptr, 0));
        begun.set_value();
        while (predict(session, 3, 1) == 4) std::this_thread::yield();
        // The release has begun: the name stays taken, and no training follows.
        EXPECT_EQ(mManager.startSessionLocked(NAME), nullptr);
        EXPECT_TRUE(createFresh(session));
        late.start(session);
    });
    ASSERT_EQ(training.start(session), 0);
    begun.get_future().wait();
    mManager.releaseSessionLocked(NAME);
    EXPECT_TRUE(training.hasEnded() && !late.hasEnded());
    startFresh();
}

TEST_F(ZmlSessionThreads, theCallbackMayTrainAgainAndReleaseItsSession) {
    ZmlSession& session = startFresh();
    std::promise<void> released;
    int niceness = 0;
    Training second([&] {
        niceness = getpriority(PRIO_PROCESS, static_cast<id_t>(SimpleThread::getTid()));
        mManager.releaseSessionLocked(NAME);
        EXPECT_TRUE(startFresh().isNetworkTrained());
        released.set_value();
        for (int i = 0; i < 100; ++i) std::this_thread::yield();
    });
    Training dropped;
    Training first([&] {
        for (Training* next : {&dropped, &second}) {
            session.releaseNetwork();  // which also drops what has not begun
            ASSERT_TRUE(createFresh(session));
            ASSERT_EQ(next->start(session), 0);
        }
    });
    ASSERT_EQ(first.start(session), 0);
    released.get_future().wait();
    mManager.releaseSessionLocked(NAME);  // waits for the callback of the session before as well
    EXPECT_TRUE(second.hasEnded() && !dropped.hasEnded());
    EXPECT_EQ(niceness, 10);
    for (int i = 0; i < 1000 && hasTrainingThread(); ++i) usleep(1000);
    EXPECT_FALSE(hasTrainingThread());
}

TEST_F(ZmlSessionThreads, noCallbackComesAfterAReleaseAtAnyMoment) {
    for (int round = 0; round < 10; ++round) {
        ZmlSession& session = startFresh();
        Training training;
        ASSERT_EQ(training.start(session), 0);
        for (int i = 0; i < round * 20; ++i) std::this_thread::yield();
        std::thread other([&] { mManager.releaseSessionLocked(NAME); });
        mManager.releaseSessionLocked(NAME);
        const bool ended = training.hasEnded();
        other.join();
        EXPECT_EQ(training.hasEnded(), ended);
    }
}

}  // namespace
