#pragma once

#include <optional>
#include <string_view>

// What the lines of `dumpsys usagestats` say. The views point into the line.

// An event's line, whole or in part:
//     time="2026-03-01 14:22:10" type=ACTIVITY_RESUMED package=com.x class=com.x.Main flags=0x0
struct UsageLine {
    enum class Kind {
        OPENING,  // an application came to the front
        OTHER,    // anything else
        CUT,      // it ends before that is known, or before an opening's package
    };

    Kind kind = Kind::CUT;
    std::string_view time;
    std::string_view type;
    std::string_view package;
    bool timeClosed = false;  // something stands behind the time
    bool goesOn = false;      // a field follows the package
    bool tidy = true;         // nothing but fields stands on the line
};

UsageLine parseUsageLine(std::string_view line);

// Whether the line begins as an event does: time="..." or time=1504473480000.
bool isUsageEvent(std::string_view line);

// Whether the line stands between the lists of events: a heading, or a row of another list.
bool isUsageHeading(std::string_view line);

// Whether only such a dump has a line like this.
bool isUsageDump(std::string_view line);

// 10 of "user=10" on a line of its own.
std::optional<int> usageUser(std::string_view line);

// The text without blanks at both ends.
std::string_view trimmed(std::string_view text);
