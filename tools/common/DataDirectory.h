#pragma once

#include <string>

// A fresh directory for one run, deleted with everything in it when it goes out of scope. It lies
// under TMPDIR or, when that is not set, in memory if the system has /dev/shm, else under /tmp.
// Throws std::runtime_error when it cannot be made.
class TemporaryDirectory {
  public:
    TemporaryDirectory();
    ~TemporaryDirectory();

    const std::string& path() const { return mPath; }

  private:
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    std::string mPath;
};

// Makes sure that the engine can keep its files there, making the directory (its last component)
// when it is missing. Throws InputError.
void prepareDataDirectory(const std::string& path);

// Keeps a directory to this run for as long as it lives, and leaves no trace in it: two engines
// would each write over what the other has learned. A directory that does not exist is nobody's.
// Throws InputError when another run has it.
class DirectoryLock {
  public:
    explicit DirectoryLock(const std::string& path);
    ~DirectoryLock();

  private:
    DirectoryLock(const DirectoryLock&) = delete;
    DirectoryLock& operator=(const DirectoryLock&) = delete;

    const int mDescriptor;
};

// Whether the engine could keep its files there: it writes into the directory, or makes its last
// component. Changes nothing.
bool canHoldData(const std::string& path);
