#pragma once

#include <array>
#include <cstdint>
#include <ctime>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tools/common/JsonLine.h"
#include "tools/compare/Method.h"
#include "tools/trace/TraceFile.h"

// How often an opening stood at each rank of a method's list, from 1; openings that were not on it
// do not count.
using RankCounts = std::map<uint32_t, uint64_t>;

// A method's whole-number counts on one trace; hit rates, the mean reciprocal rank and intervals
// are computed from these alone.
struct MethodScore {
    uint64_t answered = 0;  // openings before which it had an answer
    uint64_t top1 = 0;
    uint64_t top4 = 0;
    uint64_t top8 = 0;
    std::map<std::string, RankCounts> ranks;  // by day, "2026-03-01" in local time

    // Takes in what the method said before an opening on that day.
    void add(const std::string& day, const Guess& guess);
};

struct TraceScore {
    std::string name;
    std::map<std::string, uint64_t> openings;  // by day, as above
    std::array<MethodScore, METHODS.size()> methods;
};

// The day of a moment by the clock on the wall, "2026-03-01".
std::string localDay(time_t moment);

// Runs every method over the trace. Nothing when `stopped` asked to give up.
std::optional<TraceScore> scoreTrace(const NamedTrace& trace, const ChargingPlan& plan,
                                     const std::function<bool()>& stopped);

// One object, from which the score can be read back. Reading throws InputError, saying what is
// wrong.
Json scoreJson(const TraceScore& score);
TraceScore parseScore(const Json& object);
