#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "desktop/FrontSource.h"

// Reads what comes to the front line by line, "NAME" or "NAME PID", from another program that
// knows. Blanks around them do not count, nor do empty lines. A line that cannot be used is named
// on standard error and passed over.
class LineFront : public FrontSource {
  public:
    // The descriptor stays the caller's, and is never made non-blocking: a terminal is shared with
    // other programs.
    explicit LineFront(int descriptor) : mDescriptor(descriptor) {}

    int descriptor() const override { return mDescriptor; }
    std::optional<FrontApplication> next() override;
    bool ended() const override { return mAtEnd && mBuffer.empty(); }

    // Those whose process, the last one given with the name, is there.
    std::set<std::string> running() override;

  private:
    LineFront(const LineFront&) = delete;
    LineFront& operator=(const LineFront&) = delete;

    bool fill();
    std::optional<std::string> takeLine();
    std::optional<FrontApplication> parsed(const std::string& line);

    const int mDescriptor;
    std::string mBuffer;  // read and not taken yet
    bool mAtEnd = false;
    bool mSkipping = false;  // the rest of a line that is too long
    uint64_t mLine = 0;
    std::map<std::string, pid_t> mProcesses;
};
