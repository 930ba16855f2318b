#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

#include "tools/compare/TraceScore.h"

// What rates are made of: hits, and the sums of 1/rank (0 off the list), over some openings.
struct RateSums {
    HitCounts counts;
    std::array<double, METHODS.size()> reciprocalRanks{};

    void add(const RateSums& other);
};

RateSums sumOf(const std::vector<RateSums>& parts);
std::map<std::string, RateSums> sumsByDay(const TraceScore& score);

// The scores of any number of traces: their sum, and of each trace a few numbers only.
class ScoreSum {
  public:
    // From so many traces on, those differ more than days do.
    static constexpr size_t MANY_TRACES = 20;

    // REQUIRES: no score of that name is in it, and all have the same plan and zone.
    void add(const TraceScore& score);

    // The sum of all of them.
    const TraceScore& total() const { return mTotal; }

    // On how many days each trace has openings that count, together.
    uint64_t days() const { return mDays; }

    // By name, each by day; or, of many traces, each as a whole.
    const std::map<std::string, std::vector<RateSums>>& traces() const { return mTraces; }

  private:
    TraceScore mTotal;
    uint64_t mDays = 0;
    std::map<std::string, std::vector<RateSums>> mTraces;
};
