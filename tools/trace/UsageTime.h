#pragma once

#include <string>
#include <string_view>

#include "tools/trace/TraceFile.h"

// The times of the events of a dump: 2026-03-01 14:22:10 or milliseconds since the epoch, and of
// older versions 03/09/2017 21:18 or 9/3/2017, 9:18 PM with the day and month in the order of the
// phone's language.

// Gathers what a dump's dates tell of that order, by their numbers above 12.
class DateOrderClues {
  public:
    // Looks at all that stands in quotes on a line, be it the time of an event or another.
    void see(std::string_view line, size_t number);

    // The order in which to read an event's time, which does not matter to any other kind of time.
    // Throws LineError, about the line on which that time stands or another, when the dates seen do
    // not tell, or tell both.
    DateOrder orderOf(std::string_view time, size_t number) const;

  private:
    struct Place {
        size_t line = 0;
        std::string text;
    };

    Place mDay;    // the first date that begins with the day
    Place mMonth;  // the first that begins with the month
};

// The time as parseTraceTime() takes it. Throws InputError when it is of none of these kinds.
std::string plainUsageTime(std::string_view time, DateOrder order);
