#include "zml/SequenceFollower.h"

#include <algorithm>

#include "zml/FastExp.h"

namespace zml {

namespace {

// In openings: about as long as what a training sees, and what is going on now.
constexpr float LONG_HALF_LIFE = 3000.0f;
constexpr float SHORT_HALF_LIFE = 20.0f;

// So many of the newest openings of a training teach whom to believe. More would take longer than
// they are worth.
constexpr size_t PRACTICE = 3000;

// The network's first weight. How it does on what it was trained on says nothing of how it will do.
constexpr float NETWORK_WEIGHT = 0.3f;

}  // namespace

SequenceFollower::SequenceFollower(const std::vector<int>& ids)
    : mCounts{ForgettingCounts(LONG_HALF_LIFE), ForgettingCounts(SHORT_HALF_LIFE)} {
    for (size_t i = 0; i < ids.size(); ++i) {
        if (i >= CONTEXT && ids.size() - i <= PRACTICE) {
            predict();  // with a network that says nothing
            learn(ids[i]);
        }
        add(ids[i]);
    }
    mMixture.introduce(NETWORK, NETWORK_WEIGHT);
}

Scores SequenceFollower::ask(int older, int newer, const Scores& network) {
    const bool sameQuestion = older == mOlder && newer == mNewer;
    if (!sameQuestion && older == mNewer) {
        if (mPredicted) learn(newer);
        add(newer);
    } else if (!sameQuestion) {
        beginRun();
        add(older);
        mRows[NETWORK].fill(0.0f);  // it was not asked
        predict();
        learn(newer);
        add(newer);
    }
    if (!sameQuestion || !mPredicted) {
        ProbabilityRow probabilities = {};
        std::copy(network.begin(), network.end(), probabilities.begin());
        takeLogarithms(probabilities, mRows[NETWORK]);
        predict();
        mPredicted = true;
    }
    Scores scores;
    std::copy_n(mProbabilities.begin(), VOCABULARY, scores.begin());
    return scores;
}

// REQUIRES: two ids at least; the network's row stands.
void SequenceFollower::predict() {
    mHistory.findRepeats(mRepeats);
    for (size_t pace = 0; pace < PACES; ++pace) {
        mCounts[pace].predict(mNewer, mRepeats, &mRows[COUNTS + pace * ForgettingCounts::ORDERS]);
    }
    mRecency.predict(0, mRows[RECENCY]);
    mRecencyAfterLast.predict(static_cast<size_t>(mNewer), mRows[RECENCY_AFTER_LAST]);
    mTrust.predict(mRepeats, mRows[REPEATS]);
    mMixture.mix(mNewer, mRows, mProbabilities);
}

// `id` was opened where predict() was called last.
void SequenceFollower::learn(int id) {
    mMixture.learn(mNewer, mRows, mProbabilities, id);
    mTrust.learn(mRepeats, id);
}

void SequenceFollower::add(int id) {
    for (ForgettingCounts& counts : mCounts) counts.add(mNewer, id);
    mRecency.add(0, id);
    if (mNewer != ForgettingCounts::NONE) {
        mRecencyAfterLast.add(static_cast<size_t>(mNewer), id);
    }
    mHistory.add(id);
    mOlder = mNewer;
    mNewer = id;
}

void SequenceFollower::beginRun() {
    mHistory.beginRun();
    mNewer = ForgettingCounts::NONE;
}

ScoreParts::Part SequenceFollower::partOf(size_t predictor) {
    if (predictor < COUNTS) return ScoreParts::NETWORK;
    if (predictor < RECENCY) return ScoreParts::COUNTS;
    return predictor < REPEATS ? ScoreParts::RECENCY : ScoreParts::REPEATS;
}

ScoreParts SequenceFollower::parts() const {
    ScoreParts parts;
    for (Scores& factors : parts.factors) factors.fill(1.0f);
    if (!mPredicted) return parts;
    std::array<Scores, ScoreParts::COUNT> logarithms = {};
    for (size_t i = 0; i < PREDICTORS; ++i) {
        const float weight = mMixture.weight(mNewer, i);
        Scores& sum = logarithms[partOf(i)];
        for (size_t id = 0; id < VOCABULARY; ++id) sum[id] += weight * mRows[i][id];
    }
    for (size_t part = 0; part < ScoreParts::COUNT; ++part) {
        const Scores& row = logarithms[part];
        float mean = 0.0f;
        for (const float value : row) mean += value / VOCABULARY;
        for (size_t id = 0; id < VOCABULARY; ++id) {
            parts.factors[part][id] = fastExp(row[id] - mean);
        }
    }
    return parts;
}

}  // namespace zml
