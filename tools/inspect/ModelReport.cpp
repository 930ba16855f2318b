#include "tools/inspect/ModelReport.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "preload/BayesAdapter.h"
#include "tools/common/JsonLine.h"
#include "tools/common/Text.h"
#include "tools/inspect/StrictText.h"

namespace {

constexpr uint64_t SIZE_LIMIT = BayesAdapter::MAX_MODEL_BYTES;
constexpr const char* FEATURE_NAMES[BayesSample::DIMENSION] = {
    "time slot", "working day", "previous application", "application in front"};

// Every sample is counted once in its class and once in each feature of it.
std::string contradiction(const BayesCounts& counts) {
    int64_t samples = 0;
    for (const auto& [y, count] : counts.classCounts) {
        if (y < 0) return "there is a negative class";
        samples += count;
    }
    if (samples != counts.samples) {
        return "the classes have " + std::to_string(samples) + " samples together, not " +
               std::to_string(counts.samples);
    }
    std::map<std::pair<int, int>, int64_t> sums;  // by class and feature
    for (const auto& [text, count] : counts.featureCounts) {
        std::vector<std::optional<int>> key;
        for (const std::string_view part : split(text, ':')) key.push_back(parseNumber(part));
        const bool whole = key.size() == 3 && key[0] && key[1] && key[2];
        if (!whole || *key[0] < 0 || *key[0] >= counts.dimension || *key[1] < 0) {
            return inQuotes(text) + " names no feature, value and class";
        }
        sums[{*key[2], *key[0]}] += count;
    }
    for (const auto& [y, count] : counts.classCounts) {
        for (int feature = 0; feature < counts.dimension && count > 0; ++feature) {
            const int64_t sum = sums[{y, feature}];
            if (sum == count) continue;
            return "class " + std::to_string(y) + " has " + std::to_string(count) +
                   " samples, but " + std::to_string(sum) + " values of feature " +
                   std::to_string(feature);
        }
    }
    return "";
}

uint64_t positive(int number) {
    return static_cast<uint64_t>(std::max(number, 0));
}

void describe(FileReport& report, const BayesCounts& counts) {
    const size_t entries = counts.classCounts.size() + counts.featureCounts.size();
    const auto isZero = [](const auto& entry) { return entry.second == 0; };
    const auto zeros =
        std::count_if(counts.classCounts.begin(), counts.classCounts.end(), isZero) +
        std::count_if(counts.featureCounts.begin(), counts.featureCounts.end(), isZero);
    Json& facts = *report.facts;
    facts["samples"] = counts.samples;
    facts["classes"] = counts.classes;
    facts["dimensions"] = counts.dimension;
    facts["maxima"] = counts.maxima;
    facts["entries"] = entries;
    facts["zeroEntries"] = zeros;
    report.remark(amount(positive(counts.samples), "sample") + " of " +
                  grouped(positive(counts.classes)) + " classes (applications opened next) in " +
                  amount(positive(counts.dimension), "dimension") + ".");
    report.remark(amount(entries, "entry", "entries") + ", " +
                  grouped(static_cast<uint64_t>(zeros)) +
                  " of them zeros that predictions have looked up.");
}

// Why a start refuses a text that is as the engine writes it.
std::string whyRefused(const BayesCounts& counts) {
    if (counts.classes == 0) {
        return "it was started afresh and not updated since, so that it lists no classes; the next "
               "batch of " +
               std::to_string(BayesAdapter::BATCH_SIZE) + " samples makes it loadable again";
    }
    for (size_t i = 0; i < counts.maxima.size(); ++i) {
        if (counts.maxima[i] >= 1) continue;
        const std::string feature =
            i < BayesSample::DIMENSION ? FEATURE_NAMES[i] : "feature " + std::to_string(i);
        return "the largest value of \"" + feature + "\" is 0" +
               (i == 1 ? ": it has learned on weekends only, or only on a weekend since a start"
                       : "");
    }
    return "a count is out of its range";
}

}  // namespace

FileReport reportModel(const EngineFiles& files, const EngineStart& start) {
    FileReport report("Bayes model", engine_file::MODEL);
    const std::string* const text = openReport(report, files);
    if (text == nullptr) return report;

    const bool loads = start.model() != nullptr;
    (*report.facts)["sizeLimit"] = SIZE_LIMIT;
    (*report.facts)["loads"] = loads;
    BayesCounts counts;
    std::string problem = readBayesCounts(*text, counts);
    if (problem.empty()) {
        describe(report, counts);
        problem = contradiction(counts);
    }
    report.remark("The file takes " + percentage(report.bytes, SIZE_LIMIT) + " of the " +
                  std::to_string(SIZE_LIMIT / 1024) + " KiB up to which it is kept" +
                  (report.bytes > SIZE_LIMIT ? ": the next batch starts the model afresh." : "."));
    const std::string refusal = "The next start would refuse it and begin untrained";
    if (!problem.empty()) {
        report.damaged("It is not as the engine writes it: " + problem + ".");
        report.remark(loads ? "The next start would load it all the same, as far as it can be "
                              "read: " +
                                  amount(positive(start.model()->sampleCount()), "sample") + "."
                            : refusal + ".");
    } else if (!loads) {
        report.refused(refusal + ": " + whyRefused(counts) + ".");
    } else if (counts.maxima.empty()) {
        report.remark(
            "It lists no largest values, as since a fresh start of the model: the next "
            "start loads it, but smooths as if each were 0 until it learns new ones.");
    }
    return report;
}
