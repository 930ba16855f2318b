#include "tools/inspect/BayesExplanation.h"

#include <algorithm>

namespace {

uint64_t packed(int value, int y) {
    return uint64_t{static_cast<uint32_t>(value)} << 32 | static_cast<uint32_t>(y);
}

}  // namespace

BayesExplanation::BayesExplanation(const BayesCounts& counts)
    : mSamples(counts.samples), mClasses(counts.classes) {
    for (size_t i = 0; i < BAYES_FEATURES; ++i) mMaxima[i] = counts.maxima.at(i);
    for (int y = 0; y < mClasses; ++y) {
        const auto found = counts.classCounts.find(y);
        mClassCounts.push_back(found == counts.classCounts.end() ? 0 : found->second);
    }
    for (const auto& [text, count] : counts.featureCounts) {
        const auto key = parseFeatureKey(text);
        if (!key || key->feature < 0 || key->feature >= static_cast<int>(BAYES_FEATURES)) continue;
        mCounts[static_cast<size_t>(key->feature)][packed(key->value, key->y)] = count;
    }
}

int BayesExplanation::samplesOf(int y) const {
    return y >= 0 && y < mClasses ? mClassCounts[static_cast<size_t>(y)] : 0;
}

int BayesExplanation::countOf(size_t feature, int value, int y) const {
    const auto found = mCounts[feature].find(packed(value, y));
    return found == mCounts[feature].end() ? 0 : found->second;
}

BayesAnswer BayesExplanation::ask(const BayesFeatures& x) const {
    BayesAnswer answer;
    answer.classes.resize(static_cast<size_t>(mClasses));
    const float total = static_cast<float>(int64_t{mClasses} + mSamples);
    for (int y = 0; y < mClasses; ++y) {
        BayesFactors& factors = answer.classes[static_cast<size_t>(y)];
        factors.classCount = samplesOf(y);
        factors.product = 1.0F;
        for (size_t i = 0; i < BAYES_FEATURES; ++i) {
            factors.counts[i] = countOf(i, x[i], y);
            const int64_t smoothing = int64_t{mMaxima[i]} + 1;
            factors.likelihoods[i] = static_cast<float>(int64_t{factors.counts[i]} + 1) /
                                     static_cast<float>(factors.classCount + smoothing);
            factors.product *= factors.likelihoods[i];
        }
        factors.prior = static_cast<float>(int64_t{factors.classCount} + 1) / total;
        factors.product *= factors.prior;
        answer.sum += factors.product;
    }
    for (BayesFactors& factors : answer.classes) factors.score = factors.product / answer.sum;
    return answer;
}

std::vector<int> BayesExplanation::ranking(const BayesAnswer& answer) {
    std::vector<int> classes;
    const auto score = [&](int y) { return answer.classes[static_cast<size_t>(y)].score; };
    for (int y = 0; y < static_cast<int>(answer.classes.size()); ++y) {
        if (score(y) > 0.0F) classes.push_back(y);
    }
    std::stable_sort(classes.begin(), classes.end(),
                     [&](int a, int b) { return score(a) > score(b); });
    return classes;
}
