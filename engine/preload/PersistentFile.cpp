#include "preload/PersistentFile.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "base/Environment.h"
#include "preload/FileAccess.h"

PersistentFile::StepAside PersistentFile::stepAside() const {
    if (!fileExists(mPath)) return StepAside::DONE;
    if (fileExists(mBackupPath)) return remove() ? StepAside::DONE : StepAside::REMOVE_FAILED;
    return rename(mPath.c_str(), mBackupPath.c_str()) == 0 ? StepAside::DONE
                                                           : StepAside::RENAME_FAILED;
}

bool PersistentFile::discardBackup() const {
    if (!fileExists(mBackupPath) || unlink(mBackupPath.c_str()) == 0) return true;
    environment::noteStorageFailure(mBackupPath, errno);
    return false;
}

void PersistentFile::restoreBackup() const {
    rename(mBackupPath.c_str(), mPath.c_str());
}

bool PersistentFile::remove() const {
    return unlink(mPath.c_str()) == 0;
}
