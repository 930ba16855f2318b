#include "tools/report/Periods.h"

#include <cstdlib>
#include <ctime>

#include "tools/common/Text.h"

namespace {

constexpr time_t DAY = 24 * 60 * 60;

// Calendar days since 1970-01-01, a Thursday.
time_t dayNumber(const std::string& day) {
    struct tm date {};
    strptime(day.c_str(), "%Y-%m-%d", &date);
    return timegm(&date) / DAY;
}

std::string dayText(time_t number) {
    const time_t seconds = number * DAY;
    struct tm date {};
    gmtime_r(&seconds, &date);
    return timeText(date, "%Y-%m-%d");
}

}  // namespace

const char* periodName(Period period) {
    constexpr const char* NAMES[] = {"day", "week", "month"};
    return NAMES[static_cast<size_t>(period)];
}

Period periodFor(const std::string& first, const std::string& last, size_t most) {
    const auto days = static_cast<size_t>(dayNumber(last) - dayNumber(first)) + 1;
    if (days <= most) return Period::DAY;
    return days <= 7 * most ? Period::WEEK : Period::MONTH;
}

std::string periodStart(const std::string& day, Period period) {
    if (period == Period::DAY) return day;
    if (period == Period::MONTH) return day.substr(0, day.rfind('-')) + "-01";
    const time_t number = dayNumber(day);
    const time_t weekday = ((number + 3) % 7 + 7) % 7;  // Monday is 0
    return dayText(number - weekday);
}

std::string nextPeriod(const std::string& start, Period period) {
    if (period == Period::MONTH) return periodStart(dayText(dayNumber(start) + 31), period);
    return dayText(dayNumber(start) + (period == Period::DAY ? 1 : 7));
}
