#include "looper/LooperThread.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <thread>

#include "base/Latch.h"
#include "looper/test/FailingEpoll.h"
#include "looper/test/LooperTesting.h"

namespace {

TEST(WorkerThreads, RunTasksOnANamedThreadUntilTheyAreAskedToExit) {
    const sp<LooperThread> worker(new LooperThread);
    std::string story;
    Latch done(2);
    const auto task = makeCallback<void>([&] {
        char name[16] = {};
        pthread_getname_np(pthread_self(), name, sizeof(name));
        story += name + std::string(Looper::current() == worker->getLooper() ? "! " : "? ");
        done.countDown();
    });
    EXPECT_EQ(worker->sendTask(task), 0) << "too early";
    EXPECT_EQ(worker->getLooper(), nullptr);
    ASSERT_EQ(worker->start("worker", 0, 0), 0);
    EXPECT_EQ(worker->start("worker", 0, 0), 1) << "once only";
    EXPECT_NE(worker->getLooper(), nullptr);
    EXPECT_EQ(worker->sendDelayedTask(task, 1), 1);
    EXPECT_EQ(worker->sendTask(task), 1);
    done.wait();
    worker->requestExitAndWait();
    EXPECT_EQ(worker->sendTask(task), 0) << "too late";
    EXPECT_EQ(worker->sendDelayedTask(task, 0), 0);
    EXPECT_EQ(worker->getLooper(), nullptr);
    EXPECT_EQ(story, "worker! worker! ");
}

TEST(WorkerThreads, RunWhatIsPostedBeforeTheExitAndDropWhatIsDelayed) {
    const sp<LooperThread> worker(new LooperThread);
    worker->start("worker", 0, 0);
    Latch entered(1);
    Latch mayGoOn(1);
    std::string story;
    worker->sendTask(makeCallback<void>([&] { entered.countDown(), mayGoOn.wait(); }));
    entered.wait();
    sp<RefBase> held(new AtRelease([&] {
        story += " dropped";
        EXPECT_EQ(worker->sendTask(makeCallback<void>([] {})), 0) << "and does not hang";
    }));
    worker->sendTask(makeCallback<void>([&] { story += "posted"; }));
    worker->sendDelayedTask(makeCallback<void>([held] {}), 60000);
    held.reset();
    worker->requestExit();
    mayGoOn.countDown();
    worker->requestExitAndWait();
    EXPECT_EQ(story, "posted dropped");
}

TEST(WorkerThreads, LetStartReturnWhenThereIsNothingToWaitFor) {
    const sp<LooperThread> worker(new LooperThread);
    worker->requestExit();
    EXPECT_EQ(worker->start("worker", 0, 0), 0) << "it had a looper";
    EXPECT_EQ(worker->join(), 0);
    struct Idler : LooperThread {
        int run() override { return 0; }
    };
    EXPECT_EQ((new Idler)->start("idler", 0, 0), ENOMEM);
}

TEST(WorkerThreads, DoNotStartWhenTheyCouldNotBeWoken) {
    const size_t before = openDescriptors();
    const sp<LooperThread> worker(new LooperThread);
    {
        const FailingEpoll failing;
        EXPECT_EQ(worker->start("worker", 0, 0), ENOMEM);
    }
    EXPECT_EQ(worker->sendTask(makeCallback<void>([] {})), 0);
    EXPECT_EQ(worker->join(), 0);
    EXPECT_EQ(openDescriptors(), before);
}

// Two of them at a time; the exit is requested while others post, or before start() has returned.
TEST(WorkerThreads, StartAndStopHundredsOfTimesAndLeakNothing) {
    const size_t before = openDescriptors();
    const auto startAndStop = [] {
        for (int i = 0; i < 50; ++i) {
            const sp<LooperThread> worker(new LooperThread);
            std::atomic<int> runs{0};
            const auto count = makeCallback<void>([&] { ++runs; });
            std::thread poster([&] {
                while (worker->sendTask(count) == 0) std::this_thread::yield();
                for (int posts = 0; posts < 10; ++posts) worker->sendDelayedTask(count, posts % 2);
                if (i % 2 == 0) worker->requestExit();
            });
            EXPECT_EQ(worker->start("worker", 0, 0), 0);
            while (i % 2 != 0 && runs == 0) std::this_thread::yield();
            if (i % 2 != 0) worker->requestExit();
            poster.join();
            worker->requestExitAndWait();
        }
    };
    std::thread other(startAndStop);
    startAndStop();
    other.join();
    EXPECT_EQ(openDescriptors(), before);
}

}  // namespace
