#include "zml/CountModel.h"

#include <algorithm>
#include <numeric>

#include "zml/Recency.h"

namespace zml {

namespace {

constexpr size_t SINGLES = VOCABULARY;
constexpr size_t PAIRS = SINGLES * VOCABULARY;
constexpr size_t TRIPLES = PAIRS * VOCABULARY;

constexpr float SINGLE_DISCOUNT = 0.5f;
constexpr float PAIR_DISCOUNT = 0.5f;
constexpr float TRIPLE_DISCOUNT = 1.0f;

// Where the counts of the ids that follow a context begin in mCounts.
constexpr size_t NO_CONTEXT = 0;

size_t contextOf(int newer) {
    return SINGLES + static_cast<size_t>(newer * VOCABULARY);
}

size_t contextOf(int older, int newer) {
    return SINGLES + PAIRS + static_cast<size_t>((older * VOCABULARY + newer) * VOCABULARY);
}

// Turns the probabilities of the lower order into those of the order of `counts`.
void interpolate(const float* counts, float discount, Scores& probabilities) {
    const float total = std::accumulate(counts, counts + VOCABULARY, 0.0f);
    if (total == 0.0f) return;
    float discounted = 0.0f;
    for (size_t id = 0; id < VOCABULARY; ++id) discounted += std::min(counts[id], discount);
    for (size_t id = 0; id < VOCABULARY; ++id) {
        const float kept = std::max(counts[id] - discount, 0.0f);
        probabilities[id] = (kept + discounted * probabilities[id]) / total;
    }
}

}  // namespace

CountModel::CountModel(const std::vector<int>& ids) : mCounts(SINGLES + PAIRS + TRIPLES) {
    const std::vector<float> recency = recencyWeights(ids.size());
    for (size_t i = 0; i < ids.size(); ++i) {
        const size_t id = static_cast<size_t>(ids[i]);
        mCounts[NO_CONTEXT + id] += recency[i];
        if (i >= 1) mCounts[contextOf(ids[i - 1]) + id] += recency[i];
        if (i >= 2) mCounts[contextOf(ids[i - 2], ids[i - 1]) + id] += recency[i];
    }
}

Scores CountModel::predict(int older, int newer) const {
    Scores probabilities;
    probabilities.fill(1.0f / VOCABULARY);
    interpolate(&mCounts[NO_CONTEXT], SINGLE_DISCOUNT, probabilities);
    interpolate(&mCounts[contextOf(newer)], PAIR_DISCOUNT, probabilities);
    interpolate(&mCounts[contextOf(older, newer)], TRIPLE_DISCOUNT, probabilities);
    return probabilities;
}

}  // namespace zml
