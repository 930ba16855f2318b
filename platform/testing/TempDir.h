#pragma once

#include <string>
#include <vector>

// A fresh directory that is deleted, with everything in it, when it goes out of scope. The engine's
// data directory lies in it meanwhile.
class TempDir {
  public:
    TempDir();
    ~TempDir();

    const std::string& path() const { return mPath; }

    // The path of a file in it.
    std::string file(const std::string& name) const { return mPath + "/" + name; }

    // Reads a file of it whole; empty when it is missing.
    std::string read(const std::string& name) const;
    void write(const std::string& name, const std::string& content) const;
    bool exists(const std::string& name) const;

    // Deletes it, with everything in it, already now.
    void remove() const;

  private:
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    std::string mPath;
};

// The names in a directory.
std::vector<std::string> entriesOf(const std::string& directory);
