#include "base/Mutex.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <future>
#include <new>
#include <string>

#include "base/Condition.h"
#include "base/Latch.h"
#include "platform/testing/LogCapture.h"

namespace {

// A mutex on which the platform refuses every call.
Mutex& destroyedMutex() {
    alignas(Mutex) static unsigned char memory[sizeof(Mutex)];
    auto* const mutex = new (memory) Mutex;
    mutex->~Mutex();
    return *mutex;
}

TEST(MutexDeathTest, EveryRefusedCallIsFatal) NO_THREAD_SAFETY_ANALYSIS {
    EXPECT_DEATH({ Mutex().lock(); }, "ERROR  pthread_mutex_destroy error");
    EXPECT_DEATH(destroyedMutex().lock(), "ERROR  pthread_mutex_lock error");
    EXPECT_DEATH(destroyedMutex().tryLock(), "ERROR  pthread_mutex_trylock error");
    EXPECT_DEATH(destroyedMutex().unlock(), "ERROR  pthread_mutex_unlock error");
}

#if defined(KSBRAIN_LOCK_ORDER)
TEST(MutexDeathTest, ALockTakenAgainstTheOrderIsFatal) NO_THREAD_SAFETY_ANALYSIS {
    Mutex outer(LockRank::MODEL);
    Mutex inner(LockRank::ADAPTER);
    Mutex other(LockRank::ADAPTER);
    Mutex unranked;
    const std::string low = std::to_string(static_cast<int>(LockRank::MODEL));
    const std::string high = std::to_string(static_cast<int>(LockRank::ADAPTER));
    inner.lock();
    EXPECT_DEATH(outer.lock(), "a lock of rank " + low + " is taken under one of rank " + high);
    EXPECT_DEATH(other.lock(), "a lock of rank " + high + " is taken under one of rank " + high);
    unranked.lock();
    EXPECT_TRUE(outer.tryLock()) << "which waits for nobody";
    outer.unlock();
    inner.unlock();
    outer.lock();
    inner.lock();
    for (Mutex* const mutex : {&outer, &inner, &unranked}) mutex->unlock();
}
#endif

TEST(MutexThreads, TryLockFailsWhileAnotherHoldsIt) {
    Mutex mutex;
    if (!mutex.tryLock()) FAIL();
    std::async(std::launch::async, [&] {
        if (!mutex.tryLock()) return;
        ADD_FAILURE() << "it was taken twice";
        mutex.unlock();
    }).wait();
    mutex.unlock();
}

TEST(Condition, WaitsAsLongAsAskedOnTheMonotonicClock) {
    using Clock = std::chrono::steady_clock;
    Mutex mutex;
    Condition condition;
    MutexLock lock(mutex);
    for (const int ms : {0, -5}) EXPECT_EQ(condition.wait(mutex, ms), -1);
    for (const int ms : {30, 1020}) {
        const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(ms);
        int result = 0;
        while (result == 0) result = condition.wait(mutex, ms);
        EXPECT_EQ(result, ETIMEDOUT);
        EXPECT_GE(Clock::now(), deadline);
    }
}

// Nearly every deadline 999 ms ahead lies in the next second.
TEST(ConditionThreads, SignalEndsATimedWaitAcrossASecond) {
    Mutex mutex;
    Condition condition;
    std::future<void> signaller;
    MutexLock lock(mutex);
    signaller = std::async(std::launch::async, [&] {
        MutexLock own(mutex);  // free only once the wait has begun
        condition.signal();
    });
    EXPECT_NE(condition.wait(mutex, 999), EINVAL);
}

TEST(Latch, NeitherWaitsAtZeroNorFallsBelow) {
    const LogCapture log(5);
    Latch latch(0);
    latch.wait();
    latch.countDown();
    latch.countDown();
    EXPECT_EQ(log.count("ERROR  mCount is incorrect when counting down 0"), 2);
}

TEST(LatchThreads, ReleaseEveryWaiterAfterTheLastCount) {
    for (int round = 0; round < 20; ++round) {
        Latch started(2);
        Latch latch(3);
        int work = 0;
        const auto waitForWork = [&] {
            started.countDown();
            latch.wait();
            return work;
        };
        std::future<int> one = std::async(std::launch::async, waitForWork);
        std::future<int> other = std::async(std::launch::async, waitForWork);
        started.wait();
        for (; work < 3; latch.countDown()) ++work;
        EXPECT_EQ(one.get(), 3);
        EXPECT_EQ(other.get(), 3);
    }
}

}  // namespace
