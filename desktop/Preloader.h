#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "desktop/FileNeed.h"
#include "desktop/Pressure.h"

// Reads parts of files into the page cache, a piece at a time, so that the caller can look after
// other things between two pieces: at most a MiB is on its way when it stops. For one thread, the
// one that lowered its I/O priority.
class Preloader {
  public:
    enum class State { IDLE, READING, DONE, BUDGET, MEMORY_PRESSURE, IO_PRESSURE };

    explicit Preloader(Pressure& pressure);
    ~Preloader();

    // Drops what was planned before. Until `budget` bytes have come from the disk.
    void begin(uint64_t budget);

    // Plans an application's files, in the order of the disk, behind those of the applications
    // planned before. Pages that are in memory already cost next to nothing.
    void plan(const std::string& app, std::vector<FileNeed> files);

    // Reads the next piece. READING while there is more to do.
    State step();

    void stop() { mState = State::IDLE; }

    // Goes on where pressure has stopped it.
    void resume();

    State state() const { return mState; }

    // Since begin(): what was asked for, in all; and by application, what came from the disk.
    uint64_t plannedBytes() const { return mPlannedBytes; }
    uint64_t bytesRead() const { return mBytesRead; }
    const std::map<std::string, uint64_t>& bytesReadByApp() const { return mByApp; }

    // The applications whose files have all been gone through.
    const std::set<std::string>& completed() const { return mCompleted; }

    // Files that are not any more what they were, with the application: nothing of them was read.
    const std::vector<std::pair<std::string, std::string>>& changedFiles() const {
        return mChanged;
    }

  private:
    struct Item {
        std::string app;
        FileNeed file;
    };

    Preloader(const Preloader&) = delete;
    Preloader& operator=(const Preloader&) = delete;

    bool openNext();
    void readPiece();

    uint64_t fetchedSoFar() const;

    Pressure& mPressure;
    const int mAccounts;  // what this thread has had fetched from disks
    State mState = State::IDLE;
    uint64_t mBudget = 0;
    std::deque<Item> mItems;          // the first one is being read
    std::unique_ptr<OpenFile> mFile;  // its file, once it is open
    uint64_t mSinceLook = 0;          // bytes asked for
    uint64_t mPlannedBytes = 0;
    uint64_t mBytesRead = 0;
    std::map<std::string, uint64_t> mByApp;
    std::set<std::string> mCompleted;
    std::vector<std::pair<std::string, std::string>> mChanged;
};

// Lets this thread's reads wait for those of everybody else.
void useIdleIoClass();
