#include "tools/serve/LineReader.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>

namespace {

constexpr size_t BUFFER_SIZE = 64 * 1024;

// Waits for the descriptor to be readable. Returns false when `stopDescriptor` is so too.
bool waitFor(int descriptor, int stopDescriptor) {
    for (;;) {
        pollfd ready[] = {{descriptor, POLLIN, 0}, {stopDescriptor, POLLIN, 0}};
        if (poll(ready, 2, -1) >= 0) return ready[1].revents == 0;
        if (errno != EINTR) return true;  // reading will say what is wrong
    }
}

}  // namespace

LineReader::Status LineReader::next(std::string& line) {
    line.clear();
    bool tooLong = false;
    bool begun = false;
    for (;;) {
        if (mPosition == mBuffer.size()) {
            const Status status = fill();
            if (status == Status::END && begun) return tooLong ? Status::TOO_LONG : Status::LINE;
            if (status != Status::LINE) return status;
        }
        begun = true;
        const size_t end = mBuffer.find('\n', mPosition);
        const size_t stop = end == std::string::npos ? mBuffer.size() : end;
        tooLong = tooLong || line.size() + (stop - mPosition) > mMaxLength;
        if (!tooLong) line.append(mBuffer, mPosition, stop - mPosition);
        mPosition = end == std::string::npos ? stop : stop + 1;
        if (end != std::string::npos) return tooLong ? Status::TOO_LONG : Status::LINE;
    }
}

// LINE when there is something more to read.
LineReader::Status LineReader::fill() {
    for (;;) {
        if (!waitFor(mDescriptor, mStopDescriptor)) return Status::STOPPED;
        mBuffer.resize(BUFFER_SIZE);
        const ssize_t count = read(mDescriptor, mBuffer.data(), mBuffer.size());
        mBuffer.resize(count > 0 ? static_cast<size_t>(count) : 0);
        mPosition = 0;
        if (count > 0) return Status::LINE;
        if (count == 0) return Status::END;
        if (errno != EINTR && errno != EAGAIN) return Status::FAILED;
    }
}
