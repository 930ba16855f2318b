#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "tools/compare/UnusedPreloads.h"
#include "tools/replay/Replayer.h"
#include "tools/trace/Trace.h"

// What can be asked which application comes next.
//
// ENGINE is the whole model as a replay runs it: what it answered after an opening is held against
// the next one. BAYES and NETWORK are its predictors alone, each taught and asked as the model does
// it: the naive Bayes model all the time, also where the model would ask the network; the sequence
// network from its first training on. The rest are simple rules to hold them against (see
// SimpleRule.h): all applications seen before but the one in front, by how often or how lately they
// were used, or by what followed the last one or two.
enum class Method { ENGINE, BAYES, NETWORK, MOST_USED, MOST_RECENT, ORDER_1, ORDER_2 };

constexpr std::array<Method, 7> METHODS = {Method::ENGINE,    Method::BAYES,       Method::NETWORK,
                                           Method::MOST_USED, Method::MOST_RECENT, Method::ORDER_1,
                                           Method::ORDER_2};

// The key in JSON ("engine", "most_used") and the name for a person ("most used").
const char* methodKey(Method method);
const char* methodName(Method method);

// Whether it is one of the simple rules, which come last.
constexpr bool isRule(Method method) {
    return method >= Method::MOST_USED;
}

constexpr size_t FIRST_RULE = static_cast<size_t>(Method::MOST_USED);
constexpr size_t RULES = METHODS.size() - FIRST_RULE;

// What a method said before an opening. The name in front has been struck from its list.
struct Guess {
    uint32_t length;  // names on its list; 0 when it had no answer
    uint32_t rank;    // of the application that was opened, from 1; 0 when it is not on the list
    bool network;     // whether the sequence network made the list
};

constexpr size_t NO_NAME = SIZE_MAX;

struct MethodRun {
    std::vector<Guess> guesses;     // for each row
    PlaceCounts unused{};           // preloads, had a daemon gone by its lists
    std::vector<size_t> firsts;     // for each row the number of the first name on the list before
                                    // it, NO_NAME without one; of the simple rules none
    std::vector<size_t> trainings;  // of the network that ended: the row of the opening before
    // The engine's own counters at the end; none for the other methods.
    PredictorScore bayes;
    PredictorScore network;
};

// Runs the method over a trace, each opening predicted from what came before it only. The engine's
// clock and data directory are the process's: one run at a time. `goOn` is asked at each row, and
// again while a training there is waited for. Returns nothing when it said no.
std::optional<MethodRun> runMethod(Method method, const Trace& trace, const ChargingPlan& plan,
                                   const std::function<bool(size_t row)>& goOn);
