#include "preload/BayesAdapter.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <numeric>

#include "base/Environment.h"
#include "base/Logger.h"
#include "preload/FileNames.h"
#include "preload/PackageName.h"
#include "preload/Ranking.h"
#include "preload/TextTable.h"

namespace {

constexpr char TAG[] = "AppPreloadModel";

// Whether the model file is gone or too large; not when it cannot be looked at.
bool outgrown(const std::string& modelPath) {
    struct stat status {};
    if (stat(modelPath.c_str(), &status) != 0) return isAbsence(errno);
    return status.st_size > BayesAdapter::MAX_MODEL_BYTES;
}

}  // namespace

BayesAdapter::BayesAdapter()
    : mModelPath(engine_file::pathOf(engine_file::MODEL)),
      mAppMapFile(engine_file::pathOf(engine_file::APP_TABLE)) {
    MutexLock lock(mLock);
    loadModelLocked();
    if (mStatus == STATUS_NO_MODEL) return;
    if (loadAppMap() == 0) {
        ENGINE_LOG(LEVEL_DEBUG, TAG, "BayesAdapter init ok");
    } else {
        mStatus = STATUS_BAD_APP_MAP;
    }
}

void BayesAdapter::loadModelLocked() {
    FileRead read = FileRead::MISSING;
    mBayes = Bayes::createBayesFromModel(mModelPath.c_str(), &read);
    if (mBayes != nullptr && mBayes->dimension() == BayesSample::DIMENSION) {
        mStatus = STATUS_READY;
        return;
    }
    mBayes = Bayes::createEmptyBayes(BayesSample::DIMENSION, mModelPath.c_str());
    if (mBayes == nullptr) ENGINE_LOG(LEVEL_ERROR, TAG, "createEmptyBayes ERROR");
    // An empty model would be stored in place of one that could not be read.
    if (mBayes == nullptr || read == FileRead::FAILED) mStatus = STATUS_NO_MODEL;
}

int BayesAdapter::loadAppMap() {
    const TableLoad result = loadTable(mAppMapFile, [&](std::istream& in) REQUIRES(mLock) {
        std::string word;
        in >> word >> mAppCount;
        // What is never stored here is refused, so that what is stored is never refused.
        if (mAppCount < 0 || mAppCount > MAX_APPS) in.setstate(std::ios::failbit);
        for (int i = 0; i < mAppCount && in; ++i) {
            int index = 0;
            in >> word >> index;
            const bool isNew = mAppMap.emplace(word, index).second;
            if (!isNew || index >= MAX_APPS) in.setstate(std::ios::failbit);
        }
    });
    switch (result) {
        case TableLoad::MISSING:
            return 0;
        case TableLoad::REFUSED:
            mAppMap.clear();
            return -1;
        case TableLoad::LOADED:
            ENGINE_LOG(LEVEL_DEBUG, TAG, "load app map ok");
            return 0;
    }
    return 0;
}

int BayesAdapter::storeAppMapLocked() {
    std::string text = "appmap ";
    text += std::to_string(mAppCount) + '\n';
    for (const auto& [package, index] : mAppMap) {
        text += package + ' ' + std::to_string(index) + '\n';
    }
    if (!PersistentFile::isStored(mAppMapFile.store(text))) return -1;
    ENGINE_LOG(LEVEL_DEBUG, TAG, "store app map ok");
    return 0;
}

int BayesAdapter::transferPackageToIndex(const std::string& package) {
    if (!isPackageName(package)) return -1;
    if (const auto entry = mAppMap.find(package); entry != mAppMap.end()) return entry->second;
    if (mAppCount >= MAX_APPS) return -1;
    const int index = mAppCount++;
    mAppMap[package] = index;
    mPackages.clear();
    storeAppMapLocked();
    return index;
}

std::string BayesAdapter::transferIndexToPackage(int index) {
    if (mPackages.empty()) {
        for (const auto& [package, packageIndex] : mAppMap) {
            if (packageIndex < 0) continue;
            const size_t position = static_cast<size_t>(packageIndex);
            if (position >= mPackages.size()) mPackages.resize(position + 1);
            if (mPackages[position] == nullptr) mPackages[position] = &package;
        }
    }
    const size_t position = static_cast<size_t>(index);
    if (index < 0 || position >= mPackages.size() || mPackages[position] == nullptr) return {};
    return *mPackages[position];
}

void BayesAdapter::addSample(SystemData& data) {
    MutexLock lock(mLock);
    // Unsigned, so that a negative status is refused as well.
    if (static_cast<uint32_t>(mStatus) >= STATUS_NO_MODEL) {
        ENGINE_LOG(LEVEL_WARNING, TAG, "BayesAdapter addSample error because mStatus %d", mStatus);
        return;
    }
    labelSamplesLocked(data.currentApp);
    if (mSamples.size() >= BATCH_SIZE) trainLocked();
    ENGINE_LOG(LEVEL_DEBUG, TAG, "AppPreload BayesAdapter dataset num %d",
               static_cast<int>(mSamples.size()));
    const BayesSample sample = sampleOfNowLocked(data);
    if (sample.lastAppIndex >= 0 && sample.currentAppIndex >= 0) mSamples.push_back(sample);
}

void BayesAdapter::labelSamplesLocked(const std::string& currentApp) {
    for (auto sample = mSamples.rbegin(); sample != mSamples.rend() && sample->label < 0;
         ++sample) {
        sample->label = std::max(transferPackageToIndex(currentApp), 0);
    }
}

void BayesAdapter::trainLocked() {
    std::vector<std::vector<int>> X;
    std::vector<int> Y;
    for (const BayesSample& sample : mSamples) {
        X.push_back(sample.toVecX());
        Y.push_back(sample.label);
    }
    mSamples.clear();

    int error = 0;
    if (outgrown(mModelPath)) {
        ENGINE_LOG(LEVEL_DEBUG, TAG, "AppPreload BayesAdapter train new model");
        error = mBayes->learn(X, Y);
    } else {
        ENGINE_LOG(LEVEL_DEBUG, TAG, "AppPreload BayesAdapter train updated model");
        error = mBayes->update(X, Y);
    }
    if (error != 0) {
        ENGINE_LOG(LEVEL_WARNING, TAG, "AppPreload BayesAdapter delta train error");
        mStatus = STATUS_TRAINING_FAILED;
    } else {
        ENGINE_LOG(LEVEL_DEBUG, TAG, "AppPreload BayesAdapter train ok");
        mStatus = STATUS_READY;
    }
}

BayesSample BayesAdapter::sampleOfNowLocked(const SystemData& data) {
    BayesSample sample{};
    sample.time = environment::now();
    sample.timeSlot = getTimeSlot(sample.time);
    sample.weekDay = getWeekDay(sample.time);
    sample.lastAppIndex = transferPackageToIndex(data.lastApp);
    sample.currentAppIndex = transferPackageToIndex(data.currentApp);
    sample.label = -1;
    return sample;
}

void BayesAdapter::predict(SystemData& data, std::vector<std::string>& out) {
    MutexLock lock(mLock);
    if (mStatus != STATUS_READY) {
        ENGINE_LOG(LEVEL_WARNING, TAG, "BayesAdapter predict error because mStatus %d", mStatus);
        return;
    }
    const BayesSample sample = sampleOfNowLocked(data);
    if (sample.lastAppIndex < 0 || sample.currentAppIndex < 0) {
        ENGINE_LOG(LEVEL_DEBUG, TAG, "BayesAdapter predict need 2 history apps");
        return;
    }
    const std::vector<float> scores = mBayes->predict(sample.toVecX());
    std::vector<int> classes = ranking(scores);
    classes.resize(scores.size(), 0);  // class 0 over and over, until there are as many as scores
    for (const int y : classes) out.push_back(transferIndexToPackage(y));
}

bool BayesAdapter::ready() {
    MutexLock lock(mLock);
    return mStatus == STATUS_READY;
}

std::string BayesAdapter::dumpMemory() {
    MutexLock lock(mLock);
    const size_t bytes = std::accumulate(
        mAppMap.begin(), mAppMap.end(), size_t{0},
        [](size_t sum, const auto& entry) { return sum + entry.first.size() + sizeof(int32_t); });
    char text[256];
    snprintf(text, sizeof(text), "BayesAdapter size %d\n", static_cast<int>(bytes));
    return text + mBayes->dumpMemory();
}

int BayesAdapter::appCount() {
    MutexLock lock(mLock);
    return static_cast<int>(mAppMap.size());
}
