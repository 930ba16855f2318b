#include "tools/inspect/FileReport.h"

#include <nlohmann/json.hpp>

#include "tools/common/JsonLine.h"

const char* nameOf(FileState state) {
    constexpr const char* NAMES[] = {"missing", "whole", "refused", "damaged"};
    return NAMES[static_cast<size_t>(state)];
}

FileReport::FileReport(const std::string& what, const std::string& file)
    : title(what), name(file), facts(std::make_shared<Json>(Json::object())) {}

const std::string* openReport(FileReport& report, const EngineFiles& files, Backup which) {
    const std::string plain = report.name;
    const StoredFile* file = files.find(plain);
    if (which != Backup::NONE) {
        const StoredFile* const backup = files.find(engine_file::backupOf(plain));
        (*report.facts)["backup"] = backup != nullptr;
        if (backup != nullptr) {
            report.name = engine_file::backupOf(plain);
            report.remark(
                "The last save was not finished: the next start puts the backup in place of " +
                (file == nullptr ? "the missing " + plain : plain) + ".");
            file = backup;
        }
    }
    if (file == nullptr) return nullptr;
    report.bytes = file->bytes;
    report.state = FileState::WHOLE;
    if (file->problem.empty()) return &file->content;
    report.damaged("It cannot be read: " + file->problem + ".");
    return nullptr;
}
