#pragma once

#include <pthread.h>

#include <atomic>
#include <memory>
#include <vector>

#include "base/Condition.h"
#include "base/Mutex.h"
#include "zml/Learner.h"
#include "zml/NetworkFile.h"
#include "zml/ZmlSession.h"

namespace zml {

// One training: what learns from what, and who is told of the end.
struct TrainingJob {
    std::unique_ptr<Learner> learner;
    std::vector<int> ids;
    void (*callback)(TrainingResult, void*) = nullptr;
    void* user = nullptr;
    std::atomic<bool> cancelled{false};
};

// Runs a session's trainings and their callbacks, one after the other, on a thread that exists
// while there is something to do. A callback runs without a lock and may call everything here. Any
// thread may call; shared, so that what a callback closes lives until the callback has returned.
class TrainingThread : public std::enable_shared_from_this<TrainingThread> {
  public:
    explicit TrainingThread(const NetworkFile& file) : mFile(file) {}

    // Takes the job over: trains, stores the network in the file and then calls back. False while
    // another training runs that is not cancelled, after close(), and when no thread can be made.
    bool start(const std::shared_ptr<TrainingJob>& job) EXCLUDES(mLock);

    // Cancels the training: its callback does not come, unless it has begun.
    void cancel() EXCLUDES(mLock);

    // Cancels, and waits until the thread has ended; the thread itself does not wait. No training
    // starts any more.
    void close() EXCLUDES(mLock);

    // Whether the thread has nothing more to do.
    bool isIdle() EXCLUDES(mLock);

  private:
    static void* threadMain(void* self);

    void run() EXCLUDES(mLock);
    bool startThreadLocked() REQUIRES(mLock);
    void cancelLocked() REQUIRES(mLock);

    // The next training; when there is none the thread ends. It must not touch the lock afterwards.
    std::shared_ptr<TrainingJob> takeJob() EXCLUDES(mLock);

    // Ends the training; whether its callback is to be called.
    bool finishJob(const TrainingJob& job) EXCLUDES(mLock);

    TrainingResult trainAndStore(TrainingJob& job);

    const NetworkFile mFile;

    Mutex mLock{LockRank::TRAINING};
    Condition mEnded;
    std::shared_ptr<TrainingJob> mNext GUARDED_BY(mLock);
    std::shared_ptr<TrainingJob> mCurrent GUARDED_BY(mLock);  // until its callback begins
    bool mClosed GUARDED_BY(mLock) = false;
    bool mRunning GUARDED_BY(mLock) = false;   // the thread will look for a next job
    bool mJoinable GUARDED_BY(mLock) = false;  // mThread is neither joined nor detached
    pthread_t mThread GUARDED_BY(mLock) = {};
};

}  // namespace zml
