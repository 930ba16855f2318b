#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/trace/Trace.h"

// Picks a few moments of a replay, evenly spread over the trace, and shows for each what was in
// front, what was predicted and what was opened next.
class Moments {
  public:
    // The trace must live as long as this.
    Moments(const Trace& trace, size_t count) : mTrace(trace), mCount(count) {}

    // Whether a moment is due at this row: the place of the next one is reached, there is an answer
    // to show and an opening after it. Rows are asked about in order.
    bool isDue(size_t row, const std::vector<std::string>& answer) const;

    // Takes the moment that is due.
    void add(size_t row, const std::vector<std::string>& answer, bool fromNetwork);

    std::string text() const;

  private:
    struct Moment {
        size_t row;
        std::vector<std::string> predicted;  // at most four
        bool fromNetwork;
    };

    std::string describe(const Moment& moment) const;

    const Trace& mTrace;
    const size_t mCount;
    std::vector<Moment> mMoments;
};
