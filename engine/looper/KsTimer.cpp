#include "looper/KsTimer.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <utility>

#include "base/Logger.h"

namespace {

constexpr char TAG[] = "KsTimer";
constexpr long long MS_PER_SECOND = 1000;
constexpr long NANOSECONDS_PER_MS = 1000000;
constexpr long NANOSECONDS_PER_SECOND = 1000000000;

// Absurd delays wrap around instead of overflowing.
template <typename Integer>
Integer wrappingAdd(Integer a, Integer b) {
    return static_cast<Integer>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
}

template <typename Integer>
Integer wrappingSub(Integer a, Integer b) {
    return static_cast<Integer>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b));
}

// There is no borrow here: a negative delay may leave negative nanoseconds, which compare as such.
void carry(timespec& t) {
    if (t.tv_nsec < NANOSECONDS_PER_SECOND) return;
    t.tv_nsec -= NANOSECONDS_PER_SECOND;
    t.tv_sec = wrappingAdd<time_t>(t.tv_sec, 1);
}

timespec waitUntil(const timespec& due, const timespec& now) {
    timespec wait{};
    KsTimer::subTimeSpec(due, now, wait);
    return wait;
}

bool isPositive(const timespec& t) {
    return t.tv_sec > 0 || (t.tv_sec == 0 && t.tv_nsec > 0);
}

bool readClock(timespec& now, const char* failure) {
    if (clock_gettime(CLOCK_BOOTTIME, &now) == 0) return true;
    const int error = errno;
    FRAMEWORK_LOG(LEVEL_ERROR, TAG, "%s failed to get the current time: %s", failure,
                  strerror(error));
    return false;
}

}  // namespace

KsTimer::~KsTimer() {
    setTimerNotifier(nullptr);
    clearTimerQueue();
}

void KsTimer::setTimerNotifier(TimerNotifier* notifier) {
    MutexLock lock(mLock);
    mNotifier = notifier;
}

void KsTimer::clearTimerNotifier(const TimerNotifier* notifier) {
    MutexLock lock(mLock);
    if (mNotifier == notifier) mNotifier = nullptr;
}

int KsTimer::addTimerCallback(long long delayMs, int (*callback)(void*), void* data) {
    KsTimerEvent event;
    if (!prepareEvent(event, delayMs, "addTimedCallback:")) return -1;
    event.callback = callback;
    event.data = data;
    return addEvent(std::move(event), "");
}

int KsTimer::addTimerCallback(long long delayMs, Callback<int (*)()> task) {
    KsTimerEvent event;
    if (!prepareEvent(event, delayMs, "addTimedCallback:")) return -1;
    event.TaskCallback = std::move(task);
    event.isTaskCallback = true;
    return addEvent(std::move(event), "");
}

bool KsTimer::initTimerEvent(KsTimerEvent& event, long long delayMs, Callback<int (*)()> task) {
    if (!prepareEvent(event, delayMs, "createTimerEvent:")) return false;
    event.TaskCallback = std::move(task);
    event.isTaskCallback = true;
    return true;
}

void KsTimer::addTimerEvent(KsTimerEvent event) {
    addEvent(std::move(event), "addTimerEvent: ");
}

bool KsTimer::prepareEvent(KsTimerEvent& event, long long delayMs, const char* failure) {
    timespec due{};
    if (!readClock(due, failure)) return false;
    addDelayToTimeval(delayMs, due);
    event.triggerTime = due;
    event.id = getNextTimerId();
    event.delay = delayMs;
    return true;
}

// Returns the event's id.
int KsTimer::addEvent(KsTimerEvent event, const char* prefix) {
    const int id = event.id;
    const std::string text = Logger::ifAdmits(LEVEL_DEBUG) != nullptr ? event.toString() : "";
    {
        MutexLock lock(mLock);
        // As one may not tell it from the first, an equal one is a new first as well.
        const bool first = mTimerQueue.empty() ||
                           KsTimerEventComparer()(mTimerQueue.front(), event) ||
                           mTimerQueue.front() == event;
        pushLocked(std::move(event));
        if (mNotifier != nullptr && first) mNotifier->notifyDelayChange();
    }
    FRAMEWORK_LOG(LEVEL_DEBUG, TAG, "%sAdd TimerCallback to queue - %s", prefix, text.c_str());
    return id;
}

void KsTimer::pushLocked(KsTimerEvent event) {
    mTimerQueue.push_back(std::move(event));
    std::push_heap(mTimerQueue.begin(), mTimerQueue.end(), KsTimerEventComparer());
}

KsTimerEvent KsTimer::popLocked() {
    std::pop_heap(mTimerQueue.begin(), mTimerQueue.end(), KsTimerEventComparer());
    KsTimerEvent event = std::move(mTimerQueue.back());
    mTimerQueue.pop_back();
    return event;
}

void KsTimer::removeTimerCallback(int id) {
    // Outlives the lock: what a callback holds may call back into this queue when it is released.
    EventQueue removed;
    {
        MutexLock lock(mLock);
        logRemovalLocked(id);
        removed = takeLocked([id](const KsTimerEvent& event) { return event.id == id; });
    }
    traceReturn(TAG, "removeTimerCallback");
}

void KsTimer::logRemovalOfFired(int id) {
    {
        MutexLock lock(mLock);
        logRemovalLocked(id);
    }
    traceReturn(TAG, "removeTimerCallback");
}

void KsTimer::removeTimerCallbacks(std::vector<int> ids) {
    // As std::sort() would, which for numbers is one more symbol asked of the phone's library.
    std::make_heap(ids.begin(), ids.end());
    std::sort_heap(ids.begin(), ids.end());
    EventQueue removed;  // outlives the lock, as above
    MutexLock lock(mLock);
    removed = takeLocked([&ids](const KsTimerEvent& event) {
        return std::binary_search(ids.begin(), ids.end(), event.id);
    });
    for (const KsTimerEvent& event : removed) {
        FRAMEWORK_LOG(LEVEL_DEBUG, TAG, "removeTimedCallback: %s", event.toString().c_str());
    }
}

template <typename Predicate>
KsTimer::EventQueue KsTimer::takeLocked(Predicate isTaken) {
    const auto taken = std::partition(mTimerQueue.begin(), mTimerQueue.end(),
                                      [&](const KsTimerEvent& event) { return !isTaken(event); });
    if (taken == mTimerQueue.end()) return {};
    EventQueue events(std::make_move_iterator(taken), std::make_move_iterator(mTimerQueue.end()));
    mTimerQueue.erase(taken, mTimerQueue.end());
    std::make_heap(mTimerQueue.begin(), mTimerQueue.end(), KsTimerEventComparer());
    return events;
}

// A line for every timer, in the order in which they are due. (Sorted so, they still are a heap.)
void KsTimer::logRemovalLocked(int id) {
    if (!Logger::getInstance()->admits(LEVEL_DEBUG)) return;
    std::sort_heap(mTimerQueue.begin(), mTimerQueue.end(), KsTimerEventComparer());
    std::reverse(mTimerQueue.begin(), mTimerQueue.end());
    for (const KsTimerEvent& event : mTimerQueue) {
        if (event.id == id) {
            FRAMEWORK_LOG(LEVEL_DEBUG, TAG, "removeTimedCallback: %s", event.toString().c_str());
        } else {
            FRAMEWORK_LOG(LEVEL_DEBUG, TAG, "removeTimedCallback, e.id: %d, id: %d", event.id, id);
        }
    }
}

void KsTimer::clearTimerQueue() {
    EventQueue removed;  // outlives the lock, as above
    MutexLock lock(mLock);
    while (!mTimerQueue.empty()) {
        removed.push_back(popLocked());
        FRAMEWORK_LOG(LEVEL_DEBUG, TAG, "clearTimerQueue: %s", removed.back().toString().c_str());
    }
}

int KsTimer::nextTimerEvent() {
    timespec now{};
    return waitForFirst(now);
}

int KsTimer::waitForFirst(timespec& now) {
    if (!readClock(now, "nextTimerEvent: return -1 as")) return -1;
    timespec due{};
    bool empty = false;
    {
        MutexLock lock(mLock);
        empty = mTimerQueue.empty();
        if (!empty) due = mTimerQueue.front().triggerTime;
    }
    if (empty) {
        FRAMEWORK_LOG(LEVEL_TRACE, TAG, "nextTimerEvent: return -1 as mTimerQueue is empty");
        return -1;
    }
    const timespec wait = waitUntil(due, now);
    if (!isPositive(wait)) {
        FRAMEWORK_LOG(LEVEL_DEBUG, TAG,
                      "nextTimerEvent: return 0 as the top event need to process ASAP");
        return 0;
    }
    const long ms = (wait.tv_nsec + NANOSECONDS_PER_MS - 1) / NANOSECONDS_PER_MS;
    const int result = static_cast<int>(static_cast<uint64_t>(wait.tv_sec) * MS_PER_SECOND +
                                        static_cast<uint64_t>(ms));
    FRAMEWORK_LOG(LEVEL_DEBUG, TAG, "nextTimerEvent: return %d delay for next event", result);
    return result;
}

void KsTimer::processEvents() {
    const TraceScope trace(TAG, "processEvents");
    timespec now{};
    while (waitForFirst(now) == 0) {
        KsTimerEvent event;
        if (!takeDueEvent(event, now)) return;
        FRAMEWORK_LOG(LEVEL_DEBUG, TAG, "processEvents: triggered callback--%s",
                      event.toString().c_str());
        if (event.isTaskCallback ? !event.TaskCallback : event.callback == nullptr) {
            FRAMEWORK_LOG(LEVEL_ERROR, TAG, "callback is null: id %d", event.id);
            return;
        }
        const int result = event.isTaskCallback ? event.TaskCallback() : event.callback(event.data);
        if (result != -1 && !repeatEvent(event, result)) return;
    }
}

// Meanwhile another thread may have removed the timer that was due: the one behind it waits for its
// own time.
bool KsTimer::takeDueEvent(KsTimerEvent& event, const timespec& now) {
    {
        MutexLock lock(mLock);
        if (!mTimerQueue.empty()) {
            if (isPositive(waitUntil(mTimerQueue.front().triggerTime, now))) return false;
            event = popLocked();
            return true;
        }
    }
    FRAMEWORK_LOG(LEVEL_WARNING, TAG, "processEvents: mTimerQueue is empty!");
    return false;
}

bool KsTimer::repeatEvent(KsTimerEvent& event, int result) {
    timespec due{};
    if (!readClock(due, "processEvents:")) return false;  // the timer is lost
    if (result > 0) {
        event.delay = result;
    } else if (result < 0) {
        FRAMEWORK_LOG(LEVEL_WARNING, TAG, "invalid delay (%lld), using (%lld) default",
                      static_cast<long long>(result), event.delay);
    }
    addDelayToTimeval(event.delay, due);
    event.triggerTime = due;
    {
        MutexLock lock(mLock);
        pushLocked(event);
    }
    FRAMEWORK_LOG(LEVEL_DEBUG, TAG, "Add TimerCallback to queue - %s", event.toString().c_str());
    return true;
}

int KsTimer::getNextTimerId() {
    int32_t last = mLastId.load(std::memory_order_relaxed);
    int32_t next = 0;
    do {
        next = last == INT32_MAX - 1 ? 1 : last + 1;
    } while (!mLastId.compare_exchange_weak(last, next, std::memory_order_relaxed));
    return next;
}

bool KsTimer::subTimeSpec(const timespec& a, const timespec& b, timespec& out) {
    out.tv_sec = wrappingSub(a.tv_sec, b.tv_sec);
    out.tv_nsec = wrappingSub(a.tv_nsec, b.tv_nsec);
    if (out.tv_nsec < 0) {
        out.tv_nsec += NANOSECONDS_PER_SECOND;
        out.tv_sec = wrappingSub<time_t>(out.tv_sec, 1);
    }
    return true;
}

bool KsTimer::addTimeSpec(const timespec& a, const timespec& b, timespec& out) {
    out.tv_sec = wrappingAdd(a.tv_sec, b.tv_sec);
    out.tv_nsec = wrappingAdd(a.tv_nsec, b.tv_nsec);
    carry(out);
    return true;
}

int KsTimer::cmpTimeSpec(const timespec& a, const timespec& b) {
    if (a.tv_sec != b.tv_sec) return a.tv_sec < b.tv_sec ? -1 : 1;
    if (a.tv_nsec != b.tv_nsec) return a.tv_nsec < b.tv_nsec ? -1 : 1;
    return 0;
}

void KsTimer::addDelayToTimeval(long long ms, timespec& t) {
    t.tv_sec = wrappingAdd<time_t>(t.tv_sec, ms / MS_PER_SECOND);
    t.tv_nsec = wrappingAdd(t.tv_nsec, static_cast<long>(ms % MS_PER_SECOND) * NANOSECONDS_PER_MS);
    carry(t);
}
