#include "base/ExceptionBarrier.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <new>

#include "base/SimpleThread.h"

namespace {

constexpr unsigned HANGS_AFTER = 60;  // seconds

class ThrowingThread : public SimpleThread {
  public:
    int run() override { throw std::bad_alloc(); }
};

// Starts a thread whose body throws, and waits for whatever comes of it.
void runThrowingThread() {
    alarm(HANGS_AFTER);
    sp<ThrowingThread>(new ThrowingThread)->start("throwing", 0, 0);
    while (true) pause();
}

TEST(ExceptionBarrierTest, givesWhatTheWorkGives) {
    EXPECT_EQ(guarded("here", [] { return 7; }), 7);
    int calls = 0;
    guarded("here", [&] { ++calls; });
    EXPECT_EQ(calls, 1);
}

TEST(ExceptionBarrierTest, anExceptionOfAnyKindEndsTheProcessAndSaysWhere) {
    const testing::KilledBySignal aborted(SIGABRT);
    EXPECT_EXIT(guarded("here", []() -> int { throw std::bad_alloc(); }), aborted,
                "vexadaemon E FATAL  an exception in here ends the process: St9bad_alloc");
    EXPECT_EXIT(guarded("here", [] { throw 1; }), aborted, "in here ends the process: i");
    EXPECT_EXIT(runThrowingThread(), aborted,
                "FATAL  an exception in a thread ends the process: St9bad_alloc");
}

}  // namespace
