#include "tools/compare/MergeCommand.h"

#include <memory>

#include "tools/common/CommonOptions.h"
#include "tools/common/Output.h"
#include "tools/compare/ComparisonTable.h"
#include "tools/compare/ScoreLines.h"

namespace {

struct Options {
    std::vector<std::string> files;
    bool json = false;
    uint64_t seed = 1;
};

int merge(const Options& options) {
    const Comparison comparison = compareMethods(readScores(options.files), options.seed);
    writeOutput(options.json ? comparisonJson(comparison) : comparisonTable(comparison));
    return 0;
}

}  // namespace

Verb makeMergeVerb() {
    const auto options = std::make_shared<Options>();
    Verb verb{"merge",
              "Add up what compare has found on several traces",
              {{"ksbrain merge monday.jsonl tuesday.jsonl", "one table of all their traces"},
               {"parallel ksbrain compare --json ::: *.csv | ksbrain merge -",
                "the same of traces that are scored right now"}}};
    verb.texts("FILE", options->files,
               "Files of lines that compare --json printed; - is standard input")
        .required();
    verb.flag("--json", options->json, "Print one JSON object instead of the table");
    addSeedOption(verb, options->seed, "Seed of the resampling behind the intervals");
    verb.run = [options] { return merge(*options); };
    return verb;
}
