#pragma once

#include <array>
#include <optional>
#include <vector>

#include "tools/synth/Catalogue.h"
#include "tools/synth/Random.h"

// When somebody takes up the phone, and in what situation. Times are minutes or seconds since
// midnight by the person's clock; a day may last beyond the next midnight, but nobody is up between
// one and six.
class Rhythm {
  public:
    // `perDay`: how many openings a day to come to, about; the person's own number without.
    Rhythm(Random& random, std::optional<double> perDay);

    struct Day {
        bool working;
        int wake;  // minutes
        int bed;   // minutes; the phone is put away then
        double busyness;
    };

    // The next day. `weekday`: 0 for Monday.
    Day nextDay(int weekday);

    Situation situation(const Day& day, int minute) const;

    // The seconds at which the phone is taken up on that day, in order.
    std::vector<int> pickUps(const Day& day);

    // Whether another application is opened before the phone is put away.
    bool goesOn() { return mRandom.chance(mGoesOn); }

    // The seconds from one opening to the next.
    int pause();

  private:
    Random& mRandom;
    int mWake, mWakeLater, mBed, mBedLater;
    int mLeave, mWork, mBreak, mWorkEnds, mHome;
    std::array<double, SITUATION_COUNT> mUse;  // pick-ups in half an hour
    double mGoesOn;
};
