#pragma once

#include <array>

#include "zml/FastLog.h"
#include "zml/TrainingSet.h"

namespace zml {

// What one predictor says: the logarithm of the probability of each id as the next one, 0 beyond
// the vocabulary. A row of equal numbers says nothing.
using LogRow = std::array<float, LANES>;

// The same as a row of probabilities, which need not be 1 in sum; 0 beyond the vocabulary.
using ProbabilityRow = std::array<float, LANES>;

inline void takeLogarithms(const ProbabilityRow& probabilities, LogRow& row) {
    constexpr float LEAST = 1e-7f;  // no predictor rules an id out altogether
    for (size_t id = 0; id < LANES; ++id) row[id] = fastLog(probabilities[id] + LEAST);
    for (size_t id = VOCABULARY; id < LANES; ++id) row[id] = 0.0f;
}

}  // namespace zml
