#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "desktop/FileNeed.h"

struct sqlite3;
struct sqlite3_stmt;

// What has been counted since the beginning.
struct Totals {
    uint64_t openings = 0;      // an application came to the front
    uint64_t answered = 0;      // ... and there was a prediction
    uint64_t hits = 0;          // ... that named it among the first N
    uint64_t launches = 0;      // ... and it was not running before
    uint64_t foreseen = 0;      // launches of applications whose files had been read ahead
    uint64_t warmLaunches = 0;  // launches that took hardly anything from the disk
    uint64_t bytesRead = 0;     // from the disk, ahead
    uint64_t bytesUsed = 0;     // of these, for applications that were launched later, and warm
    uint64_t stopped = 0;       // times that reading ahead was given up for pressure
};

// What each application needs and what has been counted, in one file. Nothing that is stored waits
// for the disk: a power cut may cost the last changes, never the file. When the file cannot be
// written any more, that is said once on standard error, and what comes is kept until the end of
// the process only. For one thread.
class NeedsStore {
  public:
    // A file that is none of this store's is put aside as PATH.broken. An empty path, or one that
    // cannot be opened, keeps everything in memory.
    explicit NeedsStore(const std::string& path);
    ~NeedsStore();

    // Replaces what the application needs. The applications that have not been seen for longest
    // are forgotten beyond 200.
    void setNeeds(const std::string& app, const std::vector<FileNeed>& files);

    // Nothing for an unknown application.
    std::vector<FileNeed> needs(const std::string& app);

    // The file is not any more what it was.
    void forget(const std::string& app, const std::string& path);

    // Of the 1,000 applications that have been seen last.
    void countOpening(const std::string& app);
    // The most often opened ones first.
    std::vector<std::string> mostOpened(size_t count);

    Totals totals();
    void setTotals(const Totals& totals);

  private:
    class Statement;

    NeedsStore(const NeedsStore&) = delete;
    NeedsStore& operator=(const NeedsStore&) = delete;

    bool openAt(const std::string& path);
    void execute(const char* sql);
    void complain();

    sqlite3* mDatabase = nullptr;
    std::string mPath;
    bool mComplained = false;
};

// The totals in the file at `path`, for reading beside a daemon that writes. Throws InputError when
// there is none.
Totals totalsOf(const std::string& path);
