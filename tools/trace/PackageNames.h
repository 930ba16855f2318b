#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "tools/trace/TraceFile.h"

// Names as the engine's Bayes model takes them (preload/PackageName.h).

// The name with an underscore for each character that the model does not take.
std::string packageLikeName(std::string_view name);

// Makes the names of a file such that the model takes them.
class NameMap {
  public:
    // Throws InputError when another of the names has become the same.
    const std::string& map(const std::string& name);

  private:
    std::unordered_map<std::string, std::string> mOriginals;  // by what they have become
};

// Says which names of the trace the model does not take, and what they cost; empty when it takes
// all of them.
std::string noteOfOtherNames(const Trace& trace);
