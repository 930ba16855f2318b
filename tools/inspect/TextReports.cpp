#include "tools/inspect/TextReports.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "preload/Bayes.h"
#include "preload/ZmlAdapter.h"
#include "tools/common/JsonLine.h"
#include "tools/common/Text.h"
#include "tools/inspect/StrictText.h"

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
    const std::string* const text = openReport(report, files);
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

FileReport reportHistory(const EngineFiles& files) {
    FileReport report("history", engine_file::HISTORY);
    const std::string* const content = openReport(report, files);
    if (content == nullptr) return report;
    const std::string& text = *content;
    if (text.empty()) {
        report.damaged(
            "It is empty: the next start would take one opening without a name from it.");
        return report;
    }

    std::vector<std::string> names;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) names.push_back(line);
    const size_t distinct = std::set<std::string>(names.begin(), names.end()).size();
    std::istringstream wordStream(text);
    const auto words =
        static_cast<size_t>(std::distance(std::istream_iterator<std::string>(wordStream), {}));
    const size_t loaded = words + 1;  // the next start has the last name twice
    constexpr size_t NEEDED = ZmlAdapter::TRAINING_HISTORY;
    const size_t missing = NEEDED - std::min(loaded, NEEDED);
    Json& facts = *report.facts;
    facts["entries"] = names.size();
    facts["distinct"] = distinct;
    facts["first"] = names.front();
    facts["last"] = names.back();
    facts["entriesAfterStart"] = loaded;
    facts["openingsToTraining"] = missing;
    report.remark(amount(names.size(), "opening") + " of " + amount(distinct, "application") +
                  ", from " + printable(names.front()) + " to " + printable(names.back()) + ".");
    report.remark((missing == 0
                       ? "Enough for a training"
                       : amount(missing, "opening") + " after the next start to a training") +
                  ", which takes " + amount(NEEDED, "entry", "entries") +
                  ", of which a start makes one, while the phone charges" +
                  (distinct < ZmlSession::VOCABULARY
                       ? ", and " + amount(ZmlSession::VOCABULARY, "application") +
                             " among them: too few so far."
                       : "."));
    if (words > names.size()) {
        report.remark("A name holds a blank: the next start reads " + amount(words, "name") + ".");
    }
    if (std::any_of(text.begin(), text.end(),
                    [](char c) { return static_cast<unsigned char>(c) < 0x20 && c != '\n'; })) {
        report.damaged("There are control characters in it, which no name holds.");
    }
    if (words < names.size() && text.find("\n\n") != text.npos) {
        report.damaged("There are empty lines in it.");
    }
    if (text.back() != '\n') report.damaged("Its last line is cut off.");
    return report;
}

FileReport reportUsage(const EngineFiles& files, const EngineStart& start) {
    FileReport report("usage table", engine_file::USAGE);
    const std::string* const text = openReport(report, files);
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

FileReport reportEvaluation(const EngineFiles& files, const EngineStart& start) {
    FileReport report("evaluation", engine_file::EVALUATION);
    const std::string* const content = openReport(report, files);
    if (content == nullptr) return report;
    StrictLines lines(*content);
    const std::optional<int> network = lines.number("ai");
    const std::optional<int> top1 = lines.number("Top1AppHitCount");
    const std::optional<int> top4 = lines.number("Top4AppHitCount");
    const std::optional<int> opened = lines.number("AppOpenCount");
    lines.atEnd();

    const AppEvaluation& loaded = start.evaluation();
    const bool isNetwork = network ? *network == 1 : start.networkInUse();
    const bool anySense = loaded.appOpenCount >= 0;
    const auto rate = [&](int hits) {
        return hits < 0 || !anySense ? "-"
                                     : percentage(static_cast<uint64_t>(hits),
                                                  static_cast<uint64_t>(loaded.appOpenCount));
    };
    Json& facts = *report.facts;
    facts["predictor"] = isNetwork ? "network" : "bayes";
    facts["top1"] = loaded.top1HitCount;
    facts["top4"] = loaded.top4HitCount;
    facts["opened"] = loaded.appOpenCount;
    report.remark(std::string("The last prediction came from the ") +
                  (isNetwork ? "sequence network" : "Bayes model") + ". Of " +
                  (anySense ? amount(static_cast<uint64_t>(loaded.appOpenCount), "opening")
                            : std::to_string(loaded.appOpenCount) + " openings") +
                  " scored, it had " + rate(loaded.top1HitCount) + " first and " +
                  rate(loaded.top4HitCount) + " among its first four.");

    std::string problem = lines.problem();
    if (problem.empty() && *network != 0 && *network != 1) problem = "line 1: neither 0 nor 1";
    if (problem.empty() && (*top1 < 0 || *top4 < *top1 || *opened < 0)) {
        problem = "the counts contradict each other";
    }
    if (!problem.empty()) {
        report.damaged("It is not as the engine writes it: " + problem +
                       ". The next start reads it as far as it goes and begins the rest at 0.");
    }
    return report;
}
