#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/synth/DemoRandom.h"

// Who uses the phone of the demonstration's trace: which app comes next, given the hour, the
// weekday and what is in front. Apps are numbers below appCount().
class DemoPerson {
  public:
    explicit DemoPerson(DemoRandom& random);

    static size_t appCount();
    static std::string appName(size_t app);

    // How many times the phone is taken up in half an hour, on average.
    static double pickUps(bool weekend, int hour);

    // What is opened when the phone is taken up, and what follows `current`, which followed
    // `previous`.
    size_t first(bool weekend, int hour);
    size_t next(bool weekend, int hour, size_t previous, size_t current);

    // A week passes: some favourites and habits change.
    void passWeek(int week);

  private:
    // Where or when: each has its favourites, most liked first.
    enum Situation { WAKING, COMMUTE, WORK, BREAK, EVENING, BED, LEISURE, SITUATION_COUNT };

    static Situation situation(bool weekend, int hour);
    size_t favourite(Situation where);
    size_t fromTail();

    DemoRandom& mRandom;
    std::vector<size_t> mFavourites[SITUATION_COUNT];
    std::vector<size_t> mTail;  // all apps, most liked first
    std::vector<std::vector<size_t>>
        mFollowers;  // per app: what is opened after it, likeliest first
    size_t mCraze;   // the game that catches on
    int mCrazeWeek;
    double mCrazeShare = 0;
};
