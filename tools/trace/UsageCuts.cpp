#include "tools/trace/UsageCuts.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>

#include "tools/common/Text.h"

namespace {

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

}  // namespace

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
            const bool last = dump.lastLineCut && line.end == dump.lastLine;
            if (known.whole < 2 * known.bare && !(last && known.bare == 1)) return false;
            dump.cutLines.push_back({line.event.line, line.end, i, line.time,
                                     dump.types.text(line.event.type),
                                     dump.packages.text(line.event.package)});
            return true;
        };
        lines.erase(std::remove_if(lines.begin(), lines.end(), isCut), lines.end());
    }
}

void judgeCutLines(UsageSections& dump, DateOrder order, const std::vector<UsageEvents>& sections,
                   const UsageEvents& merged, TraceFile& file) {
    if (dump.cutLines.empty()) return;
    const EventsByTime all(dump, merged);
    std::map<size_t, EventsByTime> own;
    size_t whole = 0;
    for (const CutLine& cut : dump.cutLines) {
        const auto section = own.try_emplace(cut.section, dump, sections[cut.section]).first;
        const std::optional<TraceTime> clock = cut.time ? cut.time->clock(order) : std::nullopt;
        if (clock && all.matches(cut, *clock) > section->second.matches(cut, *clock)) {
            ++whole;
        } else if (cut.end == dump.lastLine) {
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
