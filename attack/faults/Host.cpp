#include "attack/faults/Host.h"

#include <dlfcn.h>
#include <semaphore.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "attack/faults/failing_calls.h"
#include "tools/common/EngineLog.h"
#include "tools/serve/EngineLibrary.h"

namespace {

constexpr int32_t PROCESSOR_BUSY = 16;  // an event of which nothing is learned
constexpr int KNOWN_APPS = 40;
constexpr int LEARNED_OPENINGS = 6300;  // a fifth goes with the training
constexpr int MARK_SECONDS = 301;
constexpr int PATIENCE_MS = 1000;  // with an event; it wears out
constexpr int TRAINING_POLLS = 2000;
constexpr useconds_t POLL_US = 10000;

// An event that tells when the engine has given it up. The semaphore is never destroyed: an event
// may be given up after everybody has ceased to wait.
class Event : public BrainEvent {
  public:
    Event(int32_t code, sem_t* given) : mGiven(given) { type = code; }
    void onLastRef() const override { sem_post(mGiven); }

  private:
    sem_t* const mGiven;
};

std::string appName(int number) {
    return "com.example.app" + std::to_string(number);
}

class Daemon {
  public:
    Daemon() : mEngine(loadEngine(defaultEnginePath())) {
        find("fault_here", mCountHere);
        find("fault_advance", mAdvance);
        for (int i = 0; i < KNOWN_APPS; ++i) mInstalled.push_back(appName(i));
    }

    // Calls the engine; its calls on this thread count, those of the daemon itself do not.
    template <typename Function>
    int call(const char* name, const Function& function) {
        if (mCountHere != nullptr) mCountHere(1);
        const int result = function();
        if (mCountHere != nullptr) mCountHere(0);
        if (result != 0) printf("HOST %s answered %d\n", name, result);
        return result;
    }

    void start() {
        const auto init = [this] { return mEngine.init(nullptr); };
        if (call("init", init) != 0) call("init", init);
    }
    void stop() { call("exit", mEngine.exit); }
    void open(const std::string& package) {
        Event* const event = newEvent(BrainEvent::APP_OPENED);
        event->package = package;
        event->packageList = mInstalled;
        event->hasPackageList = 1;
        send(event);
    }
    void install(const std::string& package) { mInstalled.push_back(package); }
    void charge(bool charging) {
        Event* const event = newEvent(BrainEvent::CHARGING);
        event->charging = charging ? 1 : 0;
        send(event);
    }
    std::vector<std::string> predict() {
        std::vector<std::string> names;
        call("predict", [&] { return mEngine.predict(names); });
        return names;
    }

    // Lets five minutes pass and waits for the end of a training.
    void mark() {
        mAdvance(MARK_SECONDS);
        send(newEvent(PROCESSOR_BUSY));  // whatever wakes the loop
        for (int i = 0; i < TRAINING_POLLS && isTraining(); ++i) usleep(POLL_US);
    }

  private:
    template <typename Function>
    static void find(const char* name, Function& function) {
        function = reinterpret_cast<Function>(dlsym(RTLD_DEFAULT, name));
    }

    Event* newEvent(int32_t code) { return new Event(code, mGiven); }

    // Waits until the event has been handled, which a failing call may put off.
    void send(Event* event) {
        sp<BrainEvent> sent(event);
        const int result = call("send_data", [&] { return mEngine.sendData(sent); });
        sent.reset();
        timespec until{};
        clock_gettime(CLOCK_REALTIME, &until);
        until.tv_sec += mPatienceMs / 1000;
        until.tv_nsec += mPatienceMs % 1000 * 1000000;
        until.tv_sec += until.tv_nsec / 1000000000;
        until.tv_nsec %= 1000000000;
        while (sem_timedwait(mGiven, &until) != 0) {
            if (errno != ETIMEDOUT) continue;
            printf("LATE\n");
            mPatienceMs = std::max(mPatienceMs / 2, 10);
            mGiven = newSemaphore();
            return;
        }
        if (result != 0) printf("HOST an event was refused\n");
    }

    // Whether there are more threads than this one and the worker.
    static bool isTraining() {
        const std::filesystem::directory_iterator threads("/proc/self/task");
        return std::distance(begin(threads), end(threads)) > 2;
    }

    static sem_t* newSemaphore() {
        auto* const semaphore = new sem_t;
        sem_init(semaphore, 0, 0);
        return semaphore;
    }

    const EngineLibrary mEngine;
    void (*mCountHere)(int) = nullptr;
    void (*mAdvance)(int) = nullptr;
    std::vector<std::string> mInstalled;
    sem_t* mGiven = newSemaphore();
    int mPatienceMs = PATIENCE_MS;
};

void callShim(const char* name) {
    const auto function = reinterpret_cast<void (*)()>(dlsym(RTLD_DEFAULT, name));
    if (function != nullptr) function();
}

void printCounts() {
    const auto count = reinterpret_cast<int (*)(int)>(dlsym(RTLD_DEFAULT, "fault_count"));
    if (count == nullptr) return;
    for (int kind = 0; kind < CALL_KINDS; ++kind) {
        printf("CALLS %s %d\n", CALLS[kind].name, count(kind));
    }
}

// Habits that both predictors can learn: from each application to the next, with some detours.
int habit(int i) {
    return (i % 7 == 0 ? i / 7 : i) % KNOWN_APPS;
}

}  // namespace

int hostPrepares() {
    Daemon daemon;
    daemon.start();
    for (int i = 0; i < LEARNED_OPENINGS; ++i) daemon.open(appName(habit(i)));
    daemon.charge(true);
    daemon.mark();
    daemon.charge(false);
    for (int i = 0; i < 20; ++i) {
        daemon.predict();
        daemon.open(appName(habit(i)));
    }
    daemon.mark();
    daemon.stop();
    return 0;
}

int hostRuns() {
    Daemon daemon;
    callShim("fault_begin");
    daemon.start();
    for (int i = 0; i < OPENINGS; ++i) {
        const bool isNew = i == 20 || i == 45 || i == 80;
        const std::string name = isNew ? appName(KNOWN_APPS + i) : appName(habit(i));
        if (isNew) daemon.install(name);
        if (i == 30 || i == 70) daemon.charge(i == 30);
        if (i % 5 == 0) daemon.predict();
        daemon.open(name);
        if (i == 60 || i == 90) daemon.mark();
    }
    daemon.stop();
    callShim("fault_end");
    printCounts();
    return 0;
}

int hostChecks() {
    Daemon daemon;
    openPlatformLog();
    sp<BrainEvent> none;
    const EngineLibrary engine = loadEngine(defaultEnginePath());
    engine.sendData(none);  // which sets the variable up; from then on it is the host's
    setenv("DYNAMIC_LOGLEVEL_ENV", "2", 1);
    daemon.start();
    setenv("DYNAMIC_LOGLEVEL_ENV", "4", 1);
    daemon.open(appName(1));
    daemon.open(appName(2));
    printf("PREDICTED %zu\n", daemon.predict().size());
    daemon.stop();
    return 0;
}
