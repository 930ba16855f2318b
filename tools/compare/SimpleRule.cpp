#include "tools/compare/SimpleRule.h"

#include <algorithm>
#include <map>
#include <stdexcept>
#include <unordered_map>

Guess SimpleRule::guess(uint32_t opened) const {
    if (mKnown < 2) return {0, 0, false};
    Guess guess{mKnown - 1, 0, false};
    if (opened >= mKnown || opened == mFront) return guess;
    const std::vector<Score> all = scores();
    guess.rank = 1;
    for (uint32_t app = 0; app < mKnown; ++app) {
        if (app == mFront) continue;
        if (all[app] > all[opened] || (all[app] == all[opened] && app < opened)) ++guess.rank;
    }
    return guess;
}

void SimpleRule::learn(uint32_t app) {
    mKnown = std::max(mKnown, app + 1);
    mFront = app;
    count(app);
}

namespace {

class MostRecent : public SimpleRule {
    void count(uint32_t app) override {
        mLast.resize(known());
        mLast[app] = ++mNow;
    }
    std::vector<Score> scores() const override { return mLast; }

    Score mNow = 0;
    std::vector<Score> mLast;
};

// Counts of what followed the last none, one, two, ... applications, interpolated with absolute
// discounting: p_k(x) = max(c(x) - D, 0)/n + (D t/n) p_(k-1)(x), where p_0 is the plain frequency,
// D = 3/4, and n openings of t distinct applications have followed the context. A context that
// nothing has followed leaves the shorter one's.
class FollowerCounts : public SimpleRule {
  public:
    explicit FollowerCounts(size_t order) : mContexts(order) {}

  private:
    using Context = std::vector<uint32_t>;  // the newest last

    struct Followers {
        uint64_t openings = 0;
        std::unordered_map<uint32_t, uint64_t> counts;
    };

    void count(uint32_t app) override {
        mCounts.resize(known());
        ++mCounts[app];
        ++mOpenings;
        for (size_t length = 1; length <= mRecent.size(); ++length) {
            Followers& followers = mContexts[length - 1][lastOf(length)];
            ++followers.openings;
            ++followers.counts[app];
        }
        mRecent.push_back(app);
        if (mRecent.size() > mContexts.size()) mRecent.erase(mRecent.begin());
    }

    // Each p_k as a fraction: over four times the context's openings and p_(k-1)'s denominator.
    std::vector<Score> scores() const override {
        std::vector<Score> numerators = mCounts;
        Score denominator = mOpenings;
        for (size_t length = 1; length <= mRecent.size(); ++length) {
            const auto context = mContexts[length - 1].find(lastOf(length));
            if (context == mContexts[length - 1].end()) break;
            const Followers& followers = context->second;
            for (Score& numerator : numerators) numerator *= 3 * followers.counts.size();
            for (const auto& [app, times] : followers.counts) {
                numerators[app] += (4 * times - 3) * denominator;
            }
            denominator *= 4 * followers.openings;
        }
        return numerators;
    }

    Context lastOf(size_t length) const {
        return {mRecent.end() - static_cast<std::ptrdiff_t>(length), mRecent.end()};
    }

    uint64_t mOpenings = 0;
    std::vector<Score> mCounts;
    Context mRecent;
    std::vector<std::map<Context, Followers>> mContexts;  // by length, from 1
};

}  // namespace

std::unique_ptr<SimpleRule> makeSimpleRule(Method method) {
    switch (method) {
        case Method::MOST_USED:
            return std::make_unique<FollowerCounts>(0);
        case Method::MOST_RECENT:
            return std::make_unique<MostRecent>();
        case Method::ORDER_1:
            return std::make_unique<FollowerCounts>(1);
        case Method::ORDER_2:
            return std::make_unique<FollowerCounts>(2);
        default:
            throw std::logic_error("the method is no simple rule");
    }
}
