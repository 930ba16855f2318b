#pragma once

#include <optional>

#include "tools/common/Verb.h"
#include "tools/compare/TraceScore.h"

// What the verbs that score a trace have in common: --charging, --quiet and how to read it.
struct ScoringOptions {
    TraceOptions reading;
    ChargingPlan charging = ChargingPlan::always();
    bool quiet = false;

    void addTo(Verb& verb);

    // Says how the trace was understood. Throws InputError.
    NamedTrace read(const std::string& path) const;

    // Shows how far it is. Returns nothing when it was interrupted; catchInterrupts() must have
    // been called.
    std::optional<TraceScore> score(const NamedTrace& trace) const;
};
