#include "zml/TrainingThread.h"

#include <signal.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "base/Environment.h"
#include "base/ExceptionBarrier.h"
#include "zml/Log.h"

namespace zml {

namespace {

constexpr char THREAD_NAME[] = "zml-train";

// Training gives way to what the user sees.
constexpr int NICENESS = 10;

void lowerPriority() {
    const auto thread = static_cast<id_t>(syscall(SYS_gettid));
    if (setpriority(PRIO_PROCESS, thread, NICENESS) != 0) {
        ZML_LOG(ANDROID_LOG_WARN, "training at full priority: %s", strerror(errno));
    }
}

}  // namespace

bool TrainingThread::start(const std::shared_ptr<TrainingJob>& job) {
    MutexLock lock(mLock);
    if (mClosed || mNext != nullptr) return false;
    if (mCurrent != nullptr && !mCurrent->cancelled) return false;
    mNext = job;
    if (mRunning || startThreadLocked()) return true;
    mNext.reset();
    return false;
}

bool TrainingThread::startThreadLocked() {
    if (mJoinable) pthread_join(mThread, nullptr);  // it has ended, but for its very last steps
    mJoinable = false;
    auto* const self = new std::shared_ptr<TrainingThread>(shared_from_this());
    // The host's signals are not for this thread.
    sigset_t all;
    sigset_t previous;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &previous);
    const int error = pthread_create(&mThread, nullptr, threadMain, self);
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    if (error != 0) {
        ZML_LOG(ANDROID_LOG_ERROR, "no thread to train on: %s", strerror(error));
        delete self;
        return false;
    }
    pthread_setname_np(mThread, THREAD_NAME);
    mRunning = true;
    mJoinable = true;
    return true;
}

void TrainingThread::cancel() {
    MutexLock lock(mLock);
    cancelLocked();
}

void TrainingThread::cancelLocked() {
    mNext.reset();
    if (mCurrent != nullptr) mCurrent->cancelled = true;
}

void TrainingThread::close() {
    pthread_t ended;
    {
        MutexLock lock(mLock);
        mClosed = true;
        cancelLocked();
        if (mRunning && pthread_equal(mThread, pthread_self()) != 0) {
            // Called by the callback: nobody else may come to join the thread.
            if (mJoinable) pthread_detach(mThread);
            mJoinable = false;
            return;
        }
        while (mRunning) mEnded.wait(mLock);
        if (!mJoinable) return;
        mJoinable = false;
        ended = mThread;
    }
    pthread_join(ended, nullptr);
}

bool TrainingThread::isIdle() {
    MutexLock lock(mLock);
    return !mRunning;
}

void* TrainingThread::threadMain(void* self) {
    guarded("a training", [self] {
        const std::unique_ptr<std::shared_ptr<TrainingThread>> thread(
            static_cast<std::shared_ptr<TrainingThread>*>(self));
        lowerPriority();
        (*thread)->run();
    });
    return nullptr;
}

void TrainingThread::run() {
    while (const std::shared_ptr<TrainingJob> job = takeJob()) {
        const TrainingResult result = trainAndStore(*job);
        job->learner.reset();
        job->ids = {};
        if (finishJob(*job)) job->callback(result, job->user);
    }
}

std::shared_ptr<TrainingJob> TrainingThread::takeJob() {
    MutexLock lock(mLock);
    mCurrent = std::move(mNext);
    mNext.reset();
    if (mCurrent == nullptr) {
        mRunning = false;
        mEnded.signalAll();
    }
    return mCurrent;
}

bool TrainingThread::finishJob(const TrainingJob& job) {
    MutexLock lock(mLock);
    mCurrent.reset();
    return !job.cancelled;
}

TrainingResult TrainingThread::trainAndStore(TrainingJob& job) {
    if (!job.learner->train(job.ids, job.cancelled)) return TRAINING_FAILED;
    if (job.cancelled) return TRAINING_FAILED;
    if (!mFile.write({job.learner->kind(), job.learner->serialise()})) {
        environment::noteStorageFailure(mFile.path(), errno);
        ZML_LOG(ANDROID_LOG_ERROR, "%s could not be stored: %s", mFile.path().c_str(),
                strerror(errno));
        return TRAINING_FAILED;
    }
    return TRAINING_SUCCESS;
}

}  // namespace zml
