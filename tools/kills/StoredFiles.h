#pragma once

#include <map>
#include <string>

// How one start of the engine found each of its files, and why it may have found it so.

enum class Found { LOADED, REFUSED, ABSENT };

struct Finding {
    Found found = Found::ABSENT;
    std::string window;  // why a file was refused or absent; empty when nothing allows it
};

using Findings = std::map<std::string, Finding>;  // by the file's name

// What lay in the data directory when a replay had been killed: taken before the next start, whose
// loaders delete and rename.
class StoredFiles {
  public:
    explicit StoredFiles(const std::string& directory);

    // Judges the next start by what it logged (at level 1) while it loaded.
    Findings judge(const std::string& log) const;

    // Whether a start's log reaches to where all files have been looked at.
    static bool hasLoaded(const std::string& log);

  private:
    Finding judgeModel(const std::string& log) const;
    Finding judgeTable(const std::string& name, const std::string& log,
                       const std::string& loadedLine) const;
    Finding judgePlain(const std::string& name, bool loaded) const;
    Finding judgeNetwork(const std::string& log) const;

    bool has(const std::string& name) const { return mContents.count(name) > 0; }
    const std::string& content(const std::string& name) const { return mContents.at(name); }

    std::map<std::string, std::string> mContents;  // by name
};
