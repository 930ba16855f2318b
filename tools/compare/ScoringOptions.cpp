#include "tools/compare/ScoringOptions.h"

#include "tools/common/EngineLog.h"
#include "tools/common/Interrupt.h"
#include "tools/common/ProgressBar.h"
#include "tools/replay/ChargingOption.h"
#include "tools/trace/TraceFlags.h"

void ScoringOptions::addTo(Verb& verb) {
    addTraceOptions(verb, reading);
    addChargingOption(verb, charging);
    verb.flag("--quiet", quiet,
              "Show no progress bar, and do not say how the trace was understood");
}

NamedTrace ScoringOptions::read(const std::string& path) const {
    return readOneTrace(path, reading, quiet);
}

std::optional<TraceScore> ScoringOptions::score(const NamedTrace& trace) const {
    silenceEngineLog();
    ProgressBar progress(!quiet, METHODS.size() * trace.trace.size());
    return scoreTrace(trace, charging, [&](size_t done) {
        progress.update(done);
        return interruptSignal() == 0;
    });
}
