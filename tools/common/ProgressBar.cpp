#include "tools/common/ProgressBar.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "tools/common/Text.h"

namespace {

constexpr size_t WIDTH = 30;
constexpr std::chrono::milliseconds INTERVAL(100);

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
    fprintf(stderr, "\r[%s] %3zu %%  %s of %s  %.0f s\033[K", bar.c_str(), done * 100 / mTotal,
            grouped(done).c_str(), grouped(mTotal).c_str(),
            std::chrono::duration<double>(now - mStart).count());
    fflush(stderr);
}
