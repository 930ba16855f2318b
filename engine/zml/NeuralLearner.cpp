#include "zml/NeuralLearner.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "zml/Trainer.h"

namespace zml {

namespace {

// Far above what training comes to: with parameters up to here no score overflows.
constexpr float MAX_PARAMETER = 1000.0f;

constexpr size_t WORD = 4;
constexpr size_t HEADER = 3 * WORD;
constexpr size_t PARAMETERS = NeuralLearner::MEMBERS * SequenceNetwork::SIZE * WORD;

uint32_t bitsOf(float value) {
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

float floatOf(uint32_t bits) {
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

bool hasHeader(const Bytes& bytes) {
    return bytes.size() >= HEADER + PARAMETERS + WORD &&
           readU32(bytes, 0) == NeuralLearner::MEMBERS &&
           readU32(bytes, WORD) == SequenceNetwork::HIDDEN &&
           readU32(bytes, 2 * WORD) == SequenceNetwork::SIZE;
}

}  // namespace

bool NeuralLearner::train(const std::vector<int>& ids, const std::atomic<bool>& cancelled) {
    const size_t count = std::min(ids.size(), MAX_IDS);
    mIds.assign(ids.end() - static_cast<std::ptrdiff_t>(count), ids.end());
    mNetworks.assign(MEMBERS, SequenceNetwork());
    const std::vector<Example> examples = makeTrainingSet(mIds);
    uint64_t seed = 0;
    for (SequenceNetwork& network : mNetworks) {
        if (!trainNetwork(network, examples, ++seed, cancelled)) return false;
    }
    return true;
}

Scores NeuralLearner::scores(int older, int newer) const {
    Scores scores = {};
    for (const SequenceNetwork& network : mNetworks) {
        const SequenceNetwork::OutputRow row = network.predict(older, newer);
        for (size_t id = 0; id < VOCABULARY; ++id) scores[id] += row[id] / MEMBERS;
    }
    return scores;
}

Bytes NeuralLearner::serialise() const {
    Bytes bytes;
    bytes.reserve(HEADER + PARAMETERS + WORD + mIds.size());
    appendU32(bytes, MEMBERS);
    appendU32(bytes, SequenceNetwork::HIDDEN);
    appendU32(bytes, SequenceNetwork::SIZE);
    for (const SequenceNetwork& network : mNetworks) {
        for (const float parameter : network.parameters()) appendU32(bytes, bitsOf(parameter));
    }
    appendU32(bytes, static_cast<uint32_t>(mIds.size()));
    bytes.insert(bytes.end(), mIds.begin(), mIds.end());
    return bytes;
}

bool NeuralLearner::deserialise(const Bytes& bytes) {
    if (!hasHeader(bytes)) return false;
    mNetworks.assign(MEMBERS, SequenceNetwork());
    size_t offset = HEADER;
    for (SequenceNetwork& network : mNetworks) {
        for (float& parameter : network.parameters()) {
            parameter = floatOf(readU32(bytes, offset));
            if (!(std::fabs(parameter) <= MAX_PARAMETER)) return false;
            offset += WORD;
        }
    }
    const size_t count = readU32(bytes, offset);
    offset += WORD;
    if (count > MAX_IDS || count != bytes.size() - offset) return false;
    mIds.assign(bytes.begin() + static_cast<std::ptrdiff_t>(offset), bytes.end());
    for (const int id : mIds) {
        if (id >= VOCABULARY) return false;
    }
    return true;
}

}  // namespace zml
