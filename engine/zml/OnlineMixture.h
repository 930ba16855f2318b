#pragma once

#include <array>

#include "zml/LogRow.h"

namespace zml {

// Blends what some predictors say, and learns after each opening whom to believe. With p_i(x) what
// predictor i says of id x,
//
//     p(x) = exp( sum over i of  w_i log p_i(x) ) / (the sum of the same over all ids)
//     w_i <- w_i + RATE * ( log p_i(x') - sum over x of  p(x) log p_i(x) )
//
// where x' is what was opened. This is the logistic mixing of data compressors (Mahoney 2005;
// Mattern 2012) for more than two symbols. The update is the gradient of log p(x'), which is
// concave in the weights: against any fixed weights v, the loss over some openings is greater by at
// most |v - w|^2 / (2 RATE) + RATE / 2 * (the sum of the squared gradients), w being the weights
// before them (Zinkevich 2003). A constant rate follows what changes.
//
// w_i is the sum of a weight that all openings share and one for those after the same id, so that
// it may be another predictor that knows what follows on one id than on another. A constant row
// changes no p, and its weight does not move.
//
// A plain value of fixed size.
class OnlineMixture {
  public:
    static constexpr size_t PREDICTORS = 10;

    using Rows = std::array<LogRow, PREDICTORS>;  // what each predictor says

    // All predictors count alike at first, their weights being 1 in sum.
    OnlineMixture();

    // Gives `predictor` this weight and the others what is left of theirs.
    void introduce(size_t predictor, float weight);

    // The blend of `rows` after `last`.
    void mix(int last, const Rows& rows, ProbabilityRow& probabilities) const;

    // `id` was opened where `rows` gave `probabilities`.
    void learn(int last, const Rows& rows, const ProbabilityRow& probabilities, int id);

    // w_i after `last`.
    float weight(int last, size_t predictor) const {
        return mShared[predictor] + mOwn[static_cast<size_t>(last)][predictor];
    }

  private:
    using Weights = std::array<float, PREDICTORS>;

    Weights mShared;
    std::array<Weights, VOCABULARY> mOwn = {};  // by the last id
};

}  // namespace zml
