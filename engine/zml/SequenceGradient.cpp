#include "zml/SequenceGradient.h"

#include <algorithm>
#include <cmath>

#include "zml/Rows.h"

namespace zml {

namespace {

using Network = SequenceNetwork;

}  // namespace

void SequenceGradient::compute(const Network& network, const std::vector<Item>& batch,
                               size_t count) {
    std::fill(mGradient.begin(), mGradient.end(), 0.0f);
    transposeOutput(network);
    for (size_t i = 0; i < count; ++i) {
        forward(network, batch[i], mRows[i]);
        backward(batch[i], mRows[i]);
    }
    constexpr size_t STRIDE = sizeof(Rows) / sizeof(float);
    for (size_t unit = 0; unit < Network::HIDDEN; ++unit) {
        addScaledRows(&mGradient[Network::OUTPUT + unit * LANES], &mRows[0].hidden[unit], STRIDE,
                      mRows[0].outputError.data(), STRIDE, count);
    }
}

void SequenceGradient::forward(const Network& network, const Item& item, Rows& rows) {
    network.computeHidden(item.example->older, item.example->newer, rows.hidden);
    for (size_t i = 0; i < Network::HIDDEN; ++i) rows.hidden[i] *= item.mask[i];
    network.computeOutput(rows.hidden, rows.outputError);
    const float weight = item.example->weight / BATCH;
    for (size_t lane = 0; lane < LANES; ++lane) {
        rows.outputError[lane] = weight * (rows.outputError[lane] - item.example->target[lane]);
    }
}

void SequenceGradient::backward(const Item& item, Rows& rows) {
    rows.hiddenError.fill(0.0f);
    for (size_t i = 0; i < Network::HIDDEN; i += LANES) {
        addScaledRows(&rows.hiddenError[i], rows.outputError.data(), 1, &mTransposed[0][i],
                      Network::HIDDEN, VOCABULARY);
    }
    // A unit that is off is not moved, whether by its rectifier or by the mask.
    for (size_t i = 0; i < Network::HIDDEN; ++i) {
        rows.hiddenError[i] = rows.hidden[i] > 0.0f ? rows.hiddenError[i] * item.mask[i] : 0.0f;
    }
    const auto older = static_cast<size_t>(item.example->older) * Network::HIDDEN;
    const auto newer = static_cast<size_t>(item.example->newer) * Network::HIDDEN;
    addTo(&mGradient[Network::OLDER + older], rows.hiddenError.data(), Network::HIDDEN);
    addTo(&mGradient[Network::NEWER + newer], rows.hiddenError.data(), Network::HIDDEN);
    addTo(&mGradient[Network::OUTPUT_BIAS], rows.outputError.data(), LANES);
}

void SequenceGradient::transposeOutput(const Network& network) {
    const float* const output = &network.parameters()[Network::OUTPUT];
    for (size_t unit = 0; unit < Network::HIDDEN; ++unit) {
        for (size_t lane = 0; lane < LANES; ++lane) {
            mTransposed[lane][unit] = output[unit * LANES + lane];
        }
    }
}

double SequenceGradient::loss(const Network& network, const std::vector<Item>& batch,
                              size_t count) {
    double sum = 0.0;
    for (size_t i = 0; i < count; ++i) {
        const Example& example = *batch[i].example;
        Network::HiddenRow hidden;
        Network::OutputRow probabilities;
        network.computeHidden(example.older, example.newer, hidden);
        for (size_t unit = 0; unit < Network::HIDDEN; ++unit) hidden[unit] *= batch[i].mask[unit];
        network.computeOutput(hidden, probabilities);
        for (size_t id = 0; id < VOCABULARY; ++id) {
            sum -= example.weight * example.target[id] * std::log(double{probabilities[id]});
        }
    }
    return sum / BATCH;
}

}  // namespace zml
