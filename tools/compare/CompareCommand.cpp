#include "tools/compare/CompareCommand.h"

#include <memory>

#include "tools/common/CommonOptions.h"
#include "tools/common/Output.h"
#include "tools/compare/Comparison.h"
#include "tools/compare/ManyTracesCommand.h"
#include "tools/compare/TraceScore.h"

namespace {

struct Options {
    ManyTracesCommand command;
    bool json = false;
    bool total = false;
    uint64_t seed = 1;
};

void printResults(const Options& options, const ResultStore& store,
                  const ManyTracesOutcome& outcome) {
    ScoreSum scores;
    for (const auto& [name, place] : outcome.results) {
        const std::string line = store.read(place);
        if (options.json && !options.total) {
            writeOutput(line + '\n');
        } else {
            scores.add(parseScore(Json::parse(line)));
        }
    }
    if (scores.traces() == 0) return;
    const Comparison comparison = scores.compare(options.seed);
    writeOutput(options.json ? jsonLine(comparisonJson(comparison)) : comparisonTable(comparison));
}

int compare(Options& options) {
    const TraceWork score = [&options](const NamedTrace& trace,
                                       const std::function<bool()>& stopped) {
        const auto result = scoreTrace(trace, options.command.charging, stopped);
        return result ? std::optional<Json>(scoreJson(*result)) : std::nullopt;
    };
    const auto print = [&options](const ResultStore& store, const ManyTracesOutcome& outcome) {
        printResults(options, store, outcome);
    };
    return options.command.run("compare", score, print);
}

}  // namespace

Verb makeCompareVerb() {
    const auto options = std::make_shared<Options>();
    Verb verb{"compare",
              "Score the engine on recorded traces, beside simple rules",
              {{"ksbrain compare phone.csv",
                "a table: how often the right application was among the first"},
               {"ksbrain compare --save scores.jsonl traces/",
                "all files below traces/; stop it with Ctrl-C, and the same command goes on"},
               {"ksbrain compare --json traces/ | ksbrain merge --json -",
                "a line a trace, and one object of all together"}}};
    addManyTracesOptions(verb, options->command);
    verb.flag("--json", options->json,
              "Print one JSON object a trace, by name, instead of the table");
    verb.flag("--total", options->total, "Print the object of all traces together instead")
        .needs("--json");
    addSeedOption(verb, options->seed, "Seed of the resampling behind the intervals");
    verb.run = [options] { return compare(*options); };
    return verb;
}
