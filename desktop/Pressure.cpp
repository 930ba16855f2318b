#include "desktop/Pressure.h"

#include <fcntl.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdio>
#include <ctime>

namespace {

constexpr useconds_t PAUSE = 5000;
// Shares of the time that somebody waits.
constexpr double MEMORY_SHARE = 0.1;
constexpr double IO_SHARE = 0.3;

// "some avg10=0.00 avg60=0.00 avg300=0.00 total=1234" is the first line.
uint64_t someTotal(int descriptor) {
    char text[256];
    const ssize_t length = pread(descriptor, text, sizeof(text) - 1, 0);
    if (length <= 0) return 0;
    text[length] = '\0';
    uint64_t total = 0;
    sscanf(text, "some avg10=%*f avg60=%*f avg300=%*f total=%" SCNu64, &total);
    return total;
}

uint64_t microseconds() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<uint64_t>(time.tv_sec) * 1'000'000 +
           static_cast<uint64_t>(time.tv_nsec) / 1000;
}

double shareOf(uint64_t waited, uint64_t time) {
    return time == 0 ? 0 : static_cast<double>(waited) / static_cast<double>(time);
}

}  // namespace

Pressure::Pressure(const std::string& folder)
    : mMemory(open((folder + "/memory").c_str(), O_RDONLY | O_CLOEXEC)),
      mIo(open((folder + "/io").c_str(), O_RDONLY | O_CLOEXEC)) {}

Pressure::~Pressure() {
    if (mMemory >= 0) close(mMemory);
    if (mIo >= 0) close(mIo);
}

Pressure::Look Pressure::now() const {
    return {someTotal(mMemory), someTotal(mIo), microseconds()};
}

void Pressure::begin() {
    mLast = now();
}

Pressure::Kind Pressure::look() {
    if (!canBeRead()) return Kind::NONE;
    const Look before = now();
    usleep(PAUSE);
    const Look after = now();
    const double memory = shareOf(after.memory - mLast.memory, after.time - mLast.time);
    mLast = after;
    if (memory > MEMORY_SHARE) return Kind::MEMORY;
    if (shareOf(after.io - before.io, after.time - before.time) > IO_SHARE) return Kind::IO;
    return Kind::NONE;
}
