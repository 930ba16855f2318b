#include "tools/compare/Method.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "platform/testing/TempDir.h"

namespace {

constexpr TraceTime START = std::chrono::seconds(1709280000);

MethodRun run(Method method, const Trace& trace) {
    const auto run = runMethod(method, trace, ChargingPlan::always(), [](size_t) { return true; });
    EXPECT_EQ(run->guesses.size(), trace.size());
    return *run;
}

void expectSame(const Guess& a, const Guess& b, size_t row) {
    ASSERT_EQ(a.length, b.length) << row;
    ASSERT_EQ(a.rank, b.rank) << row;
}

// Habits with noise; some names the engine ignores or cannot learn.
Trace someWeeks() {
    std::mt19937 random(3);
    Trace trace;
    uint32_t app = 0;
    for (int row = 0; row < 500; ++row) {
        app = random() % 3 == 0 ? static_cast<uint32_t>(random() % 12) : (app * 5 + 1) % 12;
        std::string name = "com.app" + std::to_string(app);
        if (app == 4) name = "com.veltra.launcher";
        if (app == 9) name = "has blanks";
        trace.add(START + std::chrono::minutes(37 * row), name);
    }
    return trace;
}

using Lists = std::vector<std::vector<std::string>>;  // after each row

// Follows each name from where it comes among the first `places` to where it is opened or drops
// out.
uint64_t unusedOf(const Trace& trace, const Lists& lists, size_t places) {
    const auto isFirst = [&](size_t row, const std::string& name) {
        const auto end =
            lists[row].begin() + static_cast<std::ptrdiff_t>(std::min(places, lists[row].size()));
        return std::find(lists[row].begin(), end, name) != end;
    };
    uint64_t unused = 0;
    for (const std::string& name : trace.names()) {
        for (size_t row = 0; row < trace.size(); ++row) {
            if (!isFirst(row, name)) continue;
            if (row > 0 && (isFirst(row - 1, name) || trace.name(row - 1) == name)) continue;
            size_t next = row + 1;
            while (next < trace.size() && trace.name(next) != name && isFirst(next, name)) ++next;
            unused += next < trace.size() && trace.name(next) != name ? 1 : 0;
        }
    }
    return unused;
}

TEST(Method, TheEngineAnswersAsInAReplay) {
    const Trace trace = someWeeks();
    const TempDir directory;
    Replayer replayer(ChargingPlan::always(), directory.path());
    Lists answers;
    replayer.run(trace, [&](size_t, const std::vector<std::string>& answer) {
        answers.push_back(answer);
        return true;
    });

    const MethodRun engine = run(Method::ENGINE, trace);
    const MethodRun bayes = run(Method::BAYES, trace);
    EXPECT_EQ(engine.guesses[0].length, 0U);
    int hits = 0;
    Lists lists;
    for (size_t row = 0; row < trace.size(); ++row) {
        std::vector<std::string>& list = lists.emplace_back();
        for (const std::string& name : answers[row]) {
            if (name != trace.name(row)) list.push_back(name);
        }
    }
    for (size_t row = 1; row < trace.size(); ++row) {
        const std::vector<std::string>& list = lists[row - 1];
        ASSERT_EQ(engine.firsts[row] == NO_NAME, list.empty()) << row;
        if (!list.empty()) ASSERT_EQ(trace.names()[engine.firsts[row]], list[0]) << row;
        const auto place = std::find(list.begin(), list.end(), trace.name(row));
        const auto rank = place == list.end() ? 0 : place - list.begin() + 1;
        ASSERT_EQ(engine.guesses[row].length, list.size()) << row;
        ASSERT_EQ(engine.guesses[row].rank, rank) << row;
        expectSame(engine.guesses[row], bayes.guesses[row], row);
        hits += rank == 1 ? 1 : 0;
    }
    EXPECT_GT(hits, 50);
    for (size_t places = 1; places <= MOST_PRELOADED; ++places) {
        EXPECT_EQ(engine.unused[places - 1], unusedOf(trace, lists, places)) << places;
    }
    EXPECT_GT(engine.unused[3], 50U);
    EXPECT_EQ(bayes.unused, engine.unused);
    for (const Guess& guess : run(Method::NETWORK, trace).guesses) ASSERT_EQ(guess.length, 0U);
}

// Enough for two trainings.
Trace sixThousand() {
    Trace trace;
    for (int i = 0; i < 6000; ++i) {
        trace.add(START + std::chrono::seconds(6 * i), "app" + std::to_string(i * i % 37 + i % 3));
    }
    return trace;
}

TEST(Method, ThePredictorsAloneAnswerAsInTheEngine) {
    const Trace trace = sixThousand();
    const MethodRun engine = run(Method::ENGINE, trace);
    const MethodRun network = run(Method::NETWORK, trace);
    const MethodRun bayes = run(Method::BAYES, trace);
    ASSERT_EQ(engine.trainings.size(), 2U);
    EXPECT_EQ(network.trainings, engine.trainings);
    // The first answer that the network can give comes after the opening behind its training.
    const size_t first = engine.trainings[0] + 2;
    for (size_t row = 0; row < trace.size(); ++row) {
        ASSERT_EQ(engine.guesses[row].network, row >= first) << row;
        expectSame(engine.guesses[row], (row < first ? bayes : network).guesses[row], row);
        if (row < first) ASSERT_EQ(network.guesses[row].length, 0U);
    }
    EXPECT_GT(bayes.guesses.back().length, 30U);
}

TEST(Method, StopsWhenItIsTold) {
    const Trace trace = someWeeks();
    for (const Method method : METHODS) {
        size_t last = 0;
        EXPECT_FALSE(runMethod(method, trace, ChargingPlan::never(), [&](size_t row) {
            EXPECT_LT(last, 6U) << "asked again";
            last = row;
            return row < 6;
        }));
        EXPECT_EQ(last, 6U) << methodName(method);
    }
}

TEST(Method, StopsWhileItTrains) {
    const Trace trace = sixThousand();
    for (const Method method : {Method::ENGINE, Method::NETWORK}) {
        size_t last = 0;
        size_t times = 0;  // that it was asked about a row: often only while it waits there
        EXPECT_FALSE(runMethod(method, trace, ChargingPlan::always(), [&](size_t row) {
            times = row == last ? times + 1 : 1;
            last = row;
            return times < 10;
        }));
        EXPECT_LT(last, trace.size()) << methodName(method);
    }
}

}  // namespace
