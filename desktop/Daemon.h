#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "desktop/FrontSource.h"
#include "desktop/NeedsStore.h"
#include "desktop/Predictor.h"
#include "desktop/Preloader.h"

struct DaemonOptions {
    size_t places = 3;                      // applications to read ahead for
    uint64_t budget = uint64_t{256} << 20;  // bytes from the disk after each change
    uint64_t batteryBudget = uint64_t{64} << 20;
    bool isDryRun = false;  // nothing is read ahead
    bool isVerbose = false;
    std::string home;  // below it only programs are read
};

// What is done about each thing that happens. For one thread, whose loop tells it (RunCommand.cpp):
//
//     front()    an application came to the front: it is judged whether it was foreseen, the
//                predictor learns, and says what may come next
//     settled()  it has been there for a while: what it needs is recorded, and reading ahead begins
//     readMore() as long as isReading()
//     resume()   a while after others have waited for the disk, when isPaused()
class Daemon {
  public:
    Daemon(const DaemonOptions& options, Predictor& predictor, NeedsStore& store,
           Preloader& preloader);

    // Of the desktop; those that have been seen without an entry are added.
    void setInstalled(std::vector<std::string> names);
    void setCharging(bool charging);
    void setRunning(std::set<std::string> names) { mRunning = std::move(names); }

    // `running`: the applications that have a window now.
    void front(const FrontApplication& app, std::set<std::string> running);
    void settled();
    const std::string& frontName() const { return mFront.name; }

    bool isReading() const { return mPreloader.state() == Preloader::State::READING; }
    void readMore();

    bool isPaused() const { return mIsPaused; }
    void resume();

    // Gives up what is being read.
    void stop(const char* reason);

  private:
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    void forgetOthers();
    bool isLaunch(const FrontApplication& app) const;
    void judge(const FrontApplication& app);
    void predict();
    std::vector<pid_t> frontProcesses() const;
    void recordNeeds();
    void beginReading();
    void pause();
    void endReading(const std::string& how);
    void say(const std::string& line) const;

    const DaemonOptions mOptions;
    Predictor& mPredictor;
    NeedsStore& mStore;
    Preloader& mPreloader;
    Totals mTotals;

    FrontApplication mFront;
    bool mIsLaunch = false;
    std::set<std::string> mRunning;
    std::map<std::string, pid_t> mProcesses;  // the last one of each application
    std::vector<std::string> mNext;           // of the last prediction, but for the front
    std::vector<std::string> mDesktop;        // those with an entry
    std::set<std::string> mInstalled;         // and those without that have been seen
    size_t mMostInstalled = 0;
    bool mIsCharging = true;
    bool mIsPaused = false;
    int mPauses = 0;  // since reading began
    // By application, until it is launched.
    std::map<std::string, uint64_t> mReadAhead;  // bytes
    std::set<std::string> mReady;                // all its files were gone through
};
