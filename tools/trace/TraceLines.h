#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "tools/common/InputError.h"

// What is wrong with a line of a file.
class LineError : public InputError {
  public:
    LineError(size_t line, const std::string& what) : InputError(what), mLine(line) {}
    size_t line() const { return mLine; }

  private:
    const size_t mLine;
};

// Whether the line shows nothing.
inline bool isBlank(std::string_view line) {
    return line.find_first_not_of(" \t") == std::string_view::npos;
}

// The lines of a text, without carriage returns. The views point into it.
class TraceLines {
  public:
    explicit TraceLines(std::string text);

    std::string_view text() const { return mText; }

    // False at the end. Throws LineError for a line that is too long or holds a NUL byte; the next
    // call goes on behind it.
    bool next(std::string_view& line);

    // Calls `take` with each line that is left. A bad one, for which next() or `take` throws
    // InputError, is counted when bad lines are to be skipped, and else ends this with LineError.
    void forEach(bool skipBad, size_t& skipped, const std::function<void(std::string_view)>& take);

    // Of the line that was read last, from 1; 0 before the first.
    size_t number() const { return mNumber; }

    // Whether nothing but blank lines follows the one that was read last.
    bool isLast() const { return mPosition >= mEnd; }

    // Whether the line that was read last has no newline.
    bool isOpen() const { return mOpen; }

  private:
    TraceLines(const TraceLines&) = delete;
    TraceLines& operator=(const TraceLines&) = delete;

    const std::string mText;
    const size_t mEnd;  // behind the last character that shows something
    size_t mPosition = 0;
    size_t mNumber = 0;
    bool mOpen = false;
};
