#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "tools/trace/DateOrderClues.h"
#include "tools/trace/TraceFile.h"
#include "tools/trace/TraceLines.h"
#include "tools/trace/UsageEvent.h"
#include "tools/trace/UsageLine.h"
#include "tools/trace/UsageTime.h"

// Texts and small numbers for them.
class TextNumbers {
  public:
    uint32_t numberOf(std::string_view text);
    const std::string& text(uint32_t number) const { return mTexts[number]; }
    const std::vector<std::string>& texts() const { return mTexts; }

  private:
    std::unordered_map<std::string, uint32_t> mNumbers;
    std::vector<std::string> mTexts;
};

// A line that ends too early to tell all of an event.
struct CutLine {
    size_t line;
    size_t end;  // the line that ends it when it is broken
    size_t section;
    std::optional<UsageTime> time;  // nothing when it is cut itself
    std::string type;               // its beginning
    std::string package;            // its beginning
};

// An event whose date is not understood yet.
struct DatedLine {
    UsageTime time;
    UsageEvent event;
    size_t end;  // the line that ends it when it is broken
    bool bare;   // nothing follows the package
};

// What the lines of a dump of usagestats hold, of one user; the dates as they stand.
class UsageSections {
  public:
    UsageSections(const TraceOptions& options, TraceFile& file)
        : mOptions(options), mFile(file), mUser(options.user.value_or(0)) {}

    // Reads all lines. Throws InputError and LineError.
    void read(TraceLines& lines);

    // The user whose events these are, and all users of the file in order of appearance.
    int user() const { return mUser; }
    const std::vector<int>& users() const { return mUsers; }

    std::vector<std::vector<DatedLine>> sections;
    std::vector<CutLine> cutLines;
    DateOrderClues clues;
    TextNumbers types;
    TextNumbers packages;
    size_t lastLine = 0;       // the last that is not blank
    bool lastLineCut = false;  // it has no newline

    // Counts a bad line when such are to be skipped, else throws LineError.
    void refuse(size_t line, const std::string& what);

  private:
    struct Pending {
        size_t line;
        size_t end;
        std::vector<std::string> parts;  // the line, and what a narrow terminal may have broken off
    };

    void add(std::string_view line, size_t number);
    void addHeading(std::string_view line);
    void flush();
    void addEvent(const std::string& text, size_t number, size_t end);
    void enter(int user);
    bool isWanted() const { return mCurrent == mUser; }

    const TraceOptions& mOptions;
    TraceFile& mFile;
    std::vector<int> mUsers;
    int mUser;
    int mCurrent = 0;
    std::optional<Pending> mPending;
};
