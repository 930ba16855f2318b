#pragma once

#include <cstdint>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "tools/inspect/EngineFiles.h"

// How a file was found.
enum class FileState {
    MISSING,
    WHOLE,
    REFUSED,  // as the engine wrote it, but the next start does not take it
    DAMAGED,
};

const char* nameOf(FileState state);

// What one of the engine's files holds, in words and as data.
struct FileReport {
    FileReport(const std::string& what, const std::string& file);

    std::string title;  // "Bayes model"
    std::string name;   // the file's; its backup's, where that is what the next start reads
    uint64_t bytes = 0;
    FileState state = FileState::MISSING;
    std::vector<std::string> remarks;               // sentences for people
    std::shared_ptr<nlohmann::ordered_json> facts;  // an object for programs

    void damaged(const std::string& why) {
        state = FileState::DAMAGED;
        remarks.push_back(why);
    }
    void refused(const std::string& why) {
        state = FileState::REFUSED;
        remarks.push_back(why);
    }
    void remark(const std::string& text) { remarks.push_back(text); }
};

// Whether the engine keeps a backup of the file while it rewrites it.
enum class Backup { NONE, KEPT };

// Fills in the report's size and state as far as that is settled by what is there, and returns the
// content to examine, if any. Where the next start reads the backup, since the last save was not
// finished, the content is that one's and the report takes its name.
const std::string* openReport(FileReport& report, const EngineFiles& files,
                              Backup which = Backup::KEPT);
