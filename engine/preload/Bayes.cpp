#include "preload/Bayes.h"

#include <numeric>

#include "base/Logger.h"
#include "preload/Count.h"

namespace {

constexpr char TAG[] = "bayes";
constexpr int MAX_DIMENSION = 100;
constexpr uint32_t MAX_FEATURE_VALUE = 10000;

// The part of a key that all classes share: "feature:value:".
std::string keyPrefix(int feature, int value) {
    return std::to_string(feature) + ':' + std::to_string(value) + ':';
}

// The class that a key names behind its prefix; -1 for text that the model would not write itself,
// as a damaged file may hold ("007").
int classOfKey(const std::string& key, size_t prefixLength) {
    if (prefixLength == key.size() || (key[prefixLength] == '0' && prefixLength + 1 < key.size())) {
        return -1;
    }
    int y = 0;
    for (size_t i = prefixLength; i < key.size(); ++i) {
        if (key[i] < '0' || key[i] > '9') return -1;
        y = 10 * y + (key[i] - '0');
        if (y >= Bayes::MAX_CLASSES) return -1;
    }
    return y;
}

int rejectBatch(int error) {
    ENGINE_LOG(LEVEL_WARNING, TAG, "train set is illegal, ignore this train");
    return error;
}

}  // namespace

std::unique_ptr<Bayes> Bayes::createEmptyBayes(int dimensionX, const char* path) {
    if (dimensionX < 1 || dimensionX > MAX_DIMENSION) {
        ENGINE_LOG(LEVEL_WARNING, TAG, "dimensionX %d is illegal", dimensionX);
        return nullptr;
    }
    std::unique_ptr<Bayes> model(new Bayes(path));
    MutexLock lock(model->mLock);
    model->mDimensionX = dimensionX;
    model->mVariableSpaceX.resize(static_cast<size_t>(dimensionX));
    model->mListedSpaceX = dimensionX;
    return model;
}

int Bayes::learn(const std::vector<std::vector<int>>& X, const std::vector<int>& Y) {
    MutexLock lock(mLock);
    if (const int error = checkXandY(X, Y); error != OK) return rejectBatch(error);
    if (mTrained) {
        ENGINE_LOG(LEVEL_WARNING, TAG, "the model have been trained, will be override");
    }
    // This also forgets the number of classes that the check has just found: until the next update
    // the model predicts for none.
    clear();
    return learnInnerLocked(X, Y);
}

int Bayes::update(const std::vector<std::vector<int>>& X, const std::vector<int>& Y) {
    MutexLock lock(mLock);
    if (const int error = checkXandY(X, Y); error != OK) return rejectBatch(error);
    return learnInnerLocked(X, Y);
}

int Bayes::checkXandY(const std::vector<std::vector<int>>& X, const std::vector<int>& Y) {
    if (X.empty() || Y.empty()) return ERROR_EMPTY;
    if (X.size() != Y.size()) return ERROR_SIZES;
    for (const std::vector<int>& x : X) {
        if (x.size() == static_cast<size_t>(mDimensionX)) continue;
        ENGINE_LOG(LEVEL_WARNING, TAG,
                   "train set X is illegal, ignore this train. mDimensionX:%d, while x size:%d",
                   mDimensionX, static_cast<int>(x.size()));
        return ERROR_DIMENSION;
    }
    for (const int y : Y) {
        if (y < 0 || y >= MAX_CLASSES) {
            // The classes before this one stay known.
            ENGINE_LOG(LEVEL_WARNING, TAG,
                       "train set Y is out of VariableSpaceY, ignore this train");
            return ERROR_CLASS;
        }
        if (y >= mVariableSpaceY) mVariableSpaceY = y + 1;
    }
    return OK;
}

void Bayes::clear() {
    mTotalSampleCount = 0;
    mVariableSpaceY = 0;
    mDistributionY.clear();
    mDistributionXandY.clear();
    mTrained = false;
    mListedSpaceX = 0;  // the maxima themselves stay and go on counting
}

int Bayes::learnInnerLocked(const std::vector<std::vector<int>>& X, const std::vector<int>& Y) {
    for (size_t j = 0; j < X.size(); ++j) {
        for (size_t i = 0; i < X[j].size(); ++i) {
            const int value = X[j][i];
            countUp(
                mDistributionXandY[keyPrefix(static_cast<int>(i), value) + std::to_string(Y[j])]);
            if (value > mVariableSpaceX[i]) mVariableSpaceX[i] = value;
        }
        countUp(mDistributionY[Y[j]]);
    }
    countUp(mTotalSampleCount, static_cast<int32_t>(X.size()));
    if (const int error = storeDataToDiskLocked(); error != OK) {
        ENGINE_LOG(LEVEL_WARNING, TAG, "Bayes storeDataToDiskLocked error %d", error);
    }
    mTrained = true;
    return OK;
}

std::vector<float> Bayes::predict(const std::vector<int>& x) {
    MutexLock lock(mLock);
    const size_t classes = static_cast<size_t>(mVariableSpaceY);
    if (!isPredictableLocked(x)) return std::vector<float>(classes);

    // Every step is rounded to float, in the order of the formula: the scores are exact to the bit.
    const std::vector<int64_t> classCounts = classCountsLocked();
    std::vector<float> scores(classes, 1.0F);
    for (size_t i = 0; i < x.size(); ++i) {
        const std::vector<int64_t> counts = featureCountsLocked(static_cast<int>(i), x[i]);
        const int64_t smoothing = int64_t{mVariableSpaceX[i]} + 1;
        for (size_t y = 0; y < classes; ++y) {
            const float likelihood =
                static_cast<float>(counts[y] + 1) / static_cast<float>(classCounts[y] + smoothing);
            scores[y] *= likelihood;
        }
    }
    const float total = static_cast<float>(int64_t{mVariableSpaceY} + mTotalSampleCount);
    float sum = 0.0F;
    for (size_t y = 0; y < classes; ++y) {
        const float prior = static_cast<float>(classCounts[y] + 1) / total;
        scores[y] *= prior;
        sum += scores[y];
    }
    for (float& score : scores) score /= sum;
    return scores;
}

bool Bayes::isPredictableLocked(const std::vector<int>& x) {
    if (!mTrained) return false;
    if (x.size() != static_cast<size_t>(mDimensionX)) {
        ENGINE_LOG(LEVEL_WARNING, TAG, "x vec is illegal, ignore this predict");
        return false;
    }
    for (const int value : x) {
        if (static_cast<uint32_t>(value) <= MAX_FEATURE_VALUE) continue;
        ENGINE_LOG(LEVEL_WARNING, TAG, "x vec element %d is illegal, ignore this predict", value);
        return false;
    }
    return true;
}

// Both count functions enter a zero for what they do not find, and the next save writes those
// zeros: the model grows by what it is asked.

std::vector<int64_t> Bayes::classCountsLocked() {
    std::vector<int64_t> counts;
    counts.reserve(static_cast<size_t>(mVariableSpaceY));
    auto entry = mDistributionY.lower_bound(0);
    for (int y = 0; y < mVariableSpaceY; ++y, ++entry) {
        if (entry == mDistributionY.end() || entry->first != y) {
            entry = mDistributionY.emplace_hint(entry, y, 0);
        }
        counts.push_back(entry->second);
    }
    return counts;
}

// One walk over the keys of this feature and value, in place of a look-up for each class.
std::vector<int64_t> Bayes::featureCountsLocked(int feature, int value) {
    const std::string prefix = keyPrefix(feature, value);
    constexpr int64_t ABSENT = -1;
    std::vector<int64_t> counts(static_cast<size_t>(mVariableSpaceY), ABSENT);
    for (auto entry = mDistributionXandY.lower_bound(prefix);
         entry != mDistributionXandY.end() && entry->first.compare(0, prefix.size(), prefix) == 0;
         ++entry) {
        const int y = classOfKey(entry->first, prefix.size());
        if (y >= 0 && y < mVariableSpaceY) counts[static_cast<size_t>(y)] = entry->second;
    }
    for (size_t y = 0; y < counts.size(); ++y) {
        if (counts[y] != ABSENT) continue;
        counts[y] = 0;
        mDistributionXandY.emplace(prefix + std::to_string(y), 0);
    }
    return counts;
}

std::string Bayes::toString() {
    MutexLock lock(mLock);
    return serializeLocked();
}

std::string Bayes::dumpMemory() {
    MutexLock lock(mLock);
    const auto line = [](const char* format, size_t number) {
        char text[256];
        snprintf(text, sizeof(text), format, static_cast<int>(number));
        return std::string(text);
    };
    const size_t keyBytes = std::accumulate(
        mDistributionXandY.begin(), mDistributionXandY.end(), size_t{0},
        [](size_t sum, const auto& entry) { return sum + entry.first.size() + sizeof(int32_t); });
    // The leading "%m" prints the text of the current errno, not a letter m.
    return line("%mDistributionXandY size %d\n", mDistributionXandY.size()) +
           line("%mDistributionXandY byte %d\n", keyBytes) +
           line("%mDistributionY size %d\n", mDistributionY.size()) +
           line("%mDistributionY byte %d\n", 8 * mDistributionY.size());
}
