#include "tools/trace/LsappTable.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <unordered_map>

#include "tools/common/Text.h"
#include "tools/trace/DropList.h"

namespace {

enum Column { USER, SESSION, TIME, APP, EVENT, COLUMNS };

struct Opening {
    TraceTime time;
    std::string name;
};

std::array<std::string_view, COLUMNS> split(std::string_view row) {
    if (std::count(row.begin(), row.end(), '\t') != COLUMNS - 1) {
        throw InputError("the row has not five fields with tabs between them");
    }
    std::array<std::string_view, COLUMNS> fields;
    for (std::string_view& field : fields) {
        field = row.substr(0, row.find('\t'));
        row.remove_prefix(std::min(row.size(), field.size() + 1));
    }
    return fields;
}

int parseUser(std::string_view text) {
    int user = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, user);
    if (error != std::errc() || stop != end || user < 0) {
        throw InputError(inQuotes(text) + " is no user_id");
    }
    return user;
}

// The display name as the engine takes names: each character that is no letter A-Z or a-z, digit,
// dot or underscore becomes an underscore.
std::string packageLikeName(std::string_view displayName) {
    std::string name;
    for (const char c : displayName) {
        const bool continuesCharacter = (c & 0xc0) == 0x80;
        const bool plain =
            c == '.' || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        if (!continuesCharacter) name += plain ? c : '_';
    }
    return name;
}

std::string listOf(const std::map<int, std::vector<Opening>>& users) {
    std::string list;
    for (const auto& [id, openings] : users) {
        list += (list.empty() ? "" : ", ") + std::to_string(id);
    }
    return list;
}

}  // namespace

void readLsapp(TraceLines& lines, const std::string& path, const TraceOptions& options,
               TraceFile& file) {
    std::string_view header;
    lines.next(header);
    if (header != LSAPP_HEADER)
        throw LineError(1, "the header has more columns than an LSApp table");
    DropList drops(options, DropList::Defaults::NONE);
    std::map<int, std::vector<Opening>> users;
    std::unordered_map<std::string, std::string> displayNames;
    size_t backward = 0;
    lines.forEach(options.skipBad, file.skipped, [&](std::string_view row) {
        if (isBlank(row)) return;
        const auto fields = split(row);
        const int id = parseUser(fields[USER]);
        std::vector<Opening>& openings = users[id];
        if (fields[EVENT] != "Opened" || (options.user && id != *options.user)) return;
        const std::string app(fields[APP]);
        if (isBlank(app)) throw InputError("the row has no app_name");
        const TraceTime last = openings.empty() ? TraceTime(0) : openings.back().time;
        const TraceTime time = parseTraceTime(fields[TIME], last);
        const std::string name = packageLikeName(app);
        const std::string& known = displayNames.emplace(name, app).first->second;
        if (known != app) {
            throw InputError(inQuotes(app) + " and " + inQuotes(known) + " both become " +
                             inQuotes(name));
        }
        if (drops.drops(app) || drops.drops(name)) return;
        backward += time < last ? 1 : 0;
        openings.push_back({time, name});
    });
    if (options.user && users.find(*options.user) == users.end()) {
        throw InputError("the file has no user " + std::to_string(*options.user) + ", only " +
                         listOf(users));
    }
    for (auto& [id, openings] : users) {
        if (openings.empty()) continue;
        std::stable_sort(openings.begin(), openings.end(),
                         [](const Opening& a, const Opening& b) { return a.time < b.time; });
        Trace trace;
        for (const Opening& opening : openings) trace.add(opening.time, opening.name);
        std::vector<Opening>().swap(openings);
        const bool several = users.size() > 1;
        file.traces.push_back({several ? path + "#" + std::to_string(id) : path, std::move(trace)});
    }
    if (backward > 0) {
        file.notes.push_back(grouped(backward) + (backward == 1 ? " row lies" : " rows lie") +
                             " before the one above: each user's rows are put in order of time");
    }
    drops.note(file.notes);
}
