#include "tools/trace/LsappTable.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <map>

#include "tools/common/Text.h"
#include "tools/trace/DropList.h"
#include "tools/trace/PackageNames.h"

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
    NameMap names;
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
        const std::string& name = names.map(app);  // display names, with blanks
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
