#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <catch2/catch.hpp>
#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

#include "zml/NeuralLearner.h"
#include "zml/SequenceFollower.h"

namespace {

constexpr int IDS = 5000;
const std::atomic<bool> GO_ON{false};

// A Markov chain with a few likely followers for each id, as habits are.
std::vector<int> makeHistory() {
    std::mt19937 random(1);
    std::vector<int> ids = {0, 1};
    while (ids.size() < IDS) {
        const int habit = (ids.back() * 7 + ids[ids.size() - 2] * 3) % zml::VOCABULARY;
        ids.push_back(random() % 3 == 0 ? static_cast<int>(random() % zml::VOCABULARY) : habit);
    }
    return ids;
}

// The rival: a gated recurrent network (Cho et al. 2014) with 64 units over the same two ids,
// forward only. Its training costs about three such passes over all ids, for each of some twenty
// epochs.
class GatedNetwork {
  public:
    GatedNetwork() {
        std::mt19937 random(2);
        for (float& weight : mWeights) weight = static_cast<float>(random() % 200) / 1000 - 0.1f;
    }

    float predict(int older, int newer) const {
        Units hidden{};
        hidden = step(hidden, older);
        hidden = step(hidden, newer);
        float sum = 0;
        for (size_t id = 0; id < zml::VOCABULARY; ++id) sum += std::exp(dot(id, hidden));
        return sum;
    }

  private:
    static constexpr size_t UNITS = 64;
    using Units = std::array<float, UNITS>;

    float dot(size_t row, const Units& units) const {
        float sum = 0;
        for (size_t i = 0; i < UNITS; ++i) sum += mWeights[row * UNITS + i] * units[i];
        return sum;
    }

    Units step(const Units& hidden, int id) const {
        const auto sigmoid = [](float x) { return 1 / (1 + std::exp(-x)); };
        const float input = static_cast<float>(id) / zml::VOCABULARY;  // a table look-up in earnest
        Units gated;
        Units next;
        for (size_t i = 0; i < UNITS; ++i) gated[i] = hidden[i] * sigmoid(dot(i, hidden) + input);
        for (size_t i = 0; i < UNITS; ++i) {
            const float update = sigmoid(dot(UNITS + i, hidden) + input);
            next[i] = (1 - update) * hidden[i] + update * std::tanh(dot(2 * UNITS + i, gated));
        }
        return next;
    }

    std::vector<float> mWeights = std::vector<float>(3 * UNITS * UNITS);
};

long peakKiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// By how much a training raises the peak memory of a process that does nothing else.
long trainingKiB(const std::vector<int>& ids) {
    int report[2];
    if (pipe(report) != 0) return -1;
    if (fork() == 0) {
        const long before = peakKiB();
        zml::NeuralLearner learner;
        learner.train(ids, GO_ON);
        const long grown = peakKiB() - before;
        _exit(write(report[1], &grown, sizeof(grown)) < 0 ? 1 : 0);
    }
    long grown = -1;
    if (read(report[0], &grown, sizeof(grown)) < 0) grown = -1;
    wait(nullptr);
    close(report[0]);
    close(report[1]);
    return grown;
}

}  // namespace

TEST_CASE("the sequence network: one training on 5,000 ids") {
    const std::vector<int> ids = makeHistory();
    const GatedNetwork gated;
    BENCHMARK("reference: one epoch's forward passes of a GRU with 64 units") {
        float sum = 0;
        for (size_t i = 2; i < ids.size(); ++i) sum += gated.predict(ids[i - 2], ids[i - 1]);
        return sum;
    };
    BENCHMARK("a whole training") {
        return zml::NeuralLearner().train(ids, GO_ON);
    };
    zml::NeuralLearner learner;
    REQUIRE(learner.train(ids, GO_ON));
    printf("  stored network: %zu bytes; a training raises the peak memory by %ld KiB\n",
           learner.serialise().size(), trainingKiB(ids));
}

TEST_CASE("the sequence network: 30 scores") {
    const GatedNetwork gated;
    zml::NeuralLearner learner;
    REQUIRE(learner.train(makeHistory(), GO_ON));
    BENCHMARK("reference: one forward pass of a GRU with 64 units") {
        return gated.predict(3, 7);
    };
    BENCHMARK("NeuralLearner::scores") {
        return learner.scores(3, 7);
    };
}

TEST_CASE("the sequence network: an answer of a session, which learns what was opened") {
    const std::vector<int> ids = makeHistory();
    std::vector<int> cycle;  // every pair of ids stood at as many places as are looked at
    for (int i = 0; i < IDS; ++i) cycle.push_back(i % 10);
    zml::NeuralLearner learner;
    REQUIRE(learner.train(ids, GO_ON));
    const auto ask = [&](zml::SequenceFollower& follower, const std::vector<int>& opened,
                         size_t& i) {
        const int older = opened[i % IDS];
        const int newer = opened[(i + 1) % IDS];
        ++i;
        return follower.ask(older, newer, learner.scores(older, newer));
    };
    zml::SequenceFollower usual(ids);
    zml::SequenceFollower worst(cycle);
    size_t i = 0;
    BENCHMARK("SequenceFollower::ask, each time after an opening") {
        return ask(usual, ids, i);
    };
    size_t j = 0;
    BENCHMARK("the same with 10 applications in turn") {
        return ask(worst, cycle, j);
    };
    BENCHMARK("SequenceFollower, made from 5,000 ids when a network is loaded") {
        return zml::SequenceFollower(ids);
    };
    printf("  memory of a session beside the network: %zu bytes\n", sizeof(zml::SequenceFollower));
}
