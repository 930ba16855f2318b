#include "looper/KsLooper.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "base/Logger.h"
#include "looper/KsLooperLog.h"

using ksLooperLog::TAG;

namespace {

constexpr int EVENTS_PER_TURN = 10;
constexpr unsigned int WAKE_EVENTS = EPOLLIN | EPOLLHUP;

int checkCreated(int fd, const char* message) {
    if (fd != -1) return fd;
    const int error = errno;
    FRAMEWORK_LOG(LEVEL_ERROR, TAG, "Critical Error, Aborting: %s", message);
    ksLooperLog::logErrno(error);
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

// The loop does not end before it has closed the terminate descriptor, and the descriptor becomes
// readable and pending in one step. So it belongs to this function until then, and from then on to
// exitTaskHandler() or whatever else removes it.
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
        if (registered && mHandlers.count(fd) != 0) {
            rv = makeReadable(fd);
            error = errno;
            pending = rv == sizeof(uint64_t);
            if (pending) mTerminateFds.insert(fd);
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

void KsLooper::wake() {
    const TraceScope trace(TAG, "wake");
    const ssize_t rv = makeReadable(mEventFd);
    checkWritten(rv, errno);
}

void KsLooper::run() {
    const TraceScope trace(TAG, "run");
    while (!mTerminated || isTerminationPending()) {
        processEvents(mTimer->nextTimerEvent(), mTimer);
    }
    clearEvents();
}

bool KsLooper::isTerminationPending() const {
    MutexLock lock(sHandlerLock);
    return !mTerminateFds.empty();
}

void KsLooper::processEvents(int timeoutMs, sp<KsTimer> timer) {
    epoll_event events[EVENTS_PER_TURN];
    const int count = epoll_wait(mEpollFd, events, EVENTS_PER_TURN, timeoutMs);
    const int error = errno;
    const TraceScope trace(TAG, "processEvents");
    if (count == -1) {
        if (error != EINTR) ksLooperLog::logCriticalError("epoll_wait error", error);
        return;
    }
    timer->processEvents();
    for (int left = count; left > 0; --left) {
        const epoll_event& event = events[left - 1];
        FRAMEWORK_LOG(LEVEL_TRACE, TAG, "%d events pending, handling %d for %d", left,
                      static_cast<int>(event.events), event.data.fd);
        handleEvent(event.data.fd, event.events);
    }
    processTasks();
}

void KsLooper::handleEvent(int fd, unsigned int events) {
    HandlerObject handler;
    const bool known = findHandler(fd, handler);
    if ((events & EPOLLHUP) != 0) {
        FRAMEWORK_LOG(LEVEL_INFO, TAG, "fd %d send EPOLLHUP event", fd);
        rejectDescriptor(fd);
    } else if ((events & (EPOLLIN | EPOLLPRI | EPOLLERR)) == 0) {
        FRAMEWORK_LOG(LEVEL_WARNING, TAG, "unhandled events: [flags %d] %s",
                      static_cast<int>(events), checkUnHandledEvents(events).c_str());
    } else if (!isApprovedFd(fd)) {
        FRAMEWORK_LOG(LEVEL_ERROR, TAG, "fd %d is not the approved fd, we can't take handle of it",
                      fd);
        rejectDescriptor(fd);
    } else if (!known) {
        FRAMEWORK_LOG(LEVEL_ERROR, TAG, "fd %d is not registed", fd);
        rejectDescriptor(fd);
    } else {
        runHandler(fd, handler);
    }
}

// Also closes a descriptor that is registered no longer, or whose close action has closed it.
void KsLooper::rejectDescriptor(int fd) {
    bool ours = false;
    {
        MutexLock lock(sHandlerLock);
        ours = mTerminateFds.count(fd) != 0;
    }
    removeEventHandler(fd);
    if (!ours) close(fd);
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
        if (forgetDescriptorLocked(handler.first, handler.second)) close(handler.first);
    }
}

void KsLooper::clearRead(int fd, void* /*data*/) {
    const TraceScope trace(TAG, "clearRead");
    drain(fd);
}

void KsLooper::exitTaskHandler(int fd, void* data) {
    const TraceScope trace(TAG, "exitTaskHandler");
    drain(fd);
    if (data != nullptr) static_cast<KsLooper*>(data)->finishTermination(fd);
    close(fd);
}

// Its handler stays registered until the loop has ended.
void KsLooper::finishTermination(int fd) {
    MutexLock lock(sHandlerLock);
    const auto found = mHandlers.find(fd);
    if (mTerminateFds.count(fd) == 0 || found == mHandlers.end()) return;
    forgetDescriptorLocked(fd, found->second);
    found->second.closed = true;
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
