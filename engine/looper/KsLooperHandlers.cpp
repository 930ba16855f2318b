#include <sys/epoll.h>
#include <unistd.h>

#include <cerrno>

#include "base/Logger.h"
#include "looper/KsLooper.h"
#include "looper/KsLooperLog.h"

using ksLooperLog::TAG;

Mutex& KsLooper::sHandlerLock = *new Mutex;
Mutex& KsLooper::sApprovedFdLock = *new Mutex;
std::set<int>& KsLooper::mApprovedFd = *new std::set<int>;

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
        known = found != mHandlers.end() && !found->second.closed;
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
        ksLooperLog::logCriticalError("Cannot add event handler", error);
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
    bool unclosed = false;
    {
        MutexLock lock(sHandlerLock);
        const auto found = mHandlers.find(fd);
        known = found != mHandlers.end();
        if (known) {
            handler = found->second;
            mHandlers.erase(found);
            unclosed = forgetDescriptorLocked(fd, handler);
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
    if (unclosed) close(fd);
}

// True for a terminate descriptor that is now the caller's to close.
bool KsLooper::forgetDescriptorLocked(int fd, const HandlerObject& handler) {
    if (handler.closed) return false;
    epoll_ctl(mEpollFd, EPOLL_CTL_DEL, fd, nullptr);
    removeApprovedFd(fd);
    return mTerminateFds.erase(fd) != 0;
}

size_t KsLooper::getHandlerSize() const {
    MutexLock lock(sHandlerLock);
    return mHandlers.size();
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
