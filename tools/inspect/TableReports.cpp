#include "tools/inspect/TableReports.h"

#include <nlohmann/json.hpp>

#include "preload/Bayes.h"
#include "tools/common/JsonLine.h"
#include "tools/common/Text.h"
#include "tools/inspect/StrictTables.h"
#include "zml/ZmlSession.h"

namespace {

// Both tables are deleted by a start that refuses them.
void judge(FileReport& report, const std::string& plain, const EngineStart& start,
           const std::string& problem, const std::string& predictor) {
    const bool loads = start.content(plain).has_value();
    (*report.facts)["loads"] = loads;
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
    const std::string* const text = openReport(report, files, Backup::OF_EXISTING);
    std::vector<std::string> names;
    if (text != nullptr) {
        const std::string problem = readAppTable(*text, names);
        if (problem.empty()) {
            (*report.facts)["applications"] = names.size();
            report.remark(amount(names.size(), "application") + " with an index each, from 0 on.");
        }
        judge(report, engine_file::APP_TABLE, start, problem, "the Bayes predictor");
        if (!problem.empty()) return report;
    } else if (report.state == FileState::DAMAGED && report.bytes > 0) {
        return report;
    }
    const auto classes =
        static_cast<size_t>(start.model() == nullptr ? 0 : start.model()->classCount());
    if (classes > names.size()) {
        report.damaged("The Bayes model has " + amount(classes, "class", "classes") +
                       " and the table names only " + grouped(names.size()) +
                       " of them: the two do not belong together.");
    }
    return report;
}

FileReport reportUsage(const EngineFiles& files, const EngineStart& start) {
    FileReport report("usage table", engine_file::USAGE);
    const std::string* const text = openReport(report, files, Backup::OF_EXISTING);
    if (text != nullptr) {
        std::vector<AppUsage> table;
        std::string problem = readUsageTable(*text, table);
        if (problem.empty() && !table.empty()) {
            const AppUsage& most = table.back();
            const AppUsage& least = table.front();
            Json& facts = *report.facts;
            facts["records"] = table.size();
            facts["mostUsed"] = {{"application", most.package}, {"openings", most.count}};
            facts["leastUsed"] = {{"application", least.package}, {"openings", least.count}};
            report.remark("The " + amount(table.size(), "application") +
                          " that the sequence network knows: from " + printable(most.package) +
                          " (" + amount(static_cast<uint64_t>(most.count), "opening") + ") to " +
                          printable(least.package) + " (" +
                          grouped(static_cast<uint64_t>(least.count)) +
                          ") in the history of its training.");
        }
        if (problem.empty() && table.size() != ZmlSession::VOCABULARY) {
            problem = "it has " + amount(table.size(), "record") + ", not " +
                      std::to_string(ZmlSession::VOCABULARY);
        }
        judge(report, engine_file::USAGE, start, problem, "the sequence network");
    } else if (report.state == FileState::MISSING && start.networkReady()) {
        report.damaged(
            "There is a network, but without this table it answers nothing, and the "
            "Bayes model is not asked in its place.");
    }
    return report;
}
