#include "looper/Looper.h"

#include <algorithm>
#include <utility>
#include <vector>

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
        std::vector<int> timers;
        {
            MutexLock lock(mDelayLock);
            delayed.swap(mDelayedTasks);
            for (const sp<DelayedTaskContext>& context : delayed) {
                context->place.reset();
                if (context->release()) timers.push_back(context->getTimerId());
            }
        }
        // Somebody else may hold the timer queue. A timer holds its task, which must go while there
        // still is a looper to post to.
        if (!timers.empty()) getTimer()->removeTimerCallbacks(std::move(timers));
        dropped = !tasks.empty() || !delayed.empty();
    }
}

void Looper::sendTask(const Callback<void (*)()>& task) {
    const TraceScope trace(TAG, "sendTask");
    Callback<void (*)()> copy(task);  // not under the lock, for which the loop may be waiting
    {
        MutexLock lock(mQueueLock);
        mPendingQueue.push_back(std::move(copy));
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
        Callback<void (*)()> task = std::move(mProcessingQueue.front());
        mProcessingQueue.pop_front();
        task.runOnce();
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
    Callback<int (*)()> timerCallback(&DelayedTaskContext::taskProcessor, context);
    KsTimerEvent event;
    if (!getTimer()->initTimerEvent(event, delayMs, std::move(timerCallback))) {
        FRAMEWORK_LOG(LEVEL_ERROR, TAG, "%s: initTimerEvent error!!!\n", "sendDelayTask");
        return -1;
    }
    if (event.id == -1) {
        FRAMEWORK_LOG(LEVEL_ERROR, TAG, "error: addTimerCallback return -1 value");
        return -1;
    }
    const int id = event.id;
    context->setTimerId(id);
    FRAMEWORK_LOG(LEVEL_DEBUG, TAG, "record DelayedTaskContext new object %p",
                  static_cast<void*>(context.get()));
    {
        MutexLock lock(mDelayLock);
        context->place = mDelayedTasks.insert(mDelayedTasks.end(), context);
    }
    getTimer()->addTimerEvent(std::move(event));
    return id;
}

void Looper::releaseDelayTask(sp<DelayedTaskContext> context) {
    const TraceScope trace(TAG, "releaseDelayTask");
    MutexLock lock(mDelayLock);
    if (!context->place) return;
    if (context->release()) {
        getTimer()->removeTimerCallback(context->getTimerId());
    } else {
        getTimer()->logRemovalOfFired(context->getTimerId());
    }
    if (context->isRunning()) return;  // taskProcessor() calls again
    removeContextLocked(*context);
}

int Looper::releaseDelayTask(int id) {
    const TraceScope trace(TAG, "releaseDelayTask");
    sp<DelayedTaskContext>
        released;  // outlives the lock: its release may call back into this looper
    MutexLock lock(mDelayLock);
    for (auto it = mDelayedTasks.begin(); it != mDelayedTasks.end(); ++it) {
        if ((*it)->getTimerId() != id || !(*it)->release()) continue;
        released = *it;
        getTimer()->removeTimerCallback(id);
        removeContextLocked(*released);
        return 1;
    }
    return 0;
}

void Looper::removeContextLocked(DelayedTaskContext& context) {
    FRAMEWORK_LOG(LEVEL_DEBUG, TAG, "release DelayedTaskContext object %p",
                  static_cast<void*>(&context));
    mDelayedTasks.erase(*context.place);
    context.place.reset();
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
