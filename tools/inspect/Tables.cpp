#include "tools/inspect/Tables.h"

#include <algorithm>

#include "tools/common/Text.h"
#include "tools/inspect/StrictLines.h"

bool isPackageName(const std::string& name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
        return c == '.' || c == '_' || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') ||
               (c >= 'a' && c <= 'z');
    });
}

std::optional<AppTable> AppTable::read(const std::string& text, std::string& problem) {
    StrictLines lines(text);
    AppTable table;
    const int count = lines.number("appmap").value_or(0);
    if (count < 0) lines.fail("less than no names");
    for (int i = 0; i < count && lines.problem().empty(); ++i) {
        const auto line = lines.next("a name and its index");
        if (!line) break;
        const size_t blank = line->rfind(' ');
        const std::string name(line->substr(0, blank));
        const std::optional<int> index =
            blank == std::string_view::npos ? std::nullopt : parseNumber(line->substr(blank + 1));
        if (!index || !isPackageName(name)) {
            lines.fail(inQuotes(*line) + " is no name and index");
        } else if (table.knows(name) || *index < 0 || *index >= count ||
                   table.mNames.count(*index) > 0) {
            lines.fail(inQuotes(*line) + " repeats a name or index, or the index is too large");
        } else {
            table.add(name, *index);
        }
    }
    lines.atEnd();
    problem = lines.problem();
    if (!problem.empty()) return std::nullopt;
    return table;
}

void AppTable::add(const std::string& name, int index) {
    mIndexes[name] = index;
    mNames[index] = name;
}

int AppTable::indexOf(const std::string& name) {
    if (!isPackageName(name)) return -1;
    if (!knows(name)) add(name, static_cast<int>(size()));
    return mIndexes[name];
}

const std::string& AppTable::nameOf(int index) const {
    static const std::string none;
    const auto found = mNames.find(index);
    return found == mNames.end() ? none : found->second;
}

std::optional<std::vector<AppUsage>> readUsageTable(const std::string& text, std::string& problem) {
    StrictLines lines(text);
    std::vector<AppUsage> table;
    const int count = lines.number("").value_or(0);
    if (count < 0) lines.fail("less than no records");
    for (int i = 0; i < count && lines.problem().empty(); ++i) {
        const auto line = lines.next("an id, a count and a name");
        if (!line) break;
        const size_t first = line->find(' ');
        const size_t second = first == line->npos ? first : line->find(' ', first + 1);
        const auto number = [&](size_t begin, size_t end) {
            return second == line->npos ? std::nullopt
                                        : parseNumber(line->substr(begin, end - begin));
        };
        const std::optional<int> id = number(0, first);
        const std::optional<int> opened = number(first + 1, second);
        const std::string name(second == line->npos ? "" : line->substr(second + 1));
        const bool repeated = std::any_of(table.begin(), table.end(), [&](const AppUsage& usage) {
            return usage.package == name || usage.index == id;
        });
        if (!id || !opened || name.empty() || name.find(' ') != name.npos) {
            lines.fail(inQuotes(*line) + " is no id, count and name");
        } else if (repeated || *id < 0 || *id >= count || *opened < 1) {
            lines.fail(inQuotes(*line) + " repeats a name or id, or a number is out of range");
        } else {
            table.push_back({name, *opened, *id});
        }
    }
    lines.atEnd();
    problem = lines.problem();
    if (!problem.empty()) return std::nullopt;
    return table;
}
