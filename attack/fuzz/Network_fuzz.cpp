#include <cmath>

#include "attack/fuzz/Fuzz.h"
#include "platform/testing/TempDir.h"
#include "zml/Crc32.h"
#include "zml/NetworkFile.h"
#include "zml/NeuralLearner.h"

// The network's file of any content, as it stands and with a checksum that is right; and a
// learner's parameters of any content, spread out from few bytes.

namespace {

using zml::Bytes;

void readFile(const TempDir& folder, const zml::NetworkFile& file, const Bytes& bytes) {
    folder.write("net.zml", asText(bytes.data(), bytes.size()));
    zml::StoredNetwork network;
    std::string problem;
    const bool whole = file.read(network, problem) == zml::NetworkFile::Read::WHOLE;
    promise(whole == problem.empty(), "a file that is no network has a reason");
    if (!whole) return;
    promise(network.parameters.size() <= bytes.size(), "parameters come from the file");
    zml::NeuralLearner().deserialise(network.parameters);
}

void ask(const zml::NeuralLearner& learner, int older, int newer) {
    float sum = 0;
    for (const float score : learner.scores(older, newer)) {
        promise(score > 0 && score <= 1.001f, "scores are above 0 and at most 1");
        sum += score;
    }
    promise(std::fabs(sum - 1) < 0.01f, "scores are 1 in sum");
}

// The header as the input has it, the next words over and over as parameters, the rest behind them.
Bytes spreadOut(const uint8_t* data, size_t size) {
    constexpr size_t HEADER = 12;
    constexpr size_t WORDS = 32;
    constexpr size_t PARAMETERS = zml::NeuralLearner::MEMBERS * zml::SequenceNetwork::SIZE * 4;
    if (size < HEADER + WORDS) return Bytes(data, data + size);
    Bytes bytes(data, data + HEADER);
    while (bytes.size() < HEADER + PARAMETERS) {
        bytes.insert(bytes.end(), data + HEADER, data + HEADER + WORDS);
    }
    bytes.resize(HEADER + PARAMETERS);
    bytes.insert(bytes.end(), data + HEADER + WORDS, data + size);
    return bytes;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const TempDir folder;
    static const zml::NetworkFile file(folder.path(), "net");
    Bytes bytes(data, data + size);
    readFile(folder, file, bytes);
    zml::appendU32(bytes, zml::crc32(bytes.data(), bytes.size()));
    readFile(folder, file, bytes);

    zml::NeuralLearner learner;
    const Bytes parameters = spreadOut(data, size);
    if (!learner.deserialise(parameters)) return 0;
    promise(learner.serialise() == parameters, "parameters are stored as they were read");
    ask(learner, size % zml::VOCABULARY, data[size - 1] % zml::VOCABULARY);
    return 0;
}
