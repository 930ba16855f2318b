#include "base/Mutex.h"

#include <cerrno>
#include <cstdlib>

#include "base/Logger.h"

namespace {

[[noreturn]] void fail(const char* message) {
    FRAMEWORK_LOG(LEVEL_ERROR, "Mutex", "%s", message);
    abort();
}

}  // namespace

Mutex::~Mutex() {
    if (pthread_mutex_destroy(&mMutex) != 0) fail("pthread_mutex_destroy error");
}

void Mutex::lock() {
    if (pthread_mutex_lock(&mMutex) != 0) fail("pthread_mutex_lock error");
}

void Mutex::unlock() {
    if (pthread_mutex_unlock(&mMutex) != 0) fail("pthread_mutex_unlock error");
}

bool Mutex::tryLock() {
    const int error = pthread_mutex_trylock(&mMutex);
    if (error == 0) return true;
    if (error != EBUSY && error != EAGAIN) fail("pthread_mutex_trylock error");
    return false;
}
