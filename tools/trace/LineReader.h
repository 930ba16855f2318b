#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

// Reads line by line, with a bound on what a line may cost. Not for use by two threads.
class LineReader {
  public:
    enum class Status {
        LINE,
        TOO_LONG,  // the line is skipped; the next call goes on behind it
        END,
        STOPPED,  // `stopDescriptor` became readable while waiting
        FAILED,   // errno says why
    };

    // Puts up to so many bytes there and returns how many: 0 at the end, -1 and errno for failure.
    using Source = std::function<ssize_t(char*, size_t)>;

    // Reads a descriptor. Neither becomes the reader's; `stopDescriptor` may be -1 for none.
    LineReader(int descriptor, size_t maxLength, int stopDescriptor = -1);

    LineReader(Source source, size_t maxLength)
        : mSource(std::move(source)), mMaxLength(maxLength) {}

    // The next line, without its newline. The last line needs none.
    Status next(std::string& line);

    // Whether the line returned last ended without a newline.
    bool isCut() const { return mCut; }

  private:
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    Status fill();

    const int mDescriptor = -1;
    const int mStopDescriptor = -1;
    const Source mSource;
    const size_t mMaxLength;
    std::string mBuffer;
    size_t mPosition = 0;
    bool mCut = false;
};
