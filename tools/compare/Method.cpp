#include "tools/compare/Method.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <unordered_map>

#include "platform/workstation/SettableEnvironment.h"
#include "tools/common/DataDirectory.h"
#include "tools/compare/PredictorAlone.h"
#include "tools/compare/SimpleRule.h"

namespace {

using GoOn = std::function<bool(size_t row)>;

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

// Holds each answer of a walk, without the name in front, against the opening after it.
class AnswerScorer {
  public:
    explicit AnswerScorer(const Trace& trace) : mTrace(trace) {
        for (const std::string& name : trace.names()) mNumbers.emplace(name, mNumbers.size());
    }

    // Where the walk is.
    size_t row() const { return mRun.guesses.size(); }

    // The walk is at the next row, with this answer after its opening and so many trainings behind.
    void add(const std::vector<std::string>& answer, bool network, int trainings) {
        if (row() > 0) passTrainings(trainings);
        const std::string& front = mTrace.name(row());
        mGuess.rank = rankOf(front);
        mRun.guesses.push_back(mGuess);
        mRun.firsts.push_back(mFirsts.empty() ? NO_NAME : mFirsts.front());
        mAnswer.clear();
        std::remove_copy(answer.begin(), answer.end(), std::back_inserter(mAnswer), front);
        mGuess = {static_cast<uint32_t>(mAnswer.size()), 0, network && !mAnswer.empty()};
        mFirsts.clear();
        for (const std::string& name : mAnswer) {
            if (mFirsts.size() == MOST_PRELOADED) break;
            mFirsts.push_back(mNumbers.at(name));
        }
        mUnused.next(mTrace.number(row() - 1), mFirsts);
    }

    MethodRun finish(int trainings) {
        passTrainings(trainings);
        mRun.unused = mUnused.counts();
        return std::move(mRun);
    }

  private:
    // The Bayes model may name an application twice; the first time counts.
    uint32_t rankOf(const std::string& opened) const {
        const auto place = std::find(mAnswer.begin(), mAnswer.end(), opened);
        return place == mAnswer.end() ? 0 : static_cast<uint32_t>(place - mAnswer.begin()) + 1;
    }

    void passTrainings(int trainings) {
        mRun.trainings.resize(static_cast<size_t>(trainings), row() - 1);
    }

    const Trace& mTrace;
    std::unordered_map<std::string, size_t> mNumbers;
    MethodRun mRun;
    UnusedPreloads mUnused;
    std::vector<std::string> mAnswer;
    std::vector<size_t> mFirsts;  // of the answer, as numbers
    Guess mGuess{0, 0, false};
};

std::optional<MethodRun> runEngine(const Trace& trace, const ChargingPlan& plan, const GoOn& goOn) {
    AnswerScorer scorer(trace);
    const TemporaryDirectory directory;
    Replayer replayer(plan, directory.path());
    replayer.setStopped([&] { return !goOn(scorer.row()); });
    const std::optional<ReplayResult> result =
        replayer.run(trace, [&](size_t row, const std::vector<std::string>& answer) {
            scorer.add(answer, replayer.networkAnswered(answer), replayer.trainings());
            return goOn(row);
        });
    if (!result) return std::nullopt;
    MethodRun run = scorer.finish(result->trainings);
    run.bayes = result->bayes;
    run.network = result->network;
    return run;
}

std::optional<MethodRun> runAlone(bool network, const Trace& trace, const ChargingPlan& plan,
                                  const GoOn& goOn) {
    AnswerScorer scorer(trace);
    const TemporaryDirectory directory;
    environment::setDataDirectory(directory.path());
    environment::setNow(wholeSeconds(trace.time(0)));
    const std::unique_ptr<PredictorAlone> predictor =
        network ? makeNetworkAlone() : makeBayesAlone();
    TraceWalk walk(trace, plan, *predictor);
    walk.setStopped([&] { return !goOn(scorer.row()); });
    const bool complete = walk.run([&](size_t row, const std::vector<std::string>& answer) {
        scorer.add(answer, network, predictor->trainings());
        return goOn(row);
    });
    if (!complete) return std::nullopt;
    return scorer.finish(predictor->trainings());
}

std::optional<MethodRun> runRule(Method method, const Trace& trace, const GoOn& goOn) {
    SimpleRule rule(method);
    UnusedPreloads unused;
    MethodRun run;
    for (size_t row = 0; row < trace.size(); ++row) {
        if (!goOn(row)) return std::nullopt;
        const size_t app = trace.number(row);
        run.guesses.push_back(rule.guess(app));
        rule.learn(app);
        unused.next(app, rule.list(MOST_PRELOADED));
    }
    run.unused = unused.counts();
    return run;
}

}  // namespace

const char* methodKey(Method method) {
    return NAMES[static_cast<size_t>(method)].key;
}

const char* methodName(Method method) {
    return NAMES[static_cast<size_t>(method)].name;
}

std::optional<MethodRun> runMethod(Method method, const Trace& trace, const ChargingPlan& plan,
                                   const GoOn& goOn) {
    if (isRule(method)) return runRule(method, trace, goOn);
    if (method == Method::ENGINE) return runEngine(trace, plan, goOn);
    return runAlone(method == Method::NETWORK, trace, plan, goOn);
}
