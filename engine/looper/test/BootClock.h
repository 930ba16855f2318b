#pragma once

#include <atomic>

// Stops the boot-time clock of the test program, which timers read, for as long as it lives. The
// kernel's own waits go on.
class BootClock {
  public:
    explicit BootClock(long long seconds) { sNow = seconds * 1000000000; }
    ~BootClock() { sNow = sReadingsLeft = -1; }

    void advance(long long ms) { sNow += ms * 1000000; }

    // Lets every reading fail, once `readings` more have succeeded.
    void breakAfter(int readings) { sReadingsLeft = readings; }

    static std::atomic<long long> sNow;     // nanoseconds; negative: the clock runs
    static std::atomic<int> sReadingsLeft;  // negative: without limit
};
