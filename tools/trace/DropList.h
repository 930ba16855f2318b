#pragma once

#include <map>
#include <string>
#include <unordered_set>
#include <vector>

#include "tools/trace/TraceFile.h"

// The names that are not what a user opens.
class DropList {
  public:
    enum class Defaults { NONE, PHONE };

    DropList(const TraceOptions& options, Defaults defaults);

    // Whether the name is to be left out; counts it if so.
    bool drops(const std::string& name);

    // Adds what was dropped, and how often, to the notes.
    void note(std::vector<std::string>& notes) const;

  private:
    bool isListed(const std::string& name) const;

    const bool mPhone;  // with the names that a phone's log is full of
    std::unordered_set<std::string> mDropped;
    std::unordered_set<std::string> mKept;
    std::map<std::string, size_t> mCounts;
};
