#pragma once

#include <chrono>
#include <cstddef>
#include <string>

// One line on standard error that shows how far a piece of work is and how long it will take,
// drawn at most ten times a second, no wider than the terminal, and wiped when the bar goes out of
// scope. Draws nothing when it is not wanted or standard error is no terminal.
class ProgressBar {
  public:
    ProgressBar(bool wanted, size_t total);
    ~ProgressBar();

    void update(size_t done);

  private:
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    using Clock = std::chrono::steady_clock;

    const bool mDrawing;
    const size_t mTotal;
    const Clock::time_point mStart;
    Clock::time_point mNextDraw;
};
