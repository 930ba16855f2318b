#include "preload/AppPreloadModel.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <sstream>

#include "base/Environment.h"
#include "base/Logger.h"
#include "looper/Looper.h"
#include "preload/Count.h"
#include "preload/FileNames.h"

namespace {

constexpr char TAG[] = "AppPreloadModel";
constexpr long long UPDATE_INTERVAL_MS = 300000;
constexpr mode_t DIRECTORY_MODE = 0775;
constexpr size_t TOP = 4;

// Home screen, recent apps, security centre and installer: nobody launches those to use them.
constexpr const char* EXCLUDED_PACKAGES[] = {
    "com.veltra.launcher",
    "com.quorin.recents",
    "com.quorin.safecenter",
    "com.android.packageinstaller",
};

// Unlike the extraction itself, leaves `value` as it is when none can be read.
template <typename T>
void readValue(std::istream& in, T& value) {
    std::string key;
    T read{};
    if (in >> key >> read) value = read;
}

}  // namespace

AppPreloadModel::AppPreloadModel()
    : mEvaluationFile(engine_file::pathOf(engine_file::EVALUATION), PersistentFile::REPLACEABLE) {
    MutexLock lock(mLock);
    const std::string directory = environment::dataDirectory();
    if (access(directory.c_str(), F_OK) != 0) {
        const int status = mkdir(directory.c_str(), DIRECTORY_MODE);
        if (status != 0 && errno != EEXIST) {
            ENGINE_LOG(LEVEL_ERROR, TAG, "Could not create directory status: %d, error: %s", status,
                       strerror(errno));
            mStatus = STATUS_NO_DIRECTORY;
            return;
        }
    }
    loadEvaluationLocked();
}

AppPreloadModel::~AppPreloadModel() {
    ENGINE_LOG(LEVEL_WARNING, TAG, "AppPreloadModel destroy");
}

void AppPreloadModel::start(Looper* looper) {
    if (mStatus != STATUS_WORKING) return;
    if (looper == nullptr) looper = Looper::current();
    if (looper == nullptr) return;
    looper->getTimer()->addTimerCallback(UPDATE_INTERVAL_MS, &AppPreloadModel::TimerCallBack, this);
}

int AppPreloadModel::TimerCallBack(void* model) {
    static_cast<AppPreloadModel*>(model)->updateModel();
    return 0;
}

void AppPreloadModel::onBrainDataAvailable(sp<BrainEvent>& event) {
    ENGINE_LOG(LEVEL_DEBUG, TAG, "AppPreloadModel::onBrainDataAvailable %d", event->type);
    if (event->type == BrainEvent::CHARGING) {
        MutexLock lock(mLock);
        mCharging = event->charging;
    } else if (event->type == BrainEvent::APP_OPENED) {
        onAppOpened(*event);
    }
}

void AppPreloadModel::onAppOpened(const BrainEvent& event) {
    MutexLock lock(mLock);
    if (event.hasPackageList != 0) mPackageList = event.packageList;
    std::string package = event.package;
    if (package.empty() || isExcluded(package)) return;
    mSystemData.lastApp = mSystemData.currentApp;
    mSystemData.currentApp = package;
    mBayesAdapter.addSample(mSystemData);
    mZmlAdapter.addSample(package);
    evaluateLocked(package);
}

// The predictor that an opening is scored against, which need not be the one that predicted last;
// null when none is ready.
AppEvaluation* AppPreloadModel::evaluationForLocked(const std::string& package) {
    if (mZmlAdapter.ready()) {
        const int records = mZmlAdapter.usageRecordsOf(package);
        for (int i = 0; i < records; ++i) {
            ENGINE_LOG(LEVEL_DEBUG, TAG, "app %s is top 30 app", package.c_str());
        }
        if (records > 0) return &mZmlEvaluation;
    }
    return mBayesAdapter.ready() ? &mBayesEvaluation : nullptr;
}

void AppPreloadModel::evaluateLocked(std::string& package) {
    AppEvaluation* const evaluation = evaluationForLocked(package);
    if (evaluation == nullptr) return;
    const std::vector<std::string>& prediction = evaluation->lastPrediction;
    // To the end of the four: a package that stands there twice counts twice.
    for (size_t i = 0; i < std::min(TOP, prediction.size()); ++i) {
        if (prediction[i] != package) continue;
        if (i == 0) {
            countUp(evaluation->top1HitCount);
            ENGINE_LOG(LEVEL_DEBUG, TAG, "Top1AppHitCount %d", evaluation->top1HitCount);
        }
        countUp(evaluation->top4HitCount);
        ENGINE_LOG(LEVEL_DEBUG, TAG, "Top4AppHitCount %d", evaluation->top4HitCount);
    }
    countUp(evaluation->appOpenCount);
    ENGINE_LOG(LEVEL_DEBUG, TAG, "AppOpenCount %d", evaluation->appOpenCount);
}

std::vector<std::string> AppPreloadModel::predict() {
    MutexLock lock(mLock);
    std::vector<std::string> result;
    if (mStatus != STATUS_WORKING) {
        ENGINE_LOG(LEVEL_WARNING, TAG, "AppPreloadModel can not work due to status=%d", mStatus);
        return result;
    }
    if (mZmlAdapter.ready()) {
        // Also when it has nothing to say: the Bayes model is not asked then.
        ENGINE_LOG(LEVEL_DEBUG, TAG, "using zml to inference");
        mZmlAdapter.predict(result);
        mZmlEvaluation.lastPrediction = result;
        mUsingZml = true;
    } else if (mBayesAdapter.ready()) {
        ENGINE_LOG(LEVEL_DEBUG, TAG, "using bayes model");
        mBayesAdapter.predict(mSystemData, result);
        mBayesEvaluation.lastPrediction = result;
        mUsingZml = false;
    } else {
        ENGINE_LOG(LEVEL_DEBUG, TAG, "no AI modelcan be used");
    }
    for (const std::string& package : result) {
        ENGINE_LOG(LEVEL_DEBUG, TAG, "app %s should preload", package.c_str());
    }
    return result;
}

void AppPreloadModel::updateModel() {
    if (mStatus != STATUS_WORKING) {
        ENGINE_LOG(LEVEL_WARNING, TAG, "AppPreloadModel can not work due to status=%d", mStatus);
        return;
    }
    ENGINE_LOG(LEVEL_DEBUG, TAG, "AppPreloadModel::updateModel");
    int charging = 0;
    std::vector<std::string> packages;
    {
        MutexLock lock(mLock);
        storeEvaluationLocked();
        charging = mCharging;
        packages = mPackageList;
    }
    // Without the lock: predictions go on meanwhile.
    mZmlAdapter.update(charging, packages);
}

AppEvaluation& AppPreloadModel::storedEvaluationLocked() {
    return mUsingZml ? mZmlEvaluation : mBayesEvaluation;
}

// Only the evaluation of the predictor in use is kept; the other's counts end with the process.
int AppPreloadModel::storeEvaluationLocked() {
    const AppEvaluation& evaluation = storedEvaluationLocked();
    std::ostringstream out;
    out << "ai " << mUsingZml << '\n'
        << "Top1AppHitCount " << evaluation.top1HitCount << '\n'
        << "Top4AppHitCount " << evaluation.top4HitCount << '\n'
        << "AppOpenCount " << evaluation.appOpenCount << '\n';
    mEvaluationFile.store(out.str());
    // Said even when the file could not be written.
    ENGINE_LOG(LEVEL_DEBUG, TAG, "store Evaluation result ok");
    return 0;
}

int AppPreloadModel::loadEvaluationLocked() {
    std::string text;
    if (mEvaluationFile.load(text) != FileRead::READ) return 0;
    std::istringstream in(text);
    readValue(in, mUsingZml);
    AppEvaluation& evaluation = storedEvaluationLocked();
    readValue(in, evaluation.top1HitCount);
    readValue(in, evaluation.top4HitCount);
    readValue(in, evaluation.appOpenCount);
    ENGINE_LOG(LEVEL_DEBUG, TAG, "load Evaluation result ok");
    return 0;
}

AppEvaluation AppPreloadModel::bayesEvaluation() {
    MutexLock lock(mLock);
    return mBayesEvaluation;
}

AppEvaluation AppPreloadModel::zmlEvaluation() {
    MutexLock lock(mLock);
    return mZmlEvaluation;
}

bool AppPreloadModel::isTraining() {
    return mZmlAdapter.isTraining();
}

int AppPreloadModel::trainingsReady() {
    return mZmlAdapter.trainingsReady();
}

int AppPreloadModel::appCount() {
    return mBayesAdapter.appCount();
}

bool AppPreloadModel::isExcluded(const std::string& package) {
    return std::find(std::begin(EXCLUDED_PACKAGES), std::end(EXCLUDED_PACKAGES), package) !=
           std::end(EXCLUDED_PACKAGES);
}
