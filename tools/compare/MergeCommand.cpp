#include "tools/compare/MergeCommand.h"

#include <CLI/CLI.hpp>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>

#include "tools/common/CommonOptions.h"
#include "tools/common/InputError.h"
#include "tools/common/Output.h"
#include "tools/common/Text.h"
#include "tools/compare/ResultStore.h"
#include "tools/compare/TraceScore.h"

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

    std::vector<TraceScore> take() {
        std::vector<TraceScore> scores;
        for (auto& [name, entry] : mEntries) scores.push_back(std::move(entry.score));
        return scores;
    }

  private:
    struct Entry {
        TraceScore score;
        std::string path;
        std::string place;
    };

    void add(const std::string& line, const std::string& path, const std::string& place) {
        const Json object = Json::parse(line, nullptr, false);
        const Json result = resultOfLine(object);
        if (object.is_discarded()) throw InputError("is no JSON: " + inQuotes(line));
        if (result.is_null()) return;
        TraceScore score = parseScore(result);
        const auto [found, isNew] = mEntries.try_emplace(score.name, Entry{score, path, place});
        if (isNew) return;
        // A trace that changed between two runs with one --save file was done again.
        const bool again = object.contains("input") && found->second.path == path;
        if (!again) {
            throw InputError("the trace " + inQuotes(score.name) + " is there already, from " +
                             found->second.place + ": give each trace once");
        }
        found->second = {std::move(score), path, place};
    }

    std::map<std::string, Entry> mEntries;  // by name of the trace
};

int merge(const Options& options) {
    ScoreReader reader;
    for (const std::string& file : options.files) reader.read(file);
    std::vector<TraceScore> scores = reader.take();
    if (scores.empty()) throw InputError("there is no result to merge");
    writeOutput(options.json ? jsonLine(comparisonJson(std::move(scores), options.seed))
                             : comparisonTable(std::move(scores), options.seed));
    return 0;
}

}  // namespace

void addMergeCommand(CLI::App& program, int& status) {
    const auto options = std::make_shared<Options>();
    CLI::App* const verb =
        addVerb(program, "merge", "Add up what several runs of compare have found",
                {{"ksbrain merge monday.jsonl tuesday.jsonl",
                  "the table that one run over all their traces would print"},
                 {"parallel ksbrain compare --json ::: *.csv | ksbrain merge -",
                  "the same for traces that were spread over processes or machines"}});
    verb->add_option("FILE", options->files,
                     "Files that hold what compare --json printed or compare --save kept;\n"
                     "- is standard input")
        ->required()
        ->type_name("");
    verb->add_flag("--json", options->json, "Print one JSON object instead of the table");
    addSeedOption(*verb, options->seed, "Seed of the resampling behind the intervals");
    verb->callback([options, &status] { status = merge(*options); });
}
