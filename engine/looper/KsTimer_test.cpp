#include "looper/KsTimer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <thread>

#include "base/Logger.h"
#include "looper/test/BootClock.h"
#include "looper/test/LooperTesting.h"

namespace {

using testing::MatchesRegex;

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
    const std::pair<long long, timespec> cases[] = {{1600, {12, 0}},
                                                    {1599, {11, 999000000}},
                                                    {-1500, {9, -100000000}},
                                                    {LLONG_MAX, {9223372036854786, 207000000}},
                                                    {LLONG_MIN, {-9223372036854765, -408000000}}};
    for (const auto& [ms, sum] : cases) {
        timespec t{10, 400000000};
        timer->addDelayToTimeval(ms, t);
        EXPECT_EQ(KsTimer::cmpTimeSpec(t, sum), 0) << ms << ": " << t.tv_sec << " " << t.tv_nsec;
    }
    timespec sum{};
    KsTimer::addTimeSpec({3, 200000000}, {1, 900000000}, sum);
    EXPECT_EQ(KsTimer::cmpTimeSpec(sum, {5, 100000000}), 0);
    EXPECT_EQ(KsTimer::cmpTimeSpec(sum, {5, 100000001}), -1);
}

TEST_F(KsTimerTest, WaitsWholeMillisecondsIn32Bits) {
    const std::pair<timespec, int> cases[] = {{{NOW + 1, 100}, 1001},
                                              {{NOW, 500000}, 1},
                                              {{NOW, 0}, 0},
                                              {{NOW - 1, 999999999}, 0},
                                              {{NOW, -1}, 0},
                                              {{NOW + 2147483, 647000000}, INT_MAX},
                                              {{NOW + 2147483, 648000000}, INT_MIN},
                                              {{NOW + 9223372036854775, 807000001}, 0}};
    EXPECT_EQ(timer->nextTimerEvent(), -1) << "no timer";
    for (const auto& [due, wait] : cases) {
        KsTimerEvent event;
        event.triggerTime = due;
        timer->addTimerEvent(event);
        EXPECT_EQ(timer->nextTimerEvent(), wait) << due.tv_sec << " " << due.tv_nsec;
        timer->clearTimerQueue();
    }
}

TEST_F(KsTimerTest, FiresInTheOrderOfTheDeadlines) {
    std::string fired;
    for (const int ms : {300, 100, 200, -1}) {
        add(ms, [&fired, ms] { return fired += std::to_string(ms) + " ", -1; });
    }
    clock.advance(250);
    timer->processEvents();
    EXPECT_EQ(fired, "-1 100 200 ");
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
    timer->clearTimerNotifier(nullptr);
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
    EXPECT_THAT(logged(log),
                MatchesRegex(
                    "DEBUG  removeTimedCallback, e.id: 2, id: 77\n"
                    "DEBUG  removeTimedCallback, e.id: 1, id: 77\n<removeTimerCallback\n"
                    "DEBUG  removeTimedCallback, e.id: 2, id: 1\n"
                    "DEBUG  removeTimedCallback: KsTimerEvent--id:1 .*us\n<removeTimerCallback\n"));
    clock.advance(200);
    timer->processEvents();
    EXPECT_EQ(fired, "second");
}

TEST_F(KsTimerTest, RemovesManyAtOnceAndKeepsTheOthersInOrder) {
    std::string fired;
    std::vector<int> removed;
    for (int ms = 40; ms > 0; --ms) {
        const int id = add(ms, [&fired, ms] { return fired += std::to_string(ms) + " ", -1; });
        if (ms % 10 != 0) removed.push_back(id);
    }
    const LogCapture log(LEVEL_DEBUG);
    timer->removeTimerCallbacks(removed);
    EXPECT_EQ(log.count("removeTimedCallback: KsTimerEvent--id:"), 36);
    clock.advance(40);
    timer->processEvents();
    EXPECT_EQ(fired, "10 20 30 40 ");
}

TEST_F(KsTimerTest, ATimerWithoutACallbackEndsTheCall) {
    std::string fired;
    const LogCapture log(LEVEL_ERROR);
    timer->addTimerCallback(-3000, nullptr, nullptr);
    timer->addTimerCallback(-2000, Callback<int (*)()>());
    timer->addTimerCallback(-1000, append, &fired);
    for (const char* const expected : {"", "", "!"}) {
        timer->processEvents();
        EXPECT_EQ(fired, expected);
    }
    EXPECT_EQ(logged(log), "ERROR  callback is null: id 1\nERROR  callback is null: id 2\n");
}

TEST_F(KsTimerTest, ReportsAClockThatCannotBeRead) {
    add(0, [] { return 0; });
    const LogCapture log(LEVEL_ERROR);
    clock.breakAfter(1);
    timer->processEvents();
    KsTimerEvent event;
    EXPECT_EQ(timer->addTimerCallback(0, append, nullptr), -1);
    EXPECT_FALSE(timer->initTimerEvent(event, 7, makeCallback<int>([] { return -1; })));
    EXPECT_TRUE(event == KsTimerEvent()) << "untouched";
    EXPECT_EQ(timer->nextTimerEvent(), -1);
    const std::string end = " failed to get the current time: Operation not permitted\n";
    EXPECT_EQ(logged(log), "ERROR  processEvents:" + end + "ERROR  addTimedCallback:" + end +
                               "ERROR  createTimerEvent:" + end +
                               "ERROR  nextTimerEvent: return -1 as" + end);
    clock.breakAfter(-1);
    EXPECT_EQ(timer->nextTimerEvent(), -1) << "the repeating timer was lost";
}

TEST_F(KsTimerTest, PreparesAnEventWithoutQueueingIt) {
    KsTimerEvent event;
    ASSERT_TRUE(timer->initTimerEvent(event, 1500, makeCallback<int>([] { return -1; })));
    EXPECT_EQ(timer->nextTimerEvent(), -1);
    char address[32];
    snprintf(address, sizeof(address), "%p", static_cast<void*>(&event.callback));
    EXPECT_EQ(event.toString(),
              "KsTimerEvent--id:1 callback:0 data:(nil) TaskCallback: " + std::string(address) +
                  " delay:1500 triggerTime:1001s 500000000us");
}

TEST_F(KsTimerTest, TheTimerBehindARemovedOneWaitsForItsOwnTime) {
    int runs = 0;
    add(0, [&] { return ++runs, -1; });
    add(300000, [&] { return ++runs, -1; });
    const AtLogLine race("need to process ASAP", [&] { timer->removeTimerCallback(1); });
    timer->processEvents();
    EXPECT_EQ(runs, 0);
    EXPECT_EQ(timer->nextTimerEvent(), 300000);
}

TEST(KsTimerThreads, EveryTimerOfEveryThreadFiresOnce) {
    const sp<KsTimer> timer(new KsTimer);
    std::atomic<int> fired{0};
    const auto count = makeCallback<int>([&] { return ++fired, -1; });
    const auto add = [&] {
        for (int i = 0; i < 100; ++i) {
            timer->addTimerCallback(0, count);
            timer->removeTimerCallback(timer->addTimerCallback(60000, count));
        }
    };
    std::thread other(add);
    std::thread firing([&] {
        while (fired < 200) timer->processEvents();
    });
    add();
    other.join();
    firing.join();
    timer->processEvents();
    EXPECT_EQ(fired, 200);
}

}  // namespace
