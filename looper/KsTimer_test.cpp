#include "looper/KsTimer.h"

#include <android/log.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <sstream>
#include <thread>

#include "base/Logger.h"
#include "looper/test/BootClock.h"
#include "looper/test/LooperTesting.h"

namespace {

using testing::ElementsAre;
using testing::StartsWith;

constexpr long NOW = 1000;  // seconds

struct CountingNotifier : TimerNotifier {
    void notifyDelayChange() override { ++calls; }
    int calls = 0;
};

class KsTimerTest : public testing::Test {
  protected:
    int add(long long delayMs, std::function<int()> function) {
        return timer->addTimerCallback(delayMs, makeCallback<int>(std::move(function)));
    }
    static int append(void* text) { return *static_cast<std::string*>(text) += "!", -1; }

    BootClock clock{NOW};
    const sp<KsTimer> timer{new KsTimer};
};

TEST_F(KsTimerTest, CarriesButDoesNotBorrowWhenADelayIsAdded) {
    const struct {
        long long ms;
        timespec sum;
    } cases[] = {
        {1600, {12, 0}},
        {1599, {11, 999000000}},
        {-1500, {9, -100000000}},
        {LLONG_MAX, {9223372036854786, 207000000}},
        {LLONG_MIN, {-9223372036854765, -408000000}},
    };
    for (const auto& c : cases) {
        timespec t{10, 400000000};
        timer->addDelayToTimeval(c.ms, t);
        EXPECT_EQ(KsTimer::cmpTimeSpec(t, c.sum), 0)
            << c.ms << ": " << t.tv_sec << " " << t.tv_nsec;
    }
    timespec out{};
    KsTimer::subTimeSpec({3, 200000000}, {1, 900000000}, out);
    EXPECT_EQ(KsTimer::cmpTimeSpec(out, {1, 300000000}), 0);
    KsTimer::addTimeSpec({3, 200000000}, {1, 900000000}, out);
    EXPECT_EQ(KsTimer::cmpTimeSpec(out, {5, 100000000}), 0);
    EXPECT_EQ(KsTimer::cmpTimeSpec(out, {5, 100000001}), -1);
}

TEST_F(KsTimerTest, WaitsWholeMillisecondsIn32Bits) {
    const struct {
        timespec due;
        int wait;
    } cases[] = {
        {{NOW + 1, 100}, 1001},
        {{NOW, 500000}, 1},
        {{NOW, 0}, 0},
        {{NOW - 1, 999999999}, 0},
        {{NOW, -1}, 0},
        {{NOW + 2147483, 647000000}, INT_MAX},
        {{NOW + 2147483, 648000000}, INT_MIN},
        {{NOW + 9223372036854775, 807000001}, 0},  // wraps
    };
    EXPECT_EQ(timer->nextTimerEvent(), -1) << "no timer";
    for (const auto& c : cases) {
        KsTimerEvent event;
        event.triggerTime = c.due;
        timer->addTimerEvent(event);
        EXPECT_EQ(timer->nextTimerEvent(), c.wait) << c.due.tv_sec << " " << c.due.tv_nsec;
        timer->clearTimerQueue();
    }
}

TEST_F(KsTimerTest, FiresInTheOrderOfTheDeadlines) {
    std::string fired;
    for (const int delay : {300, 100, 200, -1}) {
        add(delay, [&fired, delay] { return fired += std::to_string(delay) + " ", -1; });
    }
    timer->processEvents();
    EXPECT_EQ(fired, "-1 ");
    clock.advance(250);
    timer->processEvents();
    EXPECT_EQ(fired, "-1 100 200 ");
    EXPECT_EQ(timer->nextTimerEvent(), 50);
}

TEST_F(KsTimerTest, TheResultOfACallbackDecidesWhatBecomesOfItsTimer) {
    const LogCapture log(LEVEL_WARNING);
    const int results[] = {0, 250, 0, -7, -1};
    int runs = 0;
    add(100, [&] { return results[runs++]; });
    for (const int wait : {100, 250, 250, 250, -1}) {
        clock.advance(timer->nextTimerEvent());
        timer->processEvents();
        EXPECT_EQ(timer->nextTimerEvent(), wait) << "after run " << runs;
    }
    EXPECT_EQ(logged(log), "WARNING  invalid delay (-7), using (250) default\n");
    add(0, [&] { return ++runs < 8 ? 0 : -1; });
    timer->processEvents();
    EXPECT_EQ(runs, 8) << "due again at once, and so again in the same call";
}

TEST_F(KsTimerTest, TellsItsNotifierOfANewFirstDeadlineOnly) {
    CountingNotifier notifier;
    timer->setTimerNotifier(&notifier);
    add(100, [&] { return timer->removeTimerCallback(1), 40; });  // too late: it is in no queue
    add(200, [] { return -1; });
    EXPECT_EQ(notifier.calls, 1);
    clock.advance(100);
    timer->processEvents();
    EXPECT_EQ(timer->nextTimerEvent(), 40);
    EXPECT_EQ(notifier.calls, 1) << "not when a timer repeats";
    CountingNotifier stranger;
    timer->clearTimerNotifier(&stranger);
    add(10, [] { return -1; });
    EXPECT_EQ(notifier.calls, 2);
    timer->clearTimerNotifier(&notifier);
    add(5, [] { return -1; });
    EXPECT_EQ(notifier.calls, 2);
}

TEST_F(KsTimerTest, RemovesByIdAndLogsWhatItKeeps) {
    std::string fired;
    timer->addTimerCallback(200, append, &fired);
    EXPECT_EQ(add(100, [&] { return fired += "second", -1; }), 2);
    const LogCapture log;
    timer->removeTimerCallback(77);
    timer->removeTimerCallback(1);
    EXPECT_THAT(log.texts(),
                ElementsAre("DEBUG  removeTimedCallback, e.id: 2, id: 77",
                            "DEBUG  removeTimedCallback, e.id: 1, id: 77",
                            "TRACE  -->Back : removeTimerCallback",
                            "DEBUG  removeTimedCallback, e.id: 2, id: 1",
                            StartsWith("DEBUG  removeTimedCallback: KsTimerEvent--id:1 callback:1"),
                            "TRACE  -->Back : removeTimerCallback"));
    clock.advance(200);
    timer->processEvents();
    EXPECT_EQ(fired, "second");
}

TEST_F(KsTimerTest, WhatARemovedCallbackHeldMayCallBack) {
    for (const bool clear : {false, true}) {
        sp<RefBase> held(new AtRelease([&] { timer->addTimerCallback(5, append, nullptr); }));
        const int id = add(100, [held] { return -1; });
        held.reset();
        clear ? timer->clearTimerQueue() : timer->removeTimerCallback(id);
        EXPECT_EQ(timer->nextTimerEvent(), 5);
    }
}

TEST_F(KsTimerTest, ATimerWithoutACallbackEndsTheCall) {
    std::string fired;
    const LogCapture log(LEVEL_ERROR);
    timer->addTimerCallback(-3000, nullptr, nullptr);
    timer->addTimerCallback(-2000, Callback<int (*)()>());
    timer->addTimerCallback(-1000, append, &fired);
    timer->processEvents();
    timer->processEvents();
    EXPECT_EQ(fired, "");
    EXPECT_EQ(logged(log), "ERROR  callback is null: id 1\nERROR  callback is null: id 2\n");
    timer->processEvents();
    EXPECT_EQ(fired, "!");
}

TEST_F(KsTimerTest, ReportsAClockThatCannotBeRead) {
    add(0, [] { return 0; });
    const LogCapture log(LEVEL_ERROR);
    clock.breakAfter(2);
    timer->processEvents();
    KsTimerEvent event;
    EXPECT_EQ(timer->addTimerCallback(0, append, nullptr), -1);
    EXPECT_FALSE(timer->initTimerEvent(event, 7, makeCallback<int>([] { return -1; })));
    EXPECT_TRUE(event == KsTimerEvent()) << "untouched";
    EXPECT_EQ(timer->nextTimerEvent(), -1);
    const std::string end = " failed to get the current time: " + std::string(strerror(EPERM));
    EXPECT_THAT(
        log.texts(),
        ElementsAre("ERROR  processEvents:" + end, "ERROR  addTimedCallback:" + end,
                    "ERROR  createTimerEvent:" + end, "ERROR  nextTimerEvent: return -1 as" + end));
    clock.breakAfter(-1);
    EXPECT_EQ(timer->nextTimerEvent(), -1) << "the repeating timer was lost";
}

TEST_F(KsTimerTest, PreparesAnEventWithoutQueueingIt) {
    KsTimerEvent event;
    event.data = this;
    ASSERT_TRUE(timer->initTimerEvent(event, 1500, makeCallback<int>([] { return -1; })));
    std::ostringstream expected;
    expected << "KsTimerEvent--id:1 callback:0 data:" << this
             << " TaskCallback: " << reinterpret_cast<void*>(&event.callback)
             << " delay:1500 triggerTime:1001s 500000000us";
    EXPECT_EQ(event.toString(), expected.str());
    EXPECT_EQ(timer->nextTimerEvent(), -1);
    KsTimerEvent other = event;
    other.id = 2;
    EXPECT_TRUE(event == other) << "the id does not count";
    other.TaskCallback = makeCallback<int>([] { return -1; });
    EXPECT_FALSE(event == other);
}

sp<KsTimer> gRaced;

// As if another thread removed the timer that has just been found due.
void removeWhatIsDue(const __android_logger_data*, const char* message) {
    if (strstr(message, "need to process ASAP") != nullptr) {
        std::thread([] { gRaced->removeTimerCallback(1); }).join();
    }
}

TEST_F(KsTimerTest, TheTimerBehindARemovedOneWaitsForItsOwnTime) {
    gRaced = timer;
    int runs = 0;
    add(0, [&] { return ++runs, -1; });
    add(300000, [&] { return ++runs, -1; });
    {
        const LogCapture log(LEVEL_DEBUG);
        __android_log_set_logger(removeWhatIsDue);
        timer->processEvents();
    }
    EXPECT_EQ(runs, 0);
    EXPECT_EQ(timer->nextTimerEvent(), 300000);
}

TEST(KsTimerThreads, EveryTimerOfEveryThreadFiresOnce) {
    constexpr int TIMERS = 100;
    const sp<KsTimer> timer(new KsTimer);
    CountingNotifier notifier;
    std::atomic<int> fired{0};
    const auto count = makeCallback<int>([&] { return ++fired, -1; });
    const auto add = [&] {
        for (int i = 0; i < TIMERS; ++i) {
            timer->setTimerNotifier(i % 2 == 0 ? &notifier : nullptr);
            timer->addTimerCallback(0, count);
            timer->removeTimerCallback(timer->addTimerCallback(60000, count));
        }
    };
    std::thread one(add);
    std::thread two(add);
    while (fired < 2 * TIMERS) timer->processEvents();
    one.join();
    two.join();
    EXPECT_EQ(fired, 2 * TIMERS);
    EXPECT_EQ(timer->nextTimerEvent(), -1);
}

}  // namespace
