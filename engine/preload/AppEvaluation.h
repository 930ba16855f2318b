#pragma once

#include <cstdint>
#include <string>
#include <vector>

// How well one predictor has foretold what the user opens.
struct AppEvaluation {
    int32_t top1HitCount = 0;  // openings of the first package of the prediction before
    int32_t top4HitCount = 0;  // openings of one of its first four
    int32_t appOpenCount = 0;  // openings scored
    std::vector<std::string> lastPrediction;
};
