#include "zml/OnlineMixture.h"

#include <algorithm>

#include "zml/FastExp.h"
#include "zml/Rows.h"

namespace zml {

namespace {

constexpr float RATE = 0.0015f;

// Far beyond what histories lead to: whatever is opened, the blend stays a number.
constexpr float MAX_WEIGHT = 4.0f;

void step(float& weight, float gradient) {
    weight = std::clamp(weight + RATE * gradient, -MAX_WEIGHT, MAX_WEIGHT);
}

}  // namespace

OnlineMixture::OnlineMixture() {
    mShared.fill(1.0f / PREDICTORS);
}

void OnlineMixture::introduce(size_t predictor, float weight) {
    for (float& shared : mShared) shared *= 1.0f - weight;
    for (Weights& weights : mOwn) {
        for (float& own : weights) own *= 1.0f - weight;
    }
    mShared[predictor] = weight;
}

void OnlineMixture::mix(int last, const Rows& rows, ProbabilityRow& probabilities) const {
    probabilities.fill(0.0f);
    for (size_t i = 0; i < PREDICTORS; ++i) {
        const float factor = weight(last, i);
        for (size_t id = 0; id < LANES; ++id) probabilities[id] += factor * rows[i][id];
    }
    const float best = *std::max_element(probabilities.begin(), probabilities.begin() + VOCABULARY);
    for (float& value : probabilities) value = fastExp(value - best);
    std::fill(probabilities.begin() + VOCABULARY, probabilities.end(), 0.0f);
    const float scale = 1.0f / sumOfRow(probabilities.data());
    for (float& value : probabilities) value *= scale;
}

void OnlineMixture::learn(int last, const Rows& rows, const ProbabilityRow& probabilities, int id) {
    for (size_t i = 0; i < PREDICTORS; ++i) {
        LogRow product;
        for (size_t lane = 0; lane < LANES; ++lane) {
            product[lane] = probabilities[lane] * rows[i][lane];
        }
        const float gradient = rows[i][static_cast<size_t>(id)] - sumOfRow(product.data());
        step(mShared[i], gradient);
        step(mOwn[static_cast<size_t>(last)][i], gradient);
    }
}

}  // namespace zml
