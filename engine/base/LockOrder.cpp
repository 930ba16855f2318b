#include "base/LockOrder.h"

#if defined(KSBRAIN_LOCK_ORDER)

#include <cstdlib>

#include "base/Logger.h"

namespace {

constexpr int RANKS = static_cast<int>(LockRank::LATCH) + 1;

// How many locks of each rank the thread holds.
thread_local int tHeld[RANKS];

}  // namespace

void LockPlace::check() const {
    if (mRank == LockRank::NONE) return;
    for (int held = static_cast<int>(mRank); held < RANKS; ++held) {
        if (tHeld[held] == 0) continue;
        FRAMEWORK_LOG(LEVEL_ERROR, "Mutex", "a lock of rank %d is taken under one of rank %d",
                      static_cast<int>(mRank), held);
        abort();
    }
}

void LockPlace::noteTaken() const {
    ++tHeld[static_cast<int>(mRank)];
}

void LockPlace::noteReleased() const {
    --tHeld[static_cast<int>(mRank)];
}

#endif
