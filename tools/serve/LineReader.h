#pragma once

#include <string>

// Reads a descriptor line by line, with a bound on what a line may cost. Not for use by two
// threads.
class LineReader {
  public:
    enum class Status {
        LINE,
        TOO_LONG,  // the line is skipped; the next call goes on behind it
        END,
        STOPPED,  // `stopDescriptor` became readable while waiting
        FAILED,   // errno says why
    };

    // Neither descriptor becomes the reader's.
    LineReader(int descriptor, size_t maxLength, int stopDescriptor)
        : mDescriptor(descriptor), mStopDescriptor(stopDescriptor), mMaxLength(maxLength) {}

    // The next line, without its newline. The last line needs none.
    Status next(std::string& line);

  private:
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    Status fill();

    const int mDescriptor;
    const int mStopDescriptor;
    const size_t mMaxLength;
    std::string mBuffer;
    size_t mPosition = 0;
};
