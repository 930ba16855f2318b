#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/Mutex.h"
#include "base/ThreadAnnotations.h"
#include "preload/JointCounts.h"
#include "preload/PersistentFile.h"

// What the scores of a model are made of.
struct BayesAnswer {
    // A count of samples, and what the formula makes of it.
    struct Factor {
        int count = 0;
        float value = 0;
    };
    struct Class {
        std::vector<Factor> factors;  // in the order of multiplication; the prior is the last
        float product = 0;
    };

    int samples = 0;
    std::vector<int> maxima;  // the largest value learned per feature
    std::vector<Class> classes;
    float sum = 0;              // of the products
    std::vector<float> scores;  // the products divided by it, as predict() gives them
};

// A categorical naive Bayes classifier over small non-negative integers: each sample is a vector x
// of one value per feature and a class y. The model holds nothing but counts, so it can be trained
// a batch at a time; it saves itself to its file after each batch.
//
// With n(y) samples of class y among n, m(i,v,y) of them with value v in feature i, S(i) the
// largest value learned for feature i, and K classes, the score of a class is in proportion to
//
//     (n(y) + 1) / (K + n)  *  product over i of  (m(i,x[i],y) + 1) / (n(y) + S(i) + 1)
//
// Any thread may call; the operations of one model take turns.
class Bayes {
  public:
    // Results of learn(), update() and of saving.
    enum : int {
        OK = 0,
        ERROR_EMPTY = -1,      // no samples
        ERROR_SIZES = -2,      // X and Y of different lengths
        ERROR_DIMENSION = -3,  // a row of X without one value per feature
        ERROR_CLASS = -4,      // a class outside 0..MAX_CLASSES - 1
        ERROR_OPEN = -6,
        ERROR_WRITE = -7,
        ERROR_RENAME = -9,
        ERROR_REMOVE = -10,
        ERROR_PARSE = -11,
        ERROR_NO_PATH = -15,
    };

    // The largest value of a feature that a prediction may ask with.
    static constexpr int MAX_FEATURE_VALUE = 10000;

    // Far above what a phone comes to; it bounds what a damaged file can make the process allocate:
    // some 5 MiB for each prediction of a model that claims to know so many.
    static constexpr int MAX_CLASSES = 1 << 16;

    // An untrained model of 1..100 features that saves itself under `path`; null outside that
    // range.
    static std::unique_ptr<Bayes> createEmptyBayes(int dimensionX, const char* path);

    // The model that is stored under `path`, with the number of features it was stored with. Null
    // for a null path and a missing, malformed or unreadable file; `read`, unless it is null, tells
    // which.
    static std::unique_ptr<Bayes> createBayesFromModel(const char* path, FileRead* read = nullptr);

    virtual ~Bayes() = default;

    // Learns a batch from scratch: row j of X holds the features of a sample of class Y[j]. Returns
    // OK or the reason for which nothing was learned; a failed save is only logged.
    int learn(const std::vector<std::vector<int>>& X, const std::vector<int>& Y);

    // As learn(), but adds to what the model knows.
    int update(const std::vector<std::vector<int>>& X, const std::vector<int>& Y);

    // One score per class, adding up to 1. All are 0 when the model is untrained, when `x` has not
    // one value per feature, or when a value is outside 0..MAX_FEATURE_VALUE.
    std::vector<float> predict(const std::vector<int>& x);

    // predict(), with what the scores are made of; there are no factors where that gives zeros. For
    // reports: unlike a prediction, it leaves the model as it is.
    BayesAnswer explain(const std::vector<int>& x);

    // The text of the model's file.
    std::string toString();

    // The number of features.
    int dimension();

    // For reports.
    int sampleCount();
    int classCount();

    // The sizes of the model's tables, for diagnostics.
    std::string dumpMemory();

  private:
    explicit Bayes(const char* path) : mFile(path == nullptr ? "" : path) {}
    Bayes(const Bayes&) = delete;
    Bayes& operator=(const Bayes&) = delete;

    int checkXandY(const std::vector<std::vector<int>>& X, const std::vector<int>& Y)
        REQUIRES(mLock);
    int learnInnerLocked(const std::vector<std::vector<int>>& X, const std::vector<int>& Y)
        REQUIRES(mLock);
    void clear() REQUIRES(mLock);
    bool isPredictableLocked(const std::vector<int>& x) REQUIRES(mLock);

    // The scores' one computation. `witness` is shown its steps, and says whether the model enters
    // zeros for the counts that it does not find.
    template <typename Witness>
    std::vector<float> scoreLocked(const std::vector<int>& x, Witness witness) REQUIRES(mLock);
    std::vector<int32_t> classCountsLocked(bool entersZeros) REQUIRES(mLock);

    std::string serializeLocked() REQUIRES(mLock);
    int unserializeLocked(const std::string& text) REQUIRES(mLock);
    int storeDataToDiskLocked() REQUIRES(mLock);

    int32_t mTotalSampleCount GUARDED_BY(mLock) = 0;
    int32_t mDimensionX GUARDED_BY(mLock) = 0;
    int32_t mVariableSpaceY GUARDED_BY(mLock) = 0;

    // The largest value learned per feature, and how many of them the file lists: none after
    // learn().
    std::vector<int32_t> mVariableSpaceX GUARDED_BY(mLock);
    int32_t mListedSpaceX GUARDED_BY(mLock) = 0;

    std::map<int, int> mDistributionY GUARDED_BY(mLock);

    JointCounts mDistributionXandY GUARDED_BY(mLock);

    PersistentFile mFile GUARDED_BY(mLock);  // under an empty path when there is none
    bool mTrained GUARDED_BY(mLock) = false;
    Mutex mLock{LockRank::BAYES};
};
