#include "looper/test/BootClock.h"

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>

std::atomic<long long> BootClock::sNow{-1};
std::atomic<int> BootClock::sReadingsLeft{-1};

// Takes the place of the C library's function in the whole program.
extern "C" int readClock(clockid_t clock, timespec* time) __asm__("clock_gettime");
int readClock(clockid_t clock, timespec* time) {
    const long long now = BootClock::sNow;
    if (clock != CLOCK_BOOTTIME || now < 0) {
        return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    }
    if (BootClock::sReadingsLeft == 0) {
        errno = EPERM;
        return -1;
    }
    if (BootClock::sReadingsLeft > 0) --BootClock::sReadingsLeft;
    time->tv_sec = now / 1000000000;
    time->tv_nsec = now % 1000000000;
    return 0;
}
