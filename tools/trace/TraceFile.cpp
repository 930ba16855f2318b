#include "tools/trace/TraceFile.h"

#include <algorithm>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"
#include "tools/trace/LsappTable.h"
#include "tools/trace/PlainTrace.h"
#include "tools/trace/TraceKind.h"
#include "tools/trace/TraceLines.h"
#include "tools/trace/UsageDump.h"

namespace {

std::string placed(const std::string& path, size_t line, const std::string& what) {
    return (path == "-" ? "standard input" : printable(path)) + ":" +
           std::to_string(std::max<size_t>(line, 1)) + ": " + what;
}

void refuseUser(const TraceOptions& options, const char* what) {
    if (options.user) throw InputError(std::string("--user: ") + what + " has no users");
}

TraceFile readLines(TraceLines& lines, const std::string& path, const TraceOptions& options) {
    TraceFile file;
    switch (kindOf(lines, path)) {
        case TraceKind::CSV:
            refuseUser(options, "a CSV file");
            file.format = "CSV";
            file.traces.push_back({path, readCsv(lines, options, file)});
            break;
        case TraceKind::NAMES:
            refuseUser(options, "a list of names");
            file.format = "names";
            file.traces.push_back({path, readNames(lines, options, file)});
            break;
        case TraceKind::USAGE_STATS:
            file.format = "usagestats";
            readUsageDump(lines, path, options, file);
            break;
        case TraceKind::LSAPP:
            file.format = "LSApp";
            readLsapp(lines, path, options, file);
            break;
    }
    const bool empty = std::any_of(file.traces.begin(), file.traces.end(),
                                   [](const NamedTrace& named) { return named.trace.size() == 0; });
    if (empty) throw InputError("the file holds no opening");
    return file;
}

}  // namespace

TraceFile TraceFile::read(const std::string& path, const TraceOptions& options) {
    size_t line = 0;
    try {
        TraceLines lines(path);
        try {
            return readLines(lines, path, options);
        } catch (const InputError&) {
            line = lines.number();
            throw;
        }
    } catch (const LineError& error) {
        throw InputError(placed(path, error.line(), error.what()));
    } catch (const InputError& error) {
        throw InputError(placed(path, line, error.what()));
    }
}

Trace Trace::read(const std::string& path) {
    return std::move(TraceFile::read(path, {}).traces.front().trace);
}
