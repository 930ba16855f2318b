#pragma once

#include <chrono>
#include <cstddef>
#include <string>

// One line on standard error that shows how far a piece of work is and how long it will take,
// drawn at most ten times a second and wiped when the bar goes out of scope. Draws nothing when it
// is not wanted or standard error is no terminal.
class ProgressBar {
  public:
    // `before` is what was done already when the work began; the time left is judged without it.
    ProgressBar(bool wanted, size_t total, size_t before = 0);
    ~ProgressBar();

    // More work may turn up on the way.
    void setTotal(size_t total) { mTotal = total; }

    void update(size_t done);

  private:
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    using Clock = std::chrono::steady_clock;

    const bool mDrawing;
    size_t mTotal;
    const size_t mBefore;
    const Clock::time_point mStart;
    Clock::time_point mNextDraw;
};
