#include "looper/KsLooper.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <thread>

#include "base/Logger.h"
#include "looper/test/LooperTesting.h"

namespace {

std::string numbered(std::string text, int fd) {
    for (size_t at; (at = text.find('#')) != std::string::npos;) {
        text.replace(at, 1, std::to_string(fd));
    }
    return text;
}

// Writes its story: "r5" when descriptor 5 was readable, "c5" when it was removed, "t" for the
// tasks of a turn and "q" for the end of the loop.
struct StoryLooper : KsLooper {
    using KsLooper::KsLooper;
    ~StoryLooper() override { clearEvents(); }  // the close actions still have their looper
    void processTasks() override { story += "t"; }
    void emitQuit() override { story += "q"; }
    bool add(int fd, unsigned int events = EPOLLIN) {
        return addEventHandler(fd, readable, this, removed, events);
    }

    static void readable(int fd, void* looper) {
        static_cast<StoryLooper*>(looper)->story += numbered("r#", fd);
        clearRead(fd, nullptr);
    }
    static void removed(int fd, void* looper) {
        static_cast<StoryLooper*>(looper)->story += numbered("c#", fd);
    }

    std::string story;
};

struct StoryTask : SocketTask {
    explicit StoryTask(StoryLooper& l) : looper(l) {}
    void onReadable(int fd) override { StoryLooper::readable(fd, &looper); }
    void onRemoved(int fd) override { StoryLooper::removed(fd, &looper); }
    StoryLooper& looper;
};

class KsLooperTest : public testing::Test {
  protected:
    KsLooperTest() { openPair(); }
    ~KsLooperTest() override { closePair(); }

    void openPair() {
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends), 0);
        fd = ends[0];
    }
    void closePair() { close(ends[0]), close(ends[1]); }
    void makeReadable() { write(ends[1], "x", 1); }
    void turn() { looper.processEvents(0, timer); }

    const sp<KsTimer> timer{new KsTimer};
    StoryLooper looper{timer};
    int ends[2] = {};
    int fd = -1;
};

TEST_F(KsLooperTest, ATurnWritesTheseLines) {
    LogCapture log;
    looper.wake();
    EXPECT_EQ(logged(log), ">wake\n<wake\n");
    log.clear();
    looper.processEvents(-1, timer);
    char callback[32];
    snprintf(callback, sizeof(callback), "%p", reinterpret_cast<void*>(&KsLooper::clearRead));
    const std::string expected =
        ">processEvents\n"  // of the loop
        ">processEvents\n"  // of the timers
        "TRACE  nextTimerEvent: return -1 as mTimerQueue is empty\n<processEvents\n"
        "TRACE  1 events pending, handling 1 for #\n"
        "TRACE  process fd:# events: [callback: " +
        std::string(callback) + ", data: (nil)]\n>clearRead\n<clearRead\n<processEvents\n";
    EXPECT_EQ(logged(log), numbered(expected, looper.getEventFd()));
    EXPECT_EQ(looper.story, "t");
}

// No exit line follows the refusal of epoll.
TEST_F(KsLooperTest, RegistrationsAndRemovalsWriteTheseLines) {
    LogCapture log;
    EXPECT_TRUE(looper.add(fd));
    EXPECT_FALSE(looper.addEventHandler(fd, new StoryTask(looper), EPOLLIN)) << "twice";
    EXPECT_TRUE(KsLooper::isApprovedFd(fd));
    looper.removeEventHandler(fd);
    EXPECT_FALSE(KsLooper::isApprovedFd(fd));
    looper.removeEventHandler(fd);
    const char* const expected =
        ">addEventHandler\nDEBUG  addEventHandler: add fd # into handler list\n<addEventHandler\n"
        ">addEventHandler\nWARNING  fd=# is already in mHandlers\n<addEventHandler\n"
        ">removeEventHandler\nDEBUG  removeEventHandler: remove fd # from mHandlers list\n"
        "<removeEventHandler\n>removeEventHandler\n"
        "WARNING  removeEventHandler: fd=# is invalid\n<removeEventHandler\n";
    EXPECT_EQ(logged(log), numbered(expected, fd));
    EXPECT_EQ(looper.story, numbered("c#", fd));
    log.clear();
    const int directory = open("/", O_RDONLY);
    EXPECT_FALSE(looper.add(directory));
    EXPECT_EQ(logged(log),
              ">addEventHandler\nERROR  Critical Error: Cannot add event handler\n"
              "ERROR      Operation not permitted (Errno 1)\n");
    EXPECT_FALSE(KsLooper::isApprovedFd(directory));
    EXPECT_EQ(looper.getHandlerSize(), 1u);
    close(directory);
}

TEST_F(KsLooperTest, ServesASocketTaskAndHoldsIt) {
    const sp<SocketTask> task(new StoryTask(looper));
    looper.addEventHandler(fd, task, EPOLLIN);
    EXPECT_EQ(task->getStrongCount(), 2);
    makeReadable();
    turn();
    looper.removeEventHandler(fd);
    EXPECT_EQ(looper.story, numbered("r#tc#", fd));
    EXPECT_EQ(task->getStrongCount(), 1);
}

TEST_F(KsLooperTest, ReadsADescriptorEmptyThatNobodyHandles) {
    const LogCapture log(LEVEL_WARNING);
    looper.addEventHandler(fd, nullptr, nullptr, nullptr, EPOLLIN);
    makeReadable();
    turn();
    turn();
    looper.removeEventHandler(fd);
    looper.addEventHandler(fd, sp<SocketTask>(), EPOLLIN);
    shutdown(ends[1], SHUT_WR);
    turn();  // at the end of the stream, which is no reason to read for ever
    EXPECT_EQ(logged(log), numbered("ERROR  no callback function is registed\n"
                                    "WARNING  fd # closeCallback is NULL\n"
                                    "ERROR  no callback function Task is registed: #\n",
                                    fd));
}

TEST_F(KsLooperTest, ClosesWhatItMayNotHandle) {
    const char* const unapproved = "ERROR  fd # is not the approved fd, we can't take handle of it";
    const struct {
        const char* line;
        bool registered;
        void (*prepare)(int);
    } cases[] = {
        {"INFO   fd # send EPOLLHUP event", true, [](int number) { shutdown(number, SHUT_RDWR); }},
        {unapproved, true, KsLooper::removeApprovedFd},
        {unapproved, false, [](int) {}},
        {"ERROR  fd # is not registed", false, KsLooper::addApprovedFd},
    };
    for (const auto& c : cases) {
        closePair();
        openPair();
        looper.story.clear();
        epoll_event event{EPOLLIN, {}};
        event.data.fd = fd;
        if (c.registered) looper.add(fd);
        if (!c.registered) epoll_ctl(looper.getEpoolFd(), EPOLL_CTL_ADD, fd, &event);
        makeReadable();
        c.prepare(fd);
        const LogCapture log(LEVEL_INFO);
        turn();
        EXPECT_TRUE(log.contains(numbered(c.line, fd))) << logged(log);
        EXPECT_EQ(looper.story, c.registered ? numbered("c#t", fd) : "t") << c.line;
        EXPECT_EQ(log.contains("is invalid"), !c.registered);
        EXPECT_EQ(fcntl(fd, F_GETFD), -1) << "closed";
        KsLooper::removeApprovedFd(fd);
    }
}

TEST_F(KsLooperTest, NamesTheEventsItDoesNotHandle) {
    EXPECT_EQ(KsLooper::checkUnHandledEvents(0xffffffff),
              "EPOLLIN EPOLLPRI EPOLLOUT EPOLLERR EPOLLHUP EPOLLRDNORM EPOLLRDBAND EPOLLWRNORM "
              "EPOLLWRBAND EPOLLMSG EPOLLRDHUP EPOLLWAKEUP EPOLLONESHOT EPOLLET ");
    const LogCapture log(LEVEL_WARNING);
    looper.add(fd, EPOLLOUT);
    turn();
    EXPECT_EQ(logged(log), "WARNING  unhandled events: [flags 4] EPOLLOUT \n");
    EXPECT_EQ(looper.story, "t");
}

TEST_F(KsLooperTest, RunsTimersFirstAndServesTenDescriptorsATurn) {
    int fds[14];
    for (int& eventFd : fds) looper.add(eventFd = eventfd(1, EFD_NONBLOCK));
    timer->addTimerCallback(0, makeCallback<int>([&] { return looper.story += "T", -1; }));
    for (const long served : {10, 4}) {
        turn();
        EXPECT_EQ(std::count(looper.story.begin(), looper.story.end(), 'r'), served);
        if (served == 10) EXPECT_EQ(looper.story.front(), 'T');
        EXPECT_EQ(looper.story.back(), 't');
        looper.story.clear();
    }
    for (const int eventFd : fds) close(eventFd);
}

TEST_F(KsLooperTest, ATurnEndsWhenTheWaitFails) {
    close(looper.getEpoolFd());
    const LogCapture log;
    turn();
    EXPECT_EQ(logged(log),
              ">processEvents\nERROR  Critical Error: epoll_wait error\n"
              "ERROR      Bad file descriptor (Errno 9)\n<processEvents\n");
    EXPECT_EQ(looper.story, "");
}

TEST_F(KsLooperTest, ATerminatedLoopEndsWithinATurnAndRunsEveryCloseAction) {
    const long before = openDescriptors();
    looper.add(fd);
    EXPECT_TRUE(looper.addTerminatedHandler());
    EXPECT_TRUE(looper.getTerminatedFlag());
    const LogCapture log;
    looper.run();
    EXPECT_EQ(looper.story, numbered("tqc#", fd));
    EXPECT_EQ(log.count("-->InTo : exitTaskHandler"), 1);
    EXPECT_EQ(log.count("closeCallback is NULL"), 2) << "the loop's own two";
    EXPECT_EQ(log.texts().back(), "TRACE  -->Back : run");
    EXPECT_EQ(openDescriptors(), before);
    looper.run();
    EXPECT_EQ(looper.story, numbered("tqc#", fd)) << "it cannot be run again";
}

TEST_F(KsLooperTest, ATerminateDescriptorDoesNotOutliveItsLooper) {
    const long before = openDescriptors();
    for (const bool run : {false, true}) {
        StoryLooper other(timer);
        EXPECT_TRUE(other.addTerminatedHandler());
        EXPECT_TRUE(other.addTerminatedHandler());
        if (run) other.run();
        EXPECT_TRUE(other.addTerminatedHandler()) << "too late";
    }
    EXPECT_EQ(openDescriptors(), before);
}

// The number of a terminate descriptor is free for others as soon as it has been closed.
TEST_F(KsLooperTest, ALoopThatEndsLeavesOthersTheirDescriptors) {
    StoryLooper ending(timer);
    ending.addTerminatedHandler();
    ending.processEvents(0, timer);
    const int reused = eventfd(1, EFD_NONBLOCK);
    looper.add(reused);
    ending.run();
    turn();
    EXPECT_EQ(looper.story, numbered("r#t", reused));
    close(reused);
}

// Lets the process open no descriptor beyond those it has.
class DescriptorLimit {
  public:
    DescriptorLimit() {
        getrlimit(RLIMIT_NOFILE, &mBefore);
        const int next = dup(0);
        close(next);
        const rlimit limit{static_cast<rlim_t>(next), mBefore.rlim_max};
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    ~DescriptorLimit() { setrlimit(RLIMIT_NOFILE, &mBefore); }

  private:
    rlimit mBefore{};
};

// A loop on a thread of its own, with what it has logged.
struct RunningLooper {
    RunningLooper() { EXPECT_TRUE(log.waitFor("nextTimerEvent: return -1")); }
    ~RunningLooper() {
        looper.addTerminatedHandler();
        thread.join();
    }

    LogCapture log;
    StoryLooper looper{new KsTimer};
    std::thread thread{[this] { looper.run(); }};
};

TEST(KsLooperThreads, ALoopEndsAlsoWhenItCannotBeTerminatedProperly) {
    RunningLooper running;
    {
        const DescriptorLimit limit;
        EXPECT_FALSE(running.looper.addTerminatedHandler());
    }
    EXPECT_TRUE(running.looper.getTerminatedFlag());
    EXPECT_TRUE(running.log.waitFor("-->Back : run"));
    EXPECT_EQ(running.log.count("ERROR  add TerminatedHandler into list error"), 1);
}

TEST(KsLooperThreads, ASignalEndsOnlyTheTurn) {
    signal(SIGUSR1, [](int) {});
    RunningLooper running;
    for (int turns = 1; turns <= 3; ++turns) {
        while (running.log.count("-->InTo : processEvents") < turns) {
            pthread_kill(running.thread.native_handle(), SIGUSR1);
            std::this_thread::yield();
        }
    }
    EXPECT_EQ(running.log.count("ERROR"), 0);
}

TEST(KsLooperThreads, ADescriptorThatIsReadableWhenItIsAddedIsServed) {
    static std::atomic<int> served;
    RunningLooper running;
    for (int i = served = 0; i < 100; ++i) {
        running.looper.addEventHandler(
            eventfd(1, EFD_NONBLOCK),
            [](int fd, void* looper) { static_cast<KsLooper*>(looper)->removeEventHandler(fd); },
            &running.looper, [](int fd, void*) { close(fd), ++served; }, EPOLLIN);
        while (served <= i) std::this_thread::yield();
    }
    EXPECT_EQ(running.log.count("ERROR"), 0);
}

// Two loops at a time: the number that one of them closes the other may be opening.
TEST(KsLooperThreads, LoopsThatAreWokenAndTerminatedAtOnceEndAndLeakNothing) {
    const LogCapture log(LEVEL_ERROR);
    const long before = openDescriptors();
    const auto startAndStop = [] {
        for (int i = 0; i < 25; ++i) {
            StoryLooper looper(new KsTimer);
            std::thread waker([&] {
                for (int wakes = 0; wakes < 5; ++wakes) looper.wake();
            });
            std::thread one([&] { looper.addTerminatedHandler(); });
            std::thread two([&] { looper.addTerminatedHandler(); });
            looper.run();
            for (std::thread* thread : {&waker, &one, &two}) thread->join();
        }
    };
    std::thread other(startAndStop);
    startAndStop();
    other.join();
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(logged(log), "");
}

}  // namespace
