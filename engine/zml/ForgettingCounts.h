#pragma once

#include <array>

#include "zml/LogRow.h"
#include "zml/OpeningHistory.h"

namespace zml {

// Predicts by how often each id was opened at all, after the last id and after the last two, where
// an opening fades: after `halfLife` others it counts half. Interpolated absolute discounting (Ney,
// Essen and Kneser 1994): with c(x) the faded count of x in a context of order k, n the sum of
// these counts and D = 0.5,
//
//     p_k(x) = max(c(x) - D, 0) / n + p_(k-1)(x) * ( sum over y of min(c(y), D) ) / n
//
// where p_(-1) is uniform. A context that was never seen leaves p_(k-1) as it is.
//
// Counts of the orders 0 and 1 are kept, those of order 2 gathered from the history as they are
// asked for: most pairs of ids never occur. A plain value of fixed size.
class ForgettingCounts {
  public:
    static constexpr size_t ORDERS = 3;
    static constexpr int NONE = -1;  // in place of the id before the first one of a run

    explicit ForgettingCounts(float halfLife);

    // `id` was opened after `last`, or first in a run.
    void add(int last, int id);

    // What each order says, rows[0] to rows[ORDERS - 1], of the id after `last`, whose last two ids
    // stood before at `repeats`.
    void predict(int last, const Repeats& repeats, LogRow* rows) const;

  private:
    using Counts = std::array<float, LANES>;

    void rescale();

    // In place of fading all counts, what is added grows: mUnit is what the newest counts.
    float mFading;  // ln 2 / halfLife
    float mGrowth;
    float mUnit = 1.0f;
    Counts mAll = {};
    std::array<Counts, VOCABULARY> mAfter = {};
};

}  // namespace zml
