#include "tools/trace/UsageLine.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "tools/common/Text.h"
#include "tools/trace/TraceLines.h"

namespace {

constexpr std::string_view OPENINGS[] = {"MOVE_TO_FOREGROUND", "ACTIVITY_RESUMED", "1"};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// The text between the quotes, if it stands in such.
std::string_view unquoted(std::string_view text) {
    const bool quoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return quoted ? text.substr(1, text.size() - 2) : text;
}

// What stands behind a field's name; empty when there is no such field.
std::string_view behind(std::string_view line, std::string_view field) {
    const size_t at = line.find(field);
    return at == std::string_view::npos ? "" : line.substr(at + field.size());
}

}  // namespace

UsageLine parseUsageLine(std::string_view line) {
    UsageLine result;
    const std::string_view fromType = behind(line, " type=");
    const size_t typeEnd = fromType.find(' ');
    if (typeEnd == std::string_view::npos) {
        result.isCut = true;
        return result;
    }
    const std::string_view type = unquoted(fromType.substr(0, typeEnd));
    result.isOpening =
        std::find(std::begin(OPENINGS), std::end(OPENINGS), type) != std::end(OPENINGS);
    if (!result.isOpening) return result;

    const std::string_view time = line.substr(5, line.find(" type=") - 5);
    result.time = unquoted(time.substr(0, time.find_last_not_of(' ') + 1));
    const std::string_view fromPackage = behind(fromType, " package=");
    const size_t packageEnd = fromPackage.find(' ');
    result.package = unquoted(fromPackage.substr(0, packageEnd));
    result.isCut = result.package.empty();
    result.endsAtPackage = packageEnd == std::string_view::npos;
    return result;
}

bool beginsUsageEvent(std::string_view line) {
    return startsWith(line, "time=\"") ||
           (startsWith(line, "time=") && (line.size() == 5 || isDigit(line[5])));
}

bool isUsageHeading(std::string_view line) {
    return holds(line, "events") || holds(line, "stats") || usageUser(line);
}

std::optional<int> usageUser(std::string_view line) {
    if (!startsWith(line, "user=")) return std::nullopt;
    line.remove_prefix(5);
    int user = 0;
    const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), user);
    if (error != std::errc() || user < 0) return std::nullopt;
    line.remove_prefix(static_cast<size_t>(end - line.data()));
    const bool alone = isBlank(line) || line == " {" || line == ":";
    return alone ? std::optional(user) : std::nullopt;
}

bool isUsageDump(std::string_view line) {
    if (beginsUsageEvent(line)) return startsWith(line, "time=\"") || holds(line, " type=");
    return startsWith(line, "In-memory ") || startsWith(line, "Last 24 hour events") ||
           startsWith(line, "DUMP OF SERVICE usagestats") || usageUser(line);
}
