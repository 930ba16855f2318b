#include "tools/replay/ReplayCommand.h"

#include <memory>
#include <optional>
#include <string>

#include "tools/common/CommonOptions.h"
#include "tools/common/DataDirectory.h"
#include "tools/common/EngineLog.h"
#include "tools/common/InputError.h"
#include "tools/common/Interrupt.h"
#include "tools/common/Output.h"
#include "tools/common/ProgressBar.h"
#include "tools/replay/ChargingOption.h"
#include "tools/replay/Moments.h"
#include "tools/replay/Replayer.h"
#include "tools/replay/ResultTable.h"
#include "tools/trace/TraceFlags.h"

namespace {

struct Options {
    std::string trace;
    TraceOptions reading;
    std::optional<std::string> dataDirectory;
    ChargingPlan charging = ChargingPlan::always();
    size_t moments = 0;
    bool json = false;
    bool quiet = false;
    int logLevel = 0;  // 0 for no log
};

int replay(const Options& options) {
    const NamedTrace named = readOneTrace(options.trace, options.reading, options.quiet);
    const Trace& trace = named.trace;
    if (options.logLevel == 0) {
        silenceEngineLog();
    } else {
        showEngineLog(options.logLevel);
    }
    catchInterrupts();

    Moments moments(trace, options.moments);
    std::optional<ReplayResult> result;
    {
        std::optional<TemporaryDirectory> temporary;
        std::optional<DirectoryLock> lock;
        if (options.dataDirectory) {
            prepareDataDirectory(*options.dataDirectory);
            lock.emplace(*options.dataDirectory);
        } else {
            temporary.emplace();
        }
        Replayer replayer(options.charging, temporary ? temporary->path() : *options.dataDirectory);
        replayer.setStopped([] { return interruptSignal() != 0; });
        ProgressBar progress(!options.quiet && options.logLevel == 0, trace.size());
        result = replayer.run(trace, [&](size_t row, const std::vector<std::string>& answer) {
            progress.update(row + 1);
            if (moments.isDue(row, answer)) {
                moments.add(row, answer, replayer.networkAnswered(answer));
            }
            return interruptSignal() == 0;
        });
    }
    if (!result) return EXIT_SIGNALLED + interruptSignal();
    writeOutput(options.json ? resultJson(*result) : moments.text() + resultTable(*result));
    return 0;
}

}  // namespace

Verb makeReplayVerb() {
    const auto options = std::make_shared<Options>();
    Verb verb{"replay",
              "Run a recorded trace through the engine's model, in the trace's own time",
              {{"ksbrain replay phone.csv", "how often the engine would have been right"},
               {"ksbrain replay --moments 5 dump.txt", "and at five moments what it said"}}};
    verb.text("TRACE", options->trace, std::string("What to run: ") + TRACE_KINDS).required();
    verb.text("--data-dir DIR", options->dataDirectory,
              "Load the engine's files from this directory and leave them there (default: a "
              "temporary one)");
    addTraceOptions(verb, options->reading);
    addChargingOption(verb, options->charging);
    verb.flag("--json", options->json, "Print one JSON object instead of the table");
    verb.number("--moments N", 1, 1000, options->moments,
                "Show at so many moments what was predicted and what was opened next")
        .excludes("--json");
    verb.flag("--quiet", options->quiet,
              "Show no progress bar, and do not say how the trace was understood");
    addLogOption(verb, options->logLevel);
    verb.run = [options] { return replay(*options); };
    return verb;
}
