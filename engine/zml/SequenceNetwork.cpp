#include "zml/SequenceNetwork.h"

#include <algorithm>

#include "zml/FastExp.h"
#include "zml/Rows.h"

namespace zml {

namespace {

// Half-widths of the even distributions from which the matrices start.
constexpr float VECTOR_RANGE = 0.5f;
constexpr float OUTPUT_RANGE = 0.2f;

}  // namespace

SequenceNetwork::SequenceNetwork(Random& random) : SequenceNetwork() {
    for (size_t i = OLDER; i < OUTPUT; ++i) mParameters[i] = random.symmetric(VECTOR_RANGE);
    for (size_t i = OUTPUT; i < OUTPUT_BIAS; ++i) mParameters[i] = random.symmetric(OUTPUT_RANGE);
}

SequenceNetwork::OutputRow SequenceNetwork::predict(int older, int newer) const {
    HiddenRow hidden;
    OutputRow probabilities;
    computeHidden(older, newer, hidden);
    computeOutput(hidden, probabilities);
    return probabilities;
}

void SequenceNetwork::computeHidden(int older, int newer, HiddenRow& hidden) const {
    const float* const olderVector = &mParameters[OLDER + static_cast<size_t>(older * HIDDEN)];
    const float* const newerVector = &mParameters[NEWER + static_cast<size_t>(newer * HIDDEN)];
    for (size_t i = 0; i < HIDDEN; ++i) {
        const float sum = olderVector[i] + newerVector[i];
        hidden[i] = sum > 0.0f ? sum : 0.0f;
    }
}

void SequenceNetwork::computeOutput(const HiddenRow& hidden, OutputRow& probabilities) const {
    std::copy_n(&mParameters[OUTPUT_BIAS], LANES, probabilities.begin());
    addScaledRows(probabilities.data(), hidden.data(), 1, &mParameters[OUTPUT], LANES, HIDDEN);
    for (float& value : probabilities) value = fastExp(value);
    std::fill(probabilities.begin() + VOCABULARY, probabilities.end(), 0.0f);
    const float scale = 1.0f / sumOfRow(probabilities.data());
    for (float& value : probabilities) value *= scale;
}

}  // namespace zml
