#pragma once

#include <cstddef>
#include <vector>

namespace zml {

// How much each of `count` openings in a row, oldest first, is worth to a learner: habits drift, so
// an opening is worth half as much as one that came 2,500 openings later. The newest is worth 1.
inline std::vector<float> recencyWeights(size_t count) {
    constexpr double FADING = 0.99972277956;  // the 2500th root of 1/2
    std::vector<float> weights(count);
    double weight = 1.0;
    for (size_t i = count; i-- > 0;) {
        weights[i] = static_cast<float>(weight);
        weight *= FADING;
    }
    return weights;
}

}  // namespace zml
