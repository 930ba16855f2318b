#include <cstdlib>

#include "attack/fuzz/Fuzz.h"
#include "platform/testing/TempDir.h"
#include "tools/common/InputError.h"
#include "tools/trace/TraceCsv.h"
#include "tools/trace/TraceFile.h"

// A recorded trace of any kind and content. The input's first byte says how it is read; a trace
// that could be read is written as CSV and read again.

namespace {

std::string csvOf(const Trace& trace) {
    std::string csv;
    writeCsv(trace, [&](const std::string& piece) { csv += piece; });
    return csv;
}

TraceFile readText(const TempDir& folder, const char* name, const std::string& text,
                   const TraceOptions& options) {
    folder.write(name, text);
    return TraceFile::read(folder.file(name), options);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const TempDir folder;
    static const int zone = setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    promise(zone == 0, "there is a time zone with two clocks");
    if (size == 0) return 0;
    TraceOptions options;
    options.skipBad = (data[0] & 1) != 0;
    options.dateOrder = static_cast<DateOrder>((data[0] >> 1) % 3);
    if ((data[0] & 8) != 0) options.user = 0;
    const char* const name = (data[0] & 16) != 0 ? "trace.csv" : "trace.txt";
    try {
        const TraceFile file = readText(folder, name, asText(data + 1, size - 1), options);
        promise(!file.traces.empty(), "a file holds at least one trace");
        for (const NamedTrace& named : file.traces) {
            const std::string csv = csvOf(named.trace);
            const TraceFile again = readText(folder, "again.csv", csv, {});
            promise(csvOf(again.traces[0].trace) == csv, "a trace is read back as it was written");
        }
    } catch (const InputError& error) {
        promise(error.what()[0] != '\0', "what is wrong with a file is said");
    }
    return 0;
}
