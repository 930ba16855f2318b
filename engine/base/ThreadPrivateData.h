#pragma once

#include <pthread.h>

#include "base/Logger.h"

// One pointer per thread, null until the thread sets it. Nothing is freed when a thread ends: what
// the pointer designates belongs to whoever sets it. Any thread may call.
template <typename T>
class ThreadPrivateData {
  public:
    ThreadPrivateData() {
        if (pthread_key_create(&mKey, nullptr) != 0) mKey = static_cast<pthread_key_t>(-1);
    }
    ~ThreadPrivateData() {
        if (pthread_key_delete(mKey) != 0) {
            FRAMEWORK_LOG(LEVEL_ERROR, "~ThreadPrivateData", "delete ThreadPrivateData key error");
        }
    }

    void setValue(T* value) {
        if (pthread_setspecific(mKey, value) != 0) {
            FRAMEWORK_LOG(LEVEL_ERROR, "setValue", "setValue error");
        }
    }

    // The calling thread's pointer.
    T* getValue() const { return static_cast<T*>(pthread_getspecific(mKey)); }

  private:
    ThreadPrivateData(const ThreadPrivateData&) = delete;
    ThreadPrivateData& operator=(const ThreadPrivateData&) = delete;

    pthread_key_t mKey;
};
