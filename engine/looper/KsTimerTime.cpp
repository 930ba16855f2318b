#include <cstdint>

#include "looper/KsTimer.h"

namespace {

constexpr long long MS_PER_SECOND = 1000;
constexpr long NANOSECONDS_PER_MS = 1000000;
constexpr long NANOSECONDS_PER_SECOND = 1000000000;

// Absurd delays wrap around instead of overflowing.
template <typename Integer>
Integer wrappingAdd(Integer a, Integer b) {
    return static_cast<Integer>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
}

template <typename Integer>
Integer wrappingSub(Integer a, Integer b) {
    return static_cast<Integer>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b));
}

// There is no borrow here: a negative delay may leave negative nanoseconds, which compare as such.
void carry(timespec& t) {
    if (t.tv_nsec < NANOSECONDS_PER_SECOND) return;
    t.tv_nsec -= NANOSECONDS_PER_SECOND;
    t.tv_sec = wrappingAdd<time_t>(t.tv_sec, 1);
}

}  // namespace

bool KsTimer::subTimeSpec(const timespec& a, const timespec& b, timespec& out) {
    out.tv_sec = wrappingSub(a.tv_sec, b.tv_sec);
    out.tv_nsec = wrappingSub(a.tv_nsec, b.tv_nsec);
    if (out.tv_nsec < 0) {
        out.tv_nsec += NANOSECONDS_PER_SECOND;
        out.tv_sec = wrappingSub<time_t>(out.tv_sec, 1);
    }
    return true;
}

bool KsTimer::addTimeSpec(const timespec& a, const timespec& b, timespec& out) {
    out.tv_sec = wrappingAdd(a.tv_sec, b.tv_sec);
    out.tv_nsec = wrappingAdd(a.tv_nsec, b.tv_nsec);
    carry(out);
    return true;
}

int KsTimer::cmpTimeSpec(const timespec& a, const timespec& b) {
    if (a.tv_sec != b.tv_sec) return a.tv_sec < b.tv_sec ? -1 : 1;
    if (a.tv_nsec != b.tv_nsec) return a.tv_nsec < b.tv_nsec ? -1 : 1;
    return 0;
}

void KsTimer::addDelayToTimeval(long long ms, timespec& t) {
    t.tv_sec = wrappingAdd<time_t>(t.tv_sec, ms / MS_PER_SECOND);
    t.tv_nsec = wrappingAdd(t.tv_nsec, static_cast<long>(ms % MS_PER_SECOND) * NANOSECONDS_PER_MS);
    carry(t);
}
