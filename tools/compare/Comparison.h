#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "tools/compare/ScoreSum.h"

// How well the methods did on all traces together, with 95 % intervals.

// What a method is judged by. Each is a mean over all openings that count, answered or not: the
// share of hits at each of DEPTHS, and the mean of 1/rank (0 off the list).
constexpr size_t MEASURES = DEPTHS.size() + 1;
constexpr size_t RECIPROCAL_RANK = DEPTHS.size();

struct Interval {
    double low;
    double high;
};

struct Estimate {
    double value;
    std::optional<Interval> interval;  // nothing when there is only one unit to draw from
};

using Estimates = std::array<Estimate, MEASURES>;

// The simple rule that does best by a measure, and how far the engine is ahead of it.
struct Rival {
    Method rule;
    Estimate lead;  // below 0 when the rule does better
};

struct Comparison {
    size_t traces;
    bool byTrace;  // whether traces were drawn for the intervals, else days
    size_t units;  // how many of them there are
    HitCounts counts;
    uint64_t repeats;  // which do not count
    std::string charging;
    std::string zone;
    OwnCounts own;
    std::array<uint64_t, METHODS.size()> answered;
    std::array<Estimates, METHODS.size()> methods;
    std::array<Rival, MEASURES> rivals;
};

// Intervals are made by drawing as many days as there are, or as many traces when there are many,
// with replacement, 2,000 times over; they hold the middle 95 % of what comes out. A draw is the
// same for all methods, so that differences are paired. Traces are taken in order of their names;
// the result depends on nothing but the scores and the seed. REQUIRES: at least one score.
Comparison compareMethods(const ScoreSum& scores, uint64_t seed);
