#include "looper/Looper.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <thread>

#include "base/Latch.h"
#include "base/Logger.h"
#include "looper/LooperThread.h"
#include "looper/test/BootClock.h"
#include "looper/test/LooperTesting.h"

namespace {

using testing::MatchesRegex;

// A looper of the test's own thread, whose turns the test takes.
class LooperTest : public testing::Test {
  protected:
    Callback<void (*)()> append(const char* text) {
        return makeCallback<void>([this, text] { story += text; });
    }
    void turn() { looper->processEvents(0, timer); }

    BootClock clock{1000};
    std::string story;
    const sp<KsTimer> timer{new KsTimer};
    sp<Looper> looper{new Looper(timer)};
};

struct QuitListener : LooperQuitListener {
    explicit QuitListener(std::function<void()> f) : function(std::move(f)) {}
    void onLooperQuit() override { function(); }
    const std::function<void()> function;
};

TEST_F(LooperTest, IsTheCurrentOneOfItsThreadUntilItGoes) {
    EXPECT_EQ(sp<Looper>(new Looper(timer))->getTimer(), timer);
    EXPECT_EQ(Looper::current(), looper.get());
    std::thread([] { EXPECT_EQ(Looper::current(), nullptr); }).join();
    looper.reset();
    EXPECT_EQ(Looper::current(), nullptr);
}

TEST_F(LooperTest, RunsTheTasksOfOneTurnInTheOrderOfTheirPosting) {
    looper->sendTask(append("a"));
    looper->sendTask(makeCallback<void>([&] { looper->sendTask(append("c")); }));
    looper->sendTask(append("b"));
    turn();
    EXPECT_EQ(story, "ab");
    turn();
    EXPECT_EQ(story, "abc");
}

TEST_F(LooperTest, ADelayedTaskWritesTheseLines) {
    timer->setTimerNotifier(looper.get());
    LogCapture log;
    looper->sendDelayTask(append("a"), 5);
    EXPECT_THAT(logged(log),
                MatchesRegex(">sendDelayTask\nDEBUG  record DelayedTaskContext new object 0x.*\n"
                             ">notifyDelayChange\n>wake\n<wake\n<notifyDelayChange\n"
                             "DEBUG  addTimerEvent: Add TimerCallback to queue - Ks.*\n"
                             "<sendDelayTask\n"));
    log.clear();
    clock.advance(5);
    turn();
    EXPECT_THAT(logged(log),
                MatchesRegex(".*\n>taskProcessor\n>releaseDelayTask\n<removeTimerCallback\n"
                             "DEBUG  release DelayedTaskContext object 0x.*\n"
                             "<releaseDelayTask\n<taskProcessor\n.*"));
}

TEST_F(LooperTest, DelayedTasksRunAsTimersUnlessTheyAreReleased) {
    const int later = looper->sendDelayTask(append("later "), 10);
    const int never = looper->sendDelayTask(append("never "), 10);
    const auto releaseItself = [&] { story += std::to_string(looper->releaseDelayTask(3)); };
    EXPECT_EQ(looper->sendDelayTask(makeCallback<void>(releaseItself), 0), 3);
    looper->sendTask(append(" task "));
    turn();
    EXPECT_EQ(story, "0 task ");
    EXPECT_EQ(looper->releaseDelayTask(never), 1);
    EXPECT_EQ(looper->releaseDelayTask(never), 0) << "released before";
    clock.advance(10);
    turn();
    EXPECT_EQ(story, "0 task later ");
    EXPECT_EQ(looper->releaseDelayTask(later), 0) << "has run";
    const LogCapture log(LEVEL_ERROR);
    clock.breakAfter(0);
    EXPECT_EQ(looper->sendDelayTask(append("error "), 0), -1);
    EXPECT_TRUE(log.contains("ERROR  sendDelayTask: initTimerEvent error!!!\n"));
}

TEST_F(LooperTest, TellsItsQuitListenersOnceAndInOrder) {
    const sp<LooperQuitListener> last(new QuitListener([&] { story += "last "; }));
    const sp<LooperQuitListener> second(new QuitListener([&] { story += "second "; }));
    sp<LooperQuitListener> first;
    first = new QuitListener([&] {
        story += "first ";
        looper->removeQuitListener(first);
        looper->removeQuitListener(second);
    });
    for (const auto& listener : {first, second, last, last}) looper->addQuitListener(listener);
    looper->addTerminatedHandler();
    looper->run();
    looper.reset();
    EXPECT_EQ(story, "first last last ");
}

TEST_F(LooperTest, DropsWhatHasNotRunEvenIfThatPostsOnceMore) {
    Looper* const raw = looper.get();
    sp<RefBase> held(new AtRelease([&] {
        raw->sendTask(append("a"));
        raw->sendDelayTask(append("b"), 0);
        story += "dropped";
    }));
    looper->sendTask(makeCallback<void>([held] {}));
    const int id = looper->sendDelayTask(makeCallback<void>([held] {}), 0);
    held.reset();
    timer->setTimerNotifier(raw);
    looper->releaseDelayTask(id);
    looper.reset();
    EXPECT_EQ(story, "dropped");

    EXPECT_EQ(timer->nextTimerEvent(), -1) << "a timer queue that outlives the looper";
    const LogCapture log;
    timer->addTimerCallback(-1, makeCallback<int>([] { return -1; }));
    timer->processEvents();
    EXPECT_EQ(log.count("notifyDelayChange"), 0);
}

// The timer queue, which this test holds as well, must keep neither the tasks nor their timers.
TEST_F(LooperTest, ReleasesDelayedTasksBeforeItIsGone) {
    Looper* const raw = looper.get();
    int released = 0;
    const auto holdUntilDropped = [&] {
        const sp<RefBase> held(new AtRelease([&] { ++released, raw->sendTask(append("never")); }));
        looper->sendDelayTask(makeCallback<void>([held] {}), 5);
    };
    for (int i = 0; i < 3; ++i) holdUntilDropped();
    timer->addTimerCallback(7, makeCallback<int>([] { return -1; }));
    looper.reset();
    EXPECT_EQ(released, 3);
    EXPECT_EQ(story, "");
    EXPECT_EQ(timer->nextTimerEvent(), 7) << "what is not the looper's stays";
}

// Another thread releases the task when its timer has just been popped, or when it has just run.
TEST_F(LooperTest, ADelayedTaskIsReleasedInTimeOrNotAtAll) {
    const std::pair<const char*, const char*> cases[] = {{"-->InTo : taskProcessor", "1"},
                                                         {"-->InTo : releaseDelayTask", "run0"}};
    for (const auto& [line, expected] : cases) {
        story.clear();
        const int id = looper->sendDelayTask(append("run"), 0);
        const AtLogLine race(line, [&] { story += std::to_string(looper->releaseDelayTask(id)); });
        turn();
        EXPECT_EQ(story, expected);
    }
}

// Another thread posts just before the wake descriptor is read, or just after.
TEST_F(LooperTest, ATaskThatComesWhileAWakeIsServedRunsAndTheNextOneWakesAgain) {
    for (const char* const line : {"-->InTo : clearRead", "-->Back : clearRead"}) {
        story.clear();
        looper->wake();
        {
            const AtLogLine race(line, [&] { looper->sendTask(append("a")); });
            turn();
        }
        EXPECT_EQ(story, "a") << line;
        looper->sendTask(append("b"));
        pollfd wakeDescriptor{looper->getEventFd(), POLLIN, 0};
        EXPECT_EQ(poll(&wakeDescriptor, 1, 0), 1) << line;
        turn();
        EXPECT_EQ(story, "ab");
    }
}

// While tasks run nobody writes: the loop does so itself, once, when they have run.
TEST_F(LooperTest, AWakeDuringATurnIsWrittenAtItsEnd) {
    pollfd wakeDescriptor{looper->getEventFd(), POLLIN, 0};
    looper->sendTask(makeCallback<void>([&] {
        for (int wakes = 0; wakes < 3; ++wakes) looper->wake();
        EXPECT_EQ(poll(&wakeDescriptor, 1, 0), 0);
    }));
    turn();
    uint64_t written = 0;
    EXPECT_EQ(read(looper->getEventFd(), &written, sizeof(written)), 8);
    EXPECT_EQ(written, 1u);
}

// A loop that is told to end after it has looked for tasks takes another turn.
TEST_F(LooperTest, LosesNoTaskThatWasPostedBeforeItsEnd) {
    looper->wake();
    const AtLogLine race("-->Back : processTasks", [&] {
        looper->sendTask(append("task"));
        looper->addTerminatedHandler();
    });
    looper->run();
    EXPECT_EQ(story, "task");
}

TEST(LooperThreads, ADelayedTaskIsEitherReleasedOrRun) {
    const sp<LooperThread> worker(new LooperThread);
    worker->start("worker", 0, 0);
    Looper* const looper = worker->getLooper();
    std::atomic<int> wrong{0};
    const auto postAndRelease = [&] {
        for (int i = 0; i < 100; ++i) {
            const auto runs = std::make_shared<std::atomic<int>>(0);
            const auto task = makeCallback<void>([runs] { ++*runs; });
            const int id = looper->sendDelayTask(task, i % 2);
            if (i % 3 == 0) std::this_thread::yield();
            const int released = looper->releaseDelayTask(id);
            while (released == 0 && *runs == 0) std::this_thread::yield();
            wrong += *runs + released != 1;
        }
    };
    std::thread other(postAndRelease);
    postAndRelease();
    other.join();
    worker->requestExitAndWait();
    EXPECT_EQ(wrong, 0);
}

// Each waits for its task: the loop falls asleep again and again, and a lost wake would be for
// ever.
TEST(LooperThreads, EveryPostWakesTheLoop) {
    const sp<LooperThread> worker(new LooperThread);
    worker->start("worker", 0, 0);
    Looper* const looper = worker->getLooper();
    const auto post = [&] {
        for (int i = 0; i < 1000; ++i) {
            Latch done(1);
            const auto task = makeCallback<void>([&] { done.countDown(); });
            if (i % 2 == 0) looper->sendTask(task);
            if (i % 2 != 0) looper->sendDelayTask(task, 0);
            done.wait();
        }
    };
    std::thread one(post);
    std::thread other(post);
    post();
    one.join();
    other.join();
    worker->requestExitAndWait();
}

}  // namespace
