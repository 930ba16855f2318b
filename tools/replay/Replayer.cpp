#include "tools/replay/Replayer.h"

#include <algorithm>
#include <thread>

#include "platform/SettableEnvironment.h"
#include "preload/AppPreloadModel.h"

namespace {

constexpr int32_t CODE_APP_OPENED = 4;
constexpr int32_t CODE_CHARGING = 6;
constexpr TraceTime MARK_DISTANCE = std::chrono::seconds(300);
constexpr std::chrono::microseconds POLL_INTERVAL(200);

PredictorScore scoreOf(const AppEvaluation& evaluation) {
    return {evaluation.appOpenCount, evaluation.top1HitCount, evaluation.top4HitCount};
}

}  // namespace

Replayer::Replayer(const ChargingPlan& plan, const std::string& dataDirectory)
    : mPlan(plan), mDataDirectory(dataDirectory) {}

Replayer::~Replayer() = default;

std::optional<ReplayResult> Replayer::run(const Trace& trace, const Listener& listener) {
    const auto begin = std::chrono::steady_clock::now();
    environment::setDataDirectory(mDataDirectory);
    environment::setNow(wholeSeconds(trace.time(0)));
    mModel = new AppPreloadModel;

    ReplayResult result;
    const bool complete = replay(trace, listener, result);
    result.bayes = scoreOf(mModel->bayesEvaluation());
    result.network = scoreOf(mModel->zmlEvaluation());
    result.apps = mModel->appCount();
    result.trainings = mModel->trainingsReady();
    mModel.reset();
    result.duration = std::chrono::steady_clock::now() - begin;
    if (!complete) return std::nullopt;
    return result;
}

bool Replayer::networkAnswered(const std::vector<std::string>& answer) const {
    return mModel->zmlEvaluation().lastPrediction == answer;
}

bool Replayer::replay(const Trace& trace, const Listener& listener, ReplayResult& result) {
    mStart = trace.time(0);
    sendCharging(mPlan.chargingAt(wholeSeconds(mStart)));
    for (size_t row = 0; row < trace.size(); ++row) {
        if (row > 0 && !passTime(trace.time(row - 1), trace.time(row))) return false;
        environment::setNow(wholeSeconds(trace.time(row)));
        sendOpening(trace, row);
        ++result.openings;
        const std::vector<std::string> answer = mModel->predict();
        if (!answer.empty()) ++result.predictions;
        if (!listener(row, answer)) return false;
    }
    return update();
}

// What happens behind `from`, up to `to` itself. False when the replay was stopped.
bool Replayer::passTime(TraceTime from, TraceTime to) {
    constexpr TraceTime NEVER = TraceTime::max();
    const auto edgeAfter = [&](time_t moment) {
        const std::optional<time_t> edge = mPlan.nextEdge(moment);
        return edge ? TraceTime(std::chrono::seconds(*edge)) : NEVER;
    };
    TraceTime edge = edgeAfter(wholeSeconds(from));
    TraceTime mark = firstMarkNotBefore(from + TraceTime(1));
    for (;;) {
        const TraceTime next = std::min(edge, mark);
        if (next > to) return true;
        environment::setNow(wholeSeconds(next));
        if (edge <= mark) {
            sendCharging(mPlan.chargingAt(wholeSeconds(edge)));
            mark = firstMarkNotBefore(edge);
            edge = edgeAfter(wholeSeconds(edge));
        } else {
            if (!update()) return false;
            mark = NEVER;
        }
    }
}

TraceTime Replayer::firstMarkNotBefore(TraceTime time) const {
    const auto steps = (time - mStart + MARK_DISTANCE - TraceTime(1)) / MARK_DISTANCE;
    return mStart + steps * MARK_DISTANCE;
}

void Replayer::sendCharging(bool charging) {
    sp<BrainEvent> event(new BrainEvent);
    event->type = CODE_CHARGING;
    event->charging = charging ? 1 : 0;
    mModel->onBrainDataAvailable(event);
}

void Replayer::sendOpening(const Trace& trace, size_t row) {
    sp<BrainEvent> event(new BrainEvent);
    event->type = CODE_APP_OPENED;
    event->package = trace.name(row);
    if (row == 0) {
        event->hasPackageList = 1;
        event->packageList = trace.names();
    }
    mModel->onBrainDataAvailable(event);
}

// False when the replay was stopped meanwhile.
bool Replayer::update() {
    if (mStopped()) return false;
    mModel->updateModel();
    while (mModel->isTraining()) {
        if (mStopped()) return false;
        std::this_thread::sleep_for(POLL_INTERVAL);
    }
    return true;
}
