#include "tools/compare/MergeCommand.h"

#include <fstream>
#include <iostream>
#include <map>
#include <memory>

#include "tools/common/CommonOptions.h"
#include "tools/common/InputError.h"
#include "tools/common/Output.h"
#include "tools/common/Text.h"
#include "tools/compare/Comparison.h"
#include "tools/compare/ResultStore.h"

namespace {

struct Options {
    std::vector<std::string> files;
    bool json = false;
    uint64_t seed = 1;
};

class ScoreReader {
  public:
    void read(const std::string& path) {
        std::ifstream file;
        if (path != "-") {
            file.open(path, std::ios::binary);
            if (!file) throw InputError(printable(path) + ": cannot be opened");
        }
        std::istream& lines = path == "-" ? std::cin : file;
        std::string line;
        for (size_t number = 1; std::getline(lines, line); ++number) {
            const std::string place = printable(path) + ':' + std::to_string(number);
            try {
                add(line, path, place);
            } catch (const std::exception& error) {
                throw InputError(place + ": " + error.what());
            }
        }
        if (lines.bad()) throw InputError(printable(path) + ": cannot be read");
    }

    const ScoreSum& scores() const { return mScores; }

  private:
    struct Entry {
        size_t score;  // its place in mScores
        std::string path;
        std::string place;
    };

    void add(const std::string& line, const std::string& path, const std::string& place) {
        const Json object = Json::parse(line, nullptr, false);
        const Json result = resultOfLine(object);
        if (object.is_discarded()) throw InputError("is no JSON: " + inQuotes(line));
        if (result.is_null()) return;
        const TraceScore score = parseScore(result);
        const auto found = mEntries.find(score.name);
        if (found == mEntries.end()) {
            mEntries[score.name] = {mScores.add(score), path, place};
            return;
        }
        // A trace that changed between two runs with one --save file was done again.
        const bool again = object.contains("input") && found->second.path == path;
        if (!again) {
            throw InputError("the trace " + inQuotes(score.name) + " is there already, from " +
                             found->second.place + ": give each trace once");
        }
        mScores.replace(found->second.score, score);
        found->second.place = place;
    }

    std::map<std::string, Entry> mEntries;  // by name of the trace
    ScoreSum mScores;
};

int merge(const Options& options) {
    ScoreReader reader;
    for (const std::string& file : options.files) reader.read(file);
    if (reader.scores().traces() == 0) throw InputError("there is no result to merge");
    const Comparison comparison = reader.scores().compare(options.seed);
    writeOutput(options.json ? jsonLine(comparisonJson(comparison)) : comparisonTable(comparison));
    return 0;
}

}  // namespace

Verb makeMergeVerb() {
    const auto options = std::make_shared<Options>();
    Verb verb{"merge",
              "Add up what several runs of compare have found",
              {{"ksbrain merge monday.jsonl tuesday.jsonl",
                "the table that one run over all their traces would print"},
               {"parallel ksbrain compare --json ::: *.csv | ksbrain merge -",
                "the same for traces that were spread over processes or machines"}}};
    verb.texts("FILE", options->files,
               "Files that hold what compare --json printed or compare --save kept; - is standard "
               "input")
        .required();
    verb.flag("--json", options->json, "Print one JSON object instead of the table");
    addSeedOption(verb, options->seed, "Seed of the resampling behind the intervals");
    verb.run = [options] { return merge(*options); };
    return verb;
}
