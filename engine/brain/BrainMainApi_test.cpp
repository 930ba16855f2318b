#include "brain/BrainMainApi.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <future>
#include <thread>

#include "looper/test/FailingEpoll.h"
#include "platform/testing/LogCapture.h"
#include "platform/testing/TempDir.h"
#include "platform/workstation/SettableEnvironment.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

// An event that tells when, and on which thread, the engine has given it up.
class TrackedEvent : public BrainEvent {
  public:
    void onLastRef() const override { mReleased.set_value(std::this_thread::get_id()); }
    std::future<std::thread::id> released() { return mReleased.get_future(); }

  private:
    mutable std::promise<std::thread::id> mReleased;
};

class BrainMainApiTest : public testing::Test {
  protected:
    ~BrainMainApiTest() override { brain_main_exit(); }

    // Brings a package to the front and waits until the engine has handled it.
    static void open(const std::string& package) {
        sp<BrainEvent> event;
        auto* tracked = new TrackedEvent;
        event = tracked;
        std::future<std::thread::id> released = tracked->released();
        event->type = BrainEvent::APP_OPENED;
        event->package = package;
        ASSERT_EQ(brain_main_send_data(event), 0);
        event.reset();
        released.wait();
    }

    static std::vector<std::string> predict() {
        std::vector<std::string> packages;
        EXPECT_EQ(brain_main_app_preload_predict(packages), 0);
        return packages;
    }

    // A day of two applications in turn: enough for the first batches to be learned.
    static void useTwoApps(int openings = 40) {
        for (int i = 0; i < openings; ++i) open(i % 2 == 0 ? "com.mail" : "com.maps");
    }

    TempDir mDir;
};
using BrainMainApiThreads = BrainMainApiTest;

// The engine's threads by their name; an emulator has some of its own.
int workers() {
    int count = 0;
    for (const std::string& task : entriesOf("/proc/self/task")) {
        std::string name;
        std::ifstream("/proc/self/task/" + task + "/comm") >> name;
        count += name == "vexa-ks" ? 1 : 0;
    }
    return count;
}

// Whether they have all left: a detached thread may take a moment to do so after it has been
// joined.
bool workersHaveLeft() {
    for (int i = 0; i < 2000 && workers() > 0; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return workers() == 0;
}

TEST_F(BrainMainApiTest, RefusesEventsUnlessItRuns) {
    sp<BrainEvent> event(new BrainEvent);
    sp<BrainEvent> none;
    LogCapture log(3);
    EXPECT_EQ(brain_main_send_data(event), -1);
    EXPECT_THAT(log.texts(), ElementsAre("INFO   ks: send data error--gLoop is null"));
    ASSERT_EQ(brain_main_init(nullptr), 0);
    log.clear();
    EXPECT_EQ(brain_main_send_data(none), -1);
    EXPECT_THAT(log.texts(), IsEmpty());
    for (const int code : {0, 8, 11, -1}) {
        event->type = code;
        EXPECT_EQ(brain_main_send_data(event), 0) << code;
    }
    EXPECT_EQ(brain_main_exit(), 0);
    EXPECT_EQ(brain_main_send_data(event), -1);
}

TEST_F(BrainMainApiTest, ExitWithoutAStartIsSilentAndCleanPredictionIsNotProvided) {
    LogCapture log;
    EXPECT_EQ(brain_main_exit(), 0);
    EXPECT_EQ(brain_main_app_clean_predict(), -1);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(BrainMainApiTest, ASecondStartChangesNothing) {
    ASSERT_EQ(brain_main_init(nullptr), 0);
    LogCapture log;
    EXPECT_EQ(brain_main_init(nullptr), 0);
    // The worker may still be logging its first turn.
    EXPECT_THAT(log.texts(), Not(Contains(HasSubstr("brain_main_init"))));
    EXPECT_EQ(workers(), 1);
}

TEST_F(BrainMainApiTest, AStartWhoseWorkerCouldNotBeWokenFailsAndTheNextSucceeds) {
    const LogCapture log(5);
    {
        const FailingEpoll failing;
        EXPECT_EQ(brain_main_init(nullptr), -1);
    }
    EXPECT_TRUE(log.contains("ERROR  brainMain thread start error!!!"));
    EXPECT_TRUE(workersHaveLeft());
    EXPECT_EQ(brain_main_init(nullptr), 0);
    open("com.mail");
}

TEST_F(BrainMainApiTest, LearnsAndRemembersAcrossARestart) {
    const std::vector<std::string> before = {"untouched"};
    std::vector<std::string> packages = before;
    EXPECT_EQ(brain_main_app_preload_predict(packages), 0);
    EXPECT_EQ(packages, before) << "nothing was ever started";

    ASSERT_EQ(brain_main_init(nullptr), 0);
    EXPECT_EQ(brain_main_app_preload_predict(packages), 0);
    EXPECT_THAT(packages, IsEmpty()) << "a fresh engine knows nothing";
    useTwoApps();
    packages = predict();
    ASSERT_THAT(packages, SizeIs(2));
    EXPECT_EQ(packages[0], "com.mail") << "com.maps is in front";

    ASSERT_EQ(brain_main_exit(), 0);
    ASSERT_EQ(brain_main_init(nullptr), 0);
    open("com.mail");
    open("com.maps");
    EXPECT_EQ(predict(), packages);
}

TEST_F(BrainMainApiTest, AStoppedEngineAnswersNothingAndTouchesNoFile) {
    ASSERT_EQ(brain_main_init(nullptr), 0);
    useTwoApps();
    ASSERT_EQ(brain_main_exit(), 0);
    mDir.remove();
    std::vector<std::string> packages = {"untouched"};
    LogCapture log(3);
    EXPECT_EQ(brain_main_app_preload_predict(packages), 0);
    EXPECT_THAT(packages, ElementsAre("untouched"));
    EXPECT_THAT(log.texts(), ElementsAre("INFO   call brain_main_app_preload_predict"));
    EXPECT_FALSE(mDir.exists(""));
}

TEST_F(BrainMainApiTest, AnEventThatTheHostHasDroppedIsGivenUpOnTheWorker) {
    ASSERT_EQ(brain_main_init(nullptr), 0);
    auto* tracked = new TrackedEvent;
    std::future<std::thread::id> released = tracked->released();
    sp<BrainEvent> event(tracked);
    LogCapture log(2);
    log.hold("received event what: 0");  // the worker has it, and the host drops it first
    ASSERT_EQ(brain_main_send_data(event), 0);
    event.reset();
    log.release();
    EXPECT_NE(released.get(), std::this_thread::get_id());
}

TEST_F(BrainMainApiTest, AMissingDirectoryMakesPredictionsEmpty) {
    environment::setDataDirectory(mDir.file("missing/parent"));
    LogCapture log(5);
    ASSERT_EQ(brain_main_init(nullptr), 0);
    EXPECT_THAT(log.texts(), Contains("ERROR  Could not create directory status: -1, error: No "
                                      "such file or directory"));
    useTwoApps();
    EXPECT_THAT(predict(), IsEmpty());
}

TEST_F(BrainMainApiTest, AHostThatEndsWithoutAnExitEndsCleanly) {
    EXPECT_EXIT(
        {
            brain_main_init(nullptr);
            open("com.mail");
            exit(7);
        },
        testing::ExitedWithCode(7), "");
}

TEST_F(BrainMainApiTest, AThousandStartsAndStopsLeaveThreadsAndDescriptorsAsTheyWere) {
    brain_main_init(nullptr);
    brain_main_exit();
    ASSERT_TRUE(workersHaveLeft());
    const size_t descriptors = entriesOf("/proc/self/fd").size();
    for (int round = 0; round < 1000; ++round) {
        ASSERT_EQ(brain_main_init(nullptr), 0);
        ASSERT_EQ(brain_main_exit(), 0);
    }
    EXPECT_TRUE(workersHaveLeft());
    EXPECT_EQ(entriesOf("/proc/self/fd").size(), descriptors);
}

TEST_F(BrainMainApiThreads, PredictionsDuringEventsStopsAndStarts) {
    ASSERT_EQ(brain_main_init(nullptr), 0);
    useTwoApps();
    std::atomic<int> busy{4};
    std::vector<std::thread> hosts;
    for (int i = 0; i < 4; ++i) {
        hosts.emplace_back([&busy] {
            for (int j = 0; j < 200; ++j) {
                for (const std::string& package : predict()) {
                    EXPECT_TRUE(package == "com.mail" || package == "com.maps") << package;
                }
            }
            --busy;
        });
    }
    std::thread sender([&busy] {
        while (busy > 0) {
            sp<BrainEvent> event(new BrainEvent);
            event->type = BrainEvent::APP_OPENED;
            event->package = "com.mail";
            brain_main_send_data(event);
        }
    });
    while (busy > 0) {
        EXPECT_EQ(brain_main_exit(), 0);
        EXPECT_EQ(brain_main_init(nullptr), 0);
    }
    for (std::thread& host : hosts) host.join();
    sender.join();
}

}  // namespace
