#pragma once

#include <optional>
#include <string_view>

#include "tools/trace/LocalTime.h"
#include "tools/trace/TraceFile.h"
#include "tools/trace/TraceTime.h"

// A time as a phone's debugging output shows it, in the phone's own language perhaps.
struct UsageTime {
    bool exact = false;  // `instant` is the moment; nothing else is set
    TraceTime instant{0};
    bool orderKnown =
        true;              // `reading` is right; else its day and month may be the other way round
    ClockReading reading;  // the first number of the date as the day when that is not known

    bool dotted = false;  // as dates are that begin with the day

    // Which order a number above 12 tells.
    DateOrder tells() const;

    // The clock's reading. REQUIRES: not exact.
    ClockReading inOrder(DateOrder order) const;

    // That reading as if the clock were on UTC, or the moment if it is exact. Nothing when there is
    // no such date.
    std::optional<TraceTime> clock(DateOrder order) const;
};

// Reads 2026-03-01 14:22:10, 03/09/2017 21:18, 4/27/2019, 10:58 PM, 3.9.17, 21:18, 2017/09/03 21:18
// and the like, or milliseconds since the epoch. Nothing when it is no such time.
std::optional<UsageTime> parseUsageTime(std::string_view text);
