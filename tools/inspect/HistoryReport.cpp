#include <algorithm>
#include <set>
#include <sstream>

#include "tools/common/Text.h"
#include "tools/inspect/FileReport.h"

namespace {

constexpr size_t TRAINING_HISTORY = 5000;
constexpr size_t VOCABULARY = 30;

}  // namespace

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
    size_t words = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream parts(line);
        for (std::string part; parts >> part;) ++words;
        names.push_back(line);
    }
    const size_t distinct = std::set<std::string>(names.begin(), names.end()).size();
    const size_t loaded = words + 1;  // the next start has the last name twice
    const size_t missing = loaded < TRAINING_HISTORY ? TRAINING_HISTORY - loaded : 0;
    report.facts["entries"] = names.size();
    report.facts["distinct"] = distinct;
    report.facts["first"] = names.front();
    report.facts["last"] = names.back();
    report.facts["entriesAfterStart"] = loaded;
    report.facts["openingsToTraining"] = missing;
    report.remark(amount(names.size(), "opening") + " of " + amount(distinct, "application") +
                  ", from " + printable(names.front()) + " to " + printable(names.back()) + ".");
    report.remark(
        (missing == 0 ? "Enough for a training"
                      : amount(missing, "opening") + " after the next start to a training") +
        ", which takes 5,000 entries, of which a start makes one, while the phone charges" +
        (distinct < VOCABULARY ? ", and 30 applications among them: too few so far." : "."));
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
