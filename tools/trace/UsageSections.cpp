#include "tools/trace/UsageSections.h"

#include <algorithm>

#include "tools/common/Text.h"

namespace {

constexpr size_t MAX_PARTS = 6;

// What is known of a line without its neighbours.
bool isWhole(const UsageLine& line) {
    return line.kind != UsageLine::Kind::CUT && line.timeClosed && parseUsageTime(line.time);
}

// The parts of a broken line put together, with a blank behind part i when bit i of `blanks` is
// set: a terminal breaks anywhere, an editor at a blank that is lost then.
std::string joined(const std::vector<std::string>& parts, size_t count, size_t blanks) {
    std::string text = parts[0];
    for (size_t i = 1; i < count; ++i) {
        if ((blanks >> (i - 1) & 1) != 0) text += ' ';
        text += parts[i];
    }
    return text;
}

// The event's line. Parts that follow are joined to it when it is not whole without them and
// nothing but fields stands on it then; the package's name is taken to go on in them only when
// another field follows it there.
std::string unbroken(const std::vector<std::string>& parts) {
    const UsageLine alone = parseUsageLine(parts[0]);
    if (isWhole(alone) && (alone.kind == UsageLine::Kind::OTHER || alone.goesOn)) return parts[0];
    for (size_t count = parts.size(); count > 1; --count) {
        for (size_t blanks = 0; blanks < size_t{1} << (count - 1); ++blanks) {
            const std::string text = joined(parts, count, blanks);
            const UsageLine line = parseUsageLine(text);
            if (isWhole(line) && line.tidy && (line.goesOn || !isWhole(alone))) return text;
        }
    }
    return parts[0];
}

// Whether a line that looks like a row of the list of packages is an event's rest.
bool goesOnWith(std::string_view event, std::string_view text) {
    return text.substr(0, 8) == "package=" && text.find("Time") == std::string_view::npos &&
           parseUsageLine(event).package.empty();
}

// The times in quotes behind "timeRange=" or "lastTimeUsed=" and the like; a range holds two.
std::vector<UsageTime> timesIn(std::string_view line) {
    std::vector<UsageTime> times;
    while (true) {
        const size_t open = line.find("=\"");
        if (open == std::string_view::npos) return times;
        line.remove_prefix(open + 2);
        const std::string_view value = line.substr(0, line.find('"'));
        line.remove_prefix(value.size());
        // Between blanks, whatever those are in the phone's language.
        for (const std::string_view dash : {"–", "—", " - "}) {
            const size_t at = value.find(dash);
            if (at == std::string_view::npos) continue;
            const std::string_view ends[] = {trimmed(value.substr(0, at)),
                                             trimmed(value.substr(at + dash.size()))};
            for (const std::string_view end : ends) {
                if (const auto time = parseUsageTime(end)) times.push_back(*time);
            }
            break;
        }
        if (const auto time = parseUsageTime(value)) times.push_back(*time);
    }
}

}  // namespace

uint32_t TextNumbers::numberOf(std::string_view text) {
    const auto [known, isNew] =
        mNumbers.emplace(std::string(text), static_cast<uint32_t>(mTexts.size()));
    if (isNew) mTexts.push_back(known->first);
    return known->second;
}

void UsageSections::refuse(size_t line, const std::string& what) {
    if (!mOptions.skipBad) throw LineError(line, what);
    ++mFile.skipped;
}

void UsageSections::read(TraceLines& lines) {
    std::string line;
    sections.emplace_back();
    for (;;) {
        try {
            if (!lines.next(line)) break;
        } catch (const LineError& error) {
            flush();
            refuse(error.line(), error.what());
            continue;
        }
        add(line, lines.number());
    }
    lastLineCut = lines.isCut();
    flush();
    if (lines.number() == 0) throw InputError("the file is empty");
    if (mUsers.empty()) enter(0);
    if (std::find(mUsers.begin(), mUsers.end(), mUser) == mUsers.end()) {
        std::string known;
        for (const int user : mUsers) known += (known.empty() ? "" : ", ") + std::to_string(user);
        throw InputError("the file has no user " + std::to_string(mUser) + ", only " + known);
    }
}

void UsageSections::add(std::string_view line, size_t number) {
    const std::string_view text = trimmed(line);
    if (text.empty()) return flush();
    lastLine = number;
    if (isUsageEvent(text)) {
        flush();
        mPending = Pending{number, number, {std::string(line)}};
    } else if (mPending && mPending->parts.size() < MAX_PARTS &&
               (!isUsageHeading(text) || goesOnWith(mPending->parts[0], text))) {
        mPending->parts.emplace_back(line);
        mPending->end = number;
    } else if (isUsageHeading(text)) {
        addHeading(text);
    } else {
        flush();
    }
}

// Between lists of events.
void UsageSections::addHeading(std::string_view line) {
    flush();
    if (!sections.back().empty()) sections.emplace_back();
    if (const std::optional<int> user = usageUser(line)) return enter(*user);
    const auto times = timesIn(line);
    for (const UsageTime& time : times) clues.seeElsewhere(time);
    const bool day = line.find("24 hour") != std::string_view::npos;
    if (day && times.size() == 2) clues.seeDay(times[0], times[1]);
}

void UsageSections::enter(int user) {
    if (std::find(mUsers.begin(), mUsers.end(), user) == mUsers.end()) {
        if (mUsers.empty() && !mOptions.user) mUser = user;
        mUsers.push_back(user);
    }
    mCurrent = user;
}

void UsageSections::flush() {
    if (!mPending) return;
    const Pending pending = std::move(*mPending);
    mPending.reset();
    if (mUsers.empty()) enter(0);
    addEvent(unbroken(pending.parts), pending.line, pending.end);
}

void UsageSections::addEvent(const std::string& text, size_t number, size_t end) {
    const UsageLine line = parseUsageLine(text);
    const std::optional<UsageTime> time = parseUsageTime(line.time);
    if (time && line.timeClosed) clues.seeEvent(*time, line.time, number);
    if (!isWanted()) return;

    if (line.kind == UsageLine::Kind::CUT) {
        cutLines.push_back({number, end, sections.size() - 1, line.timeClosed ? time : std::nullopt,
                            std::string(line.type), std::string(line.package)});
        return;
    }
    const bool opening = line.kind == UsageLine::Kind::OPENING;
    if (!time) {
        if (opening) refuse(number, inQuotes(line.time) + " is no time of an event");
        return;
    }
    UsageEvent event;
    event.opening = opening;
    event.type = types.numberOf(line.type);
    event.package = packages.numberOf(line.package);
    event.line = number;
    sections.back().push_back({*time, event, end, opening && !line.goesOn});
}
