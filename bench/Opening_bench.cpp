#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <catch2/catch.hpp>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <random>
#include <thread>

#include "bench/Rounds.h"
#include "brain/BrainMainApi.h"
#include "platform/testing/TempDir.h"
#include "platform/workstation/SettableEnvironment.h"
#include "preload/AppPreloadModel.h"

namespace {

constexpr time_t MONDAY = 1709510400;
constexpr int APPS = 80;
constexpr int OPENINGS_A_MARK = 2;

// Somebody with habits: half of the openings follow from the last one, the others are drawn with
// some applications much likelier than others.
class Habits {
  public:
    const std::string& next() {
        const double drawn = std::uniform_real_distribution<>(0, 1)(mRandom);
        const size_t any = static_cast<size_t>(APPS * drawn * drawn * drawn);
        mLast = mRandom() % 2 == 0 ? (7 * mLast + 3) % APPS : any;
        return mNames[mLast];
    }
    const std::vector<std::string>& names() const { return mNames; }

  private:
    std::vector<std::string> mNames = [] {
        std::vector<std::string> names;
        for (int i = 0; i < APPS; ++i) names.push_back("com.example.app" + std::to_string(i));
        return names;
    }();
    std::mt19937 mRandom{1};
    size_t mLast = 0;
};

// A phone that is never charged, so that no training comes between.
class Phone {
  public:
    Phone() { environment::setNow(mNow); }
    ~Phone() { environment::useSystemClock(); }

    // Announces an application and asks what comes next; returns the nanoseconds.
    double open() {
        sp<BrainEvent> event(new BrainEvent);
        event->type = BrainEvent::APP_OPENED;
        event->package = mHabits.next();
        environment::setNow(mNow += 150);
        const double begin = nanoseconds();
        mModel->onBrainDataAvailable(event);
        mModel->predict();
        const double end = nanoseconds();
        if (++mOpenings % OPENINGS_A_MARK == 0) mModel->updateModel();
        return end - begin;
    }

    long openings() const { return mOpenings; }

  private:
    const TempDir mFolder;
    time_t mNow = MONDAY;
    Habits mHabits;
    const sp<AppPreloadModel> mModel{new AppPreloadModel};
    long mOpenings = 0;
};

struct Usage {
    long residentKb = 0;
    long writes = 0;
    long bytes = 0;
};

Usage usageNow() {
    malloc_trim(0);
    Usage usage;
    std::string key;
    long value = 0;
    std::ifstream("/proc/self/statm") >> value >> usage.residentKb;
    usage.residentKb *= sysconf(_SC_PAGESIZE) / 1024;
    for (std::ifstream io("/proc/self/io"); io >> key >> value;) {
        if (key == "wchar:") usage.bytes = value;
        if (key == "syscw:") usage.writes = value;
    }
    return usage;
}

// How often the threads of this process, but for the calling one, have gone to sleep.
long sleeps() {
    long count = 0;
    for (const std::string& thread : entriesOf("/proc/self/task")) {
        if (thread == std::to_string(gettid())) continue;
        std::ifstream status("/proc/self/task/" + thread + "/status");
        for (std::string line; std::getline(status, line);) {
            long ofThread = 0;
            if (sscanf(line.c_str(), "voluntary_ctxt_switches: %ld", &ofThread) == 1) {
                count += ofThread;
            }
        }
    }
    return count;
}

}  // namespace

TEST_CASE("one opening, end to end: learned, scored and answered") {
    Phone phone;
    std::vector<double> times;
    for (int i = 0; i < 20000; ++i) times.push_back(phone.open());
    std::sort(times.begin(), times.end());
    const auto at = [&](double part) {
        return times[static_cast<size_t>(part * static_cast<double>(times.size() - 1))] / 1000;
    };
    printf("  20,000 openings: median %.1f us, 99th percentile %.1f us, 99.9th %.1f us\n", at(0.5),
           at(0.99), at(0.999));
}

// The history in memory goes as soon as it is long, as no list of packages was ever delivered.
TEST_CASE("a million openings") {
    Phone phone;
    printf("  %9s %14s %22s %22s\n", "openings", "resident KB", "writes per 1,000",
           "bytes per 1,000");
    Usage last = usageNow();
    long lastOpenings = 0;
    for (const long until : {1000L, 100000L, 400000L, 700000L, 1000000L}) {
        while (phone.openings() < until) phone.open();
        const Usage usage = usageNow();
        const long thousands = (until - lastOpenings) / 1000;
        printf("  %9ld %14ld %22ld %22ld\n", until, usage.residentKb,
               (usage.writes - last.writes) / thousands, (usage.bytes - last.bytes) / thousands);
        fflush(stdout);
        last = usage;
        lastOpenings = until;
    }
}

// Takes five minutes, and so runs only when it is named.
TEST_CASE("idle for 300 seconds", "[.idle]") {
    const TempDir folder;
    REQUIRE(brain_main_init(nullptr) == 0);
    std::this_thread::sleep_for(std::chrono::seconds(5));
    const long before = sleeps();
    std::this_thread::sleep_for(std::chrono::seconds(300));
    printf("  woken %ld times\n", sleeps() - before);
    brain_main_exit();
}
