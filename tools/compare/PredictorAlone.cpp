#include "tools/compare/PredictorAlone.h"

#include "preload/AppPreloadModel.h"
#include "preload/BayesAdapter.h"
#include "preload/ZmlAdapter.h"

namespace {

class BayesAlone : public PredictorAlone {
    void setCharging(bool) override {}

    void open(const Trace& trace, size_t row) override {
        if (AppPreloadModel::isExcluded(trace.name(row))) return;
        mData.lastApp = mData.currentApp;
        mData.currentApp = trace.name(row);
        mAdapter.addSample(mData);
    }

    std::vector<std::string> predict() override {
        std::vector<std::string> answer;
        if (mAdapter.ready()) mAdapter.predict(mData, answer);
        return answer;
    }

    void update() override {}
    bool isTraining() override { return false; }
    int trainings() override { return 0; }

    BayesAdapter mAdapter;
    SystemData mData;
};

class NetworkAlone : public PredictorAlone {
    void setCharging(bool charging) override { mCharging = charging ? 1 : 0; }

    void open(const Trace& trace, size_t row) override {
        if (row == 0) mPackages = trace.names();
        std::string name = trace.name(row);
        if (!AppPreloadModel::isExcluded(name)) mAdapter.addSample(name);
    }

    std::vector<std::string> predict() override {
        std::vector<std::string> answer;
        if (mAdapter.ready()) mAdapter.predict(answer);
        return answer;
    }

    void update() override { mAdapter.update(mCharging, mPackages); }
    bool isTraining() override { return mAdapter.isTraining(); }
    int trainings() override { return mAdapter.trainingsReady(); }

    ZmlAdapter mAdapter;
    int mCharging = 0;
    std::vector<std::string> mPackages;
};

}  // namespace

std::unique_ptr<PredictorAlone> makeBayesAlone() {
    return std::make_unique<BayesAlone>();
}

std::unique_ptr<PredictorAlone> makeNetworkAlone() {
    return std::make_unique<NetworkAlone>();
}
