#include "tools/compare/Comparison.h"

#include <gmock/gmock.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tools/common/JsonLine.h"
#include "tools/compare/ComparisonTable.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr size_t TOP_1 = 0;
constexpr size_t ENGINE = 0;
constexpr size_t ORDER_1 = 5;

void addDay(TraceScore& score, size_t method, const std::string& day, uint32_t rank,
            uint64_t times) {
    score.methods[method].answered += times;
    if (rank > 0) score.methods[method].ranks[day][rank] += times;
}

// Ten openings a day, of which the engine has `hits[day]` first and nobody else has any.
TraceScore trace(const std::string& name, const std::vector<uint64_t>& hits) {
    TraceScore score;
    score.name = name;
    for (size_t i = 0; i < hits.size(); ++i) {
        const std::string day = "2026-01-" + std::to_string(10 + i);
        score.openings[day] = 10;
        addDay(score, ENGINE, day, 1, hits[i]);
    }
    return score;
}

Comparison compareScores(const std::vector<TraceScore>& scores, uint64_t seed) {
    ScoreSum sum;
    for (const TraceScore& score : scores) sum.add(score);
    return compareMethods(sum, seed);
}

TEST(Comparison, AConstantHasNoSpread) {
    const Comparison result = compareScores({trace("a", {3, 3, 3}), trace("b", {3, 3})}, 1);
    EXPECT_EQ(result.units, 5U);
    for (const Estimate& estimate : result.methods[ENGINE]) {
        EXPECT_DOUBLE_EQ(estimate.value, 0.3);
        EXPECT_DOUBLE_EQ(estimate.interval->low, 0.3);
        EXPECT_DOUBLE_EQ(estimate.interval->high, 0.3);
    }
}

// Days with all or none: the rate's standard error is half over the root of their number.
TEST(Comparison, IntervalsAreAsWideAsTheoryHasIt) {
    std::vector<uint64_t> hits;
    for (size_t i = 0; i < 80; ++i) hits.push_back(i % 2 == 0 ? 10 : 0);
    const double margin = 1.96 * 0.5 / std::sqrt(80.0);
    for (const uint64_t seed : {1U, 2U, 3U}) {
        const Comparison result = compareScores({trace("a", hits)}, seed);
        const Interval interval = *result.methods[ENGINE][TOP_1].interval;
        EXPECT_NEAR(interval.low, 0.5 - margin, 0.015);
        EXPECT_NEAR(interval.high, 0.5 + margin, 0.015);
    }
}

TEST(Comparison, ManyTracesAreDrawnWhole) {
    std::vector<TraceScore> scores;
    for (size_t i = 0; i < 20; ++i) {
        // Each varies from day to day, but all come to the same.
        scores.push_back(trace("user" + std::to_string(i), {0, 10, 0, 10}));
    }
    const Comparison many = compareScores(scores, 1);
    EXPECT_TRUE(many.byTrace);
    EXPECT_DOUBLE_EQ(many.methods[ENGINE][TOP_1].interval->low, 0.5);
    scores.pop_back();
    const Comparison few = compareScores(scores, 1);
    EXPECT_EQ(few.units, 76U);
    EXPECT_LT(few.methods[ENGINE][TOP_1].interval->low, 0.45);
}

TEST(Comparison, LeadsArePaired) {
    // The rule has one more than the engine on every day, whatever the day was like.
    const std::vector<uint64_t> hits = {0, 9, 2, 7, 4};
    TraceScore score = trace("a", hits);
    for (size_t i = 0; i < hits.size(); ++i) {
        addDay(score, ORDER_1, "2026-01-" + std::to_string(10 + i), 1, hits[i] + 1);
    }
    const Comparison result = compareScores({score}, 1);
    EXPECT_EQ(result.rivals[TOP_1].rule, Method::ORDER_1);
    EXPECT_NEAR(result.rivals[TOP_1].lead.interval->low, -0.1, 1e-12);
    EXPECT_NEAR(result.rivals[TOP_1].lead.interval->high, -0.1, 1e-12);
    const std::string table = comparisonTable(compareScores({score}, 1));
    EXPECT_THAT(table, HasSubstr("\ntop-1: order 1 (54.0 %) does better than the engine (44.0 %)"));
    std::istringstream lines(table);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80U) << line;
    EXPECT_THAT(table, Not(HasSubstr("may be chance")));
}

TEST(Comparison, TheOrderOfTheScoresDoesNotMatter) {
    TraceScore a = trace("a", {1, 2, 3});
    TraceScore b = trace("b", {9, 0, 4});
    TraceScore other = trace("c", {5, 5, 0});
    addDay(a, ORDER_1, "2026-01-10", 3, 4);
    addDay(other, ORDER_1, "2026-01-11", 7, 2);
    EXPECT_EQ(comparisonTable(compareScores({a, b, other}, 5)),
              comparisonTable(compareScores({b, other, a}, 5)));
    EXPECT_EQ(comparisonJson(compareScores({a, b, other}, 5)),
              comparisonJson(compareScores({other, a, b}, 5)));
    EXPECT_NE(comparisonTable(compareScores({a, b, other}, 5)),
              comparisonTable(compareScores({a, b, other}, 6)));

    const Comparison one = compareScores({trace("a", {4})}, 1);
    EXPECT_FALSE(one.methods[ENGINE][TOP_1].interval);
    EXPECT_DOUBLE_EQ(one.methods[ENGINE][TOP_1].value, 0.4);
}

TEST(Comparison, TheTableSaysWhatIsLeftOutAndWhatTheEngineCounts) {
    TraceScore score = trace("a", {2, 0});
    score.repeats = 1234;
    score.own = {{{2000, 500, 1000}, {0, 0, 0}}};
    const std::string table = comparisonTable(compareScores({score}, 1));
    EXPECT_THAT(table, HasSubstr("20 openings of 1 trace;"));
    EXPECT_THAT(table, HasSubstr("left out: 1,234 repeats of the application in front"));
    EXPECT_THAT(table, HasSubstr("\nBayes                  2,000       500  25.0 %"));
    EXPECT_THAT(table, HasSubstr("\nsequence network           0         0       -"));
    EXPECT_EQ(Json::parse(comparisonJson(compareScores({score}, 1)))["own"],
              Json::parse("[[2000,500,1000],[0,0,0]]"));
}

TEST(Comparison, RatesAreOverAllOpenings) {
    TraceScore score = trace("a", {2, 0});
    addDay(score, ENGINE, "2026-01-10", 4, 1);
    addDay(score, ENGINE, "2026-01-11", 8, 2);
    addDay(score, ENGINE, "2026-01-11", 0, 5);
    const Json engine = Json::parse(comparisonJson(compareScores({score}, 1)))["methods"]["engine"];
    EXPECT_EQ(engine["answered"], 10);
    EXPECT_EQ(engine["top1"], 2);
    EXPECT_EQ(engine["top4"], 3);
    EXPECT_EQ(engine["top8"], 5);
    EXPECT_EQ(engine["rates"]["top8"]["value"], 0.25);
    EXPECT_EQ(engine["rates"]["mrr"]["value"], 0.125);  // 2 + 1/4 + 2/8, of 20
}

}  // namespace
