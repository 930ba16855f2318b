#include "tools/compare/TraceScore.h"

#include <gmock/gmock.h>

#include "tools/common/InputError.h"

namespace {

using ::testing::HasSubstr;

// Every method has had the same luck.
Json goodScore() {
    const Json method = Json::parse(R"({"answered":9,"top1":3,"top4":5,"top8":6,)"
                                    R"("ranks":{"2026-03-01":{"1":3,"4":2},)"
                                    R"("2026-03-02":{"5":1,"12":2}}})");
    Json score = Json::parse(R"({"name":"a.csv#2","openings":{"2026-03-01":7,"2026-03-02":4}})");
    for (const Method each : METHODS) score["methods"][methodKey(each)] = method;
    return score;
}

TEST(TraceScore, IsReadBackAsItWasWritten) {
    const TraceScore score = parseScore(goodScore());
    EXPECT_EQ(score.methods[6].ranks.at("2026-03-02"), (RankCounts{{5, 1}, {12, 2}}));
    EXPECT_EQ(jsonLine(scoreJson(score)), jsonLine(goodScore()));
}

TEST(TraceScore, WhatCannotBeIsRefused) {
    const struct {
        const char* pointer;
        const char* value;  // empty to take the member away
        const char* message;
    } cases[] = {
        {"", "[]", "the score is no object"},
        {"/name", "", "has no \"name\""},
        {"/name", "5", "\"name\" of the score is no text"},
        {"/openings", "7", "\"openings\" of the score is no object"},
        {"/openings", "{}", "has no openings"},
        {"/openings/2026-02-30", "1", "\"2026-02-30\" is no day"},
        {"/openings/2026-3-01", "1", "is no day"},
        {"/openings/2026-03-01", "-7", "no whole number"},
        {"/openings/2026-03-01", "7.5", "no whole number"},
        {"/openings/2026-03-01", "18446744073709551615", "no whole number"},
        {"/openings/2026-03-01", "4", "\"engine\" on 2026-03-01 holds more"},
        {"/openings/2026-03-01", "0", "\"engine\" on 2026-03-01 holds more"},
        {"/methods/order_2", "", "has no \"order_2\""},
        {"/methods/bayes", "null", "\"bayes\" is no object"},
        {"/methods/bayes/answered", "", "has no \"answered\""},
        {"/methods/bayes/answered", "12", "with 11 openings, 8 of them on its list"},
        {"/methods/bayes/answered", "7", "with 11 openings, 8 of them on its list"},
        {"/methods/bayes/top1", "2", "\"top1\" of \"bayes\" is 2, but its ranks hold 3"},
        {"/methods/bayes/top4", "6", "\"top4\" of \"bayes\" is 6, but its ranks hold 5"},
        {"/methods/bayes/top8", "\"6\"", "no whole number"},
        {"/methods/bayes/ranks/2026-03-03", "{\"1\":1}", "a day without openings"},
        {"/methods/bayes/ranks/2026-03-01", "[3]", "is no object"},
        {"/methods/bayes/ranks/2026-03-01/0", "1", "where a rank should stand"},
        {"/methods/bayes/ranks/2026-03-01/01", "1", "where a rank should stand"},
        {"/methods/bayes/ranks/2026-03-01/4294967296", "1", "where a rank should stand"},
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
            parseScore(score);
            ADD_FAILURE() << pointer << " " << value;
        } catch (const InputError& error) {
            EXPECT_THAT(error.what(), HasSubstr(message)) << pointer << " " << value;
        }
    }
}

}  // namespace
