#pragma once

#include <string>
#include <vector>

#include "tools/trace/PackageNames.h"
#include "tools/trace/TraceFile.h"
#include "tools/trace/TraceLines.h"
#include "tools/trace/UsageTime.h"

// An event that brought an application to the front.
struct UsageOpening {
    std::string time;  // as parseTraceTime() takes it
    std::string package;
    size_t line;
    TraceTime clock{0};  // the first moment at which clocks here show that time
};

using UsageOpenings = std::vector<UsageOpening>;

// The openings of one user in the lists of events of a dump, in the order of the lines.
class UsageSections {
  public:
    // Reads all lines; adds the notes and the number of skipped lines to the file. Throws
    // InputError or LineError.
    UsageSections(TraceLines& lines, const TraceOptions& options, TraceFile& file);

    // The user whose openings these are, and all users of the dump in order of appearance.
    int user() const { return mUser; }
    const std::vector<int>& users() const { return mUsers; }

    std::vector<UsageOpenings> sections;

  private:
    void add(std::string_view line);
    void addEvent(std::string_view line);
    void enter(int user);
    void readTimes();

    TraceLines& mLines;
    const TraceOptions& mOptions;
    TraceFile& mFile;
    DateOrderClues mClues;
    NameMap mNames;
    std::vector<int> mUsers;
    int mUser;
    int mCurrent = 0;
    size_t mBareLine = 0;  // the line above, when it is an opening that ends behind its package
};
