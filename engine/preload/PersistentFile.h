#pragma once

#include <string>

#include "base/FileAccess.h"
#include "preload/FileNames.h"

// A file that is always rewritten as a whole and never loses what it held: the last complete copy
// waits beside it, under its path with ".bak" appended, until the new one is complete. A store that
// fails puts it back; when the process ends before that, the next load does.
//
// What could not be read is not overwritten: after a load that FAILED every store fails, until a
// load does not. The owner's lock guards the file; the functions set errno when they fail.
class PersistentFile {
  public:
    // A durable one has a complete copy on the disk at any moment, for which each store waits.
    enum Durability { DURABLE, REPLACEABLE };

    explicit PersistentFile(const std::string& path, Durability durability = DURABLE)
        : mPath(path), mBackupPath(engine_file::backupOf(path)), mDurability(durability) {}

    const std::string& path() const { return mPath; }
    const std::string& backupPath() const { return mBackupPath; }

    // Reads the file, or its backup when the last store did not finish.
    FileRead load(std::string& text);

    enum class Store {
        DONE,
        BACKUP_LEFT,    // done, but the backup could not be deleted
        REMOVE_FAILED,  // these name the step that failed: the file holds what it held
        RENAME_FAILED,
        OPEN_FAILED,
        WRITE_FAILED,
    };
    Store store(const std::string& text);

    static bool isStored(Store result) {
        return result == Store::DONE || result == Store::BACKUP_LEFT;
    }

    // Adds to the end of the file, or of its backup when the last store did not finish. False when
    // it failed, and the file is as it was. What was added is not synced.
    bool append(const std::string& text) const;

    // Deletes a malformed file; false on failure.
    bool remove() const;

  private:
    Store stepAside() const;
    Store write(const std::string& text) const;
    void putBack() const;
    Store discardBackup() const;

    const std::string mPath;
    const std::string mBackupPath;
    const Durability mDurability;
    int mReadError = 0;  // the errno of the last load, when that failed
};
