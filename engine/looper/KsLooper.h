#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "base/Mutex.h"
#include "base/RefBase.h"
#include "looper/KsTimer.h"
#include "looper/SocketTask.h"

// A loop over descriptors (epoll) and the timers of one KsTimer.
//
//     looper->addEventHandler(fd, onReadable, this, onRemoved, EPOLLIN);
//     looper->run();  // until another thread calls looper->addTerminatedHandler()
//
// A turn waits until a descriptor is readable or the first timer is due, runs the due timers, then
// the handlers of at most ten descriptors, then processTasks().
//
// A descriptor is only handled while it is in a set of approved descriptors that all loopers of the
// process share; addEventHandler() puts it there. A readable descriptor that is not approved, or of
// which the looper does not know, is closed. So is one whose peer has hung up, after its close
// action has run. Otherwise to close a descriptor is up to its close action.
//
// run(), processEvents() and clearEvents() belong to the looper's own thread, the rest may be
// called from any thread. No lock is held while a callback or a close action runs, so both may add
// and remove handlers. Removing a handler from another thread does not wait for a run of it to end.
class KsLooper : public RefBase {
  public:
    using EventCallback = void (*)(int fd, void* data);

    // Ends the process when the platform gives no epoll instance or eventfd.
    explicit KsLooper(sp<KsTimer> timer);

    const char* getName() const override { return "KsLooper"; }
    ~KsLooper() override;

    // Has `callback` called when `fd` is readable and `closeCallback` when it is removed; each may
    // be null. A descriptor without a `callback` is read empty instead: it must not block. `data`
    // is not owned; `events` are those of epoll. False when `fd` is registered already or epoll
    // refuses it.
    virtual bool addEventHandler(int fd, EventCallback callback, void* data,
                                 EventCallback closeCallback, unsigned int events);
    virtual void removeEventHandler(int fd);
    virtual bool addEventHandler(int fd, sp<SocketTask> task, unsigned int events);

    // Ends the loop, for good, with the turn that begins next at the latest: what was posted before
    // is still seen. False when the loop had to be ended without that turn.
    virtual bool addTerminatedHandler();

    // Makes the loop take a turn, one for all wakes that come before it looks for tasks. What it is
    // to find there has been stored under a lock that it takes, or sequentially consistently.
    virtual void wake();

    // Runs the loop on the calling thread until it is terminated, then removes every handler.
    virtual void run();

    virtual size_t getHandlerSize() const;
    virtual bool getTerminatedFlag() const { return mTerminated; }
    virtual int getEpoolFd() const { return mEpollFd; }
    virtual int getEventFd() const { return mEventFd; }

    // The end of every turn.
    virtual void processTasks() {}

    // The loop has ended; the handlers are still registered.
    virtual void emitQuit() {}

    // One turn, which waits at most `timeoutMs` milliseconds, without limit when that is negative.
    void processEvents(int timeoutMs, sp<KsTimer> timer);

    // Removes every handler.
    void clearEvents();

    // False when epoll refused the descriptor through which the loop is woken: it could only be
    // told by timers.
    bool canBeWoken() const;

    sp<KsTimer> getTimer() const { return mTimer; }

    // The names of the flags set in `events`, each followed by a blank.
    static std::string checkUnHandledEvents(unsigned int events);

    static void addApprovedFd(int fd);
    static void removeApprovedFd(int fd);
    static bool isApprovedFd(int fd);

    // The handlers of the loop's own descriptors. clearRead() reads a non-blocking descriptor
    // empty, exitTaskHandler() closes it as well.
    static void clearRead(int fd, void* data);
    static void exitTaskHandler(int fd, void* data);

  private:
    // What a descriptor has to do with the end of the loop.
    enum class Termination : uint8_t {
        NONE,
        PENDING,  // it is readable, to end the loop; whoever removes it closes it
        SERVED,   // exitTaskHandler() has closed it; its number may be somebody else's by now
    };

    struct HandlerObject {
        EventCallback callback = nullptr;
        EventCallback closeCallback = nullptr;
        void* data = nullptr;
        bool isSocketTask = false;
        sp<SocketTask> task;
        Termination termination = Termination::NONE;
    };
    using HandlerMap = std::map<int, HandlerObject>;

    bool addHandler(int fd, const HandlerObject& handler, unsigned int events);
    bool findHandler(int fd, HandlerObject& handler) const;
    void forgetDescriptorLocked(int fd, const HandlerObject& handler) REQUIRES(sHandlerLock);
    bool isTerminationPending() const;
    void writeWake();
    void handleEvent(int fd, unsigned int events);
    void rejectDescriptor(int fd, const HandlerObject& handler);
    void runHandler(int fd, const HandlerObject& handler);

    static void drain(int fd);

    // Shared by all loopers and never destroyed, since a loop may still run while the process ends.
    // The second lock is taken under the first, and nothing else under either.
    static Mutex& sHandlerLock;
    static Mutex& sApprovedFdLock;
    static std::set<int>& mApprovedFd GUARDED_BY(sApprovedFdLock);

    const sp<KsTimer> mTimer;
    int mEpollFd;
    int mEventFd;
    std::atomic<bool> mTerminated{false};
    HandlerMap mHandlers GUARDED_BY(sHandlerLock);

    // What a wake finds.
    enum class Wake : uint8_t {
        NEEDED,   // the loop sleeps, or may fall asleep: the wake descriptor has to be written
        PENDING,  // it has been, or will be at the end of the turn
        AWAKE,    // a turn looks for tasks, and for wakes when it has run them
    };
    std::atomic<Wake> mWake{Wake::NEEDED};
};
