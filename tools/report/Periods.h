#pragma once

#include <map>
#include <string>

#include "tools/compare/Counts.h"

// Days put together, so that a chart over a long time stays readable.
enum class Period { DAY, WEEK, MONTH };

const char* periodName(Period period);  // "day"

// The smallest period of which at most so many lie between two days (months when there is none).
// Days are written "2026-03-01".
Period periodFor(const std::string& first, const std::string& last, size_t most);

// The first day of the period that the day is in; weeks begin on Mondays.
std::string periodStart(const std::string& day, Period period);

// The first day of the one after it, which itself begins on that day.
std::string nextPeriod(const std::string& start, Period period);

// Counts by day put together by period, with those between the first and the last that have none.
template <typename Counts>
std::map<std::string, Counts> byPeriod(const std::map<std::string, Counts>& days, Period period) {
    std::map<std::string, Counts> result;
    for (const auto& [day, counts] : days) {
        const std::string start = periodStart(day, period);
        if (!result.empty()) {
            for (std::string last = result.rbegin()->first; last < start;) {
                last = nextPeriod(last, period);
                result[last];
            }
        }
        addCounts(result[start], counts);
    }
    return result;
}
