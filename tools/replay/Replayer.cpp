#include "tools/replay/Replayer.h"

#include "platform/workstation/SettableEnvironment.h"
#include "preload/AppPreloadModel.h"

namespace {

PredictorScore scoreOf(const AppEvaluation& evaluation) {
    return {evaluation.appOpenCount, evaluation.top1HitCount, evaluation.top4HitCount};
}

// The whole model, told of everything by events.
class ModelSubject : public WalkSubject {
  public:
    explicit ModelSubject(AppPreloadModel& model) : mModel(model) {}

    void setCharging(bool charging) override {
        sp<BrainEvent> event(new BrainEvent);
        event->type = BrainEvent::CHARGING;
        event->charging = charging ? 1 : 0;
        mModel.onBrainDataAvailable(event);
    }

    void open(const Trace& trace, size_t row) override {
        sp<BrainEvent> event(new BrainEvent);
        event->type = BrainEvent::APP_OPENED;
        event->package = trace.name(row);
        if (row == 0) {
            event->hasPackageList = 1;
            event->packageList = trace.names();
        }
        mModel.onBrainDataAvailable(event);
    }

    std::vector<std::string> predict() override { return mModel.predict(); }
    void update() override { mModel.updateModel(); }
    bool isTraining() override { return mModel.isTraining(); }

  private:
    AppPreloadModel& mModel;
};

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
    ModelSubject subject(*mModel);
    TraceWalk walk(trace, mPlan, subject);
    walk.setStopped(mStopped);
    const bool complete = walk.run([&](size_t row, const std::vector<std::string>& answer) {
        ++result.openings;
        if (!answer.empty()) ++result.predictions;
        return listener(row, answer);
    });
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

int Replayer::trainings() const {
    return mModel->trainingsReady();
}
