#pragma once

#include <array>
#include <type_traits>
#include <vector>

#include "zml/ForgettingCounts.h"
#include "zml/Learner.h"
#include "zml/OnlineMixture.h"
#include "zml/OpeningHistory.h"
#include "zml/RecencyRanks.h"
#include "zml/RepeatTrust.h"

namespace zml {

// What kinds of predictors multiplied each score by, beside the geometric mean over all ids: the
// product of a row is the score, but for a factor common to all ids.
struct ScoreParts {
    enum Part { NETWORK, COUNTS, RECENCY, REPEATS, COUNT };

    std::array<Scores, COUNT> factors;
};

// Goes on learning between two trainings. Whoever asks for a prediction tells the last two ids, and
// so what was opened since the last question: when the older of them is the newer one of the
// question before, the newer was opened after both. The same two again are the same question, even
// when they are one id twice that was opened once more. Anything else begins a new run, in which
// the newer is known to follow the older: that teaches too, without the network, whose question
// takes two ids.
//
// The network, counts that forget at two paces, the recency of openings and the longest repeat of
// the last ids predict; the mixture learns whom to believe. All of them first follow the sequence
// that the network was trained on; the network, which knows that by heart, joins them afterwards. A
// value of fixed size, for one thread at a time; the same calls in the same order give the same
// scores.
class SequenceFollower {
  public:
    // After a training on `ids`.
    explicit SequenceFollower(const std::vector<int>& ids);

    // The scores after `older`, `newer`, of which the network says `network`: all above 0 and 1 in
    // sum.
    Scores ask(int older, int newer, const Scores& network);

    // How the scores that ask() gave last came about; all 1 when it was never asked.
    ScoreParts parts() const;

  private:
    static constexpr size_t PACES = 2;
    static constexpr size_t NETWORK = 0;  // the rows of the predictors
    static constexpr size_t COUNTS = 1;
    static constexpr size_t RECENCY = COUNTS + PACES * ForgettingCounts::ORDERS;
    static constexpr size_t RECENCY_AFTER_LAST = RECENCY + 1;
    static constexpr size_t REPEATS = RECENCY + 2;
    static constexpr size_t PREDICTORS = RECENCY + 3;
    static_assert(PREDICTORS == OnlineMixture::PREDICTORS, "a weight for each row");

    static ScoreParts::Part partOf(size_t predictor);

    void predict();
    void learn(int id);
    void add(int id);
    void beginRun();

    OpeningHistory mHistory;
    std::array<ForgettingCounts, PACES> mCounts;
    RecencyRanks mRecency;  // in one context alone
    RecencyRanks mRecencyAfterLast;
    RepeatTrust mTrust;
    OnlineMixture mMixture;
    int mOlder = ForgettingCounts::NONE;  // the last two ids
    int mNewer = ForgettingCounts::NONE;

    // The newest prediction, of which the next opening tells how good it was.
    bool mPredicted = false;
    Repeats mRepeats;
    OnlineMixture::Rows mRows = {};
    ProbabilityRow mProbabilities = {};
};

static_assert(std::is_trivially_copyable_v<SequenceFollower>, "nothing is allocated");
static_assert(sizeof(SequenceFollower) <= 64 * 1024);

}  // namespace zml
