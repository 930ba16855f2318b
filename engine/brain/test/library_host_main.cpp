// A daemon as others build it: from the public headers, linked with libksbrain.so and with nothing
// else of the engine. It is compiled twice, with exceptions and run-time type information and
// without either. The library has neither; what each side makes, the other calls, counts and
// destroys. It has a /data/system to itself (see LibraryHost_test.sh).

#include <semaphore.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "brain/BrainMainApi.h"

#if defined(__cpp_rtti)
#include <typeinfo>
#endif

namespace {

constexpr int SENT = 40;

// Long names, so that their memory changes hands.
const std::vector<std::string> PACKAGES = {"com.example.mail.with.attachments",
                                           "com.example.maps.of.every.country"};

std::atomic<int> destroyed{0};
std::atomic<int> caught{0};
sem_t handled;

void require(bool condition, const char* what) {
    if (condition) return;
    fprintf(stderr, "failed: %s\n", what);
    _exit(1);
}

bool isDaemonEvent(const RefBase* object);

// Whatever is thrown in here is caught in here: the library's frames must not be unwound.
void throwAndCatch() {
#if defined(__cpp_exceptions)
    struct Refused {};
    try {
        throw Refused();
    } catch (const Refused&) {
        ++caught;
    }
#else
    ++caught;
#endif
}

// An event of a class that the library does not know. The engine's worker runs its hook and its
// destructor.
class DaemonEvent : public BrainEvent {
  public:
    const char* getName() const override { return "DaemonEvent"; }
    ~DaemonEvent() override {
        ++destroyed;
        sem_post(&handled);
    }

    void onLastRef() const override {
        require(isDaemonEvent(this), "the event is of its class on the worker");
        throwAndCatch();
    }
};

bool isDaemonEvent(const RefBase* object) {
#if defined(__cpp_rtti)
    if (typeid(*object) != typeid(DaemonEvent)) return false;
    if (dynamic_cast<const DaemonEvent*>(object) == nullptr) return false;
#endif
    return strcmp(object->getName(), "DaemonEvent") == 0;
}

// A child that goes through exit() must not stop the engine, which is its parent's.
void leaveInAChild() {
    const pid_t child = fork();
    if (child == 0) exit(0);
    int status = -1;
    waitpid(child, &status, 0);
    require(status == 0, "a forked child ends");
}

sp<BrainEvent> opening(const std::string& package) {
    sp<BrainEvent> event(new DaemonEvent);
    event->type = BrainEvent::APP_OPENED;
    event->package = package;
    event->packageList = PACKAGES;
    event->hasPackageList = 1;
    return event;
}

void waitForOneDestroyed() {
    while (sem_wait(&handled) != 0) {
    }
}

void open(const std::string& package) {
    sp<BrainEvent> event = opening(package);
    require(brain_main_send_data(event) == 0, "an event is taken");
    event.reset();
    waitForOneDestroyed();
}

std::vector<std::string> predict() {
    std::vector<std::string> packages = {"what was in here before the prediction"};
    require(brain_main_app_preload_predict(packages) == 0, "a prediction is answered");
    return packages;
}

void learnAndPredict() {
    sp<BrainEvent> kept = opening(PACKAGES[0]);
    require(brain_main_send_data(kept) == -1, "a stopped engine refuses events");
    require(predict().size() == 1, "a stopped engine leaves the vector alone");
    require(brain_main_app_clean_predict() == -1, "there is nothing to clean");

    require(brain_main_init(&handled) == 0, "the engine starts");
    leaveInAChild();
    for (size_t i = 0; i < SENT; ++i) open(PACKAGES[i % 2]);
    require(caught == SENT && destroyed == SENT, "every event ends once, in its own class");
    require(predict() == PACKAGES, "the application that is not in front is the first to preload");

    require(brain_main_send_data(kept) == 0, "an event that the host keeps is taken");
    require(brain_main_exit() == 0, "the engine stops");
    require(kept->getStrongCount() == 1, "the host alone holds what it has kept");
    require(isDaemonEvent(kept.get()) && kept->packageList == PACKAGES,
            "what it has kept is whole");
    kept.reset();
    waitForOneDestroyed();  // so that the next wait is for the next event
}

void remember() {
    require(access("/data/system/korvi_system/AppPreloadBayesModel", R_OK) == 0,
            "the model lies where the library keeps it");
    require(brain_main_init(nullptr) == 0, "the engine starts again");
    for (const std::string& package : PACKAGES) open(package);
    require(predict() == PACKAGES, "what was learned outlives a restart");
    require(brain_main_exit() == 0, "the engine stops again");
}

}  // namespace

int main() {
    sem_init(&handled, 0, 0);
    learnAndPredict();
    remember();
    return 0;
}
