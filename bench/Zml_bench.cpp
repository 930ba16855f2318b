#include <array>
#include <catch2/catch.hpp>
#include <random>
#include <vector>

#include "platform/test/TempDir.h"
#include "zml/CountingLearner.h"

namespace {

constexpr int IDS = 5000;

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

}  // namespace

TEST_CASE("the sequence learner on 5,000 ids") {
    const std::vector<int> ids = makeHistory();
    const std::atomic<bool> cancelled{false};

    std::array<int, zml::VOCABULARY * zml::VOCABULARY * zml::VOCABULARY> triples{};
    BENCHMARK("reference: counting the triples") {
        triples = {};
        for (size_t i = 2; i < ids.size(); ++i) {
            const int context = ids[i - 2] * zml::VOCABULARY + ids[i - 1];
            ++triples[static_cast<size_t>(context * zml::VOCABULARY + ids[i])];
        }
        return triples[0];
    };
    BENCHMARK("training") {
        return zml::CountingLearner::create()->train(ids, cancelled);
    };
    const std::unique_ptr<zml::Learner> learner = zml::CountingLearner::create();
    REQUIRE(learner->train(ids, cancelled));
    BENCHMARK("30 scores") {
        return learner->scores(3, 7);
    };
}
