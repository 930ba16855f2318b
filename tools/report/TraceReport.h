#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/compare/TraceScore.h"
#include "tools/replay/Replayer.h"
#include "tools/report/HitCounts.h"

constexpr size_t HOURS_OF_WEEK = 7 * 24;

// What the page needs of one trace: counts only, so that those of many traces add up.
struct TraceReport {
    TraceScore score;
    std::vector<HitCounts> hours;      // of the week, Monday 00:00 first, local time
    std::vector<HitCounts> stretches;  // from the first opening on, see Stretch.h
    std::map<std::string, HitCounts> apps;
    // The engine's answers, by day ("2026-03-01" in local time) and by length of the list.
    std::map<std::string, AnswerCounts> days;
    std::map<uint32_t, AnswerCounts> lengths;
    // The engine's own counters, as a replay prints them.
    PredictorScore bayes;
    PredictorScore network;
};

// Runs every method over the trace. Nothing when `stopped` asked to give up.
std::optional<TraceReport> reportTrace(const NamedTrace& trace, const ChargingPlan& plan,
                                       const std::function<bool()>& stopped);

// One object, from which the report can be read back. Reading throws InputError or a library's
// exception when it is no such object.
Json traceReportJson(const TraceReport& report);
TraceReport parseTraceReport(const Json& object);
