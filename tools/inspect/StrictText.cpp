#include "tools/inspect/StrictText.h"

#include <algorithm>
#include <charconv>
#include <set>

#include "preload/PackageName.h"
#include "tools/common/Text.h"

std::optional<int> parseNumber(std::string_view text) {
    int number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || std::to_string(number) != text) return std::nullopt;
    return number;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (size_t begin = 0; begin <= text.size();) {
        const size_t end = std::min(text.find(separator, begin), text.size());
        parts.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return parts;
}

// Notes what is wrong with the line that was read last.
bool StrictLines::fail(const std::string& what) {
    if (mProblem.empty()) mProblem = "line " + std::to_string(mLine) + ": " + what;
    return false;
}

// The next line without its newline; nothing when there is none, or it is cut.
std::optional<std::string_view> StrictLines::next(const std::string& expected) {
    if (!mProblem.empty()) return std::nullopt;
    ++mLine;
    const size_t end = mRest.find('\n');
    if (end == std::string_view::npos) {
        fail("cut off" + (mRest.empty() ? ", where " + expected + " should follow" : ""));
        return std::nullopt;
    }
    const std::string_view line = mRest.substr(0, end);
    mRest.remove_prefix(end + 1);
    return line;
}

std::optional<int> StrictLines::number(const std::string& key) {
    const std::string expected = key.empty() ? "a number" : '"' + key + " NUMBER\"";
    const std::optional<std::string_view> line = next(expected);
    if (!line) return std::nullopt;
    const std::string prefix = key.empty() ? "" : key + ' ';
    std::optional<int> number;
    if (startsWith(*line, prefix)) number = parseNumber(line->substr(prefix.size()));
    if (!number) fail(inQuotes(*line) + " in place of " + expected);
    return number;
}

bool StrictLines::list(const std::string& key, const std::string& entries, const std::string& entry,
                       const Take& take) {
    const std::optional<int> length = number(key);
    if (!length) return false;
    if (*length < 0) return fail("less than no " + entries);
    for (int i = 0; i < *length; ++i) {
        const std::optional<std::string_view> line = next(entry);
        if (!line) return false;
        const std::string fault = take(split(*line, ' '), *length);
        if (!fault.empty()) return fail(inQuotes(*line) + ' ' + fault);
    }
    return true;
}

bool StrictLines::atEnd() {
    if (!mProblem.empty()) return false;
    if (mRest.empty()) return true;
    ++mLine;
    return fail("more than was announced");
}

std::string readBayesCounts(const std::string& text, BayesCounts& counts) {
    StrictLines lines(text);
    const auto readCounts = [&](const std::string& name, const auto& add) {
        return lines.list(name, "entries", "an entry of " + name,
                          [&](const StrictLines::Fields& fields, int) -> std::string {
                              const auto count =
                                  fields.size() == 2 ? parseNumber(fields[1]) : std::nullopt;
                              const bool good = count && *count >= 0 && add(fields[0], *count);
                              return good ? "" : "is no entry of " + name;
                          });
    };
    counts.samples = lines.number("mTotalSampleCount").value_or(0);
    counts.dimension = lines.number("mDimensionX").value_or(0);
    const int listed = lines.number("mVariableSpaceX").value_or(0);
    for (int i = 0; i < listed && lines.problem().empty(); ++i) {
        counts.maxima.push_back(lines.number("").value_or(0));
    }
    counts.classes = lines.number("mVariableSpaceY").value_or(0);
    readCounts("mDistributionY", [&](std::string_view key, int count) {
        const std::optional<int> y = parseNumber(key);
        return y && counts.classCounts.emplace(*y, count).second;
    });
    readCounts("mDistributionXandY", [&](std::string_view key, int count) {
        return counts.featureCounts.emplace(key, count).second;
    });
    lines.atEnd();
    return lines.problem();
}

std::string readAppTable(const std::string& text, std::vector<std::string>& names) {
    std::map<int, std::string> byIndex;
    std::set<std::string> known;
    StrictLines lines(text);
    const auto take = [&](const StrictLines::Fields& fields, int length) -> std::string {
        const auto index = fields.size() == 2 ? parseNumber(fields[1]) : std::nullopt;
        const std::string name(fields[0]);
        if (!index || !isPackageName(name)) return "is no name and index";
        if (*index < 0 || *index >= length || !known.insert(name).second ||
            !byIndex.emplace(*index, name).second) {
            return "repeats a name or index, or the index is too large";
        }
        return "";
    };
    lines.list("appmap", "names", "a name and its index", take);
    lines.atEnd();
    for (const auto& [index, name] : byIndex) names.push_back(name);
    return lines.problem();
}

std::string readUsageTable(const std::string& text, std::vector<AppUsage>& table) {
    StrictLines lines(text);
    const auto take = [&](const StrictLines::Fields& fields, int length) -> std::string {
        const bool whole = fields.size() == 3 && !fields[2].empty();
        const auto id = whole ? parseNumber(fields[0]) : std::nullopt;
        const auto opened = whole ? parseNumber(fields[1]) : std::nullopt;
        if (!id || !opened) return "is no id, count and name";
        const bool repeated = std::any_of(table.begin(), table.end(), [&](const AppUsage& usage) {
            return usage.package == fields[2] || usage.index == id;
        });
        if (repeated || *id < 0 || *id >= length || *opened < 1) {
            return "repeats a name or id, or a number is out of range";
        }
        table.push_back({std::string(fields[2]), *opened, *id});
        return "";
    };
    lines.list("", "records", "an id, a count and a name", take);
    lines.atEnd();
    std::sort(table.begin(), table.end(),
              [](const AppUsage& a, const AppUsage& b) { return a.index < b.index; });
    return lines.problem();
}
