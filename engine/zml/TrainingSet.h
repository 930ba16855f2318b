#pragma once

#include <array>
#include <vector>

#include "zml/Learner.h"

namespace zml {

// The width of a row of outputs: the vocabulary rounded up to whole vector registers.
constexpr int LANES = 32;

// All that the sequence shows of one context: how the ids that came after it are distributed.
struct Example {
    int older = 0;
    int newer = 0;
    float weight = 0.0f;                   // the mean over all examples is 1
    std::array<float, LANES> target = {};  // 1 in sum, 0 beyond the vocabulary
};

// Turns a sequence of ids into one example for each context that occurs, in the order of contexts.
// Training on these has the same expected gradient as training on every opening for itself, at a
// tenth of the cost.
//
// Openings count by their recency. The context of an opening also has the next few openings as
// targets, ever more weakly: what is opened soon is a better guess than what is opened often when a
// context is rare.
std::vector<Example> makeTrainingSet(const std::vector<int>& ids);

}  // namespace zml
