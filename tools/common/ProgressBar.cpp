#include "tools/common/ProgressBar.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "tools/common/Text.h"

namespace {

constexpr size_t MAX_WIDTH = 30;
constexpr size_t MIN_WIDTH = 5;  // a shorter bar says nothing
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

// Of the terminal that standard error is; a serial line, for instance, does not know.
size_t columns() {
    winsize size = {};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    const char* const variable = getenv("COLUMNS");
    const int given = variable == nullptr ? 0 : atoi(variable);
    return given > 0 ? static_cast<size_t>(given) : 80;
}

// The figures behind a bar as long as there is room for, or by themselves. The last column stays
// free: some terminals begin a new line behind it.
std::string fitted(const std::string& figures, size_t done, size_t total) {
    const size_t room = columns() - 1;
    const size_t taken = figures.size() + 3;
    if (room < taken + MIN_WIDTH) return figures.substr(0, room);
    const size_t width = std::min(MAX_WIDTH, room - taken);
    const size_t filled = std::min(done, total) * width / total;
    return '[' + std::string(filled, '#') + std::string(width - filled, '.') + "] " + figures;
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
    const double elapsed = std::chrono::duration<double>(now - mStart).count();
    const std::string left = timeLeft(elapsed, done, mTotal);
    const std::string figures =
        formatted("%3zu %%  %s of %s  %.0f s%s%s", done * 100 / mTotal, grouped(done).c_str(),
                  grouped(mTotal).c_str(), elapsed, left.empty() ? "" : ", ", left.c_str());
    fprintf(stderr, "\r%s\033[K", fitted(figures, done, mTotal).c_str());
    fflush(stderr);
}
