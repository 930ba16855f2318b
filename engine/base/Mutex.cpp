#include "base/Mutex.h"

#include <cerrno>
#include <cstdlib>

#include "base/Logger.h"

namespace {

constexpr int TRIES = 50;

}  // namespace

Mutex::~Mutex() {
    if (pthread_mutex_destroy(&mMutex) != 0) fail("pthread_mutex_destroy error");
}

// Nearly every lock here is held for moments: to sleep, and to be woken by its holder, takes both
// threads longer than a few more tries.
void Mutex::lockHeld() {
    for (int tries = 0; tries < TRIES; ++tries) {
        if (pthread_mutex_trylock(&mMutex) == 0) return;
    }
    if (pthread_mutex_lock(&mMutex) != 0) fail("pthread_mutex_lock error");
}

bool Mutex::tryLock() {
    const int error = pthread_mutex_trylock(&mMutex);
    if (error == 0) noteTaken();
    if (error != 0 && error != EBUSY && error != EAGAIN) fail("pthread_mutex_trylock error");
    return error == 0;
}

void Mutex::fail(const char* message) {
    FRAMEWORK_LOG(LEVEL_ERROR, "Mutex", "%s", message);
    abort();
}
