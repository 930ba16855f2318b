#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "tools/compare/TraceScore.h"

// How well the methods did on all traces together, with 95 % intervals.

// What a method is judged by. Each is a mean over all openings, answered or not: the share at rank
// 1, among the first four and the first eight, and the mean of 1/rank (0 off the list).
enum class Measure { TOP_1, TOP_4, TOP_8, RECIPROCAL_RANK };

constexpr size_t MEASURES = 4;

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
    uint64_t openings;
    bool byTrace;  // whether traces were drawn for the intervals, else days
    size_t units;  // how many of them there are
    std::array<MethodScore, METHODS.size()> totals;  // without ranks
    std::array<Estimates, METHODS.size()> methods;
    std::array<Rival, MEASURES> rivals;
};

// Intervals are made by drawing as many days as there are, or as many traces when there are at
// least twenty, with replacement, 2,000 times over; they hold the middle 95 % of what comes out. A
// draw is the same for all methods, so that differences are paired. Scores are taken in order of
// their names; the result depends on nothing but them and the seed.
Comparison compareScores(std::vector<TraceScore> scores, uint64_t seed);
