#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "tools/trace/TraceTime.h"

// A recorded trace: which name came to the front, and when, in the order in which it happened.
// Names are kept as they stand.
class Trace {
  public:
    // Reads a file that holds one person's openings; see TraceFile.h. Throws InputError,
    // "FILE:17: what is wrong".
    static Trace read(const std::string& path);

    // REQUIRES: the time is not before the last.
    void add(TraceTime time, const std::string& name) {
        const auto [known, isNew] = mPlaces.emplace(name, mNames.size());
        if (isNew) mNames.push_back(name);
        mOpenings.push_back({time, known->second});
    }

    // The number of openings, at least one once it has been read.
    size_t size() const { return mOpenings.size(); }
    TraceTime time(size_t row) const { return mOpenings[row].time; }
    const std::string& name(size_t row) const { return mNames[mOpenings[row].name]; }

    // All distinct names, in order of appearance, and which of them this row has.
    const std::vector<std::string>& names() const { return mNames; }
    size_t number(size_t row) const { return mOpenings[row].name; }

    // Whether the openings have no times of their own: the file held none, or they are so evenly
    // spaced as those are that were given some.
    bool hasInventedTimes() const;
    void setInventedTimes() { mInventedTimes = true; }

  private:
    struct Opening {
        TraceTime time;
        size_t name;  // its place in mNames
    };

    std::vector<Opening> mOpenings;
    std::vector<std::string> mNames;
    std::unordered_map<std::string, size_t> mPlaces;  // of the names in mNames
    bool mInventedTimes = false;
};
