#pragma once

#include <optional>
#include <string_view>

// What the lines of `dumpsys usagestats` say. All take a line without its indentation.

// An event's line; the views point into it:
//     time="2026-03-01 14:22:10" type=ACTIVITY_RESUMED package=com.x class=com.x.Main flags=0x0
struct UsageLine {
    std::string_view time;     // without its quotes
    std::string_view package;  // of an opening
    bool isOpening = false;    // an application came to the front
    bool isCut = false;        // it ends before that is known, or before an opening's package
    bool endsAtPackage = false;
};

// REQUIRES: the line begins an event.
UsageLine parseUsageLine(std::string_view line);

// Whether the line begins as an event does: time="..." or time=1504473480000.
bool beginsUsageEvent(std::string_view line);

// Whether another list of events may begin behind the line, which is no event.
bool isUsageHeading(std::string_view line);

// 10 of "user=10" on a line of its own.
std::optional<int> usageUser(std::string_view line);

// Whether only such a dump has a line like this.
bool isUsageDump(std::string_view line);
