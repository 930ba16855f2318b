#pragma once

#include <string>
#include <vector>

#include "tools/trace/TraceTime.h"

// A recorded trace: which name came to the front, and when, in the order in which it happened.
//
// A .csv file has the header `time,package` and a row for each opening; the times (see TraceTime.h)
// do not run backwards. The name is what stands behind the first comma, unless a double quote
// begins it: then it is quoted as RFC 4180 says. A .txt file has a name a line and no times: its
// openings are taken to lie one minute apart from 2024-01-01T00:00:00Z. Names are kept as they
// stand.
class Trace {
  public:
    // Reads and checks the whole file. Throws InputError, "FILE:17: what is wrong".
    static Trace read(const std::string& path);

    // The number of openings, at least one.
    size_t size() const { return mOpenings.size(); }
    TraceTime time(size_t row) const { return mOpenings[row].time; }
    const std::string& name(size_t row) const { return mNames[mOpenings[row].name]; }

    // All distinct names, in order of appearance.
    const std::vector<std::string>& names() const { return mNames; }

  private:
    friend class TraceReader;

    struct Opening {
        TraceTime time;
        size_t name;  // its place in mNames
    };

    std::vector<Opening> mOpenings;
    std::vector<std::string> mNames;
};
