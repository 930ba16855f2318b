#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "brain/BrainMainApi.h"
#include "looper/test/BootClock.h"
#include "platform/testing/TempDir.h"
#include "platform/workstation/SettableEnvironment.h"
#include "preload/FileNames.h"
#include "tools/common/EngineLog.h"
#include "tools/serve/HostEvent.h"

// ksbrain-soak EVENTS DAYS STARTS: sends so many events, spread over so many days of a phone that
// is charged every night, and then starts and stops the engine so many times. Prints the process's
// memory, descriptors, threads and files on the way, and fails when one of them grows.

namespace {

namespace fs = std::filesystem;

constexpr int FIRST_OTHER_CODE = 10;  // battery, memory, processor and so on
constexpr int OTHER_CODES = 10;
constexpr time_t FIRST_DAY = 1709510400;  // a Monday, 00:00 UTC
constexpr int MARK_SECONDS = 300;
constexpr int MARKS_PER_DAY = 288;
constexpr int OPENINGS_PER_DAY = 230;
constexpr int APPS = 60;
constexpr int DAYS_PER_NEW_APP = 3;
constexpr int ROWS = 10;
constexpr int PATIENCE_MS = 60 * 1000;

// What may come on top of the first row after everything has been in use: a model of 512 KiB, its
// text and what the allocator keeps between them.
constexpr long ROOM_KB = 6 * 1024;

struct Row {
    long residentKb;
    size_t descriptors;
    size_t threads;
    size_t files;
    uintmax_t bytes;
};

Row measure(const TempDir& folder) {
    malloc_trim(0);
    Row row{};
    std::ifstream("/proc/self/statm") >> row.bytes >> row.residentKb;
    row.residentKb *= sysconf(_SC_PAGESIZE) / 1024;
    row.bytes = 0;
    row.descriptors = entriesOf("/proc/self/fd").size() - 1;  // the one that reads them
    row.threads = entriesOf("/proc/self/task").size();
    for (const auto& file : fs::directory_iterator(folder.path())) {
        ++row.files;
        row.bytes += file.file_size();
    }
    return row;
}

// Waits until no more than so many threads are left. One that trains may take seconds, and one that
// has been joined is listed a moment longer.
void waitForThreads(size_t most) {
    for (int i = 0; i < PATIENCE_MS && entriesOf("/proc/self/task").size() > most; ++i)
        usleep(1000);
}

void print(const char* what, long number, const Row& row) {
    printf("%-7s %8ld %12ld %12zu %8zu %6zu %9ju\n", what, number, row.residentKb, row.descriptors,
           row.threads, row.files, row.bytes);
    fflush(stdout);
}

void printHeader() {
    printf("%-7s %8s %12s %12s %8s %6s %9s\n", "", "", "resident KB", "descriptors", "threads",
           "files", "bytes");
}

int gComplaints = 0;

void require(bool kept, const std::string& what) {
    if (kept) return;
    ++gComplaints;
    printf("FAILED: %s\n", what.c_str());
}

// `rows` of the same state of the engine, the first after everything has been in use once.
void judge(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        require(row.descriptors == rows[0].descriptors, "the number of descriptors stays");
        require(row.threads == rows[0].threads, "the number of threads stays");
        require(row.residentKb <= rows[0].residentKb + ROOM_KB, "the memory stays");
    }
}

void judgeFiles(const TempDir& folder) {
    using namespace engine_file;
    const std::set<std::string> known = {MODEL, APP_TABLE, HISTORY, USAGE, NETWORK, EVALUATION};
    for (const std::string& name : entriesOf(folder.path())) {
        require(known.count(name) == 1, "no other file than the engine's is left: " + name);
    }
}

class Phone {
  public:
    Phone() {
        for (int i = 0; i < APPS; ++i) install();
        start();
    }
    ~Phone() { brain_main_exit(); }

    static void start() { require(brain_main_init(nullptr) == 0, "the engine starts"); }

    void day(int number, long events) {
        if (number % DAYS_PER_NEW_APP == 0) install();
        for (int mark = 0; mark < MARKS_PER_DAY; ++mark) {
            if (mark == 7 * 12) send(charging(false));
            if (mark == 23 * 12) send(charging(true));
            mClock.advance(MARK_SECONDS * 1000);
            environment::setNow(FIRST_DAY + (number * long{MARKS_PER_DAY} + mark) * MARK_SECONDS);
            const long until = events * (mark + 1) / MARKS_PER_DAY;
            for (long i = events * mark / MARKS_PER_DAY; i < until; ++i) {
                if (static_cast<long>(mRandom() % static_cast<unsigned long>(events)) <
                    OPENINGS_PER_DAY) {
                    open();
                } else {
                    sp<BrainEvent> event(new BrainEvent);
                    event->type = FIRST_OTHER_CODE + static_cast<int>(i % OTHER_CODES);
                    post(event);
                }
            }
            settle();
        }
    }

    // Opens the next application and asks which may follow.
    void open() {
        sp<BrainEvent> event(new BrainEvent);
        event->type = BrainEvent::APP_OPENED;
        mApp =
            mRandom() % 4 == 0 ? mRandom() % mInstalled.size() : (mApp * 7 + 1) % mInstalled.size();
        event->package = mInstalled[mApp];
        if (mOpenings++ % 100 == 0) {
            event->packageList = mInstalled;
            event->hasPackageList = 1;
        }
        post(event);
        std::vector<std::string> names;
        brain_main_app_preload_predict(names);
        if (!names.empty()) ++mAnswers;
    }

    // Waits until the engine has handled everything so far.
    void settle() {
        sp<HostEvent> event(new HostEvent);
        event->type = FIRST_OTHER_CODE;
        const sp<HandledLatch> handled = event->handled();
        send(sp<BrainEvent>(event));
        event.reset();
        handled->wait();
    }

    long openings() const { return mOpenings; }
    long answers() const { return mAnswers; }

  private:
    void install() { mInstalled.push_back("com.example.app" + std::to_string(mInstalled.size())); }

    static void post(sp<BrainEvent>& event) {
        require(brain_main_send_data(event) == 0, "an event is taken");
    }
    static void send(sp<BrainEvent> event) { post(event); }

    static sp<BrainEvent> charging(bool on) {
        sp<BrainEvent> event(new BrainEvent);
        event->type = BrainEvent::CHARGING;
        event->charging = on ? 1 : 0;
        return event;
    }

    BootClock mClock{1000};
    std::mt19937 mRandom{1};
    std::vector<std::string> mInstalled;
    size_t mApp = 0;
    long mOpenings = 0;
    long mAnswers = 0;
};

void liveThrough(const TempDir& folder, Phone& phone, long events, int days) {
    std::vector<Row> rows;
    for (int day = 0; day < days; ++day) {
        phone.day(day, events * (day + 1) / days - events * day / days);
        if ((day + 1) % std::max(days / ROWS, 1) != 0) continue;
        waitForThreads(2);  // this one and the worker
        rows.push_back(measure(folder));
        print("day", day + 1, rows.back());
    }
    printf("%ld events, %ld openings, %ld of %ld predictions with an answer\n\n", events,
           phone.openings(), phone.answers(), phone.openings());
    require(phone.answers() > phone.openings() / 2, "the engine predicts");
    judge(rows);
    judgeFiles(folder);
}

void startOverAndOver(const TempDir& folder, Phone& phone, int starts) {
    std::vector<Row> rows;
    brain_main_exit();
    for (int i = 0; i < starts; ++i) {
        Phone::start();
        phone.open();
        phone.open();
        brain_main_exit();
        if ((i + 1) % std::max(starts / ROWS, 1) != 0) continue;
        waitForThreads(1);
        rows.push_back(measure(folder));
        print("start", i + 1, rows.back());
    }
    judge(rows);
    judgeFiles(folder);
    require(rows.back().threads == 1, "a stopped engine leaves no thread");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        fprintf(stderr, "usage: ksbrain-soak EVENTS DAYS STARTS\n");
        return 2;
    }
    silenceEngineLog();
    setenv("TZ", "UTC", 1);
    const TempDir folder;
    Phone phone;
    printHeader();
    liveThrough(folder, phone, atol(argv[1]), atoi(argv[2]));
    printHeader();
    startOverAndOver(folder, phone, atoi(argv[3]));
    return gComplaints == 0 ? 0 : 1;
}
