#include "tools/inspect/EngineStart.h"

#include <fstream>
#include <memory>
#include <sstream>

#include "platform/workstation/SettableEnvironment.h"
#include "preload/AppPreloadModel.h"

EngineStart::EngineStart(const EngineFiles& files) {
    files.copyTo(mCopy.path());
    environment::setDataDirectory(mCopy.path());
    mBayesReady = BayesAdapter().ready();
    mNetworkReady = ZmlAdapter().ready();
    const std::string path = mCopy.path() + "/" + engine_file::MODEL;
    if (const std::unique_ptr<Bayes> model = Bayes::createBayesFromModel(path.c_str())) {
        std::string problem;
        mModel = readBayesCounts(model->toString(), problem);
    }
    loadEvaluation();
}

void EngineStart::loadEvaluation() {
    const sp<AppPreloadModel> model(new AppPreloadModel);
    // Only one of the two is stored; the other stays at 0, and nothing says which was meant when
    // both are.
    mEvaluation = model->zmlEvaluation();
    const AppEvaluation bayes = model->bayesEvaluation();
    mNetworkInUse = bayes.appOpenCount == 0 && bayes.top1HitCount == 0 && bayes.top4HitCount == 0;
    if (!mNetworkInUse) mEvaluation = bayes;
}

std::optional<std::string> EngineStart::content(const std::string& name) const {
    std::ifstream in(mCopy.path() + "/" + name, std::ios::binary);
    if (!in) return std::nullopt;
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}
