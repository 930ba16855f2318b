#include "tools/common/ProgressBar.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <regex>

namespace {

// Standard error as a terminal so many columns wide; 0 for one that does not know.
class Terminal {
  public:
    explicit Terminal(unsigned short columns)
        : mScreen(posix_openpt(O_RDWR | O_NOCTTY)), mStandardError(dup(STDERR_FILENO)) {
        grantpt(mScreen);
        unlockpt(mScreen);
        const int line = open(ptsname(mScreen), O_RDWR | O_NOCTTY);
        const winsize size = {24, columns, 0, 0};
        ioctl(line, TIOCSWINSZ, &size);
        dup2(line, STDERR_FILENO);
        close(line);
    }
    ~Terminal() {
        dup2(mStandardError, STDERR_FILENO);
        close(mStandardError);
        close(mScreen);
    }

    // What was written so far. The kernel hands it over in pieces, and not at once.
    std::string shown() const {
        const std::string end = "(end)";
        fputs(end.c_str(), stderr);
        std::string text;
        char piece[1024];
        while (text.size() < end.size() || text.substr(text.size() - end.size()) != end) {
            const ssize_t count = read(mScreen, piece, sizeof(piece));
            if (count <= 0) return text;
            text.append(piece, static_cast<size_t>(count));
        }
        return text.substr(0, text.size() - end.size());
    }

  private:
    const int mScreen;
    const int mStandardError;
};

// With 0 seconds, however long it took.
std::string shownAt(unsigned short columns) {
    const Terminal terminal(columns);
    ProgressBar(true, 1'000'000'000).update(1'000'000'000);
    return std::regex_replace(terminal.shown(), std::regex("[0-9]+ s"), "0 s");
}

TEST(ProgressBar, StaysOnOneLineOfTheTerminal) {
    const std::string figures = "100 %  1,000,000,000 of 1,000,000,000  0 s";
    const auto withBar = [&](size_t width) {
        return '[' + std::string(width, '#') + "] " + figures;
    };
    const struct {
        unsigned short columns;
        const char* variable;  // COLUMNS
        std::string line;
    } cases[] = {
        {200, "", withBar(30)}, {80, "", withBar(30)},    {60, "200", withBar(14)},
        {50, "", figures},      {10, "", "100 %  1,"},    {0, "60", withBar(14)},
        {0, "", withBar(30)},   {0, "wide", withBar(30)},
    };
    for (const auto& [columns, variable, line] : cases) {
        setenv("COLUMNS", variable, 1);
        EXPECT_EQ(shownAt(columns), '\r' + line + "\033[K\r\033[K") << columns << ' ' << variable;
    }
    unsetenv("COLUMNS");
}

}  // namespace
