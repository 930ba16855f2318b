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
                                    R"("ranks":{"2026-03-01":{"1":3,"4":2},)"
                                    R"("2026-03-02":{"5":1,"12":2}}})");
    Json score = Json::parse(R"({"name":"a.csv#2","charging":"23:00-07:00","zone":"UTC",)"
                             R"("openings":{"2026-03-01":7,"2026-03-02":4}})");
    score["repeats"] = 2;
    for (const Method each : METHODS) score["methods"][methodKey(each)] = method;
    const Json hits = std::vector<std::array<int, 3>>(METHODS.size(), {3, 5, 6});
    score["hours"]["167"] = {11, hits};
    score["stretches"] = {{"0", {10, hits}}, {"1", {1, hits}}};
    score["apps"] = {{"com.a", {6, hits}}, {"com.b", {5, hits}}};
    score["answers"] = Json::parse(R"({"2026-03-01":[5,0,2,0],"2026-03-02":[0,4,0,1]})");
    score["lengths"] = Json::parse(R"({"0":[0,0,2,0],"9":[5,4,0,0]})");
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
        {"/hours/167/0", "10", "hours, stretches, answers or lengths"},
        {"/lengths", "{}", "hours, stretches, answers or lengths"},
        {"/answers/2026-03-01/0", "6", "hours, stretches, answers or lengths"},
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
    EXPECT_THAT(score.lengths,
                ElementsAre(Pair(0, AnswerCounts{0, 0, 17, 0}), Pair(1, AnswerCounts{4, 0, 0, 0})));
    EXPECT_EQ(score.own[BY_BAYES][0], 18U) << "the engine scores repeats too";
    EXPECT_THROW(scoreOf(traceOf("aaa")), InputError);
}

TEST(TraceScore, StretchesEndAtRoundNumbers) {
    const std::pair<uint64_t, uint64_t> cases[] = {{1, 10},   {10, 10},   {11, 20},     {50, 50},
                                                   {51, 100}, {101, 200}, {9999, 10000}};
    for (const auto& [opening, last] : cases) EXPECT_EQ(lastOfStretch(stretchOf(opening)), last);
}

}  // namespace
