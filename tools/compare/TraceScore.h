#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "tools/compare/Counts.h"
#include "tools/trace/TraceFile.h"

// How the methods did on one trace: counts only, of which all that is printed and shown is made.
// Those of several traces add up to one of all of them.
struct TraceScore {
    std::string name;
    std::string charging;   // the plan
    std::string zone;       // of local times
    bool invented = false;  // whether the trace has no times of its own, or one of several
    // Those that count (see Counts.h), by day, "2026-03-01" in local time; of the others, which are
    // left out everywhere, the repeats.
    std::map<std::string, uint64_t> openings;
    uint64_t repeats = 0;
    MethodScores methods;
    std::map<uint32_t, HitCounts> hours;         // of the week, 0 on Monday at 00:00 local time
    std::map<uint32_t, PairedCounts> stretches;  // see stretchOf()
    std::map<std::string, SplitCounts> split;    // by day
    std::map<std::string, HitCounts> apps;
    // Of the openings that the engine had not among its first four, by their name: the name that
    // stood first instead, "" without a list.
    std::map<std::string, std::map<std::string, uint64_t>> missed;
    std::map<std::string, AnswerCounts> answers;  // of the engine, by day
    OwnCounts own{};

    // Adds the other's counts, and that times are invented; name, plan and zone stay.
    void add(const TraceScore& other);

    // Calls visit("openings", &TraceScore::openings), with the key in JSON, and so on for all
    // counts.
    template <typename Visit>
    static void forEachCount(const Visit& visit) {
        visit("openings", &TraceScore::openings);
        visit("repeats", &TraceScore::repeats);
        visit("methods", &TraceScore::methods);
        visit("hours", &TraceScore::hours);
        visit("stretches", &TraceScore::stretches);
        visit("split", &TraceScore::split);
        visit("apps", &TraceScore::apps);
        visit("missed", &TraceScore::missed);
        visit("answers", &TraceScore::answers);
        visit("own", &TraceScore::own);
    }
};

constexpr uint32_t HOURS_OF_WEEK = 7 * 24;

// A trace's openings fall into stretches that grow with it, so that a logarithmic axis shows them
// evenly: openings 1 to 10, 11 to 20, 21 to 50, 51 to 100, 101 to 200, ... Openings are counted
// from 1, stretches from 0.
uint32_t stretchOf(uint64_t opening);
uint64_t lastOfStretch(uint32_t stretch);

// Runs every method over the trace. `goOn` is asked again and again, with how many of the trace's
// rows are behind in all runs together. Returns nothing when it said no. Throws InputError when no
// opening of the trace counts.
std::optional<TraceScore> scoreTrace(const NamedTrace& trace, const ChargingPlan& plan,
                                     const std::function<bool(size_t done)>& goOn);
