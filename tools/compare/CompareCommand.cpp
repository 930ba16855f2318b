#include "tools/compare/CompareCommand.h"

#include <memory>

#include "tools/common/CommonOptions.h"
#include "tools/common/InputError.h"
#include "tools/common/Interrupt.h"
#include "tools/common/Output.h"
#include "tools/compare/ComparisonTable.h"
#include "tools/compare/ScoreJson.h"
#include "tools/compare/ScoringOptions.h"
#include "tools/trace/TraceFlags.h"

namespace {

struct Options {
    std::string trace;
    ScoringOptions scoring;
    bool json = false;
    uint64_t seed = 1;
};

int compare(const Options& options) {
    const NamedTrace trace = options.scoring.read(options.trace);
    catchInterrupts();
    const std::optional<TraceScore> score = options.scoring.score(trace);
    if (!score) return EXIT_SIGNALLED + interruptSignal();
    if (options.json) {
        writeOutput(scoreLine(*score));
    } else {
        ScoreSum scores;
        scores.add(*score);
        writeOutput(comparisonTable(compareMethods(scores, options.seed)));
    }
    return 0;
}

}  // namespace

Verb makeCompareVerb() {
    const auto options = std::make_shared<Options>();
    Verb verb{"compare",
              "Score the engine on a recorded trace, beside simple rules",
              {{"ksbrain compare phone.csv",
                "a table: how often the right application was among the first"},
               {"ksbrain compare --json phone.csv >>scores.jsonl",
                "one line of counts, for merge and report --from"},
               {"parallel --bar ksbrain compare --json --quiet ::: *.csv >scores.jsonl",
                "a line for each of many traces, on all cores"}}};
    verb.text("TRACE", options->trace, std::string("What to score: ") + TRACE_KINDS).required();
    options->scoring.addTo(verb);
    verb.flag("--json", options->json, "Print the counts as one JSON object instead of the table");
    addSeedOption(verb, options->seed, "Seed of the resampling behind the intervals");
    verb.run = [options] { return compare(*options); };
    return verb;
}
