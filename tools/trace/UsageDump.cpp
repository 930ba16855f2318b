#include "tools/trace/UsageDump.h"

#include <algorithm>

#include "tools/common/Text.h"
#include "tools/trace/DropList.h"
#include "tools/trace/LocalTime.h"
#include "tools/trace/UsageCuts.h"
#include "tools/trace/UsageMerge.h"
#include "tools/trace/UsageSections.h"

namespace {

using std::chrono::seconds;

// How well the dates follow each other when they are read in an order.
struct Fit {
    size_t turns = 0;  // steps against the way that most steps of their section go
    TraceTime first = TraceTime::max();
    TraceTime last = TraceTime::min();

    TraceTime span() const { return last - first; }
};

Fit fitOf(const UsageSections& dump, DateOrder order) {
    Fit fit;
    for (const std::vector<DatedLine>& lines : dump.sections) {
        size_t forth = 0;
        size_t back = 0;
        std::optional<TraceTime> before;
        for (const DatedLine& line : lines) {
            const std::optional<TraceTime> clock = line.time.clock(order);
            if (!clock) continue;
            forth += before && *before < *clock ? 1 : 0;
            back += before && *clock < *before ? 1 : 0;
            before = clock;
            fit.first = std::min(fit.first, *clock);
            fit.last = std::max(fit.last, *clock);
        }
        fit.turns += std::min(forth, back);
    }
    return fit;
}

// The order that the options, the dates or, where no date tells, their sequence says.
DateOrder dateOrderOf(const UsageSections& dump, const TraceOptions& options) {
    if (options.dateOrder != DateOrder::FROM_FILE) return options.dateOrder;
    if (const std::optional<DateOrder> order = dump.clues.order()) return *order;
    const Fit day = fitOf(dump, DateOrder::DAY_FIRST);
    const Fit month = fitOf(dump, DateOrder::MONTH_FIRST);
    const auto better = [](const Fit& a, const Fit& b) {
        return a.turns == 0 && b.turns > 0 && a.span() <= b.span();
    };
    if (better(day, month)) return DateOrder::DAY_FIRST;
    if (better(month, day)) return DateOrder::MONTH_FIRST;
    dump.clues.refuse();
}

std::vector<UsageEvents> datedSections(UsageSections& dump, DateOrder order) {
    std::vector<UsageEvents> sections;
    for (std::vector<DatedLine>& lines : dump.sections) {
        UsageEvents events;
        events.reserve(lines.size());
        for (DatedLine& line : lines) {
            const std::optional<TraceTime> clock = line.time.clock(order);
            if (clock) {
                line.event.clock = *clock;
                line.event.exact = line.time.exact;
                events.push_back(line.event);
            } else if (line.event.opening) {
                dump.refuse(
                    line.event.line,
                    "there is no such date, read with the " +
                        std::string(order == DateOrder::DAY_FIRST ? "day first" : "month first"));
            }
        }
        std::vector<DatedLine>().swap(lines);
        sections.push_back(std::move(events));
    }
    return sections;
}

std::string duration(TraceTime time) {
    const auto total = std::chrono::ceil<seconds>(time).count();
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

// The moment of an event, told from the one before it where the local time occurs twice.
TraceTime momentOf(const UsageEvent& event, TraceTime before) {
    if (event.exact) return event.clock;
    const ClockReading reading = utcReading(wholeSeconds(event.clock));
    const std::vector<time_t> moments = localMoments(reading);
    if (moments.empty()) {
        throw InputError("the clocks skip this local time: set TZ to the phone's time zone");
    }
    const TraceTime first = seconds(moments.front());
    return first < before ? seconds(moments.back()) : first;
}

// What is opened, in the order of the events.
Trace openingsOf(UsageSections& dump, const UsageEvents& events, const TraceOptions& options,
                 TraceFile& file) {
    Trace trace;
    DropList drops(options, DropList::Defaults::PHONE);
    TraceTime before{0};   // the moment of the event before
    TraceTime opening{0};  // of the opening before, as the trace has it
    TraceTime shift{0};
    for (const UsageEvent& event : events) {
        try {
            before = momentOf(event, before);
        } catch (const InputError& error) {
            if (event.opening) dump.refuse(event.line, error.what());
            continue;
        }
        if (!event.opening) continue;
        if (before + shift < opening) {
            const TraceTime more = opening - before - shift;
            file.notes.push_back("line " + std::to_string(event.line) +
                                 ": the clock was set back by " + duration(more) +
                                 "; what follows is shifted so that times do not decrease");
            shift += more;
        }
        opening = before + shift;
        const std::string& name = dump.packages.text(event.package);
        if (drops.drops(name)) continue;
        // Activities of one application in a row are one opening.
        const size_t size = trace.size();
        if (size == 0 || trace.name(size - 1) != name) trace.add(opening, name);
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

void readUsageDump(TraceLines& lines, const std::string& path, const TraceOptions& options,
                   TraceFile& file) {
    UsageSections dump(options, file);
    dump.read(lines);
    findCutNames(dump);
    const DateOrder order = dateOrderOf(dump, options);
    std::vector<UsageEvents> sections = datedSections(dump, order);
    int leaning = 0;
    for (const UsageEvents& section : sections) leaning += leaningOf(section);
    for (UsageEvents& section : sections) orderOldestFirst(section, leaning);
    const UsageEvents merged = mergeSections(sections);
    judgeCutLines(dump, order, sections, merged, file);

    noteOtherUsers(dump, file);
    Trace trace = openingsOf(dump, merged, options, file);
    const bool several = dump.users().size() > 1;
    if (trace.size() == 0) {
        throw InputError(several ? "user " + std::to_string(dump.user()) + " has no opening"
                                 : "the file holds no opening");
    }
    file.traces.push_back(
        {several ? path + "#" + std::to_string(dump.user()) : path, std::move(trace)});
}
