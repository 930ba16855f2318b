#include "preload/PersistentFile.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "base/Environment.h"

namespace {

constexpr mode_t MODE = 0666;
constexpr size_t MAX_BYTES = 256 << 20;  // far above the longest history

enum class Presence { ABSENT, PRESENT, UNKNOWN };

Presence presenceOf(const std::string& path) {
    if (access(path.c_str(), F_OK) == 0) return Presence::PRESENT;
    return isAbsence(errno) ? Presence::ABSENT : Presence::UNKNOWN;
}

bool move(const std::string& from, const std::string& to) {
    if (rename(from.c_str(), to.c_str()) == 0) return true;
    if (!isAbsence(errno)) {
        const int error = errno;
        environment::noteStorageFailure(from, error);
        errno = error;
    }
    return false;
}

}  // namespace

FileRead PersistentFile::load(std::string& text) {
    FileRead result = readFile(mBackupPath, MAX_BYTES, text);
    if (result == FileRead::READ) move(mBackupPath, mPath);
    if (result == FileRead::MISSING) result = readFile(mPath, MAX_BYTES, text);
    mReadError = result == FileRead::FAILED ? errno : 0;
    return result;
}

PersistentFile::Store PersistentFile::store(const std::string& text) {
    if (mReadError != 0) {
        errno = mReadError;
        return Store::OPEN_FAILED;
    }
    if (const Store aside = stepAside(); aside != Store::DONE) return aside;
    const Store written = write(text);
    if (written == Store::DONE) return discardBackup();
    const int error = errno;
    putBack();
    errno = error;
    return written;
}

// The file becomes the backup. Beside a backup, which then is the last complete copy, it is
// deleted.
PersistentFile::Store PersistentFile::stepAside() const {
    const Presence file = presenceOf(mPath);
    if (file == Presence::ABSENT) return Store::DONE;
    const Presence backup = file == Presence::UNKNOWN ? Presence::UNKNOWN : presenceOf(mBackupPath);
    switch (backup) {
        case Presence::PRESENT:
            return remove() ? Store::DONE : Store::REMOVE_FAILED;
        case Presence::ABSENT:
            return move(mPath, mBackupPath) ? Store::DONE : Store::RENAME_FAILED;
        case Presence::UNKNOWN:
            break;
    }
    environment::noteStorageFailure(mPath, errno);
    return Store::RENAME_FAILED;
}

PersistentFile::Store PersistentFile::write(const std::string& text) const {
    const bool synced = mDurability == DURABLE;
    switch (writeFile(mPath, MODE, text, synced)) {
        case FileWrite::OPEN_FAILED:
            return Store::OPEN_FAILED;
        case FileWrite::WRITE_FAILED:
            return Store::WRITE_FAILED;
        case FileWrite::WRITTEN:
            break;
    }
    return !synced || syncDirectoryOf(mPath) ? Store::DONE : Store::WRITE_FAILED;
}

// Where that fails, the next load takes the backup.
void PersistentFile::putBack() const {
    if (!move(mBackupPath, mPath) && isAbsence(errno)) unlink(mPath.c_str());
}

PersistentFile::Store PersistentFile::discardBackup() const {
    if (unlink(mBackupPath.c_str()) == 0 || isAbsence(errno)) return Store::DONE;
    const int error = errno;
    environment::noteStorageFailure(mBackupPath, error);
    // The next load takes a backup for the last complete copy: let it be that.
    if (move(mPath, mBackupPath)) move(mBackupPath, mPath);
    errno = error;
    return Store::BACKUP_LEFT;
}

bool PersistentFile::append(const std::string& text) const {
    std::string whole;
    const FileRead backup = readFile(mBackupPath, MAX_BYTES, whole);
    if (backup == FileRead::FAILED) return false;
    if (backup == FileRead::READ && !move(mBackupPath, mPath)) return false;
    return appendToFile(mPath, MODE, text);
}

bool PersistentFile::remove() const {
    if (unlink(mPath.c_str()) == 0) return true;
    const int error = errno;
    environment::noteStorageFailure(mPath, error);
    errno = error;
    return false;
}
