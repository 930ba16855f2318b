#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "preload/FileNames.h"

// One entry of the directory as it was found.
struct StoredFile {
    uint64_t bytes = 0;
    std::string content;
    std::string problem;  // why it could not be read; empty when it was
};

// What lay in a data directory at one moment. Everything is read once and nothing is changed, so
// that an engine may be at work there meanwhile.
class EngineFiles {
  public:
    // Throws InputError when `directory` is none or cannot be listed.
    explicit EngineFiles(const std::string& directory);

    // Null when there is no file of that name.
    const StoredFile* find(const std::string& name) const;

    // The names and sizes of what the engine neither writes nor looks at, in order.
    const std::map<std::string, uint64_t>& foreign() const { return mForeign; }

    // Writes the engine's files into an empty directory. What could not be read becomes a file that
    // cannot be opened there either.
    void copyTo(const std::string& directory) const;

  private:
    std::map<std::string, StoredFile> mFiles;
    std::map<std::string, uint64_t> mForeign;
};
