#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "preload/AppUsage.h"

// The engine's two small tables, read strictly: `problem` says at which line a text is not what the
// engine writes.

// The application table: names and indexes.
class AppTable {
  public:
    static std::optional<AppTable> read(const std::string& text, std::string& problem);

    size_t size() const { return mIndexes.size(); }
    const std::map<std::string, int>& indexes() const { return mIndexes; }

    // The index of a name, as the engine finds it: a new valid name gets the next one, for good; -1
    // for a name that the engine does not take in.
    int indexOf(const std::string& name);
    bool knows(const std::string& name) const { return mIndexes.count(name) > 0; }

    // Empty when no name has the index.
    const std::string& nameOf(int index) const;

  private:
    void add(const std::string& name, int index);

    std::map<std::string, int> mIndexes;
    std::map<int, std::string> mNames;
};

// Whether the engine takes a name into its table: letters, digits, dots and underscores.
bool isPackageName(const std::string& name);

std::optional<std::vector<AppUsage>> readUsageTable(const std::string& text, std::string& problem);
