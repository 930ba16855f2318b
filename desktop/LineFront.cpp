#include "desktop/LineFront.h"

#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <stdexcept>

#include "desktop/PackageNames.h"
#include "tools/common/Output.h"
#include "tools/common/Text.h"

namespace {

constexpr size_t MAX_LINE = 4096;
constexpr int MOST_READS = 64;  // lines that say nothing may come without end
constexpr const char* BLANKS = " \t\r";

std::string_view withoutBlanks(std::string_view text) {
    const size_t begin = text.find_first_not_of(BLANKS);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(BLANKS) + 1 - begin);
}

bool isRunning(pid_t process) {
    return kill(process, 0) == 0 || errno == EPERM;
}

}  // namespace

std::optional<FrontApplication> LineFront::next() {
    int reads = 0;
    do {
        while (const std::optional<std::string> line = takeLine()) {
            if (std::optional<FrontApplication> app = parsed(*line)) return app;
        }
    } while (reads++ < MOST_READS && fill());
    return std::nullopt;
}

// Reads once if there is something; false when there is nothing now.
bool LineFront::fill() {
    pollfd ready = {mDescriptor, POLLIN, 0};
    if (mAtEnd || poll(&ready, 1, 0) <= 0) return false;
    char bytes[MAX_LINE];
    const ssize_t count = read(mDescriptor, bytes, sizeof bytes);
    if (count < 0) {
        if (errno == EINTR || errno == EAGAIN) return false;
        throw std::runtime_error(std::string("standard input cannot be read: ") + strerror(errno));
    }
    mBuffer.append(bytes, static_cast<size_t>(count));
    mAtEnd = count == 0;
    return true;
}

// The last line needs no newline.
std::optional<std::string> LineFront::takeLine() {
    for (;;) {
        const size_t newline = mBuffer.find('\n');
        const bool isWhole = newline != std::string::npos || mAtEnd;
        if (mBuffer.empty() || (!isWhole && mBuffer.size() <= MAX_LINE)) return std::nullopt;

        std::string line = mBuffer.substr(0, newline);
        mBuffer.erase(0, newline == std::string::npos ? newline : newline + 1);
        if (!mSkipping) ++mLine;
        const bool isRest = mSkipping;
        mSkipping = !isWhole;
        if (isRest) continue;
        if (line.size() <= MAX_LINE) return line;
        printError("stdin:" + std::to_string(mLine) + ": the line is longer than " +
                   grouped(MAX_LINE) + " bytes and is passed over");
    }
}

std::optional<FrontApplication> LineFront::parsed(const std::string& line) {
    const std::string_view text = withoutBlanks(line);
    if (text.empty()) return std::nullopt;
    const size_t end = std::min(text.find_first_of(BLANKS), text.size());
    const std::string_view number = withoutBlanks(text.substr(end));

    FrontApplication app{packageNameOf(text.substr(0, end))};
    const auto [rest, error] =
        std::from_chars(number.data(), number.data() + number.size(), app.process);
    const bool isProcess =
        error == std::errc() && rest == number.data() + number.size() && app.process > 0;
    if (!number.empty() && !isProcess) {
        printError("stdin:" + std::to_string(mLine) + ": " + inQuotes(text) +
                   " is neither \"NAME\" nor \"NAME PID\" and is passed over");
        return std::nullopt;
    }
    if (isProcess) mProcesses[app.name] = app.process;
    return app;
}

std::set<std::string> LineFront::running() {
    std::set<std::string> names;
    for (auto entry = mProcesses.begin(); entry != mProcesses.end();) {
        const bool isThere = isRunning(entry->second);
        if (isThere) names.insert(entry->first);
        entry = isThere ? std::next(entry) : mProcesses.erase(entry);
    }
    return names;
}
