#include "tools/trace/TraceLines.h"

#include "tools/common/Text.h"

namespace {

constexpr size_t MAX_LINE = 64 * 1024;

}  // namespace

TraceLines::TraceLines(const std::string& path)
    : mInput(path),
      mLines([this](char* to, size_t size) { return static_cast<ssize_t>(mInput.read(to, size)); },
             MAX_LINE) {}

bool TraceLines::next(std::string& line) {
    const LineReader::Status status = mLines.next(line);
    if (status == LineReader::Status::END) return false;
    ++mNumber;
    if (status == LineReader::Status::TOO_LONG) {
        throw LineError(mNumber, "the line is longer than " + grouped(MAX_LINE) + " bytes");
    }
    if (mNumber == 1 && line.rfind("\xEF\xBB\xBF", 0) == 0) line.erase(0, 3);
    while (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.find('\0') != std::string::npos) {
        throw LineError(mNumber, "the line holds a NUL byte");
    }
    return true;
}
