#include "preload/BayesSample.h"

#include <time.h>

#include "base/Environment.h"

namespace {

tm localTime(time_t t) {
    if (t == 0) t = environment::now();
    tm local{};
    tzset();  // localtime_r() alone would not notice a change of the time zone
    localtime_r(&t, &local);
    return local;
}

}  // namespace

int getTimeSlot(long t) {
    const tm local = localTime(t);
    return (local.tm_hour * 60 + local.tm_min) / MINUTES_PER_SLOT;
}

int getWeekDay(long t) {
    const int day = localTime(t).tm_wday;
    return day >= 1 && day <= 5 ? 1 : 0;
}
