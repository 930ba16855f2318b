#pragma once

#include <string>

#include "tools/common/InputError.h"
#include "tools/trace/LineReader.h"
#include "tools/trace/TraceInput.h"

// What is wrong with a line that is not the one read last.
class LineError : public InputError {
  public:
    LineError(size_t line, const std::string& what) : InputError(what), mLine(line) {}
    size_t line() const { return mLine; }

  private:
    const size_t mLine;
};

// The lines of a trace file, without byte order mark and carriage returns.
class TraceLines {
  public:
    // Throws InputError when the file cannot be opened.
    explicit TraceLines(const std::string& path);

    // The file's beginning; see TraceInput::peek().
    std::string_view peek(size_t size) { return mInput.peek(size); }

    // False at the end. Throws LineError for a line that is too long or holds a NUL byte; the next
    // call goes on behind it. Throws InputError when the file cannot be read.
    bool next(std::string& line);

    // Of the line that was read last, from 1; 0 before the first.
    size_t number() const { return mNumber; }

    // Whether the line that was read last is the file's end without a newline.
    bool isCut() const { return mLines.isCut(); }

  private:
    TraceInput mInput;
    LineReader mLines;
    size_t mNumber = 0;
};
