#pragma once

#include <string>

// Whether this is how a user asks for standard output in place of a file.
bool isStandardOutput(const std::string& output);

// Throws InputError when the output would take the place of the input: when both are the same
// regular file, under whatever names. "-" is standard input, and standard output, which is no file.
void requireOtherFile(const std::string& input, const std::string& output);

// A file that is there whole or not at all: what is written goes to a temporary file beside it,
// which takes its place on commit() and is deleted otherwise. What is no regular file, a terminal
// or a pipe, is written at once; so is standard output, which "-" names, by writeOutput().
//
//   OutputFile file("report.html");
//   file.write(text);
//   file.commit();
//
// All throw std::runtime_error, one line that begins with the path.
class OutputFile {
  public:
    explicit OutputFile(const std::string& path);
    ~OutputFile();

    void write(const std::string& text);

    // What was written is the file from now on; nothing can be written any more.
    void commit();

  private:
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    [[noreturn]] void fail() const;

    const std::string mPath;  // as it was given
    std::string mTarget;      // behind a symbolic link
    std::string mTemporary;   // empty when the target is written at once
    int mDescriptor = -1;     // of nothing while standard output is written
};
