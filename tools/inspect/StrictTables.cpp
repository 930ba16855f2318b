#include "tools/inspect/StrictTables.h"

#include <algorithm>
#include <set>

#include "preload/BayesAdapter.h"
#include "tools/inspect/StrictLines.h"

using Fields = StrictLines::Fields;

std::string readBayesCounts(const std::string& text, BayesCounts& counts) {
    StrictLines lines(text);
    const auto readCounts = [&](const std::string& name, const auto& add) {
        return lines.list(
            name, "entries", "an entry of " + name, [&](const Fields& fields, int) -> std::string {
                const auto count = fields.size() == 2 ? parseNumber(fields[1]) : std::nullopt;
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
    const auto take = [&](const Fields& fields, int length) -> std::string {
        const auto index = fields.size() == 2 ? parseNumber(fields[1]) : std::nullopt;
        const std::string name(fields[0]);
        if (!index || !BayesAdapter::isPackageName(name)) return "is no name and index";
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
    const auto take = [&](const Fields& fields, int length) -> std::string {
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
