#include "tools/synth/DemoTrace.h"

#include <gtest/gtest.h>

#include "platform/test/TempDir.h"
#include "tools/common/DataDirectory.h"
#include "tools/replay/Replayer.h"

namespace {

TEST(DemoTrace, SeedIsAPerson) {
    EXPECT_EQ(makeDemoTrace(7), makeDemoTrace(7));
    EXPECT_NE(makeDemoTrace(7), makeDemoTrace(8));
}

TEST(DemoTrace, GivesBothPredictorsWorkAndNightsAreQuiet) {
    const TempDir input;
    const TemporaryDirectory data;
    for (const uint64_t seed : {1U, 2U, 3U}) {
        input.write("t.csv", makeDemoTrace(seed));
        const Trace trace = Trace::read(input.file("t.csv"));
        EXPECT_GE(trace.size(), 9000U);
        EXPECT_GE(trace.names().size(), 45U);
        EXPECT_GT(trace.time(trace.size() - 1) - trace.time(0), std::chrono::hours(24 * 54));
        for (size_t row = 0; row < trace.size(); ++row) {
            const time_t hour = wholeSeconds(trace.time(row)) / 3600 % 24;
            ASSERT_TRUE(hour == 0 || hour >= 6) << "row " << row;
        }
        if (seed > 1) continue;
        Replayer replayer(ChargingPlan::parse("23:00-07:00"), data.path());
        const auto result = replayer.run(trace, [](size_t, const auto&) { return true; });
        for (const PredictorScore& score : {result->bayes, result->network}) {
            EXPECT_GT(score.opened, 1000);
            EXPECT_LT(score.top4, score.opened * 0.95);
            EXPECT_GT(score.top4, score.opened * 0.40);
        }
    }
}

}  // namespace
