#include "tools/trace/UsageDump.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>

#include "tools/common/Text.h"
#include "tools/trace/DropList.h"
#include "tools/trace/LocalTime.h"
#include "tools/trace/UsageMerge.h"
#include "tools/trace/UsageSections.h"

namespace {

using std::chrono::seconds;

bool startsWith(std::string_view text, std::string_view begin) {
    return text.substr(0, begin.size()) == begin;
}

// How many opening lines of a type go on behind the package, and how many stop there.
struct Endings {
    size_t whole = 0;
    size_t bare = 0;
};

// Whether a line that stops behind its package is known to be whole: its name stands on another
// line that goes on, and no longer name begins with it.
class KnownNames {
  public:
    explicit KnownNames(const UsageSections& dump) : mDump(dump) {
        for (const std::vector<DatedLine>& lines : dump.sections) {
            for (const DatedLine& line : lines) {
                if (!line.bare) mNames.insert(dump.packages.text(line.event.package));
            }
        }
    }

    bool isWhole(const DatedLine& line) const {
        const auto found = mNames.find(mDump.packages.text(line.event.package));
        if (found == mNames.end()) return false;
        const auto next = std::next(found);
        return next == mNames.end() || !startsWith(*next, *found);
    }

  private:
    const UsageSections& mDump;
    std::set<std::string> mNames;
};

// Where opening lines of a type go on behind the package, the few that stop there are cut, perhaps
// in the name's middle; so is the last line of a file that does not end with a newline.
void findCutNames(UsageSections& dump) {
    std::map<uint32_t, Endings> endings;
    for (const std::vector<DatedLine>& lines : dump.sections) {
        for (const DatedLine& line : lines) {
            if (!line.event.opening) continue;
            Endings& known = endings[line.event.type];
            ++(line.bare ? known.bare : known.whole);
        }
    }
    const KnownNames names(dump);
    for (size_t i = 0; i < dump.sections.size(); ++i) {
        std::vector<DatedLine>& lines = dump.sections[i];
        const auto isCut = [&](const DatedLine& line) {
            if (!line.bare || names.isWhole(line)) return false;
            const Endings& known = endings[line.event.type];
            const bool last = dump.lastLineCut && line.event.line == dump.lastLine;
            if (known.whole < 2 * known.bare && !(last && known.bare == 1)) return false;
            dump.cutLines.push_back({line.event.line, i, line.time,
                                     dump.types.text(line.event.type),
                                     dump.packages.text(line.event.package)});
            return true;
        };
        lines.erase(std::remove_if(lines.begin(), lines.end(), isCut), lines.end());
    }
}

// The clock's reading as if on UTC, or the moment. Nothing when there is no such date.
std::optional<TraceTime> clockOf(const UsageTime& time, DateOrder order) {
    if (time.exact) return time.instant;
    const ClockReading reading = time.inOrder(order);
    if (!exists(reading)) return std::nullopt;
    return seconds(utcMoment(reading));
}

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
            const std::optional<TraceTime> clock = clockOf(line.time, order);
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
            const std::optional<TraceTime> clock = clockOf(line.time, order);
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

// Finds events by their time.
class EventsByTime {
  public:
    EventsByTime(const UsageSections& dump, const UsageEvents& events)
        : mDump(dump), mEvents(events) {
        std::sort(mEvents.begin(), mEvents.end(), isEarlier);
    }

    // How many of the events a line that was cut may be the beginning of.
    size_t matches(const CutLine& cut, TraceTime clock) const {
        UsageEvent wanted;
        wanted.clock = clock;
        const auto [begin, end] =
            std::equal_range(mEvents.begin(), mEvents.end(), wanted, isEarlier);
        return static_cast<size_t>(std::count_if(begin, end, [&](const UsageEvent& event) {
            return startsWith(mDump.types.text(event.type), cut.type) &&
                   startsWith(mDump.packages.text(event.package), cut.package);
        }));
    }

  private:
    static bool isEarlier(const UsageEvent& a, const UsageEvent& b) { return a.clock < b.clock; }

    const UsageSections& mDump;
    UsageEvents mEvents;
};

// A cut line is no loss when another section holds the event whole, nor is the last line of a
// capture that was ended in the middle of it.
void judgeCutLines(UsageSections& dump, DateOrder order, const std::vector<UsageEvents>& sections,
                   const UsageEvents& merged, TraceFile& file) {
    if (dump.cutLines.empty()) return;
    const EventsByTime all(dump, merged);
    std::map<size_t, EventsByTime> own;
    size_t whole = 0;
    for (const CutLine& cut : dump.cutLines) {
        const auto section = own.try_emplace(cut.section, dump, sections[cut.section]).first;
        const std::optional<TraceTime> clock = cut.time ? clockOf(*cut.time, order) : std::nullopt;
        if (clock && all.matches(cut, *clock) > section->second.matches(cut, *clock)) {
            ++whole;
        } else if (cut.line == dump.lastLine) {
            file.notes.push_back("line " + std::to_string(cut.line) +
                                 ": the last line is cut off and left out");
        } else {
            dump.refuse(cut.line, "the line is cut off (--skip-bad to leave it out)");
        }
    }
    if (whole > 0) {
        file.notes.push_back(grouped(whole) +
                             (whole == 1 ? " line is cut off that another section holds whole"
                                         : " lines are cut off that other sections hold whole"));
    }
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
