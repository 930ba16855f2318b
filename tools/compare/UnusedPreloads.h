#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

// By how many names are preloaded, 1 to MOST_PRELOADED.
constexpr size_t MOST_PRELOADED = 16;
using PlaceCounts = std::array<uint64_t, MOST_PRELOADED>;

// What a daemon would have preloaded for nothing, had it always held the first N names of a list
// in memory, for each N at once.
//
// A name is preloaded when it comes among the first N: it was not among them after the opening
// before, nor was it in front then. It is used when it is opened while it is still among them. When
// it drops out before, or there is no list any more, it was preloaded for nothing. What still waits
// at the end is not counted.
//
// Names go by numbers, 0, 1, 2, ...
class UnusedPreloads {
  public:
    // `front` has come to the front, and this is the list made then, without it. Names behind the
    // first MOST_PRELOADED may be left out.
    void next(size_t front, const std::vector<size_t>& list);

    const PlaceCounts& counts() const { return mCounts; }

  private:
    using Places = uint32_t;  // a bit for each N

    struct Name {
        Places held = 0;     // it is among the first N, or in front
        Places before = 0;   // the same after the opening before
        Places waiting = 0;  // it was preloaded and is yet to be opened
    };

    Name& at(size_t name);

    std::vector<Name> mNames;
    std::vector<size_t> mHeld;  // those that are held somewhere
    PlaceCounts mCounts{};
};
