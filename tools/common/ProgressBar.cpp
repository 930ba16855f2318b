#include "tools/common/ProgressBar.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tools/common/Text.h"

namespace {

constexpr size_t WIDTH = 30;
constexpr std::chrono::milliseconds INTERVAL(100);

// How long work goes on that has taken `elapsed` seconds for `done` of its `total` pieces, "5 s
// left"; empty while nothing can be said.
std::string timeLeft(double elapsed, size_t done, size_t total) {
    if (done == 0 || done >= total) return "";
    const double pace = elapsed / static_cast<double>(done);
    const auto seconds = static_cast<uint64_t>(std::ceil(pace * static_cast<double>(total - done)));
    if (seconds < 100) return std::to_string(seconds) + " s left";
    const uint64_t minutes = (seconds + 59) / 60;
    if (minutes < 100) return std::to_string(minutes) + " min left";
    return std::to_string(minutes / 60) + " h " + std::to_string(minutes % 60) + " min left";
}

}  // namespace

ProgressBar::ProgressBar(bool wanted, size_t total)
    : mDrawing(wanted && total > 0 && isatty(STDERR_FILENO)),
      mTotal(total),
      mStart(Clock::now()),
      mNextDraw(mStart) {}

ProgressBar::~ProgressBar() {
    if (mDrawing) fputs("\r\033[K", stderr);
}

void ProgressBar::update(size_t done) {
    if (!mDrawing) return;
    const Clock::time_point now = Clock::now();
    if (now < mNextDraw) return;
    mNextDraw = now + INTERVAL;
    const size_t filled = std::min(done, mTotal) * WIDTH / mTotal;
    const std::string bar = std::string(filled, '#') + std::string(WIDTH - filled, '.');
    const double elapsed = std::chrono::duration<double>(now - mStart).count();
    const std::string left = timeLeft(elapsed, done, mTotal);
    fprintf(stderr, "\r[%s] %3zu %%  %s of %s  %.0f s%s%s\033[K", bar.c_str(), done * 100 / mTotal,
            grouped(done).c_str(), grouped(mTotal).c_str(), elapsed, left.empty() ? "" : ", ",
            left.c_str());
    fflush(stderr);
}
