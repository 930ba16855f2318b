#include "tools/trace/TraceCsv.h"

#include <cstdio>

#include "tools/trace/LocalTime.h"

namespace {

constexpr size_t PIECE_SIZE = 64 * 1024;

// A name with a comma needs its quotes for other readers.
std::string quoted(const std::string& name) {
    if (name.find_first_of("\",") == std::string::npos) return name;
    std::string result = "\"";
    for (const char c : name) result += c == '"' ? "\"\"" : std::string(1, c);
    return result + '"';
}

}  // namespace

std::string isoTime(TraceTime time) {
    const time_t whole = wholeSeconds(time);
    const ClockReading r = utcReading(whole);
    char text[64];
    snprintf(text, sizeof(text), "%04d-%02d-%02dT%02d:%02d:%02d", r.year, r.month, r.day, r.hour,
             r.minute, r.second);
    std::string result = text;
    const auto micros = (time - std::chrono::seconds(whole)).count();
    if (micros != 0) {
        snprintf(text, sizeof(text), ".%06d", static_cast<int>(micros));
        result += text;
        result.erase(result.find_last_not_of('0') + 1);
    }
    return result + 'Z';
}

void writeCsv(const Trace& trace, const std::function<void(const std::string&)>& write) {
    std::string piece = "time,package\n";
    for (size_t row = 0; row < trace.size(); ++row) {
        piece += isoTime(trace.time(row)) + ',' + quoted(trace.name(row)) + '\n';
        if (piece.size() < PIECE_SIZE) continue;
        write(piece);
        piece.clear();
    }
    write(piece);
}
