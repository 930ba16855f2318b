#include "tools/compare/SimpleRule.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>

namespace {

using Apps = std::vector<size_t>;

// How often each application stood behind this context.
std::map<size_t, double> followersOf(const Apps& past, const Apps& context) {
    std::map<size_t, double> counts;
    for (size_t i = context.size(); i < past.size(); ++i) {
        const auto at = past.begin() + static_cast<std::ptrdiff_t>(i);
        if (std::equal(context.begin(), context.end(),
                       at - static_cast<std::ptrdiff_t>(context.size()))) {
            ++counts[*at];
        }
    }
    return counts;
}

// The formula as it is written down.
double probability(const Apps& past, size_t order, size_t app) {
    const Apps context(past.end() - static_cast<std::ptrdiff_t>(order), past.end());
    std::map<size_t, double> counts = followersOf(past, context);
    double n = 0;
    for (const auto& [follower, count] : counts) n += count;
    if (order == 0) return counts[app] / n;
    const double lower = probability(past, order - 1, app);
    if (n == 0) return lower;
    const auto t = static_cast<double>(counts.size());
    return std::max(counts[app] - 0.75, 0.0) / n + 0.75 * t / n * lower;
}

double score(Method method, const Apps& past, size_t app) {
    switch (method) {
        case Method::MOST_RECENT:
            return static_cast<double>(std::find(past.rbegin(), past.rend(), app).base() -
                                       past.begin());
        case Method::ORDER_1:
            return probability(past, 1, app);
        case Method::ORDER_2:
            return probability(past, std::min<size_t>(2, past.size()), app);
        default:
            return probability(past, 0, app);
    }
}

Apps expectedList(Method method, const Apps& past) {
    Apps list;  // in order of appearance
    for (const size_t app : past) {
        if (app != past.back() && std::find(list.begin(), list.end(), app) == list.end()) {
            list.push_back(app);
        }
    }
    std::map<size_t, double> scores;
    for (const size_t app : list) scores[app] = score(method, past, app);
    // Scores of so short a trace are either equal or further apart than this.
    std::stable_sort(list.begin(), list.end(),
                     [&](uint32_t a, uint32_t b) { return scores[a] > scores[b] + 1e-9; });
    return list;
}

TEST(SimpleRule, IsTheRuleAsItIsWrittenDown) {
    for (const Method method :
         {Method::MOST_USED, Method::MOST_RECENT, Method::ORDER_1, Method::ORDER_2}) {
        std::mt19937 random(7);
        for (uint32_t round = 0; round < 20; ++round) {
            SimpleRule rule(method);
            Apps past;
            size_t known = 0;
            for (int row = 0; row < 50; ++row) {
                // Few applications, so that equal scores are frequent; the one in front may be
                // opened again.
                const size_t app =
                    std::min(known, static_cast<size_t>(random() % (3U + round % 6)));
                const Guess guess = rule.guess(app);
                Apps list = expectedList(method, past);
                const auto place = std::find(list.begin(), list.end(), app);
                const auto rank = place == list.end() ? 0 : place - list.begin() + 1;
                ASSERT_EQ(guess.length, list.size()) << methodName(method) << " " << row;
                ASSERT_EQ(guess.rank, rank) << methodName(method) << " " << row;
                list.resize(std::min<size_t>(list.size(), 3));
                if (row > 0) ASSERT_EQ(rule.list(3), list) << methodName(method) << " " << row;
                rule.learn(app);
                past.push_back(app);
                known = std::max(known, app + 1);
            }
        }
    }
}

// 5/12 and 19/48 come about in two ways here, which in floating point differ in the last place.
TEST(SimpleRule, EqualSumsGoToTheOneSeenFirst) {
    const struct {
        Method method;
        Apps past;
        size_t later;  // and as likely as 0
    } cases[] = {
        {Method::ORDER_1, {0, 1, 1, 2, 0, 1, 1, 1, 2}, 1},
        {Method::ORDER_2, {0, 1, 2, 1, 0, 3, 1, 2, 1}, 2},
    };
    for (const auto& [method, past, later] : cases) {
        SimpleRule rule(method);
        for (const size_t app : past) rule.learn(app);
        EXPECT_EQ(rule.guess(0).rank + 1, rule.guess(later).rank) << methodName(method);
    }
}

}  // namespace
