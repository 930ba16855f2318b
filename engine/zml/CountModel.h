#pragma once

#include <vector>

#include "zml/Learner.h"

namespace zml {

// Predicts by how often each id followed the last two ids, the last one, and at all, where an
// opening counts by its recency: interpolated absolute discounting (Ney, Essen and Kneser 1994).
// With c(x) the count of x in a context of order k, n the sum of these counts,
//
//     p_k(x) = max(c(x) - D_k, 0) / n + p_(k-1)(x) * ( sum over y of min(c(y), D_k) ) / n
//
// where p_(-1) is uniform. A context that was never seen leaves p_(k-1) as it is.
class CountModel {
  public:
    // Nothing was ever seen: no predictions yet.
    CountModel() = default;

    explicit CountModel(const std::vector<int>& ids);

    // The probabilities of the ids after `older`, `newer`: all above 0 and 1 in sum.
    Scores predict(int older, int newer) const;

  private:
    // The counts of the single ids, then of the pairs, then of the triples; the counts of what
    // follows one context stand together.
    std::vector<float> mCounts;
};

}  // namespace zml
