#include "preload/Bayes.h"

#include <cstdio>
#include <cstring>
#include <utility>

#include "base/Logger.h"
#include "preload/BayesFile.h"
#include "preload/Count.h"

namespace {

constexpr char TAG[] = "bayes";
constexpr int MAX_DIMENSION = 100;

// How many features a file may claim; it bounds the allocation, as MAX_CLASSES does.
constexpr int MAX_STORED_DIMENSION = 1 << 16;

// The witnesses of scoreLocked().

struct NoWitness {
    static constexpr bool ENTERS_ZEROS = true;
    void factor(size_t, int32_t, float) {}
    void products(const std::vector<float>&, float) {}
};

struct Recorder {
    static constexpr bool ENTERS_ZEROS = false;
    void factor(size_t y, int32_t count, float value) {
        answer.classes[y].factors.push_back({count, value});
    }
    void products(const std::vector<float>& products, float sum) {
        for (size_t y = 0; y < products.size(); ++y) answer.classes[y].product = products[y];
        answer.sum = sum;
    }

    BayesAnswer& answer;
};

int rejectFile(const ModelScanner& scanner) {
    ENGINE_LOG(LEVEL_WARNING, TAG, "index %d\n", scanner.lastScan());
    return Bayes::ERROR_PARSE;
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
            mDistributionXandY.countUp(static_cast<int>(i), value, Y[j]);
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

template <typename Witness>
std::vector<float> Bayes::scoreLocked(const std::vector<int>& x, Witness witness) {
    const size_t classes = static_cast<size_t>(mVariableSpaceY);
    if (!isPredictableLocked(x)) return std::vector<float>(classes);

    // Every step is rounded to float, in the order of the formula: the scores are exact to the bit.
    // The sums of counts are exact in double, and cheaper to convert than large integers.
    const std::vector<int32_t> classCounts = classCountsLocked(witness.ENTERS_ZEROS);
    std::vector<int32_t> counts(classes);
    std::vector<float> scores(classes, 1.0F);
    const auto multiply = [&](size_t y, int32_t count, double denominator) {
        const float factor = static_cast<float>(count + 1.0) / static_cast<float>(denominator);
        witness.factor(y, count, factor);
        scores[y] *= factor;
    };
    for (size_t i = 0; i < x.size(); ++i) {
        mDistributionXandY.lookUp(static_cast<int>(i), x[i], witness.ENTERS_ZEROS, counts);
        const double smoothing = mVariableSpaceX[i] + 1.0;
        for (size_t y = 0; y < classes; ++y) multiply(y, counts[y], classCounts[y] + smoothing);
    }
    const double total = static_cast<double>(mVariableSpaceY) + mTotalSampleCount;
    float sum = 0.0F;
    for (size_t y = 0; y < classes; ++y) {
        multiply(y, classCounts[y], total);
        sum += scores[y];
    }
    witness.products(scores, sum);
    for (float& score : scores) score /= sum;
    return scores;
}

std::vector<float> Bayes::predict(const std::vector<int>& x) {
    MutexLock lock(mLock);
    return scoreLocked(x, NoWitness());
}

BayesAnswer Bayes::explain(const std::vector<int>& x) {
    MutexLock lock(mLock);
    BayesAnswer answer;
    answer.samples = mTotalSampleCount;
    answer.maxima = mVariableSpaceX;
    answer.classes.resize(static_cast<size_t>(mVariableSpaceY));
    answer.scores = scoreLocked(x, Recorder{answer});
    return answer;
}

bool Bayes::isPredictableLocked(const std::vector<int>& x) {
    if (!mTrained) return false;
    if (x.size() != static_cast<size_t>(mDimensionX)) {
        ENGINE_LOG(LEVEL_WARNING, TAG, "x vec is illegal, ignore this predict");
        return false;
    }
    for (const int value : x) {
        if (value >= 0 && value <= MAX_FEATURE_VALUE) continue;
        ENGINE_LOG(LEVEL_WARNING, TAG, "x vec element %d is illegal, ignore this predict", value);
        return false;
    }
    return true;
}

// A prediction enters a zero for each class that it does not find here or among the joint counts,
// and the next save writes those zeros: the model grows by what it is asked.
std::vector<int32_t> Bayes::classCountsLocked(bool entersZeros) {
    std::vector<int32_t> counts;
    counts.reserve(static_cast<size_t>(mVariableSpaceY));
    auto entry = mDistributionY.lower_bound(0);
    for (int y = 0; y < mVariableSpaceY; ++y) {
        const bool found = entry != mDistributionY.end() && entry->first == y;
        if (!found && entersZeros) entry = mDistributionY.emplace_hint(entry, y, 0);
        counts.push_back(found ? entry->second : 0);
        if (found || entersZeros) ++entry;
    }
    return counts;
}

int Bayes::dimension() {
    MutexLock lock(mLock);
    return mDimensionX;
}

int Bayes::sampleCount() {
    MutexLock lock(mLock);
    return mTotalSampleCount;
}

int Bayes::classCount() {
    MutexLock lock(mLock);
    return mVariableSpaceY;
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
    const size_t keyBytes = mDistributionXandY.keyBytes() + 4 * mDistributionXandY.size();
    // The leading "%m" prints the text of the current errno, not a letter m.
    return line("%mDistributionXandY size %d\n", mDistributionXandY.size()) +
           line("%mDistributionXandY byte %d\n", keyBytes) +
           line("%mDistributionY size %d\n", mDistributionY.size()) +
           line("%mDistributionY byte %d\n", 8 * mDistributionY.size());
}

std::string Bayes::serializeLocked() {
    constexpr size_t USUAL_LINE = 12;
    std::string text;
    text.reserve(USUAL_LINE * (mDistributionXandY.size() + mDistributionY.size()));
    const auto append = [&text](const char* key, int number) {
        text += key;
        text += std::to_string(number) + '\n';
    };
    append("mTotalSampleCount ", mTotalSampleCount);
    append("mDimensionX ", mDimensionX);
    append("mVariableSpaceX ", mListedSpaceX);
    for (int i = 0; i < mListedSpaceX; ++i) append("", mVariableSpaceX[static_cast<size_t>(i)]);
    append("mVariableSpaceY ", mVariableSpaceY);
    append("mDistributionY ", static_cast<int>(mDistributionY.size()));
    for (const auto& [y, count] : mDistributionY) {
        text += std::to_string(y);
        append(" ", count);
    }
    append("mDistributionXandY ", static_cast<int>(mDistributionXandY.size()));
    mDistributionXandY.appendTo(text);
    return text;
}

int Bayes::storeDataToDiskLocked() {
    if (mFile.path().empty()) return ERROR_NO_PATH;
    return storeModelText(mFile, serializeLocked());
}

std::unique_ptr<Bayes> Bayes::createBayesFromModel(const char* path, FileRead* read) {
    FileRead ignored;
    FileRead& result = read == nullptr ? ignored : *read;
    result = FileRead::MISSING;
    if (path == nullptr) return nullptr;
    std::unique_ptr<Bayes> model(new Bayes(path));
    MutexLock lock(model->mLock);
    std::string text;
    result = model->mFile.load(text);
    if (result != FileRead::READ) {
        ENGINE_LOG(LEVEL_DEBUG, TAG, "model file %s does not exist \n", path);
        return nullptr;
    }
    if (const int error = model->unserializeLocked(text); error != OK) {
        ENGINE_LOG(LEVEL_DEBUG, TAG, "bayes unserialize error %d\n", error);
        return nullptr;
    }
    return model;
}

int Bayes::unserializeLocked(const std::string& text) {
    ModelScanner scanner(text);

    int totalSampleCount = 0;
    if (scanner.scanKeyAndNumber(totalSampleCount) == 1 && totalSampleCount <= 0) {
        return rejectFile(scanner);
    }
    int dimension = 0;
    if (scanner.scanKeyAndNumber(dimension) == 1 &&
        (dimension <= 0 || dimension > MAX_STORED_DIMENSION)) {
        return rejectFile(scanner);
    }

    // How many maxima follow is the dimension's affair, not that of the count written before them.
    if (scanner.skipKeyAndNumber() != 0) return rejectFile(scanner);
    mVariableSpaceX.resize(static_cast<size_t>(dimension));
    int maximum = 0;
    for (int32_t& stored : mVariableSpaceX) {
        if (scanner.scanNumber(maximum) == 1 && maximum < 1) return rejectFile(scanner);
        stored = maximum;
    }

    int classes = 0;
    if (scanner.scanKeyAndNumber(classes) == 1 && (classes <= 0 || classes > MAX_CLASSES)) {
        return rejectFile(scanner);
    }

    int entries = 0;
    if (scanner.scanKeyAndNumber(entries) == 1 && entries <= 0) return rejectFile(scanner);
    int y = 0;
    int count = 0;
    bool anyRead = false;
    std::map<int, int> distributionY;
    const auto readClass = [&] {
        const int items = scanner.scanNumbers(y, count);
        if (items == 2 && y >= 0 && count < 0) return ModelScanner::REFUSED;
        anyRead |= items > 0;
        if (anyRead) distributionY[y] = count;
        return items;
    };
    if (!scanner.scanEntries(entries, readClass)) return rejectFile(scanner);

    entries = 0;
    if (scanner.scanKeyAndNumber(entries) == 1 && entries <= 0) return rejectFile(scanner);
    std::string key;
    count = 0;
    JointCounts distributionXandY;
    const auto readKey = [&] {
        const int items = scanner.scanWordAndNumber(key, count);
        if (items == 2 && count < 0) return ModelScanner::REFUSED;
        // A zero byte ends a key: a line without any could not be read back.
        if (const size_t end = strlen(key.c_str()); end > 0) {
            key.resize(end);
            distributionXandY.set(key, count);
        }
        return items;
    };
    if (!scanner.scanEntries(entries, readKey)) return rejectFile(scanner);

    mTrained = true;
    mTotalSampleCount = totalSampleCount;
    mDimensionX = dimension;
    mListedSpaceX = dimension;
    mVariableSpaceY = classes;
    mDistributionY = std::move(distributionY);
    mDistributionXandY = std::move(distributionXandY);
    return OK;
}
