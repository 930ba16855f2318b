#include "tools/compare/TraceScore.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <nlohmann/json.hpp>

#include "tools/common/InputError.h"
#include "tools/common/JsonLine.h"
#include "tools/compare/ScoreJson.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;

// Every method has had the same luck.
Json goodScore() {
    const Json method = Json::parse(R"({"answered":9,"top1":3,"top4":5,"top8":6,)"
                                    R"("unused":[1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16],)"
                                    R"("ranks":{"2026-03-01":{"1":3,"4":2},)"
                                    R"("2026-03-02":{"5":1,"12":2}}})");
    Json score =
        Json::parse(R"({"name":"a.csv#2","charging":"23:00-07:00","zone":"UTC","invented":false,)"
                    R"("openings":{"2026-03-01":7,"2026-03-02":4}})");
    score["repeats"] = 2;
    for (const Method each : METHODS) score["methods"][methodKey(each)] = method;
    const Json hits = std::vector<std::array<int, 3>>(METHODS.size(), {3, 5, 6});
    score["hours"]["167"] = {11, hits};
    const Json split = std::vector<std::array<int, 3>>(RULES, {2, 4, 0});
    const Json none = std::vector<std::array<int, 3>>(METHODS.size(), {0, 0, 0});
    const Json even = std::vector<std::array<int, 3>>(RULES, {0, 0, 0});
    score["stretches"] = {{"0", {10, hits, split}}, {"1", {1, none, even}}};
    score["split"] = {{"2026-03-01", split}, {"2026-03-02", even}};
    score["apps"] = {{"com.a", {6, hits}}, {"com.b", {5, hits}}};
    score["missed"] = Json::parse(R"({"com.a":{"":1}})");
    score["answers"] = Json::parse(R"({"2026-03-01":[5,0,2,0],"2026-03-02":[0,4,0,1]})");
    score["own"] = Json::parse("[[5,3,4],[4,0,1]]");
    return score;
}

TEST(TraceScore, IsReadBackAsItWasWritten) {
    const TraceScore score = parseScore(goodScore().dump());
    EXPECT_EQ(score.methods[6].ranks.at("2026-03-02"), (RankCounts{{5, 1}, {12, 2}}));
    EXPECT_EQ(scoreLine(score), jsonLine(goodScore()));
    Json otherOrder = goodScore();
    otherOrder.erase("name");
    otherOrder["name"] = "a.csv#2";
    EXPECT_EQ(scoreLine(parseScore(otherOrder.dump())), jsonLine(goodScore()));
}

TEST(TraceScore, WhatCannotBeIsRefused) {
    const struct {
        const char* pointer;
        const char* value;  // empty to take the member away
        const char* message;
    } cases[] = {
        {"", "[]", "is no score"},
        {"", "{\"traces\":1}", "'name' not found"},
        {"/name", "5", "must be string"},
        {"/zone", "", "'zone' not found"},
        {"/comment", "5", "/comment is wrong"},
        {"/openings", "7", "/openings is wrong"},
        {"/openings", "{}", "no openings"},
        {"/openings/2026-02-30", "1", "\"2026-02-30\" is no day"},
        {"/openings/2026-3-01", "1", "is no day"},
        {"/openings/2026-03-01", "-7", "is wrong"},
        {"/openings/2026-03-01", "7.5", "/openings/2026-03-01 is wrong"},
        {"/openings/2026-03-01", "18446744073709551000", "too many"},
        {"/openings/2026-03-01", "4", "\"engine\" has more answers or ranks than openings"},
        {"/repeats", "", "'repeats' not found"},
        {"/repeats", "18446744073709551000", "too many"},
        {"/methods/order_2", "", "'order_2' not found"},
        {"/methods/bayes", "null", "is no score"},
        {"/methods/bayes/answered", "", "'answered' not found"},
        {"/methods/bayes/answered", "12", "\"bayes\" has more answers"},
        {"/methods/bayes/answered", "7", "\"bayes\" has more answers or ranks"},
        {"/methods/bayes/top1", "2", "/methods/bayes/top1 is wrong"},
        {"/methods/bayes/top8", "\"6\"", "/methods/bayes/top8 is wrong"},
        {"/methods/bayes/ranks/2026-03-03", "{\"40\":1}", "\"bayes\" has more"},
        {"/methods/bayes/ranks/2026-03-01", "[3]", "is wrong"},
        {"/methods/bayes/ranks/2026-03-01/0", "1", "is wrong"},
        {"/methods/bayes/ranks/2026-03-01/050", "1", "is wrong"},
        {"/methods/bayes/ranks/2026-03-01/4294967297", "1", "is wrong"},
        {"/methods/bayes/unused/3", "57", "\"bayes\" has more"},
        {"/methods/bayes/unused/16", "1", "is wrong"},
        {"/invented", "0", "must be boolean"},
        {"/hours/167/0", "10", "hours, stretches, split, missed or answers"},
        {"/answers/2026-03-01/0", "6", "hours, stretches, split, missed or answers"},
        {"/split/2026-03-01/0/0", "8", "hours, stretches, split, missed or answers"},
        {"/split/2026-03-09", "[[0,0,0],[0,0,0],[0,0,0],[0,0,0]]", "split, missed or answers"},
        {"/split/2026-03-02", "", "split, missed or answers"},
        {"/stretches/1/1/0/0", "1", "split, missed or answers"},
        {"/missed/com.a/", "2", "split, missed or answers"},
        {"/missed/com.c", "{}", "split, missed or answers"},
        {"/own/1", "[1,2]", "is no score"},
        {"/apps/com.a", "[6]", "is no score"},
    };
    for (const auto& [pointer, value, message] : cases) {
        Json score = goodScore();
        const Json::json_pointer place(pointer);
        if (*value != '\0') {
            score[place] = Json::parse(value);
        } else {
            score[place.parent_pointer()].erase(place.back());
        }
        try {
            parseScore(score.dump());
            ADD_FAILURE() << pointer << " " << value;
        } catch (const InputError& error) {
            EXPECT_THAT(error.what(), HasSubstr(message)) << pointer << " " << value;
        }
    }
}

constexpr TraceTime START = std::chrono::seconds(1709280000);  // a Friday, 08:00 UTC

TraceScore scoreOf(const Trace& trace) {
    return *scoreTrace({"t", trace}, ChargingPlan::always(), [](size_t) { return true; });
}

TEST(TraceScore, CountsByLocalTime) {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    Trace trace;
    for (const int hour : {0, 1, 22, 23, 24}) {  // UTC; midnight comes an hour before
        trace.add(START - std::chrono::hours(8) + std::chrono::hours(hour),
                  hour % 2 == 0 ? "a" : "b");
    }
    const TraceScore score = scoreOf(trace);
    setenv("TZ", "UTC", 1);
    tzset();
    EXPECT_THAT(score.openings, ElementsAre(Pair("2024-03-01", 2), Pair("2024-03-02", 2)));
    constexpr auto RECENT = static_cast<size_t>(Method::MOST_RECENT);
    const MethodScore& recent = score.methods[RECENT];
    EXPECT_EQ(recent.answered, 3U);
    EXPECT_EQ(recent.ranks.at("2024-03-01"), (RankCounts{{1, 1}}));
    EXPECT_EQ(recent.ranks.at("2024-03-02"), (RankCounts{{1, 2}}));
    constexpr uint32_t FRIDAY = 4 * 24;
    EXPECT_EQ(score.hours.at(FRIDAY + 23).hits[RECENT][0], 1U);
    EXPECT_EQ(score.hours.at(FRIDAY + 24).openings, 1U);
    EXPECT_EQ(score.apps.at("b").openings, 2U);
    EXPECT_EQ(score.charging, "always");
    EXPECT_EQ(score.zone, "CET-1CEST,M3.5.0,M10.5.0/3");
}

Trace traceOf(const std::string& letters) {
    Trace trace;
    for (size_t row = 0; row < letters.size(); ++row) {
        trace.add(START + std::chrono::minutes(row), letters.substr(row, 1));
    }
    return trace;
}

// The numbers are worked out by hand.
TEST(TraceScore, RepeatsAndTheFirstAreLearnedFromButDoNotCount) {
    const TraceScore score = scoreOf(traceOf("abbcaabcccabbaabc"));
    EXPECT_EQ(score.repeats, 6U);
    EXPECT_THAT(score.openings, ElementsAre(Pair("2024-03-01", 10)));
    EXPECT_EQ(score.apps.at("a").openings, 3U);
    EXPECT_EQ(score.stretches.size(), 1U);
    // Nothing but `a` is known before the first `b`, nor `c` before the first `c`.
    const struct {
        Method method;
        RankCounts ranks;
    } cases[] = {
        {Method::MOST_RECENT, {{1, 2}, {2, 6}}},
        {Method::MOST_USED, {{1, 4}, {2, 4}}},  // with a hit more if only what counts were learned
    };
    for (const auto& [method, ranks] : cases) {
        const MethodScore& counted = score.methods[static_cast<size_t>(method)];
        EXPECT_EQ(counted.answered, 9U) << methodName(method);
        EXPECT_EQ(counted.ranks.at("2024-03-01"), ranks) << methodName(method);
    }
}

// Of two applications only the other one is left. The model answers once it has been taught two
// batches of samples, after 24 openings.
TEST(TraceScore, NobodyIsJudgedByTheApplicationInFront) {
    const TraceScore score = scoreOf(traceOf("ababbabaababaabbababbaabaabbab"));
    EXPECT_EQ(score.repeats, 8U);
    for (const Method method : {Method::ENGINE, Method::BAYES}) {
        const MethodScore& counted = score.methods[static_cast<size_t>(method)];
        EXPECT_EQ(counted.answered, 4U) << methodName(method);
        EXPECT_EQ(counted.ranks.at("2024-03-01"), (RankCounts{{1, 4}})) << methodName(method);
    }
    EXPECT_THAT(score.answers, ElementsAre(Pair("2024-03-01", AnswerCounts{4, 0, 17, 0})));
    EXPECT_EQ(score.missed.at("a").at("") + score.missed.at("b").at(""), 17U);
    EXPECT_EQ(score.own[BY_BAYES][0], 18U) << "the engine scores repeats too";
    EXPECT_THROW(scoreOf(traceOf("aaa")), InputError);
}

// As many openings in a row as it takes to have an answer, then habits and strays.
TEST(TraceScore, MissesAndDifferencesAreCountedOpeningByOpening) {
    std::string letters;
    for (int i = 0; i < 300; ++i) letters += static_cast<char>('a' + (i * i + i / 11) % 13);
    const Trace trace = traceOf(letters);
    const TraceScore score = scoreOf(trace);
    const auto runOf = [&](Method method) {
        return *runMethod(method, trace, ChargingPlan::always(), [](size_t) { return true; });
    };
    const MethodRun engine = runOf(Method::ENGINE);
    const MethodRun order2 = runOf(Method::ORDER_2);
    const auto found = [](const MethodRun& run, size_t row, uint32_t depth) {
        return run.guesses[row].rank > 0 && run.guesses[row].rank <= depth;
    };
    std::map<std::string, std::map<std::string, uint64_t>> missed;
    std::array<uint64_t, DEPTHS.size()> split{};
    for (size_t row = 1; row < trace.size(); ++row) {
        if (trace.name(row) == trace.name(row - 1)) continue;
        const size_t first = engine.firsts[row];
        const std::string instead = first == NO_NAME ? "" : trace.names()[first];
        if (!found(engine, row, 4)) ++missed[trace.name(row)][instead];
        for (size_t i = 0; i < DEPTHS.size(); ++i) {
            split[i] += found(engine, row, DEPTHS[i]) != found(order2, row, DEPTHS[i]) ? 1 : 0;
        }
    }
    EXPECT_EQ(score.missed, missed);
    EXPECT_GT(missed.at("b").size(), 2U);
    constexpr size_t ORDER_2 = RULES - 1;
    EXPECT_EQ(score.split.at("2024-03-01")[ORDER_2], split);
    EXPECT_GT(split[0], 10U);
    SplitCounts sum{};
    for (const auto& [stretch, counts] : score.stretches) addCounts(sum, counts.split);
    EXPECT_EQ(sum[ORDER_2], split);
    EXPECT_EQ(score.methods[6].unused, order2.unused);
    EXPECT_TRUE(score.invented) << "no two openings lie further apart than others";

    // What is read back and added up is the same, and one trace without times is enough.
    TraceScore twice = parseScore(scoreLine(score));
    twice.invented = false;
    twice.add(score);
    EXPECT_EQ(twice.missed.at("b").at(missed.at("b").rbegin()->first),
              2 * missed.at("b").rbegin()->second);
    EXPECT_EQ(twice.methods[0].unused[3], 2 * engine.unused[3]);
    EXPECT_EQ(twice.split.at("2024-03-01")[ORDER_2][1], 2 * split[1]);
    EXPECT_TRUE(twice.invented);
}

TEST(TraceScore, StretchesEndAtRoundNumbers) {
    const std::pair<uint64_t, uint64_t> cases[] = {{1, 10},   {10, 10},   {11, 20},     {50, 50},
                                                   {51, 100}, {101, 200}, {9999, 10000}};
    for (const auto& [opening, last] : cases) EXPECT_EQ(lastOfStretch(stretchOf(opening)), last);
}

}  // namespace
