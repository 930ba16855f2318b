#include "tools/inspect/HistoryReport.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "preload/ZmlAdapter.h"
#include "tools/common/JsonLine.h"
#include "tools/common/Text.h"

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
