#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
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

// Whole-number counts over all openings, as in MethodScore.
struct MethodTotals {
    uint64_t answered = 0;
    uint64_t top1 = 0;
    uint64_t top4 = 0;
    uint64_t top8 = 0;
};

struct Comparison {
    size_t traces;
    uint64_t openings;
    bool byTrace;  // whether traces were drawn for the intervals, else days
    size_t units;  // how many of them there are
    std::array<MethodTotals, METHODS.size()> totals;
    std::array<Estimates, METHODS.size()> methods;
    std::array<Rival, MEASURES> rivals;
};

// Sums over the openings of a day, of a trace or of a draw.
struct Sums {
    double openings = 0;
    std::array<std::array<double, MEASURES>, METHODS.size()> values{};
};

// Takes scores one by one and keeps little of each, so that a comparison may be over any number of
// traces.
class ScoreSum {
  public:
    // Returns the score's place, for replace().
    size_t add(const TraceScore& score);
    void replace(size_t place, const TraceScore& score);

    size_t traces() const { return mTraces.size(); }

    // Intervals are made by drawing as many days as there are, or as many traces when there are at
    // least twenty, with replacement, 2,000 times over; they hold the middle 95 % of what comes
    // out. A draw is the same for all methods, so that differences are paired. Traces are taken in
    // order of their names; the result depends on nothing but the scores and the seed.
    Comparison compare(uint64_t seed) const;

  private:
    struct TraceSums {
        std::string name;
        std::array<MethodTotals, METHODS.size()> totals;
        std::vector<Sums> units;  // its days; one of all its days when traces are drawn
    };

    static TraceSums sumsOf(const TraceScore& score);

    std::vector<TraceSums> mTraces;
};

// For a person: a table with hit rates, mean reciprocal rank, answered openings and intervals, and
// who wins by each measure.
std::string comparisonTable(const Comparison& comparison);

// The same for a program.
Json comparisonJson(const Comparison& comparison);
