#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <set>
#include <string>

// An application that came to the front.
struct FrontApplication {
    std::string name;   // a package name
    pid_t process = 0;  // whose window it is; 0 when that is not known
};

// Says which application is in front, to a caller that sleeps in poll() until it has something to
// say. For one thread.
class FrontSource {
  public:
    virtual ~FrontSource() = default;

    // Readable when next() may have something. It stays the source's.
    virtual int descriptor() const = 0;

    // The next change, oldest first; nothing when there is none now. A call never waits, and one
    // readable moment may hold several changes: ask until there is nothing. Whether the name is
    // another than before is for the caller to see. Throws std::runtime_error when the source is
    // lost.
    virtual std::optional<FrontApplication> next() = 0;

    // Whether nothing will come any more, as when the input has ended.
    virtual bool ended() const = 0;

    // A change that is followed by another within so long does not count: windows that are passed
    // over, and those that tell late whose they are.
    virtual std::chrono::milliseconds hold() const { return std::chrono::milliseconds(0); }

    // The names of the applications that run now, as far as the source knows: those with a window.
    virtual std::set<std::string> running() = 0;
};
