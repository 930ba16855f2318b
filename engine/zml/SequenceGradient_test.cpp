#include "zml/SequenceGradient.h"

#include <gtest/gtest.h>

#include <cmath>

#include "zml/FastExp.h"

namespace zml {
namespace {

TEST(FastExp, AgreesWithTheLibrarysExponential) {
    for (float x = -EXP_LIMIT; x <= EXP_LIMIT; x += 0.0137f) {
        EXPECT_NEAR(fastExp(x) / std::exp(double{x}), 1.0, 2e-5) << x;
    }
    EXPECT_EQ(fastExp(-INFINITY), fastExp(-EXP_LIMIT));
    EXPECT_EQ(fastExp(1e30f), fastExp(EXP_LIMIT));
}

// Some habits and some noise, with half of the openings being of one application.
std::vector<Example> makeExamples() {
    Random random(7);
    std::vector<int> ids;
    for (int i = 0; i < 600; ++i) {
        ids.push_back(static_cast<int>(random.below(VOCABULARY) * random.below(2)));
    }
    return makeTrainingSet(ids);
}

TEST(SequenceGradient, AgreesWithCentralDifferencesOfTheLoss) {
    Random random(3);
    const std::vector<Example> examples = makeExamples();
    SequenceNetwork network(random);
    for (float& parameter : network.parameters()) parameter += random.symmetric(0.1f);
    std::vector<SequenceGradient::Item> batch(SequenceGradient::BATCH);
    for (size_t i = 0; i < batch.size(); ++i) {
        batch[i].example = &examples[i * 2 % examples.size()];
        for (float& factor : batch[i].mask) factor = random.below(8) != 0 ? 8.0f / 7.0f : 0.0f;
    }

    // Short, so that hardly any rectifier's kink lies within it.
    constexpr float STEP = 5e-4f;
    for (const size_t count : {size_t{1}, size_t{5}, batch.size()}) {
        SequenceGradient gradient;
        gradient.compute(network, batch, count);
        for (size_t i = 0; i < SequenceNetwork::SIZE; i += 3) {
            float& parameter = network.parameters()[i];
            const float value = parameter;
            parameter = value + STEP;
            const double above = SequenceGradient::loss(network, batch, count);
            parameter = value - STEP;
            const double below = SequenceGradient::loss(network, batch, count);
            parameter = value;
            EXPECT_NEAR(gradient.gradient()[i], (above - below) / (2 * double{STEP}), 1e-3)
                << "parameter " << i << " over " << count << " examples";
        }
    }
}

TEST(TrainingSet, HoldsEachContextOnceWithWhatFollowedIt) {
    const std::vector<Example> examples = makeTrainingSet({1, 2, 3, 1, 2, 4});
    ASSERT_EQ(examples.size(), 3u);  // (1,2), (2,3), (3,1)
    double weight = 0;
    for (const Example& example : examples) {
        double sum = 0;
        for (const float share : example.target) sum += share;
        EXPECT_NEAR(sum, 1.0, 1e-6);
        weight += example.weight;
    }
    EXPECT_NEAR(weight / 3, 1.0, 1e-6);
    EXPECT_EQ(examples[0].older, 1);
    EXPECT_EQ(examples[0].newer, 2);
    EXPECT_GT(examples[0].target[4], examples[0].target[3]) << "what is recent is worth more";
    EXPECT_GT(examples[0].target[3], examples[0].target[1]) << "what follows later is worth less";
}

}  // namespace
}  // namespace zml
