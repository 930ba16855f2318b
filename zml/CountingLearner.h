#pragma once

#include "zml/Learner.h"

namespace zml {

// Predicts by how often each id followed the last two ids, the last one, and at all: interpolated
// absolute discounting (Ney, Essen and Kneser 1994). With c(x) the count of x in a context of order
// k, n the sum of these counts and t the number of distinct x among them,
//
//     p_k(x) = max(c(x) - D, 0) / n + D * t / n * p_(k-1)(x),    D = 0.75
//
// where p_(-1) is uniform. A context that was never seen leaves p_(k-1) as it is.
class CountingLearner : public Learner {
  public:
    static std::unique_ptr<Learner> create() { return std::make_unique<CountingLearner>(); }

    CountingLearner();

    uint32_t kind() const override { return 1; }
    bool train(const std::vector<int>& ids, const std::atomic<bool>& cancelled) override;
    Scores scores(int older, int newer) const override;

    // The number of entries, then for each n-gram that occurs its position in mCounts, ascending,
    // and its count; all of 32 bits.
    Bytes serialise() const override;
    bool deserialise(const Bytes& bytes) override;

  private:
    // The counts of the single ids, then of the pairs, then of the triples; the counts of what
    // follows one context stand together.
    std::vector<uint32_t> mCounts;
};

}  // namespace zml
