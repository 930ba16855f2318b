#include "tools/compare/Method.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "tools/compare/TraceScore.h"

namespace {

constexpr TraceTime START = std::chrono::seconds(1709280000);

struct MethodRun {
    std::vector<Guess> guesses;
    std::vector<size_t> trainings;  // the rows before them
    uint64_t top1 = 0;
    uint64_t top4 = 0;
};

MethodRun run(Method method, const Trace& trace) {
    MethodRun result;
    const bool complete = runMethod(
        method, trace, ChargingPlan::always(),
        [&](size_t row, const Guess& guess) {
            EXPECT_EQ(row, result.guesses.size());
            result.guesses.push_back(guess);
            if (guess.rank == 1) ++result.top1;
            if (guess.rank >= 1 && guess.rank <= 4) ++result.top4;
            return true;
        },
        [&](size_t row) { result.trainings.push_back(row); });
    EXPECT_TRUE(complete);
    return result;
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

TEST(Method, TheEngineIsHeldAgainstTheOpeningsThatItCountsItself) {
    const Trace trace = someWeeks();
    const MethodRun engine = run(Method::ENGINE, trace);
    const auto counted =
        runEngine(trace, ChargingPlan::always(), [](size_t, const Guess&) { return true; });
    EXPECT_GT(engine.top1, 50U);
    EXPECT_EQ(engine.top1, static_cast<uint64_t>(counted->bayes.top1));
    EXPECT_EQ(engine.top4, static_cast<uint64_t>(counted->bayes.top4));

    const MethodRun bayes = run(Method::BAYES, trace);
    for (size_t row = 0; row < trace.size(); ++row) {
        expectSame(engine.guesses[row], bayes.guesses[row], row);
    }
    for (const Guess& guess : run(Method::NETWORK, trace).guesses) ASSERT_EQ(guess.length, 0U);
}

TEST(Method, ThePredictorsAloneAnswerAsInTheEngine) {
    Trace trace;
    for (int i = 0; i < 6000; ++i) {
        trace.add(START + std::chrono::seconds(6 * i), "app" + std::to_string(i * i % 37 + i % 3));
    }
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
        EXPECT_FALSE(runMethod(method, trace, ChargingPlan::never(), [&](size_t row, const Guess&) {
            last = row;
            return row < 6;
        }));
        EXPECT_EQ(last, 6U) << methodName(method);
    }
    EXPECT_FALSE(scoreTrace({"t", trace}, ChargingPlan::never(), [] { return true; }));
}

TEST(Method, ScoresAreCountedByLocalDay) {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    Trace trace;
    for (const int hour : {0, 1, 22, 23, 25}) {  // UTC; midnight comes an hour before
        trace.add(START - std::chrono::hours(8) + std::chrono::hours(hour),
                  hour % 2 == 0 ? "a" : "b");
    }
    const auto score = scoreTrace({"t", trace}, ChargingPlan::always(), [] { return false; });
    setenv("TZ", "UTC", 1);
    tzset();
    EXPECT_EQ(score->openings,
              (std::map<std::string, uint64_t>{{"2024-03-01", 3}, {"2024-03-02", 2}}));
    const MethodScore& recent = score->methods[static_cast<size_t>(Method::MOST_RECENT)];
    EXPECT_EQ(recent.answered, 3U);
    EXPECT_EQ(recent.top1, 2U);  // the last opening is of the one in front
    EXPECT_EQ(recent.ranks.at("2024-03-01"), (RankCounts{{1, 1}}));
}

}  // namespace
