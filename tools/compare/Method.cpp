#include "tools/compare/Method.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/workstation/SettableEnvironment.h"
#include "tools/common/DataDirectory.h"
#include "tools/compare/PredictorAlone.h"
#include "tools/compare/SimpleRule.h"
#include "tools/replay/Replayer.h"

namespace {

struct MethodNames {
    const char* key;
    const char* name;
};

constexpr MethodNames NAMES[] = {
    {"engine", "engine"},
    {"bayes", "Bayes alone"},
    {"network", "network alone"},
    {"most_used", "most used"},
    {"most_recent", "most recently used"},
    {"order_1", "order 1"},
    {"order_2", "order 2"},
};
static_assert(std::size(NAMES) == METHODS.size());

// Holds each answer of a walk against the opening after it, and tells of trainings.
class AnswerScorer {
  public:
    AnswerScorer(const Trace& trace, const GuessListener& listener,
                 const std::function<void(size_t row)>& trained)
        : mTrace(trace), mListener(listener), mTrained(trained) {}

    // The walk is at the row, with so many trainings behind it.
    bool atOpening(size_t row, const std::vector<std::string>& answer, bool network,
                   int trainings) {
        if (row > 0) passTrainings(row - 1, trainings);
        mGuess.rank = rankOf(mTrace.name(row));
        const bool goOn = mListener(row, mGuess);
        mAnswer = answer;
        mGuess = {static_cast<uint32_t>(answer.size()), 0, network && !answer.empty()};
        return goOn;
    }

    void atEnd(int trainings) { passTrainings(mTrace.size() - 1, trainings); }

  private:
    // The Bayes model may name an application twice; the first time counts.
    uint32_t rankOf(const std::string& opened) const {
        const auto place = std::find(mAnswer.begin(), mAnswer.end(), opened);
        return place == mAnswer.end() ? 0 : static_cast<uint32_t>(place - mAnswer.begin()) + 1;
    }

    void passTrainings(size_t row, int trainings) {
        for (; mTrainings < trainings; ++mTrainings) {
            if (mTrained) mTrained(row);
        }
    }

    const Trace& mTrace;
    const GuessListener& mListener;
    const std::function<void(size_t row)>& mTrained;
    int mTrainings = 0;
    std::vector<std::string> mAnswer;
    Guess mGuess{0, 0, false};
};

bool runAlone(Method method, const Trace& trace, const ChargingPlan& plan,
              const GuessListener& listener, const std::function<void(size_t row)>& trained) {
    AnswerScorer scorer(trace, listener, trained);
    const TemporaryDirectory directory;
    environment::setDataDirectory(directory.path());
    environment::setNow(wholeSeconds(trace.time(0)));
    const bool network = method == Method::NETWORK;
    const std::unique_ptr<PredictorAlone> predictor =
        network ? makeNetworkAlone() : makeBayesAlone();
    TraceWalk walk(trace, plan, *predictor);
    const bool complete = walk.run([&](size_t row, const std::vector<std::string>& answer) {
        return scorer.atOpening(row, answer, network, predictor->trainings());
    });
    if (!complete) return false;
    scorer.atEnd(predictor->trainings());
    return true;
}

bool runRule(Method method, const Trace& trace, const GuessListener& listener) {
    const std::unique_ptr<SimpleRule> rule = makeSimpleRule(method);
    std::unordered_map<std::string, uint32_t> numbers;  // in order of appearance
    for (size_t row = 0; row < trace.size(); ++row) {
        const auto next = static_cast<uint32_t>(numbers.size());
        const uint32_t app = numbers.try_emplace(trace.name(row), next).first->second;
        if (!listener(row, rule->guess(app))) return false;
        rule->learn(app);
    }
    return true;
}

}  // namespace

const char* methodKey(Method method) {
    return NAMES[static_cast<size_t>(method)].key;
}

const char* methodName(Method method) {
    return NAMES[static_cast<size_t>(method)].name;
}

std::optional<ReplayResult> runEngine(const Trace& trace, const ChargingPlan& plan,
                                      const GuessListener& listener,
                                      const std::function<void(size_t row)>& trained) {
    AnswerScorer scorer(trace, listener, trained);
    const TemporaryDirectory directory;
    Replayer replayer(plan, directory.path());
    const std::optional<ReplayResult> result =
        replayer.run(trace, [&](size_t row, const std::vector<std::string>& answer) {
            return scorer.atOpening(row, answer, replayer.networkAnswered(answer),
                                    replayer.trainings());
        });
    if (result) scorer.atEnd(result->trainings);
    return result;
}

bool runMethod(Method method, const Trace& trace, const ChargingPlan& plan,
               const GuessListener& listener, const std::function<void(size_t row)>& trained) {
    switch (method) {
        case Method::ENGINE:
            return runEngine(trace, plan, listener, trained).has_value();
        case Method::BAYES:
        case Method::NETWORK:
            return runAlone(method, trace, plan, listener, trained);
        default:
            return runRule(method, trace, listener);
    }
}
