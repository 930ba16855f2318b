#include "tools/replay/ChargingPlan.h"

#include "tools/common/InputError.h"
#include "tools/common/Text.h"
#include "tools/trace/LocalTime.h"

namespace {

// "HH:MM" as seconds since midnight; -1 when it is none.
int parseTimeOfDay(const std::string& text) {
    if (text.size() != 5 || text[2] != ':') return -1;
    for (const size_t i : {0U, 1U, 3U, 4U}) {
        if (text[i] < '0' || text[i] > '9') return -1;
    }
    const int hour = (text[0] - '0') * 10 + (text[1] - '0');
    const int minute = (text[3] - '0') * 10 + (text[4] - '0');
    return hour < 24 && minute < 60 ? (hour * 60 + minute) * 60 : -1;
}

// The moment in (from, to] since which the offset is that of `to`.
time_t offsetChange(time_t from, time_t to) {
    const time_t offset = utcOffset(to);
    while (to - from > 1) {
        const time_t middle = from + (to - from) / 2;
        (utcOffset(middle) == offset ? to : from) = middle;
    }
    return to;
}

}  // namespace

ChargingPlan ChargingPlan::parse(const std::string& text) {
    if (text == "always") return always();
    if (text == "never") return never();
    ChargingPlan plan(false);
    plan.mHasWindow = true;
    plan.mStart = parseTimeOfDay(text.substr(0, text.find('-')));
    plan.mEnd = text.size() == 11 ? parseTimeOfDay(text.substr(6)) : -1;
    if (plan.mStart < 0 || plan.mEnd < 0) {
        throw InputError(inQuotes(text) +
                         " is neither always nor never nor a window as 23:00-07:00");
    }
    if (plan.mStart == plan.mEnd) {
        throw InputError("the window " + text + " ends where it starts");
    }
    return plan;
}

std::string ChargingPlan::text() const {
    if (!mHasWindow) return mCharging ? "always" : "never";
    return formatted("%02d:%02d-%02d:%02d", mStart / 3600, mStart / 60 % 60, mEnd / 3600,
                     mEnd / 60 % 60);
}

bool ChargingPlan::chargingAt(time_t moment) const {
    if (!mHasWindow) return mCharging;
    const int second = secondOfLocalDay(moment);
    if (mStart < mEnd) return second >= mStart && second < mEnd;
    return second >= mStart || second < mEnd;
}

std::optional<time_t> ChargingPlan::nextEdge(time_t moment) const {
    if (!mHasWindow) return std::nullopt;
    const bool charging = chargingAt(moment);
    for (;;) {
        // Where the state changes if the clock goes on evenly: less than a day ahead.
        const time_t wait = (charging ? mEnd : mStart) - secondOfLocalDay(moment);
        const time_t edge = moment + (wait > 0 ? wait : wait + SECONDS_PER_DAY);
        if (utcOffset(edge) == utcOffset(moment)) return edge;
        // The clock is set before that: the state may change there, or the edge lies elsewhere.
        const time_t change = offsetChange(moment, edge);
        if (chargingAt(change) != charging) return change;
        moment = change;
    }
}
