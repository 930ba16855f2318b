#include "zml/RecencyRanks.h"

#include <algorithm>
#include <numeric>

#include "zml/Rows.h"

namespace zml {

RecencyRanks::RecencyRanks() {
    for (List& list : mLists) std::iota(list.begin(), list.end(), uint8_t{0});
    std::fill_n(mCounts.begin(), VOCABULARY, 1.0f);
}

void RecencyRanks::add(size_t context, int id) {
    constexpr float FADING = 0.999f;
    List& list = mLists[context];
    const auto found = std::find(list.begin(), list.end(), id);
    for (float& count : mCounts) count *= FADING;
    mCounts[static_cast<size_t>(found - list.begin())] += 1.0f;
    std::rotate(list.begin(), found, found + 1);
}

void RecencyRanks::predict(size_t context, LogRow& row) const {
    const float total = sumOfRow(mCounts.data());
    ProbabilityRow probabilities = {};
    for (size_t place = 0; place < VOCABULARY; ++place) {
        probabilities[mLists[context][place]] = mCounts[place] / total;
    }
    takeLogarithms(probabilities, row);
}

}  // namespace zml
