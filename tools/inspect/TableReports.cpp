#include <algorithm>

#include "tools/common/Text.h"
#include "tools/inspect/FileReport.h"
#include "tools/inspect/Tables.h"

namespace {

constexpr size_t VOCABULARY = 30;

// Both tables are deleted by a start that refuses them.
void judge(FileReport& report, const std::string& plain, const EngineStart& start,
           const std::string& problem, const std::string& predictor) {
    const bool loads = start.content(plain).has_value();
    report.facts["loads"] = loads;
    if (problem.empty() && loads) return;
    report.damaged("It is not as the engine writes it: " +
                   (problem.empty() ? "a number is out of its range" : problem) + ".");
    report.remark(loads ? "The next start would load it all the same, as far as it can be read."
                        : "The next start would refuse it, delete it and do without " + predictor +
                              " until the start after.");
}

}  // namespace

FileReport reportAppTable(const EngineFiles& files, const EngineStart& start) {
    FileReport report("application table", engine_file::APP_TABLE);
    const std::string* const text = openReport(report, files, false);
    const int classes = start.model() ? start.model()->classes : 0;
    size_t size = 0;
    if (text != nullptr) {
        std::string problem;
        const std::optional<AppTable> table = AppTable::read(*text, problem);
        if (table) {
            size = table->size();
            report.facts["applications"] = size;
            report.remark(amount(size, "application") + " with an index each, from 0 on.");
        }
        judge(report, engine_file::APP_TABLE, start, problem, "the Bayes predictor");
        if (!problem.empty()) return report;
    } else if (report.state == FileState::DAMAGED && report.bytes > 0) {
        return report;
    }
    if (classes > static_cast<int>(size)) {
        report.damaged("The Bayes model has " +
                       amount(static_cast<uint64_t>(classes), "class", "classes") +
                       " and the table names only " + grouped(size) +
                       " of them: the two do not belong together.");
    }
    return report;
}

FileReport reportUsage(const EngineFiles& files, const EngineStart& start) {
    FileReport report("usage table", engine_file::USAGE);
    const std::string* const text = openReport(report, files, false);
    if (text != nullptr) {
        std::string problem;
        const std::optional<std::vector<AppUsage>> table = readUsageTable(*text, problem);
        if (table && !table->empty()) {
            const auto [least, most] = std::minmax_element(
                table->begin(), table->end(),
                [](const AppUsage& a, const AppUsage& b) { return a.index < b.index; });
            report.facts["records"] = table->size();
            report.facts["mostUsed"] = {{"application", most->package}, {"openings", most->count}};
            report.facts["leastUsed"] = {{"application", least->package},
                                         {"openings", least->count}};
            report.remark("The " + amount(table->size(), "application") +
                          " that the sequence network knows: from " + printable(most->package) +
                          " (" + amount(static_cast<uint64_t>(most->count), "opening") + ") to " +
                          printable(least->package) + " (" +
                          grouped(static_cast<uint64_t>(least->count)) +
                          ") in the history of its training.");
        }
        if (table && table->size() != VOCABULARY) {
            problem = "it has " + amount(table->size(), "record") + ", not 30";
        }
        judge(report, engine_file::USAGE, start, problem, "the sequence network");
    } else if (report.state == FileState::MISSING && start.networkReady()) {
        report.damaged(
            "There is a network, but without this table it answers nothing, and the "
            "Bayes model is not asked in its place.");
    }
    return report;
}
