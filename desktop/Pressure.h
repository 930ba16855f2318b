#pragma once

#include <cstdint>
#include <string>

// Whether others wait for memory or for the disk, by the kernel's pressure counters (PSI). It looks
// when it is asked and wakes nobody.
class Pressure {
  public:
    enum class Kind { NONE, MEMORY, IO };

    // `folder` holds the files memory and io. Where they cannot be read there is never pressure.
    explicit Pressure(const std::string& folder = "/proc/pressure");
    ~Pressure();

    bool canBeRead() const { return mMemory >= 0 && mIo >= 0; }

    // Forgets what was before.
    void begin();

    // What presses now. For memory, since the last look: reading ahead takes memory, and whoever
    // waits for some waits because of it. For the disk, during a pause of some milliseconds in
    // which the caller reads nothing: its own waits count as everybody's.
    Kind look();

  private:
    struct Look {
        uint64_t memory;  // microseconds that somebody has waited
        uint64_t io;
        uint64_t time;
    };

    Pressure(const Pressure&) = delete;
    Pressure& operator=(const Pressure&) = delete;

    Look now() const;

    int mMemory;
    int mIo;
    Look mLast{};
};
