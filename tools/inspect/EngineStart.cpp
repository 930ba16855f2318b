#include "tools/inspect/EngineStart.h"

#include <fstream>
#include <iterator>

#include "platform/workstation/SettableEnvironment.h"
#include "preload/AppPreloadModel.h"

EngineStart::EngineStart(const EngineFiles& files) {
    files.copyTo(mCopy.path());
    environment::setDataDirectory(mCopy.path());
    mBayesReady = BayesAdapter().ready();
    mNetworkReady = ZmlAdapter().ready();
    mModel = Bayes::createBayesFromModel(engine_file::pathOf(engine_file::MODEL).c_str());

    // Only one of the two evaluations is stored; the other stays at 0, and nothing says which was
    // meant when both are.
    const sp<AppPreloadModel> engine(new AppPreloadModel);
    const AppEvaluation bayes = engine->bayesEvaluation();
    mNetworkInUse = bayes.appOpenCount == 0 && bayes.top1HitCount == 0 && bayes.top4HitCount == 0;
    mEvaluation = mNetworkInUse ? engine->zmlEvaluation() : bayes;
}

EngineStart::~EngineStart() = default;

std::optional<std::string> EngineStart::content(const std::string& name) const {
    std::ifstream in(mCopy.path() + '/' + name, std::ios::binary);
    if (!in) return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(in), {});
}
