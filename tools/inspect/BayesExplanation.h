#pragma once

#include <array>
#include <string>
#include <unordered_map>
#include <vector>

#include "tools/inspect/BayesCounts.h"

constexpr size_t BAYES_FEATURES = 4;

// The time slot, 1 on a working day and else 0, the indexes of the application before and of the
// one in front: what the engine asks its Bayes model with.
using BayesFeatures = std::array<int, BAYES_FEATURES>;

// How one score comes about, in single precision and in this order: the likelihoods multiplied one
// after the other, then the prior; the product divided by the sum of all products.
struct BayesFactors {
    std::array<float, BAYES_FEATURES> likelihoods{};
    std::array<int, BAYES_FEATURES> counts{};  // samples of the class with the feature's value
    int classCount = 0;                        // samples of the class
    float prior = 0;
    float product = 0;
    float score = 0;
};

struct BayesAnswer {
    std::vector<BayesFactors> classes;
    float sum = 0;  // of the products, in the order of the classes
};

// Computes a loaded model's scores as Bayes::predict() does, to the bit, but keeps what they are
// made of. Asking changes nothing.
class BayesExplanation {
  public:
    // `counts` must have four dimensions and a maximum for each.
    explicit BayesExplanation(const BayesCounts& counts);

    int classCount() const { return mClasses; }
    int samples() const { return mSamples; }
    int samplesOf(int y) const;
    BayesAnswer ask(const BayesFeatures& x) const;

    // The classes with a score above 0, best first, equals by class.
    static std::vector<int> ranking(const BayesAnswer& answer);

  private:
    int countOf(size_t feature, int value, int y) const;

    const int mSamples;
    const int mClasses;
    std::array<int, BAYES_FEATURES> mMaxima{};
    std::vector<int> mClassCounts;
    std::array<std::unordered_map<uint64_t, int>, BAYES_FEATURES> mCounts;
};
