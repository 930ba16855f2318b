#include "tools/trace/TraceLines.h"

#include "tools/common/Text.h"

namespace {

constexpr size_t MAX_LINE = 64 * 1024;

}  // namespace

TraceLines::TraceLines(std::string text)
    : mText(std::move(text)), mEnd(mText.find_last_not_of(" \t\r\n") + 1) {}

bool TraceLines::next(std::string_view& line) {
    if (mPosition == mText.size()) return false;
    const size_t end = mText.find('\n', mPosition);
    mOpen = end == std::string::npos;
    line = std::string_view(mText).substr(mPosition, mOpen ? end : end - mPosition);
    mPosition = mOpen ? mText.size() : end + 1;
    ++mNumber;
    if (line.size() > MAX_LINE) {
        throw LineError(mNumber, "the line is longer than " + grouped(MAX_LINE) + " bytes");
    }
    while (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.find('\0') != std::string_view::npos) {
        throw LineError(mNumber, "the line holds a NUL byte");
    }
    return true;
}

void TraceLines::forEach(bool skipBad, size_t& skipped,
                         const std::function<void(std::string_view)>& take) {
    std::string_view line;
    for (;;) {
        try {
            if (!next(line)) return;
            take(line);
        } catch (const LineError&) {
            if (!skipBad) throw;
            ++skipped;
        } catch (const InputError& error) {
            if (!skipBad) throw LineError(mNumber, error.what());
            ++skipped;
        }
    }
}
