#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "zml/Learner.h"

namespace zml {

// The places in the history where the last two ids stood before, newest first: what followed there,
// and how many openings ago.
struct Repeats {
    static constexpr size_t MAX = 256;
    static constexpr size_t LONGEST = 16;

    size_t count = 0;
    std::array<uint8_t, MAX> ids;
    std::array<float, MAX> ages;  // 0: the newest opening of all

    // The place before which most ids are the same as now, the newest of several: how many are, at
    // most LONGEST, and what followed there. 0 when there is no place.
    size_t matched = 0;
    size_t matchedId = 0;
};

// The newest CAPACITY openings, oldest first, in runs: what is opened within one follows on what
// was opened before it. A plain value of fixed size, for one thread at a time.
class OpeningHistory {
  public:
    static constexpr size_t CAPACITY = 8192;

    // What comes next does not follow on what came last.
    void beginRun();

    void add(int id);

    // Takes no longer however long the history is: MAX places are looked at.
    void findRepeats(Repeats& repeats) const;

  private:
    uint8_t at(size_t place) const { return mIds[place % CAPACITY]; }
    size_t oldest() const { return mEnd > CAPACITY ? mEnd - CAPACITY : 0; }

    // The number of the two ids before the end, -1 when the run has not so many yet.
    int context() const;

    size_t matchBefore(size_t place, size_t least) const;

    // Places are numbered from the first opening on. The places that follow the same two ids are
    // chained: each leads to the one before it by its distance, 0 at the end of the chain.
    std::array<uint8_t, CAPACITY> mIds = {};
    std::array<uint16_t, CAPACITY> mDistances = {};
    std::array<size_t, VOCABULARY* VOCABULARY> mNewest = {};  // 0: none, as no two ids precede it
    size_t mEnd = 0;
};

}  // namespace zml
