#include "base/Condition.h"

#include <time.h>

namespace {

constexpr long NANOSECONDS_PER_SECOND = 1000000000;

}  // namespace

Condition::Condition() {
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&mCondition, &attributes);
    pthread_condattr_destroy(&attributes);
}

Condition::~Condition() {
    pthread_cond_destroy(&mCondition);
}

int Condition::wait(Mutex& mutex) {
    return pthread_cond_wait(&mCondition, &mutex.mMutex);
}

int Condition::wait(Mutex& mutex, int ms) {
    if (ms < 1) return -1;
    timespec deadline{};
    if (clock_gettime(CLOCK_MONOTONIC, &deadline) != 0) return -1;
    deadline.tv_sec += ms / 1000;
    deadline.tv_nsec += (ms % 1000) * 1000000L;
    if (deadline.tv_nsec >= NANOSECONDS_PER_SECOND) {
        deadline.tv_nsec -= NANOSECONDS_PER_SECOND;
        ++deadline.tv_sec;
    }
    return pthread_cond_timedwait(&mCondition, &mutex.mMutex, &deadline);
}

void Condition::signal() {
    pthread_cond_signal(&mCondition);
}

void Condition::signalAll() {
    pthread_cond_broadcast(&mCondition);
}
