#include <sys/eventfd.h>
#include <unistd.h>

#include <catch2/catch.hpp>
#include <thread>

#include "base/Latch.h"
#include "looper/LooperThread.h"

namespace {

// A task that tells when it ran.
class Signal {
  public:
    void countDown() { mLatch->countDown(); }
    void use(Latch& latch) { mLatch = &latch; }

  private:
    Latch* mLatch = nullptr;
};

}  // namespace

TEST_CASE("a task handed to the worker and back") {
    const int there = eventfd(0, 0);
    const int back = eventfd(0, 0);
    std::thread echo([&] {
        uint64_t value = 0;
        do {
            if (read(there, &value, sizeof(value)) != sizeof(value)) return;
            if (write(back, &value, sizeof(value)) != sizeof(value)) return;
        } while (value == 1);
    });
    const auto roundTrip = [&](uint64_t value) {
        return write(there, &value, sizeof(value)) == sizeof(value) &&
               read(back, &value, sizeof(value)) == sizeof(value);
    };
    BENCHMARK("reference: an eventfd to a waiting thread and one back") {
        return roundTrip(1);
    };
    roundTrip(2);
    echo.join();
    close(there);
    close(back);

    const sp<LooperThread> worker(new LooperThread);
    REQUIRE(worker->start("bench", 0, 0) == 0);
    Signal signal;
    const Callback<void (*)()> task(&Signal::countDown, UnsafeRawPtr<Signal>(&signal));
    BENCHMARK("LooperThread::sendTask, run and waited for") {
        Latch done(1);
        signal.use(done);
        worker->sendTask(task);
        done.wait();
    };
    worker->requestExitAndWait();
}
