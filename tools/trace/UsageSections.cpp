#include "tools/trace/UsageSections.h"

#include <algorithm>
#include <utility>

#include "tools/common/Text.h"
#include "tools/trace/UsageLine.h"

namespace {

constexpr const char* BROKEN = "the line is cut off or broken in two (--skip-bad to leave it out)";

std::string noteOfCut(const TraceLines& lines) {
    return "line " + std::to_string(lines.number()) + ": the " +
           (lines.number() == 1 ? "first" : "last") + " line is cut off and left out";
}

}  // namespace

UsageSections::UsageSections(TraceLines& lines, const TraceOptions& options, TraceFile& file)
    : sections(1), mLines(lines), mOptions(options), mFile(file), mUser(options.user.value_or(0)) {
    lines.forEach(options.skipBad, file.skipped, [&](std::string_view line) { add(line); });
    if (mUsers.empty()) enter(0);
    if (std::find(mUsers.begin(), mUsers.end(), mUser) == mUsers.end()) {
        std::string known;
        for (const int user : mUsers) known += (known.empty() ? "" : ", ") + std::to_string(user);
        throw InputError("the file has no user " + std::to_string(mUser) + ", only " + known);
    }
    readTimes();
}

void UsageSections::add(std::string_view line) {
    if (isBlank(line)) return;
    line.remove_prefix(line.find_first_not_of(" \t"));
    mClues.see(line, mLines.number());
    const size_t above = std::exchange(mBareLine, 0);
    if (beginsUsageEvent(line)) return addEvent(line);
    if (above != 0 && holds(line, "class=")) {
        // What was taken for the package's name goes on here.
        sections.back().pop_back();
        throw LineError(above, BROKEN);
    }
    if (isUsageHeading(line)) {
        if (!sections.back().empty()) sections.emplace_back();
        if (const std::optional<int> user = usageUser(line)) enter(*user);
        return;
    }
    const bool endOfEvent = mLines.number() == 1 && holds(line, "=");
    const bool beginOfEvent = mLines.isOpen() && startsWith("time=", line);
    if (endOfEvent || beginOfEvent) mFile.notes.push_back(noteOfCut(mLines));
}

void UsageSections::addEvent(std::string_view line) {
    if (mUsers.empty()) enter(0);
    if (mCurrent != mUser) return;
    const UsageLine event = parseUsageLine(line);
    const bool nameMayBeCut = event.endsAtPackage && mLines.isOpen();
    if (nameMayBeCut || (event.isCut && mLines.isLast())) {
        mFile.notes.push_back(noteOfCut(mLines));
        return;
    }
    if (event.isCut) throw InputError(BROKEN);
    if (!event.isOpening) return;
    const std::string package(event.package);
    sections.back().push_back({std::string(event.time),
                               mOptions.underscores ? mNames.map(package) : package,
                               mLines.number()});
    if (event.endsAtPackage) mBareLine = mLines.number();
}

void UsageSections::enter(int user) {
    if (std::find(mUsers.begin(), mUsers.end(), user) == mUsers.end()) {
        if (mUsers.empty() && !mOptions.user) mUser = user;
        mUsers.push_back(user);
    }
    mCurrent = user;
}

// Once all dates have been seen.
void UsageSections::readTimes() {
    for (UsageOpenings& section : sections) {
        UsageOpenings read;
        for (UsageOpening& opening : section) {
            const DateOrder order = mOptions.dateOrder != DateOrder::FROM_FILE
                                        ? mOptions.dateOrder
                                        : mClues.orderOf(opening.time, opening.line);
            try {
                opening.time = plainUsageTime(opening.time, order);
                opening.clock = parseTraceTime(opening.time, TraceTime(0));
                read.push_back(std::move(opening));
            } catch (const InputError& error) {
                if (!mOptions.skipBad) throw LineError(opening.line, error.what());
                ++mFile.skipped;
            }
        }
        section = std::move(read);
    }
}
