#pragma once

#include <string>

// A new directory that is there whole or not at all: the files are made in a temporary directory
// beside it, which takes its name on commit() and is deleted otherwise.
class OutputDirectory {
  public:
    // Throws InputError when something is there already, other than an empty directory, and
    // std::runtime_error when nothing can be made there.
    explicit OutputDirectory(const std::string& path);
    ~OutputDirectory();

    // Where to make a file until commit().
    std::string file(const std::string& name) const { return mTemporary + "/" + name; }

    // Throws std::runtime_error.
    void commit();

  private:
    OutputDirectory(const OutputDirectory&) = delete;
    OutputDirectory& operator=(const OutputDirectory&) = delete;

    std::string mPath;
    std::string mTemporary;
};
