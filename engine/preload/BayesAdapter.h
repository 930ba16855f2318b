#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/Mutex.h"
#include "base/ThreadAnnotations.h"
#include "preload/Bayes.h"
#include "preload/BayesSample.h"
#include "preload/PersistentFile.h"
#include "preload/SystemData.h"

// Turns the switches of the app in front into samples for the naive Bayes model, and the model's
// scores into package names. It numbers the packages: their indexes, dense from 0 and never given
// back, are the model's classes and two of its features. Every new package rewrites the table's
// file, every batch of samples is learned and saved.
//
// Any thread may call; the adapter's lock is taken before the model's.
class BayesAdapter {
  public:
    // So many samples wait for each training.
    static constexpr size_t BATCH_SIZE = 11;

    // So many packages are told apart, as many as the model has classes; the rest count as unknown.
    static constexpr int MAX_APPS = Bayes::MAX_CLASSES;

    // A model file beyond this size is given up: the model starts afresh with the next batch.
    static constexpr int MAX_MODEL_BYTES = 512 * 1024;

    // Loads the model and the table, or begins with empty ones. One that could not be read is not
    // begun anew: the adapter refuses all work until the next start.
    BayesAdapter();

    // Learns that `data.currentApp` came to the front after `data.lastApp`: labels the sample
    // before this one, trains when BATCH_SIZE wait, and takes a new sample. A package whose name
    // is none gives no sample.
    void addSample(SystemData& data);

    // Appends one package per class of the model to `out`, best first. Once the positive scores are
    // used up the package of index 0 is repeated. Nothing is appended unless ready().
    void predict(SystemData& data, std::vector<std::string>& out);

    // Whether there is a trained model.
    bool ready();

    // The sizes of the table and of the model, for diagnostics.
    std::string dumpMemory();

    // The number of packages in the table.
    int appCount();

  private:
    // The values of mStatus. Those that are neither untrained nor ready last until a restart.
    enum Status : int32_t {
        STATUS_UNTRAINED = 0,
        STATUS_READY = 1,
        STATUS_NO_MODEL = 2,
        STATUS_BAD_APP_MAP = 3,
        STATUS_TRAINING_FAILED = -5,
    };

    BayesAdapter(const BayesAdapter&) = delete;
    BayesAdapter& operator=(const BayesAdapter&) = delete;

    // The index of a package, which is registered if it is new; -1 for a name that is not valid,
    // and for a new one beyond MAX_APPS.
    int transferPackageToIndex(const std::string& package) REQUIRES(mLock);

    // The first package, in the table's order, of that index; empty when there is none.
    std::string transferIndexToPackage(int index) REQUIRES(mLock);

    void loadModelLocked() REQUIRES(mLock);

    // Both return 0 or -1.
    int loadAppMap() REQUIRES(mLock);
    int storeAppMapLocked() REQUIRES(mLock);

    void labelSamplesLocked(const std::string& currentApp) REQUIRES(mLock);
    void trainLocked() REQUIRES(mLock);
    BayesSample sampleOfNowLocked(const SystemData& data) REQUIRES(mLock);

    const std::string mModelPath;
    PersistentFile mAppMapFile GUARDED_BY(mLock);

    std::vector<BayesSample> mSamples
        GUARDED_BY(mLock);  // oldest first, the newest without a label
    std::map<std::string, int> mAppMap GUARDED_BY(mLock);
    int32_t mAppCount GUARDED_BY(mLock) = 0;  // the index of the next new package
    std::unique_ptr<Bayes> mBayes GUARDED_BY(mLock);
    int32_t mStatus GUARDED_BY(mLock) = STATUS_UNTRAINED;
    Mutex mLock{LockRank::ADAPTER};

    // mAppMap turned round, by index; made when it is asked for, emptied when the table changes.
    std::vector<const std::string*> mPackages GUARDED_BY(mLock);
};
