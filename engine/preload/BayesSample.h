#pragma once

#include <cstdint>
#include <ctime>
#include <vector>

// One switch of the app in front, as the Bayes model learns it.
struct BayesSample {
    static constexpr int DIMENSION = 4;

    int32_t timeSlot;         // half-hour slot of the day, 0..47
    int32_t weekDay;          // 1 on Monday to Friday, 0 on Saturday and Sunday
    int32_t lastAppIndex;     // of the app table
    int32_t currentAppIndex;  // of the app table
    int32_t label;            // index of the app that followed; -1 until known
    time_t time;              // when the sample was taken, seconds since the epoch

    // The model's features: timeSlot, weekDay, lastAppIndex, currentAppIndex.
    std::vector<int> toVecX() const { return {timeSlot, weekDay, lastAppIndex, currentAppIndex}; }
};

constexpr int MINUTES_PER_SLOT = 30;
constexpr int SLOTS_PER_DAY = 24 * 60 / MINUTES_PER_SLOT;

// The half-hour slot of the day, 0 (from 00:00) to 47 (from 23:30), in local time. `t` is in
// seconds since the epoch; 0 asks for now. Any thread may call.
int getTimeSlot(long t);

// 1 on Monday to Friday, else 0, for the same `t`.
int getWeekDay(long t);
