#include "tools/trace/TraceKind.h"

#include <algorithm>

#include "tools/common/Text.h"
#include "tools/trace/LsappTable.h"
#include "tools/trace/UsageLine.h"

namespace {

// Other services' dumps and a prompt may stand before the first event.
constexpr size_t FIRST_LOOK = 64 * 1024;
constexpr size_t FARTHEST_LOOK = 16 * 1024 * 1024;

bool endsWith(std::string_view path, std::string_view extension) {
    if (path.size() < extension.size()) return false;
    return std::equal(extension.rbegin(), extension.rend(), path.rbegin(),
                      [](char a, char b) { return a == (b >= 'A' && b <= 'Z' ? b + 32 : b); });
}

std::string_view takeLine(std::string_view& text) {
    const size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    while (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    return line;
}

bool isUsageStats(std::string_view text) {
    while (!text.empty()) {
        const std::string_view line = takeLine(text);
        if (isUsageDump(line)) return true;
    }
    return false;
}

}  // namespace

TraceKind kindOf(TraceLines& lines, const std::string& path) {
    std::string_view start = lines.peek(FIRST_LOOK);
    if (startsWith(start, "\xEF\xBB\xBF")) start.remove_prefix(3);
    const std::string_view first = takeLine(start);
    if (first == "time,package") return TraceKind::CSV;
    if (startsWith(first, LSAPP_HEADER)) {
        return TraceKind::LSAPP;
    }
    if (startsWith(first, "error: ") || startsWith(first, "adb: ") ||
        startsWith(first, "Can't find service: ")) {
        throw LineError(1, "no dump but a complaint of the debug bridge: " + inQuotes(first));
    }

    size_t look = FIRST_LOOK;
    for (;; look *= 8) {
        const std::string_view text = lines.peek(look);
        if (isUsageStats(text)) return TraceKind::USAGE_STATS;
        if (text.size() < look || look >= FARTHEST_LOOK) break;
    }
    std::string_view plain = path;
    if (endsWith(plain, ".gz")) plain.remove_suffix(3);
    if (endsWith(plain, ".csv")) return TraceKind::CSV;
    if (endsWith(plain, ".txt") || path == "-") return TraceKind::NAMES;
    if (first.empty() && lines.peek(1).empty()) throw InputError("the file is empty");
    throw InputError(
        "is neither a .csv nor a .txt file, and holds no dump of usagestats and no LSApp table");
}
