#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "tools/synth/Catalogue.h"
#include "tools/synth/Random.h"

// What somebody has on the phone, and how well it is liked: a few favourites and a long tail, in
// each situation others. Favourites wax and wane, applications are installed and removed; neither
// happens but at the turn of a day.
class Phone {
  public:
    using Place = size_t;  // of an application on the phone; may be given out again a day later

    // `apps`: how many there are at first, at least two.
    Phone(Random& random, size_t apps);

    void passNight();

    bool holds(Place place) const { return mApps[place].installed; }
    uint64_t app(Place place) const { return mApps[place].number; }

    // The catalogue's numbers of all that is there.
    std::vector<uint64_t> installed() const;

    // One of them by its weight in the situation, any alike, and what is opened after another one.
    Place favourite(Situation situation);
    Place any();
    Place follower(Place place);

  private:
    static constexpr size_t FOLLOWERS = 3;

    struct App {
        bool installed = false;
        uint64_t number = 0;
        double liking = 0;    // in the long run
        double mood = 1;      // how much more or less than that these weeks
        double moodGoal = 1;  // and in a few days
        double novelty = 1;   // how much more because it is new
        std::array<double, SITUATION_COUNT> suits{};
        std::array<Place, FOLLOWERS> followers{};  // likeliest first
    };

    double likingOf(size_t rank) const;
    void install(Place place, double liking, double novelty);
    void removeOne();
    void installOne();
    void changeLikings();
    void weigh();
    Place newFollower(Place place);

    Random& mRandom;
    std::vector<App> mApps;  // some places are empty
    size_t mInstalled = 0;
    const size_t mFewest;
    std::vector<uint64_t> mPool;  // numbers to be installed next, the last one first
    uint64_t mNextNumber;         // when the pool is empty
    const double mSteepness;      // the less, the more a few favourites stand out
    std::array<std::vector<double>, SITUATION_COUNT> mSums;  // of the weights of mApps, cumulated
};
