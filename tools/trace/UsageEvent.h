#pragma once

#include <cstdint>
#include <vector>

#include "tools/trace/TraceTime.h"

// One line of a list of events.
struct UsageEvent {
    // What the phone's clock showed, as if on UTC; the moment itself when it is `exact`.
    TraceTime clock{0};
    bool exact = false;
    bool opening = false;
    uint32_t type = 0;  // places in lists of texts
    uint32_t package = 0;
    size_t line = 0;

    // Whether two lines may tell of the same event.
    bool sameAs(const UsageEvent& other) const {
        return clock == other.clock && exact == other.exact && type == other.type &&
               package == other.package;
    }
};

using UsageEvents = std::vector<UsageEvent>;
