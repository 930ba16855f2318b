#include "tools/trace/PlainTrace.h"

#include "tools/common/Text.h"
#include "tools/trace/CsvField.h"
#include "tools/trace/DropList.h"

namespace {

constexpr TraceTime FIRST_UNTIMED = std::chrono::seconds(1704067200);  // 2024-01-01T00:00:00Z
constexpr TraceTime UNTIMED_STEP = std::chrono::minutes(1);

bool isBlank(const std::string& line) {
    return line.find_first_not_of(" \t") == std::string::npos;
}

// Calls `take` with each line; what it refuses is counted when bad lines are to be skipped.
template <typename Take>
void forEachLine(TraceLines& lines, const TraceOptions& options, TraceFile& file,
                 const Take& take) {
    std::string line;
    for (;;) {
        try {
            if (!lines.next(line)) break;
            take(line);
        } catch (const LineError&) {
            if (!options.skipBad) throw;
            ++file.skipped;
        }
    }
    if (lines.number() == 0) throw InputError("the file is empty");
}

// The rows below the header.
class CsvRows {
  public:
    CsvRows(Trace& trace, DropList& drops) : mTrace(trace), mDrops(drops) {}

    void add(const std::string& line, size_t number) {
        // Blank lines may stand behind the last row only.
        if (isBlank(line)) {
            if (mFirstBlank == 0) mFirstBlank = number;
            return;
        }
        if (mFirstBlank != 0) {
            const size_t blank = mFirstBlank;
            mFirstBlank = 0;
            throw LineError(blank, "a blank line stands among the rows");
        }
        std::string_view rest = line;
        const TraceTime time = parseTraceTime(takeCsvField(rest, false), mLast);
        if (time < mLast) {
            throw InputError(
                "the time runs backwards, by " +
                grouped(static_cast<uint64_t>(((mLast - time).count() + 999999) / 1000000)) + " s");
        }
        const std::string name = takeCsvField(rest, true);
        if (isBlank(name)) throw InputError("the row has no name");
        mLast = time;
        if (!mDrops.drops(name)) mTrace.add(time, name);
    }

  private:
    Trace& mTrace;
    DropList& mDrops;
    TraceTime mLast{0};
    size_t mFirstBlank = 0;
};

}  // namespace

Trace readCsv(TraceLines& lines, const TraceOptions& options, TraceFile& file) {
    Trace trace;
    DropList drops(options, DropList::Defaults::NONE);
    CsvRows rows(trace, drops);
    std::string header;
    if (!lines.next(header)) throw InputError("the file is empty");
    if (header != "time,package") {
        throw InputError("the header is " + inQuotes(header) + " and not \"time,package\"");
    }
    forEachLine(lines, options, file, [&](const std::string& line) {
        try {
            rows.add(line, lines.number());
        } catch (const LineError&) {
            // A row that must be read still follows the blank line.
            if (!options.skipBad) throw;
            ++file.skipped;
            rows.add(line, lines.number());
        } catch (const InputError& error) {
            throw LineError(lines.number(), error.what());
        }
    });
    drops.note(file.notes);
    return trace;
}

Trace readNames(TraceLines& lines, const TraceOptions& options, TraceFile& file) {
    Trace trace;
    DropList drops(options, DropList::Defaults::NONE);
    int64_t minutes = 0;
    forEachLine(lines, options, file, [&](const std::string& line) {
        if (isBlank(line)) return;
        const TraceTime time = FIRST_UNTIMED + UNTIMED_STEP * minutes++;
        if (!drops.drops(line)) trace.add(time, line);
    });
    drops.note(file.notes);
    return trace;
}
