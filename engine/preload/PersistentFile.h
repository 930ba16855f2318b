#pragma once

#include <string>

#include "preload/FileNames.h"

// A file that is always rewritten as a whole, so that an interrupted rewrite does not lose what it
// held: the last complete copy waits beside it, under its path with ".bak" appended, until the new
// one is written.
//
//     file.stepAside();      // before the rewrite
//     ... write file.path() ...
//     file.discardBackup();  // once it is complete
//
// At load a backup that still exists replaces the file. The owner's lock guards the file; the
// functions set errno when they fail.
class PersistentFile {
  public:
    enum class StepAside { DONE, REMOVE_FAILED, RENAME_FAILED };

    explicit PersistentFile(const std::string& path)
        : mPath(path), mBackupPath(engine_file::backupOf(path)) {}

    const std::string& path() const { return mPath; }
    const std::string& backupPath() const { return mBackupPath; }

    // Makes room for a rewrite: an existing file becomes the backup, or is deleted when there is a
    // backup already, which then is the last complete copy.
    StepAside stepAside() const;

    // Deletes the backup, if any; false when it exists and cannot be deleted.
    bool discardBackup() const;

    // Puts the backup in the file's place, in one step; a failure is not reported.
    void restoreBackup() const;

    // Deletes the file; false on failure.
    bool remove() const;

  private:
    const std::string mPath;
    const std::string mBackupPath;
};
