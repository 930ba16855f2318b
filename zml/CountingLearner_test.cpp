#include "zml/CountingLearner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <set>

namespace zml {
namespace {

// The definition, taken literally: what followed `context` is gathered from the sequence each time.
double naive(const std::vector<int>& ids, const std::vector<int>& context, int id) {
    std::vector<int> followers;
    for (auto next = ids.begin() + static_cast<int>(context.size()); next != ids.end(); ++next) {
        if (std::equal(context.rbegin(), context.rend(), std::make_reverse_iterator(next))) {
            followers.push_back(*next);
        }
    }
    const double lower =
        context.empty() ? 1.0 / VOCABULARY : naive(ids, {context.begin() + 1, context.end()}, id);
    if (followers.empty()) return lower;
    const auto n = static_cast<double>(followers.size());
    const auto c = static_cast<double>(std::count(followers.begin(), followers.end(), id));
    const auto t = static_cast<double>(std::set<int>(followers.begin(), followers.end()).size());
    return std::max(c - 0.75, 0.0) / n + 0.75 * t / n * lower;
}

// Habits that change now and then; the ids from 20 on never occur.
std::vector<int> makeSequence(int length) {
    std::vector<int> ids;
    for (int i = 0; i < length; ++i) ids.push_back((i % 7 < 3 ? i * 7 : i * i / 5) % 20);
    return ids;
}

const std::atomic<bool> GO_ON{false};

TEST(CountingLearner, scoresAreTheDiscountedCountsOfAllThreeOrders) {
    CountingLearner learner;  // each training begins afresh
    for (const int length : {700, 40, 3}) {
        const std::vector<int> ids = makeSequence(length);
        ASSERT_TRUE(learner.train(ids, GO_ON));
        for (int context = 0; context < VOCABULARY * VOCABULARY; context += 7) {
            const int older = context / VOCABULARY;
            const int newer = context % VOCABULARY;
            const Scores scores = learner.scores(older, newer);
            for (int id = 0; id < VOCABULARY; ++id) {
                const float score = scores[static_cast<size_t>(id)];
                EXPECT_NEAR(score, naive(ids, {older, newer}, id), 1e-6);
                EXPECT_GT(score, 0.0f);
            }
            EXPECT_NEAR(std::accumulate(scores.begin(), scores.end(), 0.0), 1.0, 1e-6);
        }
    }
    EXPECT_FALSE(learner.train(makeSequence(40), std::atomic<bool>(true)));
}

TEST(CountingLearner, takesOnlyParametersOfItsOwnForm) {
    // An entry too few or too many; a number of entries whose bytes do not fit into 32 bits; a
    // position behind the last count, or not ascending; a count of 0.
    const std::vector<std::vector<uint32_t>> wrong = {{},
                                                      {1},
                                                      {1, 0, 1, 1, 1},
                                                      {0x20000001, 0, 1},
                                                      {1, 27930, 1},
                                                      {2, 6, 1, 5, 1},
                                                      {2, 5, 1, 5, 1},
                                                      {1, 5, 0}};
    for (const auto& words : wrong) {
        Bytes bytes;
        for (const uint32_t word : words) appendU32(bytes, word);
        EXPECT_FALSE(CountingLearner().deserialise(bytes)) << testing::PrintToString(words);
    }
}

}  // namespace
}  // namespace zml
