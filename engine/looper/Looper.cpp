#include "looper/Looper.h"

#include <algorithm>

#include "base/Logger.h"
#include "base/ThreadPrivateData.h"

namespace {

constexpr char TAG[] = "Looper";

// Never destroyed: a loop may still run while the process ends.
ThreadPrivateData<Looper>& gCurrentLooper = *new ThreadPrivateData<Looper>;

}  // namespace

Looper* Looper::current() {
    return gCurrentLooper.getValue();
}

Looper::Looper(sp<KsTimer> timer) : KsLooper(timer), mPrevious(current()) {
    gCurrentLooper.setValue(this);
}

Looper::~Looper() {
    getTimer()->clearTimerNotifier(this);
    if (current() == this) gCurrentLooper.setValue(mPrevious);
    emitQuit();
    dropTasks();
}

// What a dropped task holds may post once more while it is released.
void Looper::dropTasks() {
    bool dropped = true;
    while (dropped) {
        TaskQueue tasks;
        DelayedTaskList delayed;
        tasks.swap(mProcessingQueue);
        if (tasks.empty()) {
            MutexLock lock(mQueueLock);
            tasks.swap(mPendingQueue);
        }
        {
            MutexLock lock(mDelayLock);
            delayed.swap(mDelayedTasks);
        }
        // Somebody else may hold the timer queue and, with it, their timers.
        for (const sp<DelayedTaskContext>& context : delayed) context->release();
        dropped = !tasks.empty() || !delayed.empty();
    }
}

void Looper::sendTask(const Callback<void (*)()>& task) {
    const TraceScope trace(TAG, "sendTask");
    {
        MutexLock lock(mQueueLock);
        mPendingQueue.push_back(task);
    }
    wake();
}

// Runs one batch: what is posted meanwhile has woken the loop for another turn.
void Looper::processTasks() {
    const TraceScope trace(TAG, "processTasks");
    while (processOneTask()) {
    }
}

bool Looper::processOneTask() {
    if (mProcessingQueue.empty()) {
        swapQueue();
    } else {
        const Callback<void (*)()> task = mProcessingQueue.front();
        mProcessingQueue.pop_front();
        task();
    }
    return !mProcessingQueue.empty();
}

void Looper::swapQueue() {
    const TraceScope trace(TAG, "swapQueue");
    if (!mProcessingQueue.empty()) return;
    MutexLock lock(mQueueLock);
    if (!mPendingQueue.empty()) mProcessingQueue.swap(mPendingQueue);
}

int Looper::sendDelayTask(const Callback<void (*)()>& task, int delayMs) {
    const TraceScope trace(TAG, "sendDelayTask");
    const sp<DelayedTaskContext> context(new DelayedTaskContext(task, this));
    const Callback<int (*)()> timerCallback(
        &DelayedTaskContext::runOwned, UnsafeRawPtr<DelayedTaskContext>(context.get()), context);
    KsTimerEvent event;
    if (!getTimer()->initTimerEvent(event, delayMs, timerCallback)) {
        FRAMEWORK_LOG(LEVEL_ERROR, TAG, "%s: initTimerEvent error!!!\n", "sendDelayTask");
        return -1;
    }
    if (event.id == -1) {
        FRAMEWORK_LOG(LEVEL_ERROR, TAG, "error: addTimerCallback return -1 value");
        return -1;
    }
    context->setTimerId(event.id);
    FRAMEWORK_LOG(LEVEL_DEBUG, TAG, "record DelayedTaskContext new object %p",
                  static_cast<void*>(context.get()));
    {
        MutexLock lock(mDelayLock);
        mDelayedTasks.push_back(context);
    }
    getTimer()->addTimerEvent(event);
    return event.id;
}

void Looper::releaseDelayTask(sp<DelayedTaskContext> context) {
    const TraceScope trace(TAG, "releaseDelayTask");
    MutexLock lock(mDelayLock);
    const auto found = std::find(mDelayedTasks.begin(), mDelayedTasks.end(), context);
    if (found == mDelayedTasks.end()) return;
    removeTimerLocked(*context);
    context->release();
    if (context->isRunning()) return;  // taskProcessor() calls again
    FRAMEWORK_LOG(LEVEL_DEBUG, TAG, "release DelayedTaskContext object %p",
                  static_cast<void*>(context.get()));
    mDelayedTasks.erase(found);
}

int Looper::releaseDelayTask(int id) {
    const TraceScope trace(TAG, "releaseDelayTask");
    sp<DelayedTaskContext>
        released;  // outlives the lock: its release may call back into this looper
    MutexLock lock(mDelayLock);
    for (auto it = mDelayedTasks.begin(); it != mDelayedTasks.end(); ++it) {
        if ((*it)->getTimerId() != id || !(*it)->release()) continue;
        released = *it;
        removeTimerLocked(*released);
        FRAMEWORK_LOG(LEVEL_DEBUG, TAG, "release DelayedTaskContext object %p",
                      static_cast<void*>(released.get()));
        mDelayedTasks.erase(it);
        return 1;
    }
    return 0;
}

void Looper::removeTimerLocked(const DelayedTaskContext& context) {
    if (context.getTimerId() != -1) getTimer()->removeTimerCallback(context.getTimerId());
}

void Looper::addQuitListener(const sp<LooperQuitListener>& listener) {
    const TraceScope trace(TAG, "addQuitListener");
    mQuitListeners.push_back(listener);
}

void Looper::removeQuitListener(const sp<LooperQuitListener>& listener) {
    const TraceScope trace(TAG, "removeQuitListener");
    const auto found = std::find(mQuitListeners.begin(), mQuitListeners.end(), listener);
    if (found == mQuitListeners.end()) return;
    const sp<LooperQuitListener> removed = *found;
    mQuitListeners.erase(found);
}

// Taken off the list first, since a listener may remove itself, or another one, while it is told.
void Looper::emitQuit() {
    const TraceScope trace(TAG, "emitQuit");
    while (!mQuitListeners.empty()) {
        const sp<LooperQuitListener> listener = mQuitListeners.front();
        mQuitListeners.pop_front();
        listener->onLooperQuit();
    }
}

void Looper::notifyDelayChange() {
    const TraceScope trace(TAG, "notifyDelayChange");
    wake();
}
