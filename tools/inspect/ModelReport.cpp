#include <algorithm>
#include <numeric>

#include "tools/common/Text.h"
#include "tools/inspect/FileReport.h"

namespace {

constexpr uint64_t SIZE_LIMIT = 512 * 1024;
constexpr int FEATURES = 4;
constexpr const char* FEATURE_NAMES[FEATURES] = {"time slot", "working day", "previous application",
                                                 "application in front"};

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
        const std::optional<FeatureKey> key = parseFeatureKey(text);
        if (!key || key->feature < 0 || key->feature >= counts.dimension || key->value < 0) {
            return inQuotes(text) + " names no feature, value and class";
        }
        sums[{key->y, key->feature}] += count;
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

void describe(FileReport& report, const BayesCounts& counts) {
    const size_t entries = counts.classCounts.size() + counts.featureCounts.size();
    const auto isZero = [](const auto& entry) { return entry.second == 0; };
    const auto zeros =
        std::count_if(counts.classCounts.begin(), counts.classCounts.end(), isZero) +
        std::count_if(counts.featureCounts.begin(), counts.featureCounts.end(), isZero);
    report.facts["samples"] = counts.samples;
    report.facts["classes"] = counts.classes;
    report.facts["dimensions"] = counts.dimension;
    report.facts["maxima"] = counts.maxima;
    report.facts["entries"] = entries;
    report.facts["zeroEntries"] = zeros;
    const auto number = [](int value) { return static_cast<uint64_t>(std::max(value, 0)); };
    report.remark(amount(number(counts.samples), "sample") + " of " +
                  grouped(number(counts.classes)) + " classes (applications opened next) in " +
                  amount(number(counts.dimension), "dimension") + ".");
    report.remark(amount(entries, "entry", "entries") + ", " +
                  grouped(static_cast<uint64_t>(zeros)) +
                  " of them zeros that predictions have looked up.");
}

// Why a start refuses a text that is as the engine writes it.
std::string whyRefused(const BayesCounts& counts) {
    if (counts.classes == 0) {
        return "it was started afresh and not updated since, so that it lists no classes; the next "
               "batch of 11 samples makes it loadable again";
    }
    for (size_t i = 0; i < counts.maxima.size(); ++i) {
        if (counts.maxima[i] >= 1) continue;
        const std::string feature =
            i < FEATURES ? FEATURE_NAMES[i] : "feature " + std::to_string(i);
        return "the largest value of \"" + feature + "\" is 0" +
               (i == 1 ? ": it has learned on weekends only, or only on a weekend since a start"
                       : "");
    }
    return "a count is out of its range";
}

}  // namespace

FileReport reportModel(const EngineFiles& files, const EngineStart& start) {
    FileReport report("Bayes model", engine_file::MODEL);
    const std::string* const text = openReport(report, files, true);
    if (text == nullptr) return report;

    report.facts["sizeLimit"] = SIZE_LIMIT;
    report.facts["loads"] = start.model().has_value();
    std::string problem;
    const std::optional<BayesCounts> counts = readBayesCounts(*text, problem);
    if (counts) describe(report, *counts);
    report.remark("The file takes " + percentage(report.bytes, SIZE_LIMIT) +
                  " of the 512 KiB up to which it is kept" +
                  (report.bytes > SIZE_LIMIT ? ": the next batch starts the model afresh." : "."));
    if (counts) problem = contradiction(*counts);
    if (!problem.empty()) {
        report.damaged("It is not as the engine writes it: " + problem + ".");
        if (start.model()) {
            report.remark(
                "The next start would load it all the same, as far as it can be read: " +
                amount(static_cast<uint64_t>(std::max(start.model()->samples, 0)), "sample") + ".");
        } else {
            report.remark("The next start would refuse it and begin untrained.");
        }
    } else if (!start.model()) {
        report.refused(
            "The next start would refuse it and begin untrained: " + whyRefused(*counts) + ".");
    } else if (counts->maxima.empty()) {
        report.remark(
            "It lists no largest values, as since a fresh start of the model: the next "
            "start loads it, but smooths as if each were 0 until it learns new ones.");
    }
    return report;
}
