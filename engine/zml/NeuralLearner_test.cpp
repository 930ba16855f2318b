#include "zml/NeuralLearner.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

namespace zml {
namespace {

const std::atomic<bool> GO_ON{false};

std::vector<int> makeRandomIds(size_t count) {
    Random random(11);
    std::vector<int> ids;
    while (ids.size() < count) ids.push_back(static_cast<int>(random.below(VOCABULARY)));
    return ids;
}

TEST(NeuralLearner, LearnsACycleToCertainty) {
    std::vector<int> ids;
    for (int i = 0; i < 3000; ++i) ids.push_back(i % VOCABULARY);
    NeuralLearner learner;
    ASSERT_TRUE(learner.train(ids, GO_ON));
    for (int id = 0; id < VOCABULARY; ++id) {
        const Scores scores = learner.scores(id, (id + 1) % VOCABULARY);
        // As certain as can be: the openings after the next one are targets as well.
        EXPECT_GT(scores[static_cast<size_t>((id + 2) % VOCABULARY)], 0.8f) << id;
    }
}

TEST(NeuralLearner, ScoresNoiseNearTheUniform) {
    NeuralLearner learner;
    ASSERT_TRUE(learner.train(makeRandomIds(5000), GO_ON));
    for (int context = 0; context < VOCABULARY * VOCABULARY; context += 13) {
        const Scores scores = learner.scores(context / VOCABULARY, context % VOCABULARY);
        EXPECT_NEAR(std::accumulate(scores.begin(), scores.end(), 0.0), 1.0, 1e-4);
        double entropy = 0;
        for (const float score : scores) {
            ASSERT_GT(score, 0.0f);
            entropy -= double{score} * std::log(double{score});
        }
        EXPECT_GT(entropy, 0.85 * std::log(VOCABULARY)) << "context " << context;
    }
}

TEST(NeuralLearner, IsTheSameForTheSameSequenceAndAfterAReload) {
    const std::vector<int> ids = makeRandomIds(400);
    NeuralLearner first;
    NeuralLearner second;
    ASSERT_TRUE(first.train(ids, GO_ON));
    ASSERT_TRUE(second.train(makeRandomIds(50), GO_ON));
    ASSERT_TRUE(second.train(ids, GO_ON));
    EXPECT_EQ(first.serialise(), second.serialise());

    NeuralLearner reloaded;
    ASSERT_TRUE(reloaded.deserialise(first.serialise()));
    for (int context = 0; context < VOCABULARY * VOCABULARY; ++context) {
        ASSERT_EQ(reloaded.scores(context / VOCABULARY, context % VOCABULARY),
                  first.scores(context / VOCABULARY, context % VOCABULARY));
    }
    EXPECT_EQ(reloaded.serialise(), first.serialise());
}

TEST(NeuralLearner, TakesTheShortestAndTheLongestSequenceAndGivesUpWhenCancelled) {
    NeuralLearner learner;
    ASSERT_TRUE(learner.train({1, 2, 3}, GO_ON));
    EXPECT_GT(learner.scores(1, 2)[3], 0.5f);
    ASSERT_TRUE(learner.train(makeRandomIds(3 * NeuralLearner::MAX_IDS), GO_ON));
    EXPECT_LE(learner.serialise().size(), 64u * 1024);
    EXPECT_FALSE(learner.train({1, 2, 3}, std::atomic<bool>(true)));
}

TEST(NeuralLearner, TakesOnlyParametersOfItsOwnForm) {
    NeuralLearner learner;
    ASSERT_TRUE(learner.train({1, 2, 3, 1, 2, 3}, GO_ON));
    const Bytes whole = learner.serialise();
    const size_t ids = whole.size() - 6;

    std::vector<std::pair<const char*, Bytes>> wrong = {{"nothing", {}}};
    const auto add = [&](const char* what, size_t offset, uint8_t value) {
        Bytes bytes = whole;
        bytes[offset] = value;
        wrong.emplace_back(what, bytes);
    };
    add("another number of networks", 0, 3);
    add("another number of hidden units", 4, 65);
    add("another number of parameters", 8, 0);
    add("a parameter that is no number", 12 + 3, 0x7f);
    add("more ids than there are", ids - 4, 7);
    add("more ids than are kept", ids - 1, 1);
    add("an id beyond the vocabulary", ids + 2, VOCABULARY);
    wrong.emplace_back("an id too few", Bytes(whole.begin(), whole.end() - 1));
    for (const auto& [what, bytes] : wrong) {
        EXPECT_FALSE(NeuralLearner().deserialise(bytes)) << what;
    }
}

}  // namespace
}  // namespace zml
