#include "looper/KsLooper.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "base/Logger.h"

#ifndef EPOLLWAKEUP  // as in the C library against which the platform builds for workstations
#define EPOLLWAKEUP (1U << 29)
#endif

namespace {

constexpr char TAG[] = "KsLooper";
constexpr int EVENTS_PER_TURN = 10;
constexpr unsigned int WAKE_EVENTS = EPOLLIN | EPOLLHUP;

struct EventName {
    unsigned int flag;
    const char* name;
};

constexpr EventName EVENT_NAMES[] = {
    {EPOLLIN, "EPOLLIN "},           {EPOLLPRI, "EPOLLPRI "},       {EPOLLOUT, "EPOLLOUT "},
    {EPOLLERR, "EPOLLERR "},         {EPOLLHUP, "EPOLLHUP "},       {EPOLLRDNORM, "EPOLLRDNORM "},
    {EPOLLRDBAND, "EPOLLRDBAND "},   {EPOLLWRNORM, "EPOLLWRNORM "}, {EPOLLWRBAND, "EPOLLWRBAND "},
    {EPOLLMSG, "EPOLLMSG "},         {EPOLLRDHUP, "EPOLLRDHUP "},   {EPOLLWAKEUP, "EPOLLWAKEUP "},
    {EPOLLONESHOT, "EPOLLONESHOT "}, {EPOLLET, "EPOLLET "},
};

// The line that follows a critical error: what `error`, a value of errno, means.
void logErrno(int error) {
    FRAMEWORK_LOG(LEVEL_ERROR, TAG, "    %s (Errno %d)", strerror(error), error);
}

void logCriticalError(const char* message, int error) {
    FRAMEWORK_LOG(LEVEL_ERROR, TAG, "Critical Error: %s", message);
    logErrno(error);
}

int checkCreated(int fd, const char* message) {
    if (fd != -1) return fd;
    const int error = errno;
    FRAMEWORK_LOG(LEVEL_ERROR, TAG, "Critical Error, Aborting: %s", message);
    logErrno(error);
    abort();
}

ssize_t makeReadable(int eventFd) {
    const uint64_t one = 1;
    return write(eventFd, &one, sizeof(one));
}

void checkWritten(ssize_t rv, int error) {
    if (rv == sizeof(uint64_t)) return;
    FRAMEWORK_LOG(LEVEL_WARNING, TAG, "Error in writing rv: %d, error: %s", static_cast<int>(rv),
                  strerror(error));
}

}  // namespace

Mutex& KsLooper::sHandlerLock = *new Mutex(LockRank::HANDLERS);
Mutex& KsLooper::sApprovedFdLock = *new Mutex(LockRank::APPROVED_DESCRIPTORS);
std::set<int>& KsLooper::mApprovedFd = *new std::set<int>;

KsLooper::KsLooper(sp<KsTimer> timer)
    : mTimer(timer),
      mEpollFd(checkCreated(epoll_create(EVENTS_PER_TURN), "Cannot create epoll instance")),
      mEventFd(checkCreated(eventfd(0, EFD_NONBLOCK), "Cannot create eventfd instance")) {
    addEventHandler(mEventFd, clearRead, nullptr, nullptr, WAKE_EVENTS);
}

KsLooper::~KsLooper() {
    clearEvents();
    close(mEventFd);
    close(mEpollFd);
}

bool KsLooper::addEventHandler(int fd, EventCallback callback, void* data,
                               EventCallback closeCallback, unsigned int events) {
    HandlerObject handler;
    handler.callback = callback;
    handler.closeCallback = closeCallback;
    handler.data = data;
    return addHandler(fd, handler, events);
}

bool KsLooper::addEventHandler(int fd, sp<SocketTask> task, unsigned int events) {
    HandlerObject handler;
    handler.isSocketTask = true;
    handler.task = task;
    return addHandler(fd, handler, events);
}

// Epoll, the map and the approved set change together under the lock: the loop, which may see the
// descriptor readable at once, finds it in all of them or waits here.
bool KsLooper::addHandler(int fd, const HandlerObject& handler, unsigned int events) {
    traceEntry(TAG, "addEventHandler");
    epoll_event event{};
    event.events = events;
    event.data.fd = fd;
    bool known = false;
    int error = 0;
    {
        MutexLock lock(sHandlerLock);
        const auto found = mHandlers.find(fd);
        known = found != mHandlers.end() && found->second.termination != Termination::SERVED;
        if (!known) {
            if (epoll_ctl(mEpollFd, EPOLL_CTL_ADD, fd, &event) == -1) {
                error = errno;
            } else {
                mHandlers[fd] = handler;
                addApprovedFd(fd);
            }
        }
    }
    if (known) {
        FRAMEWORK_LOG(LEVEL_WARNING, TAG, "fd=%d is already in mHandlers", fd);
        traceReturn(TAG, "addEventHandler");
        return false;
    }
    if (error != 0) {
        logCriticalError("Cannot add event handler", error);
        return false;
    }
    FRAMEWORK_LOG(LEVEL_DEBUG, TAG, "addEventHandler: add fd %d into handler list", fd);
    traceReturn(TAG, "addEventHandler");
    return true;
}

// The descriptor is unknown everywhere before its close action runs, which may close it and so
// leave its number to another thread.
void KsLooper::removeEventHandler(int fd) {
    const TraceScope trace(TAG, "removeEventHandler");
    HandlerObject handler;
    bool known = false;
    {
        MutexLock lock(sHandlerLock);
        const auto found = mHandlers.find(fd);
        known = found != mHandlers.end();
        if (known) {
            handler = found->second;
            mHandlers.erase(found);
            forgetDescriptorLocked(fd, handler);
        }
    }
    if (!known) {
        FRAMEWORK_LOG(LEVEL_WARNING, TAG, "removeEventHandler: fd=%d is invalid", fd);
        return;
    }
    if (handler.isSocketTask && handler.task) {
        handler.task->onRemoved(fd);
    } else if (!handler.isSocketTask && handler.closeCallback != nullptr) {
        handler.closeCallback(fd, handler.data);
    } else {
        FRAMEWORK_LOG(LEVEL_WARNING, TAG, "fd %d closeCallback is NULL", fd);
    }
    FRAMEWORK_LOG(LEVEL_DEBUG, TAG, "removeEventHandler: remove fd %d from mHandlers list", fd);
    if (handler.termination == Termination::PENDING) close(fd);
}

void KsLooper::forgetDescriptorLocked(int fd, const HandlerObject& handler) {
    if (handler.termination == Termination::SERVED) return;
    epoll_ctl(mEpollFd, EPOLL_CTL_DEL, fd, nullptr);
    removeApprovedFd(fd);
}

size_t KsLooper::getHandlerSize() const {
    MutexLock lock(sHandlerLock);
    return mHandlers.size();
}

bool KsLooper::canBeWoken() const {
    MutexLock lock(sHandlerLock);
    return mHandlers.count(mEventFd) != 0;
}

bool KsLooper::findHandler(int fd, HandlerObject& handler) const {
    MutexLock lock(sHandlerLock);
    const auto found = mHandlers.find(fd);
    if (found == mHandlers.end()) return false;
    handler = found->second;
    return true;
}

void KsLooper::addApprovedFd(int fd) {
    MutexLock lock(sApprovedFdLock);
    mApprovedFd.insert(fd);
}

void KsLooper::removeApprovedFd(int fd) {
    MutexLock lock(sApprovedFdLock);
    mApprovedFd.erase(fd);
}

bool KsLooper::isApprovedFd(int fd) {
    MutexLock lock(sApprovedFdLock);
    return mApprovedFd.count(fd) != 0;
}

void KsLooper::wake() {
    const TraceScope trace(TAG, "wake");
    if (mWake == Wake::PENDING) return;
    if (mWake.exchange(Wake::PENDING) == Wake::NEEDED) writeWake();
}

void KsLooper::writeWake() {
    const ssize_t rv = makeReadable(mEventFd);
    if (rv == sizeof(uint64_t)) return;
    const int error = errno;
    mWake = Wake::NEEDED;
    checkWritten(rv, error);
}

void KsLooper::run() {
    const TraceScope trace(TAG, "run");
    while (!mTerminated || isTerminationPending()) {
        processEvents(mTimer->nextTimerEvent(), mTimer);
    }
    clearEvents();
}

void KsLooper::processEvents(int timeoutMs, sp<KsTimer> timer) {
    epoll_event events[EVENTS_PER_TURN];
    const int count = epoll_wait(mEpollFd, events, EVENTS_PER_TURN, timeoutMs);
    const int error = errno;
    const TraceScope trace(TAG, "processEvents");
    if (count == -1) {
        if (error != EINTR) logCriticalError("epoll_wait error", error);
        return;
    }
    timer->processEvents();
    for (int left = count; left > 0; --left) {
        const epoll_event& event = events[left - 1];
        FRAMEWORK_LOG(LEVEL_TRACE, TAG, "%d events pending, handling %d for %d", left,
                      static_cast<int>(event.events), event.data.fd);
        handleEvent(event.data.fd, event.events);
    }
    // The wake descriptor has been read. Wakes until here are served by what follows; later ones,
    // instead of each writing anew, leave it to the end of this turn.
    mWake.exchange(Wake::AWAKE);
    processTasks();
    Wake wake = Wake::AWAKE;
    mWake.compare_exchange_strong(wake, Wake::NEEDED);
    if (wake == Wake::PENDING) writeWake();
}

void KsLooper::handleEvent(int fd, unsigned int events) {
    HandlerObject handler;
    const bool known = findHandler(fd, handler);
    if ((events & EPOLLHUP) != 0) {
        FRAMEWORK_LOG(LEVEL_INFO, TAG, "fd %d send EPOLLHUP event", fd);
        rejectDescriptor(fd, handler);
    } else if ((events & (EPOLLIN | EPOLLPRI | EPOLLERR)) == 0) {
        FRAMEWORK_LOG(LEVEL_WARNING, TAG, "unhandled events: [flags %d] %s",
                      static_cast<int>(events), checkUnHandledEvents(events).c_str());
    } else if (!isApprovedFd(fd)) {
        FRAMEWORK_LOG(LEVEL_ERROR, TAG, "fd %d is not the approved fd, we can't take handle of it",
                      fd);
        rejectDescriptor(fd, handler);
    } else if (!known) {
        FRAMEWORK_LOG(LEVEL_ERROR, TAG, "fd %d is not registed", fd);
        rejectDescriptor(fd, handler);
    } else {
        runHandler(fd, handler);
    }
}

std::string KsLooper::checkUnHandledEvents(unsigned int events) {
    std::string names;
    for (const EventName& event : EVENT_NAMES) {
        if ((events & event.flag) != 0) names += event.name;
    }
    return names;
}

// Also closes a descriptor that is registered no longer, or whose close action has closed it.
void KsLooper::rejectDescriptor(int fd, const HandlerObject& handler) {
    removeEventHandler(fd);
    if (handler.termination != Termination::PENDING) close(fd);
}

void KsLooper::runHandler(int fd, const HandlerObject& handler) {
    FRAMEWORK_LOG(LEVEL_TRACE, TAG, "process fd:%d events: [callback: %p, data: %p]", fd,
                  reinterpret_cast<void*>(handler.callback), handler.data);
    if (handler.isSocketTask) {
        if (handler.task) {
            handler.task->onReadable(fd);
            return;
        }
        FRAMEWORK_LOG(LEVEL_ERROR, TAG, "no callback function Task is registed: %d", fd);
    } else {
        if (handler.callback != nullptr) {
            handler.callback(fd, handler.data);
            return;
        }
        FRAMEWORK_LOG(LEVEL_ERROR, TAG, "no callback function is registed");
    }
    clearRead(fd, nullptr);
}

// The loop goes on while a termination is pending: its last turn begins after the flag has been
// set, and so no task is lost that was posted before. The descriptor becomes readable and pending
// in one step; it belongs to this function until then, and from then on to whoever serves or
// removes it.
bool KsLooper::addTerminatedHandler() {
    const TraceScope trace(TAG, "addTerminatedHandler");
    const int fd = eventfd(0, EFD_NONBLOCK);
    const bool registered = addEventHandler(fd, exitTaskHandler, this, nullptr, WAKE_EVENTS);
    ssize_t rv = sizeof(uint64_t);
    int error = 0;
    bool pending = false;
    {
        MutexLock lock(sHandlerLock);
        mTerminated = true;
        const auto found = mHandlers.find(fd);
        if (registered && found != mHandlers.end()) {
            rv = makeReadable(fd);
            error = errno;
            pending = rv == sizeof(uint64_t);
            if (pending) found->second.termination = Termination::PENDING;
        }
    }
    if (pending) return true;
    if (registered) {
        checkWritten(rv, error);
        removeEventHandler(fd);
    } else {
        FRAMEWORK_LOG(LEVEL_ERROR, TAG, "add TerminatedHandler into list error");
    }
    if (fd != -1) close(fd);
    makeReadable(mEventFd);
    return registered;
}

bool KsLooper::isTerminationPending() const {
    MutexLock lock(sHandlerLock);
    return std::any_of(mHandlers.begin(), mHandlers.end(), [](const auto& entry) {
        return entry.second.termination == Termination::PENDING;
    });
}

void KsLooper::clearEvents() {
    const TraceScope trace(TAG, "clearEvents");
    if (getHandlerSize() == 0) {
        FRAMEWORK_LOG(LEVEL_DEBUG, TAG, "mHandlers is already empty...");
        return;
    }
    emitQuit();
    std::set<int> fds;
    {
        MutexLock lock(sHandlerLock);
        for (const auto& handler : mHandlers) fds.insert(handler.first);
    }
    for (const int fd : fds) removeEventHandler(fd);

    // What close actions and other threads have added meanwhile goes without its close action.
    HandlerMap late;
    MutexLock lock(sHandlerLock);
    late.swap(mHandlers);
    for (const auto& handler : late) {
        forgetDescriptorLocked(handler.first, handler.second);
        if (handler.second.termination == Termination::PENDING) close(handler.first);
    }
}

void KsLooper::clearRead(int fd, void* /*data*/) {
    const TraceScope trace(TAG, "clearRead");
    drain(fd);
}

void KsLooper::exitTaskHandler(int fd, void* data) {
    const TraceScope trace(TAG, "exitTaskHandler");
    drain(fd);
    if (data != nullptr) {
        auto* const looper = static_cast<KsLooper*>(data);
        MutexLock lock(sHandlerLock);
        const auto found = looper->mHandlers.find(fd);
        if (found != looper->mHandlers.end() && found->second.termination == Termination::PENDING) {
            looper->forgetDescriptorLocked(fd, found->second);
            found->second.termination = Termination::SERVED;  // registered until the loop has ended
        }
    }
    close(fd);
}

void KsLooper::drain(int fd) {
    char buffer[256];
    ssize_t length = 0;
    do {
        length = read(fd, buffer, sizeof(buffer));
    } while (length > 0);
    const int error = errno;
    if (length == -1 && error != EAGAIN) {
        FRAMEWORK_LOG(LEVEL_WARNING, TAG, "Error while clearing the read buffer on fd %d", fd);
    }
}
