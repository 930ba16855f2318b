#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <numeric>
#include <set>
#include <string>
#include <vector>

#include "platform/testing/TempDir.h"
#include "tools/common/DataDirectory.h"
#include "tools/replay/Replayer.h"
#include "tools/synth/SynthCsv.h"

namespace {

using Counts = std::map<uint64_t, double>;

constexpr int DAYS = 16 * 7;
constexpr time_t MONDAY = SynthPlan().start;

std::string csv(const SynthPlan& plan, uint64_t user) {
    std::string text;
    writeSynthCsv(plan, user, [&](const std::string& piece) {
        text += piece;
        return true;
    });
    return text;
}

// FNV-1a.
uint64_t hashOf(const std::string& text) {
    uint64_t hash = 0xcbf29ce484222325U;
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3U;
    return hash;
}

std::vector<SynthOpening> live(uint64_t user) {
    SynthPlan plan;
    plan.days = DAYS;
    Diary diary(plan, user);
    std::vector<SynthOpening> all;
    while (const auto day = diary.nextDay()) all.insert(all.end(), day->begin(), day->end());
    return all;
}

Counts countIf(const std::vector<SynthOpening>& openings, const std::function<bool(int)>& day) {
    Counts counts;
    for (const SynthOpening& opening : openings) {
        if (day(static_cast<int>((opening.time - MONDAY) / 86400))) ++counts[opening.app];
    }
    return counts;
}

double total(const Counts& counts) {
    return std::accumulate(counts.begin(), counts.end(), 0.0,
                           [](double sum, const auto& entry) { return sum + entry.second; });
}

// How much of the use would have to be another to make one the other, 0 to 1.
double distance(Counts a, Counts b) {
    const double sumA = total(a);
    const double sumB = total(b);
    for (const auto& [app, count] : a) b[app] += 0;
    double result = 0;
    for (const auto& [app, count] : b) result += std::abs(count / sumB - a[app] / sumA) / 2;
    return result;
}

TEST(Synth, SeedAndNumberFixEveryByte) {
    SynthPlan plan;
    plan.seed = 7;
    plan.openings = 20000;
    const std::string trace = csv(plan, 17);
    EXPECT_EQ(hashOf(trace), 2632826319514781273U);
    EXPECT_EQ(std::count(trace.begin(), trace.end(), '\n'), 20001);
    EXPECT_NE(trace, csv(plan, 18));
    plan.openings = 1000;
    const std::string beginning = csv(plan, 17);
    EXPECT_EQ(trace.substr(0, beginning.size()), beginning);
    plan.seed = 8;
    EXPECT_NE(beginning, csv(plan, 17));
}

TEST(Synth, PeopleHaveFavouritesHabitsAndNights) {
    std::set<uint64_t> favourites;
    double chance = 0;
    double drift = 0;
    double weekend = 0;
    for (uint64_t user = 1; user <= 12; ++user) {
        SCOPED_TRACE(user);
        const std::vector<SynthOpening> openings = live(user);
        const Counts counts = countIf(openings, [](int) { return true; });
        std::vector<double> sizes;
        for (const auto& [app, count] : counts) sizes.push_back(count / total(counts));
        std::sort(sizes.rbegin(), sizes.rend());
        const double top10 = std::accumulate(sizes.begin(), sizes.begin() + 10, 0.0);
        EXPECT_GT(top10, 0.5);
        EXPECT_LT(top10, 0.95);
        EXPECT_LT(sizes[0], 0.5);
        EXPECT_LT(sizes[sizes.size() / 2], 0.01);  // half of what is opened at all
        favourites.insert(std::max_element(counts.begin(), counts.end(), [](auto& a, auto& b) {
                              return a.second < b.second;
                          })->first);

        size_t back = 0;
        for (size_t i = 2; i < openings.size(); ++i) {
            if (openings[i].app == openings[i - 2].app) ++back;
            ASSERT_GE(openings[i].time, openings[i - 1].time);
            const time_t hour = openings[i].time / 3600 % 24;
            ASSERT_TRUE(hour < 1 || hour >= 6) << "opening " << i;
        }
        const double backShare = static_cast<double>(back) / static_cast<double>(openings.size());
        EXPECT_GT(backShare, 0.15);
        EXPECT_LT(backShare, 0.55);

        chance += distance(countIf(openings, [](int day) { return day % 4 < 2; }),
                           countIf(openings, [](int day) { return day % 4 >= 2; }));
        drift += distance(countIf(openings, [](int day) { return day < 28; }),
                          countIf(openings, [](int day) { return day >= DAYS - 28; }));
        weekend += distance(countIf(openings, [](int day) { return day % 7 < 5; }),
                            countIf(openings, [](int day) { return day % 7 >= 5; }));
    }
    // Other use in other weeks and on other days of the week, but not on every other two days.
    EXPECT_GT(drift, 2.5 * chance);
    EXPECT_GT(weekend, 1.4 * chance);
    EXPECT_GE(favourites.size(), 4U);
}

TEST(Synth, OnlyWhatIsInstalledIsOpened) {
    SynthPlan plan;
    plan.days = 365;
    plan.apps = 20;
    Diary diary(plan, 1);
    std::set<uint64_t> ever, removed;
    while (const auto day = diary.nextDay()) {
        const std::vector<uint64_t> list = diary.phone().installed();
        const std::set<uint64_t> installed(list.begin(), list.end());
        EXPECT_EQ(installed.size(), list.size());
        for (const uint64_t app : ever) {
            if (installed.count(app) == 0) removed.insert(app);
        }
        ever.insert(installed.begin(), installed.end());
        for (const SynthOpening& opening : *day) {
            ASSERT_EQ(installed.count(opening.app), 1U);
            ASSERT_EQ(removed.count(opening.app), 0U);
        }
    }
    EXPECT_GT(removed.size(), 20U);
    EXPECT_GT(ever.size(), 40U);
}

TEST(Synth, TheDemonstrationsTraceGivesBothPredictorsWork) {
    const TempDir input;
    SynthPlan plan;
    plan.days = 56;
    plan.perDay = 230;
    input.write("t.csv", csv(plan, 1));
    const TemporaryDirectory data;
    Replayer replayer(ChargingPlan::parse("23:00-07:00"), data.path());
    const auto result =
        replayer.run(Trace::read(input.file("t.csv")), [](size_t, const auto&) { return true; });
    for (const PredictorScore& score : {result->bayes, result->network}) {
        EXPECT_GT(score.opened, 4000);
        EXPECT_LT(score.top4, score.opened * 0.9);
        EXPECT_GT(score.top4, score.opened * 0.45);
    }
}

}  // namespace
