#include "desktop/Daemon.h"

#include <algorithm>

#include "desktop/OwnFolders.h"
#include "desktop/ProcessFiles.h"
#include "tools/common/Output.h"
#include "tools/common/Text.h"

namespace {

constexpr size_t ALL = 100'000;
constexpr size_t ROOM = 1000;  // for names that come between two looks at what the store knows
constexpr int MOST_PAUSES = 5;
constexpr uint64_t WARM_PART = 10;  // of what it needs, at most one such part came from the disk

std::string mebibytes(uint64_t bytes) {
    return formatted("%.1f MiB", static_cast<double>(bytes) / (1 << 20));
}

const std::string& nameIn(const std::string& name) {
    return name;
}

template <typename Value>
const std::string& nameIn(const std::pair<const std::string, Value>& entry) {
    return entry.first;
}

template <typename Container>
void keepOnly(const std::set<std::string>& names, Container& entries) {
    for (auto entry = entries.begin(); entry != entries.end();) {
        entry = names.count(nameIn(*entry)) != 0 ? std::next(entry) : entries.erase(entry);
    }
}

std::string joined(const std::vector<std::string>& names, size_t most) {
    std::string text;
    for (size_t i = 0; i < std::min(most, names.size()); ++i) text += " " + names[i];
    return text.empty() ? " nothing yet" : text;
}

}  // namespace

Daemon::Daemon(const DaemonOptions& options, Predictor& predictor, NeedsStore& store,
               Preloader& preloader)
    : mOptions(options),
      mPredictor(predictor),
      mStore(store),
      mPreloader(preloader),
      mTotals(store.totals()) {}

void Daemon::say(const std::string& line) const {
    if (mOptions.isVerbose) writeOutput(line + "\n");
}

void Daemon::setInstalled(std::vector<std::string> names) {
    mDesktop = std::move(names);
    forgetOthers();
    mPredictor.setInstalled({mInstalled.begin(), mInstalled.end()});
}

// The engine forgets what is not on its list. Programs without an entry are installed too, as long
// as the store knows them: a window may be called anything, and something else each time.
void Daemon::forgetOthers() {
    mInstalled = {mDesktop.begin(), mDesktop.end()};
    for (std::string& seen : mStore.mostOpened(ALL)) mInstalled.insert(std::move(seen));
    mMostInstalled = mInstalled.size() + ROOM;
    keepOnly(mInstalled, mProcesses);
    keepOnly(mInstalled, mReadAhead);
    keepOnly(mInstalled, mReady);
}

void Daemon::setCharging(bool charging) {
    mIsCharging = charging;
    mPredictor.setCharging(charging);
}

void Daemon::front(const FrontApplication& app, std::set<std::string> running) {
    if (app.name == mFront.name) {
        mRunning = std::move(running);
        return;
    }
    stop("the front changed");
    judge(app);
    mFront = app;
    mRunning = std::move(running);
    mRunning.insert(app.name);
    if (app.process != 0) mProcesses[app.name] = app.process;

    mStore.countOpening(app.name);
    if (mInstalled.insert(app.name).second) {
        if (mInstalled.size() > mMostInstalled) {
            forgetOthers();
            mInstalled.insert(app.name);  // though the store may have no room for it
        }
        mPredictor.setInstalled({mInstalled.begin(), mInstalled.end()});
    }
    mPredictor.opened(app.name);
    predict();
    mStore.setTotals(mTotals);
}

// Whether it was not running before. Another application's process launches nothing, as when an
// office opens another kind of document.
bool Daemon::isLaunch(const FrontApplication& app) const {
    const auto known = mProcesses.find(app.name);
    if (app.process != 0 && known != mProcesses.end()) return known->second != app.process;
    const bool isOthers = app.process != 0 &&
                          std::any_of(mProcesses.begin(), mProcesses.end(), [&](const auto& other) {
                              return other.second == app.process;
                          });
    return !isOthers && mRunning.count(app.name) == 0;
}

// Compares what happened with what was predicted.
void Daemon::judge(const FrontApplication& app) {
    mIsLaunch = isLaunch(app);
    const auto end =
        mNext.begin() + static_cast<ptrdiff_t>(std::min(mNext.size(), mOptions.places));
    const auto place = std::find(mNext.begin(), end, app.name);

    ++mTotals.openings;
    if (!mNext.empty()) ++mTotals.answered;
    if (place != end) ++mTotals.hits;
    if (mIsLaunch) ++mTotals.launches;
    if (mReady.erase(app.name) != 0 && mIsLaunch) ++mTotals.foreseen;
    say("front " + app.name + (mIsLaunch ? ", launched" : "") + ": " +
        (place != end ? "number " + std::to_string(place - mNext.begin() + 1) + " of the prediction"
         : mNext.empty() ? "nothing was predicted"
                         : "not predicted"));
}

// The list without the application in front and without repeats.
void Daemon::predict() {
    mNext.clear();
    for (std::string& name : mPredictor.predict()) {
        const bool counts = !name.empty() && name != mFront.name &&
                            std::find(mNext.begin(), mNext.end(), name) == mNext.end();
        if (counts) mNext.push_back(std::move(name));
    }
    say("next" + joined(mNext, mOptions.places));
}

void Daemon::settled() {
    recordNeeds();
    beginReading();
    mStore.setTotals(mTotals);
}

// Of the application in front. What was started in a terminal or a file manager, and has come to
// the front itself, is not theirs.
std::vector<pid_t> Daemon::frontProcesses() const {
    std::set<pid_t> applications;
    for (const auto& [name, process] : mProcesses) {
        if (mRunning.count(name) != 0) applications.insert(process);
    }
    return processTree(mFront.process, applications);
}

void Daemon::recordNeeds() {
    if (mFront.process == 0) return;
    const std::vector<pid_t> processes = frontProcesses();
    std::vector<FileNeed> files = mappedFiles(processes, mOptions.home);
    if (files.empty()) {
        say("needs " + mFront.name + ": not known, its process has ended or may not be looked at");
        return;
    }
    for (FileNeed& file : filesOfOwnFolders(programOf(mFront.process))) {
        const bool isMapped = std::any_of(files.begin(), files.end(), [&](const FileNeed& other) {
            return other.path == file.path;
        });
        if (!isMapped) files.push_back(std::move(file));
    }
    mStore.setNeeds(mFront.name, files);
    const uint64_t needed = bytesOf(files);
    std::string line =
        "needs " + mFront.name + ": " + mebibytes(needed) + " of " + amount(files.size(), "file");
    if (mIsLaunch) {
        const uint64_t fetched = bytesFromDisk(processes);
        const bool isWarm = fetched <= needed / WARM_PART;
        line += ", " + mebibytes(fetched) + " from the disk: " + (isWarm ? "warm" : "cold");
        if (isWarm) {
            ++mTotals.warmLaunches;
            mTotals.bytesUsed += mReadAhead[mFront.name];
        }
        mReadAhead.erase(mFront.name);
    }
    say(line);
}

void Daemon::beginReading() {
    mPauses = 0;
    mPreloader.begin(mIsCharging ? mOptions.budget : mOptions.batteryBudget);
    size_t places = mOptions.places;
    for (const std::string& name : mNext) {
        if (places == 0) break;
        if (mRunning.count(name) != 0) continue;
        --places;
        mPreloader.plan(name, mStore.needs(name));
    }
    if (!mOptions.isDryRun) return;
    const uint64_t planned = mPreloader.plannedBytes();
    mPreloader.stop();
    say("read ahead: up to " + mebibytes(planned) + ", but for --dry-run");
}

void Daemon::readMore() {
    switch (mPreloader.step()) {
        case Preloader::State::DONE:
            return endReading("done");
        case Preloader::State::BUDGET:
            return endReading("the budget is used up");
        case Preloader::State::MEMORY_PRESSURE:
            ++mTotals.stopped;
            return endReading("stopped, others wait for memory");
        case Preloader::State::IO_PRESSURE:
            ++mTotals.stopped;
            if (mPauses < MOST_PAUSES) return pause();
            return endReading("stopped, others wait for the disk");
        case Preloader::State::IDLE:
        case Preloader::State::READING:
            return;
    }
}

// What others want from the disk is mostly over soon, as when the window in front has just come.
void Daemon::pause() {
    ++mPauses;
    mIsPaused = true;
    say("paused, others wait for the disk");
}

void Daemon::resume() {
    mIsPaused = false;
    mPreloader.resume();
}

void Daemon::stop(const char* reason) {
    if (!isReading() && !mIsPaused) return;
    mPreloader.stop();
    endReading(std::string("stopped, ") + reason);
}

void Daemon::endReading(const std::string& how) {
    mIsPaused = false;
    for (const auto& [app, bytes] : mPreloader.bytesReadByApp()) mReadAhead[app] += bytes;
    mReady.insert(mPreloader.completed().begin(), mPreloader.completed().end());
    for (const auto& [app, path] : mPreloader.changedFiles()) {
        say(formatted("changed %s, needed by %s: not read", path.c_str(), app.c_str()));
        mStore.forget(app, path);
    }
    mTotals.bytesRead += mPreloader.bytesRead();
    mStore.setTotals(mTotals);
    say("read ahead " + mebibytes(mPreloader.bytesRead()) + " of up to " +
        mebibytes(mPreloader.plannedBytes()) + ": " + how);
}
