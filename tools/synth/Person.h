#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "tools/synth/Phone.h"

// What somebody opens next: habits by situation, weekday and time of day, what usually follows
// what, short loops between two applications, and what matters for some days.
class Person {
  public:
    // `apps`: how many are on the phone at first, at least two.
    Person(Random& random, size_t apps);

    const Phone& phone() const { return mPhone; }

    // A night passes. `weekday` is that of the new day, 0 for Monday.
    void passNight(int weekday);

    // The application, by its number in the catalogue, that is opened when the phone is taken up in
    // that half hour of the day, and the one that comes next, which is another.
    uint64_t takeUp(Situation situation, int halfHour);
    uint64_t goOn(Situation situation);

  private:
    using Place = Phone::Place;

    static constexpr size_t RECENT = 8;

    // What is opened week by week at the same time.
    struct Habit {
        int weekday;
        int halfHour;
        Place app;
    };

    Place first(Situation situation, int halfHour);
    Place next(Situation situation);
    Place favourite(Situation situation);
    uint64_t open(Place app);

    Random& mRandom;
    Phone mPhone;
    double mBack, mFollow, mRecent;  // the shares of what leads to the next application
    double mCare;                    // how much the topic takes the place of favourites
    Place mTopic;                    // what matters these days and is forgotten then
    int mWeekday = 0;
    std::array<Habit, 4> mHabits{};
    std::array<Place, 3> mRoutine{};  // of the morning
    size_t mRoutineDone = 0;
    std::vector<Place> mLast;  // different ones, most recent first
    Place mPrevious = 0;
    Place mCurrent = 0;
    bool mLooping = false;
};
