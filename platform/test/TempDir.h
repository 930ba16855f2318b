#pragma once

#include <string>

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

  private:
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    std::string mPath;
};
