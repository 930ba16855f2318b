#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tools/common/JsonLine.h"
#include "tools/inspect/EngineFiles.h"
#include "tools/inspect/EngineStart.h"

// How a file was found.
enum class FileState {
    MISSING,
    WHOLE,
    REFUSED,  // as the engine wrote it, but the next start does not take it
    DAMAGED,
};

// What one of the engine's files holds, in words and as data.
struct FileReport {
    FileReport(const std::string& what, const std::string& file) : title(what), name(file) {}

    std::string title;  // "Bayes model"
    std::string name;   // the file's; its backup's, where that is what the next start reads
    uint64_t bytes = 0;
    FileState state = FileState::MISSING;
    std::vector<std::string> remarks;  // sentences for people
    Json facts = Json::object();

    void damaged(const std::string& why) {
        state = FileState::DAMAGED;
        remarks.push_back(why);
    }
    void refused(const std::string& why) {
        if (state == FileState::WHOLE) state = FileState::REFUSED;
        remarks.push_back(why);
    }
    void remark(const std::string& text) { remarks.push_back(text); }
};

const char* nameOf(FileState state);

// Fills in the report's size and state as far as that is settled by what is there, and returns the
// file's content; null when there is nothing to examine.
const std::string* openReport(FileReport& report, const EngineFiles& files);

// The same for a file with a backup, which the next start reads in its place when the last save was
// not finished: the report takes its name then. `alsoAlone`: even when the file itself is missing.
const std::string* openReport(FileReport& report, const EngineFiles& files, bool alsoAlone);

FileReport reportModel(const EngineFiles& files, const EngineStart& start);
FileReport reportAppTable(const EngineFiles& files, const EngineStart& start);
FileReport reportHistory(const EngineFiles& files);
FileReport reportUsage(const EngineFiles& files, const EngineStart& start);
FileReport reportNetwork(const EngineFiles& files, const EngineStart& start);
FileReport reportEvaluation(const EngineFiles& files, const EngineStart& start);
