#pragma once

#include <ctime>
#include <vector>

// A date and a time of day as a clock shows them.
struct ClockReading {
    int year = 1970;
    int month = 1;  // 1..12
    int day = 1;    // 1..31
    int hour = 0;
    int minute = 0;
    int second = 0;
};

constexpr time_t SECONDS_PER_DAY = 24 * 60 * 60;

// Whether the calendar has that date and the day that time; 23:59:60 is refused.
bool exists(const ClockReading& reading);

// What clocks on UTC show at a moment; the inverse of utcMoment().
ClockReading utcReading(time_t moment);

// The moment at which clocks on UTC show the reading, in seconds since the epoch.
time_t utcMoment(const ClockReading& reading);

// The moments at which clocks in the zone of TZ show the reading, in order: as a rule one, two when
// the clocks are set back over it, none when they are set forward over it.
std::vector<time_t> localMoments(const ClockReading& reading);

// How far the zone of TZ is ahead of UTC at a moment, in seconds.
time_t utcOffset(time_t moment);

// The local time of day at a moment, in seconds since midnight by the clock.
int secondOfLocalDay(time_t moment);
