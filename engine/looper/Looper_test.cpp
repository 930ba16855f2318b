#include "looper/Looper.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

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

    const LogCapture log;
    timer->addTimerCallback(-1, makeCallback<int>([] { return -1; }));
    timer->processEvents();
    EXPECT_EQ(story, "dropped") << "a timer queue that outlives the looper runs nothing";
    EXPECT_EQ(log.count("WARNING  DelayedTaskContext object is released"), 1);
    EXPECT_EQ(log.count("notifyDelayChange"), 0);
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

}  // namespace
