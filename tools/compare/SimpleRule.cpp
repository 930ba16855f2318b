#include "tools/compare/SimpleRule.h"

#include <algorithm>

SimpleRule::SimpleRule(Method rule)
    : mByTime(rule == Method::MOST_RECENT),
      mOrder(rule == Method::ORDER_2   ? 2
             : rule == Method::ORDER_1 ? 1
                                       : 0) {}

Guess SimpleRule::guess(size_t opened) const {
    const size_t known = mCounts.size();
    if (known < 2) return {0, 0, false};
    Guess guess{static_cast<uint32_t>(known - 1), 0, false};
    const size_t front = mRecent.back();
    if (opened >= known || opened == front) return guess;
    guess.rank = 1;
    for (size_t app = 0; app < known; ++app) {
        if (app != front && isBefore(app, opened)) ++guess.rank;
    }
    return guess;
}

std::vector<size_t> SimpleRule::list(size_t most) const {
    std::vector<size_t> apps;
    for (size_t app = 0; app < mCounts.size(); ++app) {
        if (app != mRecent.back()) apps.push_back(app);
    }
    const size_t size = std::min(most, apps.size());
    std::partial_sort(apps.begin(), apps.begin() + static_cast<std::ptrdiff_t>(size), apps.end(),
                      [this](size_t a, size_t b) { return isBefore(a, b); });
    apps.resize(size);
    return apps;
}

bool SimpleRule::isBefore(size_t app, size_t other) const {
    return mScores[app] > mScores[other] || (mScores[app] == mScores[other] && app < other);
}

void SimpleRule::learn(size_t app) {
    mCounts.resize(std::max<size_t>(mCounts.size(), app + 1));
    mLast.resize(mCounts.size());
    ++mCounts[app];
    mLast[app] = ++mOpenings;
    for (size_t length = 1; length <= std::min(mOrder, mRecent.size()); ++length) {
        Followers& followers = mFollowers[lastOf(length)];
        ++followers.openings;
        ++followers.counts[app];
    }
    mRecent.push_back(app);
    if (mRecent.size() > std::max<size_t>(mOrder, 1)) mRecent.erase(mRecent.begin());
    mScores = scores();
}

// Counts of what followed the last none, one, two, ... applications are interpolated with absolute
// discounting: p_k(x) = max(c(x) - D, 0)/n + (D t/n) p_(k-1)(x), where p_0 is the plain frequency,
// D = 3/4, and n openings of t distinct applications have followed the context. A context that
// nothing has followed leaves the shorter one's. Each p_k is a fraction here: over four times the
// context's openings and p_(k-1)'s denominator.
std::vector<SimpleRule::Score> SimpleRule::scores() const {
    if (mByTime) return mLast;
    std::vector<Score> numerators = mCounts;
    Score denominator = mOpenings;
    for (size_t length = 1; length <= std::min(mOrder, mRecent.size()); ++length) {
        const auto context = mFollowers.find(lastOf(length));
        if (context == mFollowers.end()) break;
        const Followers& followers = context->second;
        for (Score& numerator : numerators) numerator *= 3 * followers.counts.size();
        for (const auto& [app, times] : followers.counts) {
            numerators[app] += (4 * times - 3) * denominator;
        }
        denominator *= 4 * followers.openings;
    }
    return numerators;
}

SimpleRule::Context SimpleRule::lastOf(size_t length) const {
    return {mRecent.end() - static_cast<std::ptrdiff_t>(length), mRecent.end()};
}
