#pragma once

#include <ctime>
#include <optional>
#include <string>

// When the replayed device hangs on its charger: always, never, or every day for a window of local
// time, which includes its start, excludes its end and may go over midnight. The window follows the
// clock on the wall, also when that is set forward or back.
class ChargingPlan {
  public:
    static ChargingPlan always() { return ChargingPlan(true); }
    static ChargingPlan never() { return ChargingPlan(false); }

    // "always", "never" or a window as "23:00-07:00". Throws InputError.
    static ChargingPlan parse(const std::string& text);

    // As parse() reads it.
    std::string text() const;

    bool chargingAt(time_t moment) const;

    // The first moment after `moment` at which the state is another; nothing when there is none.
    std::optional<time_t> nextEdge(time_t moment) const;

  private:
    explicit ChargingPlan(bool charging) : mCharging(charging) {}

    bool mCharging;           // the state at all times, without a window
    bool mHasWindow = false;  // its ends, in seconds since local midnight:
    int mStart = 0;
    int mEnd = 0;
};
