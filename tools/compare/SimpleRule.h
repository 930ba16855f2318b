#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <unordered_map>
#include <vector>

#include "tools/compare/Method.h"

// A rule of thumb for which application comes next, to hold the engine against. Its list is all
// applications it has seen but the one in front, by a score that the rule gives them; among equals
// the one that was seen first comes first.
//
// Applications go by numbers, in the order in which they were first learned: 0, 1, 2, ...
class SimpleRule {
  public:
    // MOST_USED to ORDER_2.
    explicit SimpleRule(Method rule);

    // Where the application that is opened next stands on the list.
    Guess guess(size_t opened) const;

    // The application has come to the front.
    void learn(size_t app);

    // The first names of its list.
    std::vector<size_t> list(size_t most) const;

  private:
    // Whole, so that no rounding decides between equals. For probabilities of order 2 the common
    // denominator is 16 times the openings so far to the third.
    __extension__ using Score = unsigned __int128;

    using Context = std::vector<size_t>;  // the newest last

    // What has followed a context.
    struct Followers {
        uint64_t openings = 0;
        std::unordered_map<size_t, uint64_t> counts;
    };

    std::vector<Score> scores() const;
    bool isBefore(size_t app, size_t other) const;
    Context lastOf(size_t length) const;

    const bool mByTime;   // of the last use, else by what followed
    const size_t mOrder;  // applications in the longest context
    uint64_t mOpenings = 0;
    std::vector<Score> mCounts;  // of each application
    std::vector<Score> mLast;    // the opening at which it was used last
    std::map<Context, Followers> mFollowers;
    Context mRecent;
    std::vector<Score> mScores;  // of each application, as things are now
};
