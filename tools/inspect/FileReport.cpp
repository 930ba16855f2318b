#include "tools/inspect/FileReport.h"

const char* nameOf(FileState state) {
    switch (state) {
        case FileState::MISSING:
            return "missing";
        case FileState::WHOLE:
            return "whole";
        case FileState::REFUSED:
            return "refused";
        case FileState::DAMAGED:
            return "damaged";
    }
    return "";
}

namespace {

const std::string* take(FileReport& report, const StoredFile* file) {
    if (file == nullptr) return nullptr;
    report.bytes = file->bytes;
    report.state = FileState::WHOLE;
    if (file->problem.empty()) return &file->content;
    report.damaged("It cannot be read: " + file->problem + ".");
    return nullptr;
}

}  // namespace

const std::string* openReport(FileReport& report, const EngineFiles& files) {
    return take(report, files.find(report.name));
}

const std::string* openReport(FileReport& report, const EngineFiles& files, bool alsoAlone) {
    const std::string plain = report.name;
    const StoredFile* const file = files.find(plain);
    const StoredFile* const backup = files.find(engine_file::backupOf(plain));
    const StoredFile* read = file;
    report.facts["backup"] = backup != nullptr;
    if (backup != nullptr && (file != nullptr || alsoAlone)) {
        report.name = engine_file::backupOf(plain);
        report.remark(
            "The last save was not finished: the next start puts the backup in place of " +
            (file == nullptr ? "the missing " + plain : plain) + ".");
        read = backup;
    } else if (backup != nullptr) {
        report.damaged("Only the backup is there, and the next start does not look at it: " +
                       plain + " begins anew. Stop the engine and rename the backup to keep it.");
        return nullptr;
    }
    return take(report, read);
}
