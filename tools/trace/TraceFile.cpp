#include "tools/trace/TraceFile.h"

#include <algorithm>
#include <map>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"
#include "tools/trace/DropList.h"
#include "tools/trace/LsappTable.h"
#include "tools/trace/PackageNames.h"
#include "tools/trace/TraceCsv.h"
#include "tools/trace/TraceInput.h"
#include "tools/trace/TraceLines.h"
#include "tools/trace/UsageDump.h"

namespace {

// Other services' dumps and a prompt may stand before the first event of a dump.
constexpr size_t FARTHEST_LOOK = 16 * 1024 * 1024;

constexpr TraceTime FIRST_UNTIMED = std::chrono::seconds(1704067200);  // 2024-01-01T00:00:00Z
constexpr TraceTime UNTIMED_STEP = std::chrono::minutes(1);

enum class Kind { CSV, NAMES, USAGE_STATS, LSAPP };

// The end of the path in lower case, without what tells that it is packed.
std::string extensionOf(std::string path) {
    for (char& c : path) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    if (endsWith(path, ".gz")) path.resize(path.size() - 3);
    return path.substr(std::min(path.rfind('.'), path.size()));
}

// What the content tells; a CSV file with a wrong header and a list of names are known by the path
// alone, and names may come from standard input too.
Kind kindOf(std::string_view text, const std::string& path) {
    if (text.empty()) throw InputError("the file is empty");
    const std::string_view first = text.substr(0, text.find_first_of("\r\n"));
    if (first == "time,package") return Kind::CSV;
    if (startsWith(first, LSAPP_HEADER)) return Kind::LSAPP;
    if (startsWith(first, "error: ") || startsWith(first, "adb: ") ||
        startsWith(first, "Can't find service: ")) {
        throw LineError(1, "no dump but a complaint of the debug bridge: " + inQuotes(first));
    }
    if (holdsUsageDump(text.substr(0, FARTHEST_LOOK))) return Kind::USAGE_STATS;
    const std::string extension = extensionOf(path);
    if (extension == ".csv") return Kind::CSV;
    if (extension == ".txt" || path == "-") return Kind::NAMES;
    throw InputError(
        "is neither a .csv nor a .txt file, and holds no dump of usagestats and no LSApp table");
}

// A name a line and no times.
Trace readNames(TraceLines& lines, const TraceOptions& options, TraceFile& file) {
    Trace trace;
    DropList drops(options, DropList::Defaults::NONE);
    NameMap names;
    TraceTime time = FIRST_UNTIMED;
    lines.forEach(options.skipBad, file.skipped, [&](std::string_view line) {
        if (isBlank(line)) return;
        const std::string name(line);
        if (!drops.drops(name)) trace.add(time, options.underscores ? names.map(name) : name);
        time += UNTIMED_STEP;
    });
    drops.note(file.notes);
    trace.setInventedTimes();
    return trace;
}

TraceFile readLines(TraceLines& lines, const std::string& path, const TraceOptions& options) {
    TraceFile file;
    const auto refuseUser = [&](const char* what) {
        if (options.user) throw InputError(std::string("--user: ") + what + " has no users");
    };
    switch (kindOf(lines.text(), path)) {
        case Kind::CSV:
            refuseUser("a CSV file");
            file.format = "CSV";
            file.traces.push_back({path, readCsv(lines, options, file)});
            break;
        case Kind::NAMES:
            refuseUser("a list of names");
            file.format = "names";
            file.traces.push_back({path, readNames(lines, options, file)});
            break;
        case Kind::USAGE_STATS:
            file.format = "usagestats";
            readUsageDump(lines, path, options, file);
            break;
        case Kind::LSAPP:
            file.format = "LSApp";
            readLsapp(lines, path, options, file);
            break;
    }
    const bool empty = std::any_of(file.traces.begin(), file.traces.end(),
                                   [](const NamedTrace& named) { return named.trace.size() == 0; });
    if (empty || file.traces.empty()) throw LineError(lines.number(), "the file holds no opening");
    for (const NamedTrace& named : file.traces) {
        const std::string note = noteOfOtherNames(named.trace);
        if (!note.empty()) file.notes.push_back(note);
    }
    return file;
}

std::string shown(const std::string& path) {
    return path == "-" ? "standard input" : printable(path);
}

}  // namespace

TraceFile TraceFile::read(const std::string& path, const TraceOptions& options) {
    try {
        TraceLines lines(readTraceText(path));
        return readLines(lines, path, options);
    } catch (const LineError& error) {
        throw InputError(shown(path) + ":" + std::to_string(error.line()) + ": " + error.what());
    } catch (const InputError& error) {  // of the file as a whole
        throw InputError(shown(path) + ": " + error.what());
    }
}

bool Trace::hasInventedTimes() const {
    constexpr size_t FEWEST = 20;  // that tell
    if (mInventedTimes || size() < FEWEST) return mInventedTimes;
    std::map<TraceTime, size_t> steps;
    for (size_t row = 1; row < size(); ++row) ++steps[time(row) - time(row - 1)];
    return std::any_of(steps.begin(), steps.end(),
                       [&](const auto& step) { return 10 * step.second > 9 * (size() - 1); });
}

Trace Trace::read(const std::string& path) {
    return std::move(TraceFile::read(path, {}).traces.front().trace);
}
