#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include "base/Mutex.h"

// The bytes that decide what happens next. Any thread may draw; once they are used up everything
// drawn is 0.
class Input {
  public:
    Input(const uint8_t* data, size_t size) : mBytes(data, size) {}

    // 0 to `limit` - 1.
    int draw(int limit) {
        MutexLock lock(mLock);
        if (mBytes.remaining_bytes() == 0) return 0;
        return mBytes.ConsumeIntegralInRange<int>(0, limit - 1);
    }
    template <typename T, size_t N>
    T drawOf(const T (&values)[N]) {
        return values[draw(static_cast<int>(N))];
    }
    bool empty() {
        MutexLock lock(mLock);
        return mBytes.remaining_bytes() == 0;
    }

  private:
    Mutex mLock;
    FuzzedDataProvider mBytes GUARDED_BY(mLock);
};
