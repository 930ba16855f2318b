#include "zml/CountModel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace zml {
namespace {

// The definition, taken literally and in double precision: what followed `context` is gathered from
// the sequence each time, each occurrence worth half as much as one 2,500 places later.
double naive(const std::vector<int>& ids, const std::vector<int>& context, int id) {
    constexpr double DISCOUNTS[] = {0.5, 0.5, 1.0};
    std::vector<double> counts(VOCABULARY);
    for (size_t i = context.size(); i < ids.size(); ++i) {
        const auto begin = ids.begin() + static_cast<std::ptrdiff_t>(i - context.size());
        if (!std::equal(context.begin(), context.end(), begin)) continue;
        counts[static_cast<size_t>(ids[i])] +=
            std::exp2(-static_cast<double>(ids.size() - 1 - i) / 2500);
    }
    const double lower =
        context.empty() ? 1.0 / VOCABULARY : naive(ids, {context.begin() + 1, context.end()}, id);
    const double total = std::accumulate(counts.begin(), counts.end(), 0.0);
    if (total == 0) return lower;
    const double discount = DISCOUNTS[context.size()];
    double freed = 0;
    for (const double count : counts) freed += std::min(count, discount);
    return (std::max(counts[static_cast<size_t>(id)] - discount, 0.0) + freed * lower) / total;
}

TEST(CountModel, ScoresAreTheDiscountedRecentCountsOfAllThreeOrders) {
    for (const int length : {700, 40, 3}) {
        std::vector<int> ids;  // the ids from 20 on never occur
        for (int i = 0; i < length; ++i) ids.push_back((i % 7 < 3 ? i * 7 : i * i / 5) % 20);
        const CountModel model(ids);
        for (int context = 0; context < VOCABULARY * VOCABULARY; context += 7) {
            const int older = context / VOCABULARY;
            const int newer = context % VOCABULARY;
            const Scores scores = model.predict(older, newer);
            for (int id = 0; id < VOCABULARY; ++id) {
                const float score = scores[static_cast<size_t>(id)];
                EXPECT_NEAR(score, naive(ids, {older, newer}, id), 1e-5);
                EXPECT_GT(score, 0.0f);
            }
            EXPECT_NEAR(std::accumulate(scores.begin(), scores.end(), 0.0), 1.0, 1e-5);
        }
    }
}

}  // namespace
}  // namespace zml
