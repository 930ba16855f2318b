#pragma once

#include <time.h>

#include <cstdint>
#include <string>

#include "base/Callback.h"

// One timer: a value that is copied into the timer queue and out of it.
struct KsTimerEvent {
    // The order of the queue does not depend on the id, and neither does equality.
    bool operator==(const KsTimerEvent& other) const;

    // One line for the log. It prints the address of this copy's `callback` field, so that two
    // copies of an event differ in it.
    std::string toString() const;

    int32_t id = 0;
    timespec triggerTime{};  // when it is due, on CLOCK_BOOTTIME

    // Which of the two forms this is: TaskCallback() or callback(data).
    bool isTaskCallback = false;
    int (*callback)(void*) = nullptr;
    Callback<int (*)()> TaskCallback;
    void* data = nullptr;  // not owned

    long long delay = 0;  // milliseconds, for the next time
};

// Orders a heap so that its top is the event that is due first.
struct KsTimerEventComparer {
    bool operator()(const KsTimerEvent& a, const KsTimerEvent& b) const {
        if (a.triggerTime.tv_sec != b.triggerTime.tv_sec) {
            return a.triggerTime.tv_sec > b.triggerTime.tv_sec;
        }
        return a.triggerTime.tv_nsec > b.triggerTime.tv_nsec;
    }
};
