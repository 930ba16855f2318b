#include "preload/TextTable.h"

#include <cerrno>
#include <fstream>

#include "base/Environment.h"
#include "base/Logger.h"
#include "preload/FileAccess.h"

TableLoad loadTable(const PersistentFile& file, const std::function<void(std::istream&)>& read) {
    // Without the file itself the backup is not consulted.
    if (!fileReadable(file.path())) return TableLoad::MISSING;
    if (fileReadable(file.backupPath())) file.restoreBackup();
    std::ifstream stream(file.path());
    read(stream);
    if (!stream.fail()) return TableLoad::LOADED;
    ENGINE_LOG(LEVEL_WARNING, "AppPreloadModel", "file %s format error", file.path().c_str());
    stream.close();
    if (!file.remove()) environment::noteStorageFailure(file.path(), errno);
    return TableLoad::MALFORMED;
}

bool storeTable(const PersistentFile& file, const std::function<void(std::ostream&)>& write) {
    file.stepAside();  // when it fails the file is overwritten in place
    std::ofstream stream(file.path(), std::ios::trunc);
    write(stream);
    stream.flush();
    const bool written = !stream.fail();
    if (!written) environment::noteStorageFailure(file.path(), errno);
    stream.close();
    if (written) {
        file.discardBackup();
    } else {
        file.remove();
    }
    return written;
}
