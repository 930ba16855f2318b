#include "tools/kills/StoredFiles.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tools/common/EngineFileNames.h"

using namespace engine_file;

namespace {

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// Whether a table's first line announces as many lines as follow it.
bool isWholeTable(const std::string& content, bool keyword) {
    std::istringstream text(content);
    std::string word;
    long count = 0;
    if (keyword) text >> word;
    if (!(text >> count)) return false;
    return std::count(content.begin(), content.end(), '\n') == count + 1;
}

// Whether the model's text runs to its announced end.
bool isWholeModel(const std::string& content) {
    const size_t at = content.find("mDistributionXandY ");
    if (at == std::string::npos) return false;
    std::istringstream text(content.substr(at));
    std::string key;
    long count = 0;
    if (!(text >> key >> count)) return false;
    return std::count(content.begin() + static_cast<std::ptrdiff_t>(at), content.end(), '\n') ==
           count + 1;
}

}  // namespace

StoredFiles::StoredFiles(const std::string& directory) {
    if (!std::filesystem::exists(directory)) return;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        std::ostringstream content;
        content << std::ifstream(entry.path(), std::ios::binary).rdbuf();
        mContents[entry.path().filename().string()] = content.str();
    }
}

bool StoredFiles::hasLoaded(const std::string& log) {
    // The first event is handled once everything is loaded.
    return contains(log, "AppPreloadModel::onBrainDataAvailable");
}

Findings StoredFiles::judge(const std::string& log) const {
    return {
        {MODEL, judgeModel(log)},
        {APP_TABLE, judgeTable(APP_TABLE, log, "load app map ok")},
        {EVALUATION, judgePlain(EVALUATION, contains(log, "load Evaluation result ok"))},
        {HISTORY, judgePlain(HISTORY, contains(log, "load history mHistoryApps ok"))},
        {USAGE, judgeTable(USAGE, log, "load app usage ok")},
        {NETWORK, judgeNetwork(log)},
    };
}

Finding StoredFiles::judgeModel(const std::string& log) const {
    const bool fromBackup = has(backupOf(MODEL));
    if (contains(log, "does not exist")) {
        const bool nothingThere = !fromBackup && !has(MODEL);
        return {Found::ABSENT, nothingThere ? "no batch has been learned yet" : ""};
    }
    if (!contains(log, "bayes unserialize error")) return {Found::LOADED, ""};
    const std::string& text = content(fromBackup ? backupOf(MODEL) : MODEL);
    if (contains(text, "mVariableSpaceY 0\n")) {
        return {Found::REFUSED, "started afresh and not updated since"};
    }
    if (!isWholeModel(text)) return {Found::REFUSED, "the very first save was cut"};
    if (contains(text, "\n0\n")) return {Found::REFUSED, "a feature has only ever been 0"};
    return {Found::REFUSED, ""};
}

Finding StoredFiles::judgeTable(const std::string& name, const std::string& log,
                                const std::string& loadedLine) const {
    if (contains(log, loadedLine)) return {Found::LOADED, ""};
    if (contains(log, name + " format error")) {
        const std::string& text = content(has(backupOf(name)) ? backupOf(name) : name);
        return {Found::REFUSED,
                isWholeTable(text, name == APP_TABLE) ? "" : "the very first save was cut"};
    }
    if (has(name)) return {Found::ABSENT, ""};
    return {Found::ABSENT, has(backupOf(name)) ? "killed between the backup and the new file"
                                               : "never stored, or refused by the start before"};
}

Finding StoredFiles::judgePlain(const std::string& name, bool loaded) const {
    if (!loaded) return {Found::ABSENT, has(name) ? "" : "no five-minute mark has passed yet"};
    const std::string& text = content(name);
    const bool cut = name == EVALUATION && std::count(text.begin(), text.end(), '\n') < 4;
    if (cut) return {Found::REFUSED, "killed while it was rewritten: read as far as it goes"};
    return {Found::LOADED, ""};
}

Finding StoredFiles::judgeNetwork(const std::string& log) const {
    if (contains(log, "ZmlAdapter inited and trained")) return {Found::LOADED, ""};
    if (contains(log, "counts as no trained network")) return {Found::REFUSED, ""};
    if (!has(NETWORK)) return {Found::ABSENT, "no training has ended yet"};
    // A refused usage table keeps the session from being started at all.
    return {Found::ABSENT, contains(log, "AppUsage format error")
                               ? "not looked at: the usage table was refused"
                               : ""};
}
