#include "looper/KsLooper.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
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
    ~KsLooperTest() override { close(fd); }
    void turn() { looper.processEvents(0, timer); }

    const sp<KsTimer> timer{new KsTimer};
    StoryLooper looper{timer};
    const int fd = eventfd(1, EFD_NONBLOCK);  // readable
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

// However often it is woken, the descriptor is written once for every turn.
TEST_F(KsLooperTest, ManyWakesBeforeATurnAreOne) {
    for (int turns = 0; turns < 2; ++turns) {
        for (int wakes = 0; wakes < 3; ++wakes) looper.wake();
        uint64_t written = 0;
        EXPECT_EQ(read(looper.getEventFd(), &written, sizeof(written)), 8);
        EXPECT_EQ(written, 1u);
        turn();
    }
}

// No exit line follows the refusal of epoll.
TEST_F(KsLooperTest, ReportsWhatItCannotAdd) {
    const int directory = open("/", O_RDONLY);
    EXPECT_TRUE(looper.add(fd));
    const LogCapture log;
    EXPECT_FALSE(looper.addEventHandler(fd, new StoryTask(looper), EPOLLIN)) << "twice";
    EXPECT_FALSE(looper.add(directory));
    EXPECT_EQ(logged(log), numbered(">addEventHandler\nWARNING  fd=# is already in mHandlers\n"
                                    "<addEventHandler\n>addEventHandler\n"
                                    "ERROR  Critical Error: Cannot add event handler\n"
                                    "ERROR      Operation not permitted (Errno 1)\n",
                                    fd));
    EXPECT_EQ(looper.getHandlerSize(), 2u);
    EXPECT_FALSE(KsLooper::isApprovedFd(directory));
    close(directory);
}

TEST_F(KsLooperTest, ReadsADescriptorEmptyThatNobodyHandles) {
    const LogCapture log(LEVEL_ERROR);
    looper.addEventHandler(fd, nullptr, nullptr, nullptr, EPOLLIN);
    turn();
    turn();
    EXPECT_EQ(logged(log), "ERROR  no callback function is registed\n");
    looper.removeEventHandler(fd);
    const int endless = open("/dev/null", O_RDONLY);
    KsLooper::exitTaskHandler(endless, nullptr);  // read() gives 0 for ever
    EXPECT_EQ(fcntl(endless, F_GETFD), -1);
}

int hungUpPipe() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(pipe(ends), 0);
    close(ends[1]);
    return ends[0];
}

TEST_F(KsLooperTest, ClosesWhatItMayNotHandle) {
    const std::string unapproved = "ERROR  fd # is not the approved fd, we can't take handle of it";
    const struct {
        int number;
        bool registered;
        void (*prepare)(int);
        std::string line;
    } cases[] = {{hungUpPipe(), true, [](int) {}, "INFO   fd # send EPOLLHUP event"},
                 {dup(fd), true, KsLooper::removeApprovedFd, unapproved},
                 {dup(fd), false, [](int) {}, unapproved},
                 {dup(fd), false, KsLooper::addApprovedFd, "ERROR  fd # is not registed"}};
    for (const auto& c : cases) {
        looper.story.clear();
        epoll_event event{EPOLLIN, {}};
        event.data.fd = c.number;
        if (c.registered) looper.add(c.number);
        if (!c.registered) epoll_ctl(looper.getEpoolFd(), EPOLL_CTL_ADD, c.number, &event);
        c.prepare(c.number);
        const LogCapture log(LEVEL_INFO);
        turn();
        EXPECT_TRUE(log.contains(numbered(c.line, c.number))) << logged(log);
        EXPECT_EQ(looper.story, c.registered ? numbered("c#t", c.number) : "t") << c.line;
        EXPECT_EQ(log.contains("is invalid"), !c.registered);
        EXPECT_EQ(fcntl(c.number, F_GETFD), -1) << "closed";
        epoll_ctl(looper.getEpoolFd(), EPOLL_CTL_DEL, c.number, &event);
        KsLooper::removeApprovedFd(c.number);
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
    for (const long served : {10, 14}) {
        turn();
        EXPECT_EQ(std::count(looper.story.begin(), looper.story.end(), 'r'), served);
        EXPECT_EQ(looper.story.back(), 't');
    }
    EXPECT_EQ(looper.story.front(), 'T');
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
    const size_t before = openDescriptors();
    const sp<SocketTask> task(new StoryTask(looper));
    looper.addEventHandler(fd, task, EPOLLIN);
    EXPECT_EQ(task->getStrongCount(), 2);
    for (int times = 0; times < 2; ++times) EXPECT_TRUE(looper.addTerminatedHandler());
    EXPECT_TRUE(looper.getTerminatedFlag());
    const LogCapture log;
    looper.run();
    EXPECT_EQ(looper.story, numbered("r#tqc#", fd));
    EXPECT_EQ(log.count("-->InTo : exitTaskHandler"), 2);
    EXPECT_EQ(log.count("closeCallback is NULL"), 3) << "the loop's own descriptors";
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(task->getStrongCount(), 1);
    looper.run();
    EXPECT_EQ(looper.story, numbered("r#tqc#", fd)) << "it cannot be run again";
}

// The number of a terminate descriptor is free for all as soon as it has been closed.
TEST_F(KsLooperTest, ALoopThatEndsLeavesOthersTheirDescriptors) {
    StoryLooper ending(timer);
    for (int times = 0; times < 2; ++times) {
        EXPECT_TRUE(ending.addTerminatedHandler());
        ending.processEvents(0, timer);
    }
    const int reused = eventfd(1, EFD_NONBLOCK);
    looper.add(reused);
    ending.run();
    turn();
    EXPECT_EQ(looper.story, numbered("r#t", reused));
    close(reused);
}

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

TEST(KsLooperThreads, ALoopEndsAlsoWhenThereIsNoDescriptorForItsEnd) {
    RunningLooper running;
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none{0, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    EXPECT_FALSE(running.looper.addTerminatedHandler());
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_TRUE(running.looper.getTerminatedFlag());
    EXPECT_TRUE(running.log.waitFor("-->Back : run"));
    EXPECT_EQ(running.log.count("ERROR  add TerminatedHandler into list error"), 1);
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
    const size_t before = openDescriptors();
    const auto startAndStop = [] {
        for (int i = 0; i < 25; ++i) {
            StoryLooper looper(new KsTimer);
            std::thread waker([&] {
                for (int wakes = 0; wakes < 5; ++wakes) looper.wake();
            });
            std::thread one([&] { looper.addTerminatedHandler(); });
            std::thread two([&] { looper.addTerminatedHandler(); });
            if (i % 5 != 0) looper.run();
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
