#include "zml/AdamW.h"

#include <cmath>

namespace zml {

namespace {

constexpr float MEAN_KEPT = 0.9f;
constexpr float SQUARE_KEPT = 0.99f;
constexpr float EPSILON = 1e-8f;
constexpr float DECAY = 0.5f;

}  // namespace

void AdamW::step(std::vector<float>& parameters, const std::vector<float>& gradient, float rate) {
    mMeanBias *= MEAN_KEPT;
    mSquareBias *= SQUARE_KEPT;
    stepRange(parameters.data(), gradient.data(), 0, mDecayed, rate, DECAY);
    stepRange(parameters.data(), gradient.data(), mDecayed, parameters.size(), rate, 0.0f);
}

void AdamW::stepRange(float* __restrict parameters, const float* __restrict gradient, size_t begin,
                      size_t end, float rate, float decay) {
    float* __restrict const mean = mMean.data();
    float* __restrict const square = mSquare.data();
    const float meanScale = 1.0f / (1.0f - mMeanBias);
    const float squareScale = 1.0f / (1.0f - mSquareBias);
    for (size_t i = begin; i < end; ++i) {
        mean[i] += (1.0f - MEAN_KEPT) * (gradient[i] - mean[i]);
        square[i] += (1.0f - SQUARE_KEPT) * (gradient[i] * gradient[i] - square[i]);
        const float direction =
            mean[i] * meanScale / (std::sqrt(square[i] * squareScale) + EPSILON);
        parameters[i] -= rate * (direction + decay * parameters[i]);
    }
}

}  // namespace zml
