#pragma once

#include <array>
#include <cstdint>

#include "zml/LogRow.h"

namespace zml {

// Predicts by when an id was opened last: keeps a list of the ids for each context, the one opened
// last in it in front, and counts how often what was opened next stood at which place of its list
// (move to front: Bentley, Sleator, Tarjan and Wei 1986). The counts are common to all contexts,
// and an opening counts a thousandth less with each that follows. A plain value of fixed size.
class RecencyRanks {
  public:
    static constexpr size_t CONTEXTS = VOCABULARY;

    RecencyRanks();

    // `id` was opened in `context`.
    void add(size_t context, int id);

    void predict(size_t context, LogRow& row) const;

  private:
    using List = std::array<uint8_t, VOCABULARY>;

    std::array<List, CONTEXTS> mLists;
    std::array<float, LANES> mCounts = {};  // by the place in the list
};

}  // namespace zml
