#include "tools/trace/UsageDump.h"

#include <algorithm>
#include <map>

#include "tools/common/Text.h"
#include "tools/trace/DropList.h"
#include "tools/trace/LocalTime.h"
#include "tools/trace/UsageLine.h"
#include "tools/trace/UsageSections.h"

namespace {

// A clock that is set back makes a step back now and then.
void refuseNewestFirst(const UsageOpenings& section) {
    size_t forth = 0;
    size_t back = 0;
    for (size_t i = 1; i < section.size(); ++i) {
        forth += section[i - 1].clock < section[i].clock ? 1 : 0;
        back += section[i].clock < section[i - 1].clock ? 1 : 0;
    }
    if (back > 1 && back > forth) {
        throw LineError(section.front().line, "from here on events stand newest first");
    }
}

// Puts openings into a history, each in front of the first that is later. Both keep their order.
UsageOpenings putByTime(UsageOpenings history, UsageOpenings more) {
    UsageOpenings both;
    both.reserve(history.size() + more.size());
    auto next = more.begin();
    for (UsageOpening& opening : history) {
        while (next != more.end() && next->clock < opening.clock) {
            both.push_back(std::move(*next++));
        }
        both.push_back(std::move(opening));
    }
    std::move(next, more.end(), std::back_inserter(both));
    return both;
}

// What the sections, which are views of one history, tell together: an opening as often as the
// section has it that has it most often.
UsageOpenings mergeSections(std::vector<UsageOpenings> sections) {
    using Counts = std::map<std::pair<TraceTime, std::string>, size_t>;

    // The longest is likely to have all that the others have, in order.
    std::stable_sort(
        sections.begin(), sections.end(),
        [](const UsageOpenings& a, const UsageOpenings& b) { return a.size() > b.size(); });
    UsageOpenings history;
    Counts known;
    for (UsageOpenings& section : sections) {
        Counts own;
        UsageOpenings more;
        for (UsageOpening& opening : section) {
            const auto event = std::make_pair(opening.clock, opening.package);
            if (++own[event] <= known[event]) continue;
            ++known[event];
            more.push_back(std::move(opening));
        }
        if (!more.empty()) history = putByTime(std::move(history), std::move(more));
    }
    return history;
}

std::string duration(TraceTime time) {
    const auto total = std::chrono::ceil<std::chrono::seconds>(time).count();
    std::string text;
    const auto add = [&](int64_t count, const char* unit) {
        if (count > 0) text += (text.empty() ? "" : " ") + std::to_string(count) + unit;
    };
    add(total / SECONDS_PER_DAY, " d");
    add(total / 3600 % 24, " h");
    add(total / 60 % 60, " min");
    add(total % 60, " s");
    return text;
}

Trace traceOf(const UsageOpenings& openings, const TraceOptions& options, TraceFile& file) {
    Trace trace;
    DropList drops(options, DropList::Defaults::PHONE);
    TraceTime shown{0};  // by the clock at the opening before
    TraceTime last{0};   // its time in the trace
    TraceTime shift{0};
    for (const UsageOpening& opening : openings) {
        shown = parseTraceTime(opening.time, shown);
        if (shown + shift < last) {
            const TraceTime more = last - shown - shift;
            file.notes.push_back("line " + std::to_string(opening.line) +
                                 ": the clock was set back by " + duration(more) +
                                 "; what follows is shifted so that times do not decrease");
            shift += more;
        }
        last = shown + shift;
        if (last >= TRACE_TIME_END) {
            throw LineError(opening.line,
                            "the clock was set back so often or so far before that "
                            "the times no longer lie before the year 2100");
        }
        // Activities of one application in a row are one opening.
        const size_t size = trace.size();
        const bool again = size > 0 && trace.name(size - 1) == opening.package;
        if (!drops.drops(opening.package) && !again) trace.add(last, opening.package);
    }
    drops.note(file.notes);
    return trace;
}

void noteOtherUsers(const UsageSections& dump, TraceFile& file) {
    std::string others;
    for (const int user : dump.users()) {
        if (user != dump.user()) others += (others.empty() ? "" : ", ") + std::to_string(user);
    }
    if (others.empty()) return;
    file.notes.push_back("read user " + std::to_string(dump.user()) +
                         "; --user for another: " + others);
}

}  // namespace

bool holdsUsageDump(std::string_view text) {
    while (!text.empty()) {
        const size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
        if (isUsageDump(line)) return true;
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return false;
}

void readUsageDump(TraceLines& lines, const std::string& path, const TraceOptions& options,
                   TraceFile& file) {
    UsageSections dump(lines, options, file);
    std::for_each(dump.sections.begin(), dump.sections.end(), refuseNewestFirst);
    noteOtherUsers(dump, file);
    Trace trace = traceOf(mergeSections(std::move(dump.sections)), options, file);
    const std::string user = std::to_string(dump.user());
    const bool several = dump.users().size() > 1;
    if (several && trace.size() == 0) throw InputError("user " + user + " has no opening");
    file.traces.push_back({several ? path + "#" + user : path, std::move(trace)});
}
