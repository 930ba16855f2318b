#include "tools/trace/TraceCsv.h"

#include "tools/common/Text.h"
#include "tools/trace/DropList.h"
#include "tools/trace/LocalTime.h"
#include "tools/trace/PackageNames.h"

namespace {

constexpr std::string_view HEADER = "time,package";
constexpr size_t PIECE_SIZE = 64 * 1024;

// What stands between the quotes; the row is left behind the closing one.
std::string takeQuoted(std::string_view& row) {
    const std::string_view whole = row;
    row.remove_prefix(1);
    std::string field;
    for (;;) {
        const size_t quote = row.find('"');
        if (quote == std::string_view::npos) {
            throw InputError("the quote is not closed: " + inQuotes(whole));
        }
        field += row.substr(0, quote);
        row.remove_prefix(quote + 1);
        if (row.empty() || row[0] != '"') return field;
        field += '"';
        row.remove_prefix(1);
    }
}

// Takes the next field off a row. One that begins with a double quote ends with one and holds
// doubled ones for its own (RFC 4180); any other stands as it is, up to the next comma or, for the
// `last` field of a row, with all its commas up to the end.
std::string takeField(std::string_view& row, bool last) {
    std::string field;
    if (!row.empty() && row[0] == '"') {
        field = takeQuoted(row);
        if (!row.empty() && (last || row[0] != ',')) {
            throw InputError("text follows the closing quote: " + inQuotes(row));
        }
    } else {
        field = row.substr(0, last ? row.size() : row.find(','));
        row.remove_prefix(field.size());
    }
    if (last) return field;
    if (row.empty()) throw InputError("no comma and name follow " + inQuotes(field));
    row.remove_prefix(1);
    return field;
}

// A name with a comma needs its quotes for other readers.
std::string quoted(const std::string& name) {
    if (name.find_first_of("\",") == std::string::npos) return name;
    std::string result = "\"";
    for (const char c : name) result += c == '"' ? "\"\"" : std::string(1, c);
    return result + '"';
}

}  // namespace

Trace readCsv(TraceLines& lines, const TraceOptions& options, TraceFile& file) {
    std::string_view header;
    lines.next(header);
    if (header != HEADER) {
        throw LineError(1, "the header is " + inQuotes(header) + " and not " + inQuotes(HEADER));
    }
    Trace trace;
    DropList drops(options, DropList::Defaults::NONE);
    NameMap names;
    TraceTime last{0};
    lines.forEach(options.skipBad, file.skipped, [&](std::string_view row) {
        if (isBlank(row)) {
            if (lines.isLast()) return;
            throw InputError("a blank line stands among the rows");
        }
        const TraceTime time = parseTraceTime(takeField(row, false), last);
        if (time < last) {
            const auto back = std::chrono::ceil<std::chrono::seconds>(last - time);
            throw InputError("the time runs backwards, by " +
                             grouped(static_cast<uint64_t>(back.count())) + " s");
        }
        const std::string name = takeField(row, true);
        if (isBlank(name)) throw InputError("the row has no name");
        last = time;
        if (!drops.drops(name)) trace.add(time, options.underscores ? names.map(name) : name);
    });
    drops.note(file.notes);
    return trace;
}

void writeCsv(const Trace& trace, const std::function<void(const std::string&)>& write) {
    std::string piece = std::string(HEADER) + '\n';
    for (size_t row = 0; row < trace.size(); ++row) {
        piece += isoTime(trace.time(row)) + ',' + quoted(trace.name(row)) + '\n';
        if (piece.size() < PIECE_SIZE) continue;
        write(piece);
        piece.clear();
    }
    write(piece);
}

std::string isoTime(TraceTime time) {
    const time_t whole = wholeSeconds(time);
    const ClockReading r = utcReading(whole);
    std::string result = formatted("%04d-%02d-%02dT%02d:%02d:%02d", r.year, r.month, r.day, r.hour,
                                   r.minute, r.second);
    const auto micros = (time - std::chrono::seconds(whole)).count();
    if (micros != 0) {
        result += formatted(".%06d", static_cast<int>(micros));
        result.erase(result.find_last_not_of('0') + 1);
    }
    return result + 'Z';
}
