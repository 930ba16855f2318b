#include "tools/trace/LocalTime.h"

#include <algorithm>

namespace {

int daysOf(int month, int year) {
    constexpr int DAYS[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return DAYS[month - 1] + (month == 2 && leap ? 1 : 0);
}

tm localReading(time_t moment) {
    tm local{};
    localtime_r(&moment, &local);
    return local;
}

}  // namespace

bool exists(const ClockReading& r) {
    return r.month >= 1 && r.month <= 12 && r.day >= 1 && r.day <= daysOf(r.month, r.year) &&
           r.hour >= 0 && r.hour < 24 && r.minute >= 0 && r.minute < 60 && r.second >= 0 &&
           r.second < 60;
}

time_t utcMoment(const ClockReading& reading) {
    tm utc{};
    utc.tm_year = reading.year - 1900;
    utc.tm_mon = reading.month - 1;
    utc.tm_mday = reading.day;
    utc.tm_hour = reading.hour;
    utc.tm_min = reading.minute;
    utc.tm_sec = reading.second;
    return timegm(&utc);
}

ClockReading utcReading(time_t moment) {
    tm utc{};
    gmtime_r(&moment, &utc);
    return {utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec};
}

std::vector<time_t> localMoments(const ClockReading& reading) {
    const time_t asUtc = utcMoment(reading);
    std::vector<time_t> moments;
    // The offset that holds then is that of a day before or of a day after.
    for (const time_t nearby : {asUtc - SECONDS_PER_DAY, asUtc + SECONDS_PER_DAY}) {
        const time_t moment = asUtc - utcOffset(nearby);
        const bool known = !moments.empty() && moments.back() == moment;
        if (!known && moment + utcOffset(moment) == asUtc) moments.push_back(moment);
    }
    std::sort(moments.begin(), moments.end());
    return moments;
}

time_t utcOffset(time_t moment) {
    return localReading(moment).tm_gmtoff;
}

int secondOfLocalDay(time_t moment) {
    const tm local = localReading(moment);
    return (local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec;
}
