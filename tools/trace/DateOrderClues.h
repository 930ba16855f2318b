#pragma once

#include <string>

#include "tools/trace/UsageTime.h"

// Gathers what a file's times tell of the order of day and month in its dates.
class DateOrderClues {
  public:
    // The time of an event, or one that stands elsewhere: that is no more than a hint, since it may
    // be written in another style.
    void seeEvent(const UsageTime& time, std::string_view text, size_t line);
    void seeElsewhere(const UsageTime& time);

    // The range of a day's events.
    void seeDay(const UsageTime& from, const UsageTime& to);

    // The order; nothing when the events' dates need one but no date tells. Throws LineError when
    // the events' dates tell both.
    std::optional<DateOrder> order() const;

    // Throws LineError: the dates are ambiguous.
    [[noreturn]] void refuse() const;

  private:
    struct Place {
        size_t line = 0;
        std::string text;
    };

    Place mOpen;   // the first time of an event that may be read either way
    Place mDay;    // the first that begins with the day
    Place mMonth;  // the first that begins with the month
    bool mDotted = false;
    bool mDayHint = false;
    bool mMonthHint = false;
};
