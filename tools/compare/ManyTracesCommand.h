#pragma once

#include "tools/common/Verb.h"
#include "tools/compare/ManyTraces.h"
#include "tools/replay/ChargingPlan.h"

// What the verbs that take many traces have in common on their command lines.
struct ManyTracesCommand {
    std::vector<std::string> traces;  // files and directories
    std::optional<std::string> list;  // a file with more of them
    ManyTracesOptions many;
    ChargingPlan charging = ChargingPlan::always();
    std::optional<std::string> save;

    // Does the verb's work on all traces and prints on standard error what there is to know: how
    // files were understood and which could not be used, or, when it was interrupted, how to go on.
    // `results` gets the store and the results of a run that was not interrupted and has some.
    // Returns the program's exit status.
    int run(const std::string& verb, const TraceWork& work,
            const std::function<void(const ResultStore&, const ManyTracesOutcome&)>& results);
};

void addManyTracesOptions(Verb& verb, ManyTracesCommand& command);
