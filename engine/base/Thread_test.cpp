#include "base/Thread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <deque>
#include <functional>
#include <future>

#include "base/Latch.h"
#include "platform/testing/LogCapture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr unsigned long TOO_BIG_A_STACK = 1UL << 62;

template <typename Base>
struct TestThread : Base {
    TestThread(Latch& deleted, std::function<void(Base&)> body) : deleted(deleted), body(body) {}
    ~TestThread() override {
        EXPECT_EQ(this->getId(), -1);
        deleted.countDown();
    }
    int run() override {
        body(*this);
        return 0;
    }

    Latch& deleted;
    const std::function<void(Base&)> body;
};

struct Step {
    void take() { action(); }
    bool addOnExit() {
        return SimpleThread::addOnExitTask({&Step::take, UnsafeRawPtr<Step>(this)});
    }
    std::function<void()> action;
};

TEST(SimpleThreads, KeepTheirObjectForTheBodyAndTheExitTasks) {
    Latch deleted(1);
    std::string story;
    Step late{[&] { story += " late"; }};
    Step second{[&] { story += " second"; }};
    Step first{[&] { story += late.addOnExit() ? " first" : ""; }};
    const auto body = [&](SimpleThread& self) {
        EXPECT_EQ(self.start("again", 0, 0), 1);
        EXPECT_EQ(self.getId(), static_cast<int>(syscall(SYS_gettid)));
        EXPECT_TRUE(first.addOnExit());
        EXPECT_TRUE(second.addOnExit());
        char name[16] = {};
        pthread_getname_np(pthread_self(), name, sizeof(name));
        story += name;
    };
    EXPECT_EQ((new TestThread<SimpleThread>(deleted, body))->start("worker", 0, 1 << 20), 0);
    deleted.wait();
    EXPECT_EQ(story, "worker first second late");
}

TEST(SimpleThreads, RunWithoutARefusedSetting) {
    const LogCapture log;
    Latch deleted(2);
    const auto body = [](SimpleThread&) {};
    EXPECT_EQ((new TestThread<SimpleThread>(deleted, body))->start("", -1, 0), 0);
    EXPECT_EQ((new TestThread<SimpleThread>(deleted, body))->start("sixteen letters!", 1, 1), 0);
    deleted.wait();
    EXPECT_THAT(log.texts(), ElementsAre("ERROR  set priority error: 22, Invalid argument",
                                         "ERROR  set stack size error: 22, Invalid argument",
                                         "ERROR  set thread name error: sixteen letters!"));
}

TEST(SimpleThreads, LetGoOfTheirObjectWhenTheyCannotBeCreated) {
    const LogCapture log;
    Latch deleted(2);
    const auto body = [](SimpleThread&) { ADD_FAILURE() << "there is no thread"; };
    EXPECT_NE((new TestThread<Thread>(deleted, body))->start("worker", 0, TOO_BIG_A_STACK), 0);
    EXPECT_THAT(log.texts(), ElementsAre(HasSubstr("ERROR  create thread error: 11, ")));

    sp<Thread> thread(new TestThread<Thread>(deleted, body));
    EXPECT_EQ(thread->start("worker", 0, TOO_BIG_A_STACK), EAGAIN);
    EXPECT_EQ(thread->start("worker", 0, 0), 1) << "not a second time";
    EXPECT_EQ(thread->join(), 1);
    EXPECT_FALSE(thread->isRunning());
    thread.reset();
    deleted.wait();
}

TEST(JoinableThreads, RunForTheirJoinersUntilTheirExitTasksAreDone) {
    Latch running(1);
    Latch mayEnd(1);
    Latch deleted(1);
    int id = -1;
    bool done = false;
    sp<Thread> thread;
    Step exitTask{[&] { done = thread->isRunning(); }};
    thread = new TestThread<Thread>(deleted, [&](Thread& self) {
        EXPECT_EQ(self.join(), 1) << "from inside";
        exitTask.addOnExit();
        id = static_cast<int>(syscall(SYS_gettid));
        running.countDown();
        mayEnd.wait();
    });
    EXPECT_EQ(thread->join(), 1) << "never started";
    EXPECT_FALSE(thread->isRunning());
    EXPECT_EQ(thread->start("worker", 0, 0), 0);
    running.wait();
    EXPECT_TRUE(thread->isRunning());
    EXPECT_EQ(thread->getIdOfThread(), id);
    Latch joining(2);
    const auto join = [&] {
        joining.countDown();
        return thread->join() == 0 && done;
    };
    std::future<bool> one = std::async(std::launch::async, join);
    std::future<bool> other = std::async(std::launch::async, join);
    joining.wait();
    mayEnd.countDown();
    EXPECT_TRUE(one.get());
    EXPECT_TRUE(other.get());
    EXPECT_EQ(thread->join(), 0) << "ended already";
    EXPECT_FALSE(thread->isRunning());
    EXPECT_EQ(thread->getIdOfThread(), -1);
    thread.reset();
    deleted.wait();
}

// The joiner goes on, and lets go, while the thread is still on its way out.
TEST(JoinableThreads, MayBeReleasedAsSoonAsTheyAreJoined) {
    Latch deleted(50);
    for (int i = 0; i < 50; ++i) {
        const sp<Thread> thread(new TestThread<Thread>(deleted, [](Thread&) {}));
        thread->start(nullptr, 0, 0);
        EXPECT_EQ(thread->join(), 0);
    }
    deleted.wait();
}

TEST(ThreadPrivateData, ReportsKeysThatThePlatformDidNotGive) {
    const LogCapture log;
    int value = 0;
    int refused = 0;
    {
        std::deque<ThreadPrivateData<int>> keys(PTHREAD_KEYS_MAX);  // some are taken already
        for (ThreadPrivateData<int>& key : keys) {
            key.setValue(&value);
            if (key.getValue() == nullptr) ++refused;
        }
    }
    EXPECT_GT(refused, 0);
    EXPECT_EQ(log.count("ERROR  setValue error"), refused);
    EXPECT_EQ(log.count("ERROR  delete ThreadPrivateData key error"), refused);
}

}  // namespace
