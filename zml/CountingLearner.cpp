#include "zml/CountingLearner.h"

#include <algorithm>
#include <numeric>

namespace zml {

namespace {

constexpr double DISCOUNT = 0.75;

constexpr size_t SINGLES = VOCABULARY;
constexpr size_t PAIRS = SINGLES * VOCABULARY;
constexpr size_t TRIPLES = PAIRS * VOCABULARY;

constexpr size_t WORD = 4;
constexpr size_t ENTRY = 2 * WORD;

// Where the counts of the ids that follow a context begin in mCounts.
constexpr size_t NO_CONTEXT = 0;

size_t contextOf(int newer) {
    return SINGLES + static_cast<size_t>(newer) * VOCABULARY;
}

size_t contextOf(int older, int newer) {
    return SINGLES + PAIRS + static_cast<size_t>(older * VOCABULARY + newer) * VOCABULARY;
}

// Turns the probabilities of the lower order into those of the order of `counts`.
void interpolate(const uint32_t* counts, std::array<double, VOCABULARY>& probabilities) {
    const double total = std::accumulate(counts, counts + VOCABULARY, 0.0);
    if (total == 0.0) return;
    const auto distinct = VOCABULARY - std::count(counts, counts + VOCABULARY, 0u);
    const double lowerWeight = DISCOUNT * static_cast<double>(distinct) / total;
    for (size_t id = 0; id < VOCABULARY; ++id) {
        probabilities[id] =
            std::max(counts[id] - DISCOUNT, 0.0) / total + lowerWeight * probabilities[id];
    }
}

}  // namespace

CountingLearner::CountingLearner() : mCounts(SINGLES + PAIRS + TRIPLES) {}

bool CountingLearner::train(const std::vector<int>& ids, const std::atomic<bool>& cancelled) {
    std::fill(mCounts.begin(), mCounts.end(), 0);
    for (size_t i = 0; i < ids.size(); ++i) {
        if (cancelled.load(std::memory_order_relaxed)) return false;
        const size_t id = static_cast<size_t>(ids[i]);
        ++mCounts[NO_CONTEXT + id];
        if (i >= 1) ++mCounts[contextOf(ids[i - 1]) + id];
        if (i >= 2) ++mCounts[contextOf(ids[i - 2], ids[i - 1]) + id];
    }
    return true;
}

Scores CountingLearner::scores(int older, int newer) const {
    std::array<double, VOCABULARY> probabilities;
    probabilities.fill(1.0 / VOCABULARY);
    interpolate(&mCounts[NO_CONTEXT], probabilities);
    interpolate(&mCounts[contextOf(newer)], probabilities);
    interpolate(&mCounts[contextOf(older, newer)], probabilities);
    Scores scores;
    std::transform(probabilities.begin(), probabilities.end(), scores.begin(),
                   [](double probability) { return static_cast<float>(probability); });
    return scores;
}

Bytes CountingLearner::serialise() const {
    Bytes bytes;
    const auto zeros = std::count(mCounts.begin(), mCounts.end(), 0u);
    appendU32(bytes, static_cast<uint32_t>(mCounts.size()) - static_cast<uint32_t>(zeros));
    for (size_t position = 0; position < mCounts.size(); ++position) {
        if (mCounts[position] == 0) continue;
        appendU32(bytes, static_cast<uint32_t>(position));
        appendU32(bytes, mCounts[position]);
    }
    return bytes;
}

bool CountingLearner::deserialise(const Bytes& bytes) {
    if (bytes.size() < WORD || (bytes.size() - WORD) % ENTRY != 0) return false;
    if (readU32(bytes, 0) != (bytes.size() - WORD) / ENTRY) return false;
    std::fill(mCounts.begin(), mCounts.end(), 0);
    size_t next = 0;
    for (size_t offset = WORD; offset < bytes.size(); offset += ENTRY) {
        const size_t position = readU32(bytes, offset);
        const uint32_t count = readU32(bytes, offset + WORD);
        if (position < next || position >= mCounts.size() || count == 0) return false;
        mCounts[position] = count;
        next = position + 1;
    }
    return true;
}

}  // namespace zml
