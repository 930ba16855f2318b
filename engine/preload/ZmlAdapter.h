#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "base/Mutex.h"
#include "preload/AppUsage.h"
#include "preload/PersistentFile.h"
#include "zml/ZmlSession.h"

// Predicts the next application with the sequence network of libzml.so. It keeps the history of
// opened applications and the table of the VOCABULARY most used ones, whose ids the network knows;
// trains the network on the history's ids while the device charges; and turns its scores back into
// packages.
//
// Any thread may call. The training's end comes on the library's thread; the destructor waits for
// it when it is under way, and it may come later still.
class ZmlAdapter {
  public:
    enum State : int32_t {
        STATE_NONE = 0,        // no session; final
        STATE_DATA_ERROR = 1,  // the usage file was malformed; final
        STATE_UNTRAINED = 2,
        STATE_TRAINING = 3,
        STATE_READY = 4,   // a trained network is loaded
        STATE_FAILED = 5,  // no network could be made, trained or loaded; final
    };

    // Of libzml.so, which keeps the network under that name.
    static constexpr char SESSION_NAME[] = "aiPreloadApp";

    // The network is trained on a history of so many entries.
    static constexpr size_t TRAINING_HISTORY = 5000;

    // Loads the files and starts the session, with its trained network if it has one.
    ZmlAdapter();
    ~ZmlAdapter();

    bool ready();

    // Takes no lock, and so does not wait for an update or a prediction.
    bool isTraining() { return mState == STATE_TRAINING; }

    // An application came to the front. A name with control characters, which would come back from
    // the history as another one, is not taken.
    void addSample(std::string& package);

    // The periodic step: stores the new part of the history and, when `charging` is not 0 and the
    // history is long enough, starts a training. A long history keeps only entries that are among
    // `packages`.
    void update(int charging, std::vector<std::string>& packages);

    // Appends up to 30 packages, the most likely next one first; none unless ready().
    void predict(std::vector<std::string>& out);

    // How many records of the usage table name the package, with an id that the network knows.
    int usageRecordsOf(const std::string& package);

    // How many trainings of this object ended with the new network loaded. Takes no lock.
    int trainingsReady() { return mTrainingsReady; }

    // One line about the memory held, with its newline.
    std::string dumpMemory();

  private:
    ZmlAdapter(const ZmlAdapter&) = delete;
    ZmlAdapter& operator=(const ZmlAdapter&) = delete;

    bool initData() REQUIRES(mLock);
    bool initZml() REQUIRES(mLock);

    // 0, or -1 on failure.
    int loadAppUsage() REQUIRES(mLock);
    int storeAppUsage() REQUIRES(mLock);

    void loadHistoryAppsLocked() REQUIRES(mLock);
    bool storeHistoryAppsLocked(std::vector<std::string>& apps, bool append) REQUIRES(mLock);

    // All distinct packages, by count descending and then by name; each index is the rank.
    static std::vector<AppUsage> calculateAppUsage(std::vector<std::string>& apps);

    // The table to train on; empty when the history is not fit for a training. A history that is
    // long enough is filtered, whatever comes of it.
    std::vector<AppUsage> prepareTableLocked(const std::vector<std::string>& packages)
        REQUIRES(mLock);
    void retrainLocked(std::vector<AppUsage> table) REQUIRES(mLock);
    bool trainLocked(int* sequence, int length) REQUIRES(mLock);

    // On the library's thread; the adapter may be gone.
    static void trainingCallback(TrainingResult result, void* adapter);

    // False when no training was under way.
    bool endTraining(TrainingResult result) EXCLUDES(mLock);

    // Loads the trained network; false, in STATE_FAILED, when that fails.
    bool loadNetworkLocked() REQUIRES(mLock);
    bool inferenceLocked(int* input, int inputLength, float* output, int outputLength)
        REQUIRES(mLock);

    // Null when the table has none with an id that the network knows.
    const AppUsage* findUsageLocked(const std::string& package) REQUIRES(mLock);

    PersistentFile mUsageFile GUARDED_BY(mLock);
    PersistentFile mHistoryFile GUARDED_BY(mLock);

    std::vector<std::string> mPendingHistoryApps GUARDED_BY(mLock);  // not yet in the history file
    std::vector<AppUsage> mAppUsage GUARDED_BY(mLock);
    std::vector<std::string> mHistoryApps GUARDED_BY(mLock);  // oldest first
    ZmlSession* mSession GUARDED_BY(mLock) = nullptr;         // the manager's
    std::atomic<int32_t> mState{STATE_NONE};                  // changed under mLock
    Mutex mLock{LockRank::ADAPTER};
    std::atomic<int> mTrainingsReady{0};
};
