#include "zml/ForgettingCounts.h"

#include <algorithm>

#include "zml/FastExp.h"
#include "zml/Rows.h"

namespace zml {

namespace {

constexpr float LN_2 = 0.69314718f;
constexpr float DISCOUNT = 0.5f;
constexpr float FORGOTTEN = 14.0f;  // what counts e to the power of minus this, a millionth

// Turns the probabilities of the lower order into those of the order of `counts`.
void interpolate(const std::array<float, LANES>& counts, float scale,
                 ProbabilityRow& probabilities) {
    ProbabilityRow kept;
    ProbabilityRow freed;
    for (size_t id = 0; id < LANES; ++id) {
        const float count = counts[id] * scale;
        kept[id] = std::max(count - DISCOUNT, 0.0f);
        freed[id] = std::min(count, DISCOUNT);
    }
    const float discounted = sumOfRow(freed.data());
    const float total = sumOfRow(kept.data()) + discounted;
    if (total == 0.0f) return;
    const float share = discounted / total;
    for (size_t id = 0; id < LANES; ++id) {
        probabilities[id] = kept[id] / total + share * probabilities[id];
    }
}

}  // namespace

ForgettingCounts::ForgettingCounts(float halfLife)
    : mFading(LN_2 / halfLife), mGrowth(fastExp(mFading)) {}

void ForgettingCounts::add(int last, int id) {
    mUnit *= mGrowth;
    mAll[static_cast<size_t>(id)] += mUnit;
    if (last != NONE) mAfter[static_cast<size_t>(last)][static_cast<size_t>(id)] += mUnit;
    constexpr float MAX_UNIT = 0x1p40f;
    if (mUnit > MAX_UNIT) rescale();
}

void ForgettingCounts::rescale() {
    constexpr float LEAST = 0x1p-40f;
    const auto shrink = [this](Counts& counts) {
        for (float& count : counts) {
            count /= mUnit;
            if (count < LEAST) count = 0.0f;
        }
    };
    shrink(mAll);
    for (Counts& counts : mAfter) shrink(counts);
    mUnit = 1.0f;
}

void ForgettingCounts::predict(int last, const Repeats& repeats, LogRow* rows) const {
    ProbabilityRow probabilities = {};
    std::fill_n(probabilities.begin(), VOCABULARY, 1.0f / VOCABULARY);
    interpolate(mAll, 1.0f / mUnit, probabilities);
    takeLogarithms(probabilities, rows[0]);

    if (last != NONE) interpolate(mAfter[static_cast<size_t>(last)], 1.0f / mUnit, probabilities);
    takeLogarithms(probabilities, rows[1]);

    const auto end = repeats.ages.begin() + static_cast<std::ptrdiff_t>(repeats.count);
    const auto count = static_cast<size_t>(
        std::upper_bound(repeats.ages.begin(), end, FORGOTTEN / mFading) - repeats.ages.begin());
    std::array<float, Repeats::MAX> worth;
    for (size_t i = 0; i < count; ++i) worth[i] = fastExp(-mFading * repeats.ages[i]);
    std::array<Counts, 2> parts = {};  // taken in turn: additions to one count need not wait
    for (size_t i = 0; i < count; ++i) parts[i % 2][repeats.ids[i]] += worth[i];
    Counts counts;
    for (size_t id = 0; id < LANES; ++id) counts[id] = parts[0][id] + parts[1][id];
    interpolate(counts, 1.0f, probabilities);
    takeLogarithms(probabilities, rows[2]);
}

}  // namespace zml
