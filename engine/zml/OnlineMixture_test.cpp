#include "zml/OnlineMixture.h"

#include <gtest/gtest.h>

#include <cmath>

#include "zml/Random.h"

namespace zml {
namespace {

constexpr int LAST = 4;
constexpr int OPENED = 7;

OnlineMixture::Rows makeRows(Random& random) {
    OnlineMixture::Rows rows = {};
    for (LogRow& row : rows) {
        for (size_t id = 0; id < VOCABULARY; ++id) row[id] = random.symmetric(3.0f) - 4.0f;
    }
    return rows;
}

double logScore(const OnlineMixture& mixture, const OnlineMixture::Rows& rows) {
    double sum = 0;
    double opened = 0;
    for (size_t id = 0; id < VOCABULARY; ++id) {
        double logit = 0;
        for (size_t i = 0; i < rows.size(); ++i) {
            logit +=
                static_cast<double>(mixture.weight(LAST, i)) * static_cast<double>(rows[i][id]);
        }
        sum += std::exp(logit);
        if (id == OPENED) opened = logit;
    }
    return opened - std::log(sum);
}

TEST(FastLog, AgreesWithTheLibrarysLogarithm) {
    for (float x = 1e-30f; x < 1e30f; x *= 1.0137f) {
        const double exact = std::log(static_cast<double>(x));
        EXPECT_NEAR(fastLog(x), exact, 1e-6 * std::max(1.0, std::fabs(exact))) << x;
    }
    EXPECT_EQ(fastLog(1.0f), 0.0f);
}

TEST(OnlineMixture, BlendsLogarithmsAndClimbsTheGradientOfTheLikelihood) {
    Random random(1);
    OnlineMixture mixture;
    for (int round = 0; round < 200; ++round) {
        const OnlineMixture::Rows rows = makeRows(random);
        ProbabilityRow probabilities;
        mixture.mix(LAST, rows, probabilities);
        const double before = logScore(mixture, rows);
        EXPECT_NEAR(std::log(static_cast<double>(probabilities[OPENED])), before, 1e-4);

        // A small step changes the likelihood by its length times the square of the gradient; and
        // the rows' gradient is the difference to their expected value.
        OnlineMixture after = mixture;
        after.learn(LAST, rows, probabilities, OPENED);
        double steps = 0;
        for (size_t i = 0; i < rows.size(); ++i) {
            double gradient = static_cast<double>(rows[i][OPENED]);
            for (size_t id = 0; id < VOCABULARY; ++id) {
                gradient -=
                    static_cast<double>(probabilities[id]) * static_cast<double>(rows[i][id]);
            }
            const double step =
                static_cast<double>(after.weight(LAST, i) - mixture.weight(LAST, i));
            EXPECT_NEAR(step, 2 * 0.0015 * gradient, 1e-5);
            steps += step * gradient;
        }
        EXPECT_NEAR(logScore(after, rows) - before, steps, 0.15 * steps);
        mixture = after;
    }
}

TEST(OnlineMixture, BelievesWhoWasRightAfterTheSameId) {
    OnlineMixture mixture;
    OnlineMixture::Rows rows = {};  // all but the first two predictors say nothing
    for (int i = 0; i < 400; ++i) {
        const int last = i % 2;  // the first predictor is right after 0, the second after 1
        const int opened = 2 + i % 5;
        rows[0].fill(-5.0f);
        rows[1].fill(-5.0f);
        rows[static_cast<size_t>(last)][static_cast<size_t>(opened)] = -0.1f;
        rows[static_cast<size_t>(1 - last)][static_cast<size_t>(2 + (i + 1) % 5)] = -0.1f;
        ProbabilityRow probabilities;
        mixture.mix(last, rows, probabilities);
        mixture.learn(last, rows, probabilities, opened);
        if (i >= 300) EXPECT_GT(probabilities[static_cast<size_t>(opened)], 0.5f) << i;
    }
    EXPECT_GT(mixture.weight(0, 0), mixture.weight(0, 1));
    EXPECT_GT(mixture.weight(1, 1), mixture.weight(1, 0));
    EXPECT_EQ(mixture.weight(0, 5), mixture.weight(1, 6)) << "nothing was said, nothing is learned";
}

}  // namespace
}  // namespace zml
