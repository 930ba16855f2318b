#include <thread>
#include <vector>

#include "attack/fuzz/Fuzz.h"
#include "attack/fuzz/Input.h"
#include "attack/fuzz/LocalLoop.h"
#include "attack/fuzz/Posting.h"
#include "brain/BrainMainApi.h"
#include "looper/LooperThread.h"
#include "looper/test/BootClock.h"
#include "platform/testing/TempDir.h"
#include "tools/serve/HostEvent.h"
#include "zml/test/ScriptedZml.h"

// Timers, a looper, handlers, a looper's thread and the five functions of the library, in an order
// that the input gives. What is called back draws on the input too, so that everything may happen
// inside everything. The boot-time clock stands still but when it is told to go on.

namespace {

constexpr int VOCABULARY = 30;
constexpr int HISTORY = 5000;
constexpr int FIVE_MINUTES = 300000;
constexpr const char* NAMES[] = {"com.a", "com.b", "", "com.veltra.launcher", "com.c with blank"};

// A looper's thread, to which the calling thread posts.
class Worker {
  public:
    explicit Worker(Input& input) : mInput(input) {}
    ~Worker() { end(); }

    void act() {
        if (!mThread) begin();
        if (mExiting) return end();
        switch (mInput.draw(5)) {
            case 0:
                mThread->sendTask(mActor->task(nullptr));
                break;
            case 1:
                mThread->sendDelayedTask(mActor->task(new Sender(mActor.get(), 0)),
                                         mInput.drawOf(DELAYS));
                break;
            case 2:
                mExiting = true;
                mThread->requestExit();
                break;
            default: {
                std::vector<int> ids;
                post(mInput, *mThread->getLooper(), *mActor, ids);
                if (!ids.empty()) mThread->getLooper()->releaseDelayTask(ids[0]);
                break;
            }
        }
    }

  private:
    void begin() {
        mThread = new LooperThread;
        promise(mThread->start("worker", 0, 0) == 0, "a thread starts");
        mActor = new Actor(mThread->getLooper(), calledBack, this);
    }
    void end() {
        if (!mThread) return;
        mThread->requestExitAndWait();
        mThread.reset();
        mActor.reset();
        mExiting = false;
    }

    // On the worker: it may post to itself.
    static void calledBack(void* self) {
        auto* const worker = static_cast<Worker*>(self);
        Looper* const looper = Looper::current();
        if (looper != nullptr && worker->mActor && !worker->mInput.empty()) {
            looper->sendTask(worker->mActor->task(nullptr));
        }
    }

    Input& mInput;
    sp<LooperThread> mThread;
    sp<Actor> mActor;
    bool mExiting = false;
};

std::string appName(int number) {
    return "com.app" + std::to_string(number);
}

// Enough of a history for a training.
std::string longHistory() {
    std::string history;
    for (int i = 0; i < HISTORY; ++i) history += appName(i % VOCABULARY) + "\n";
    return history;
}

// Returns when the engine has handled the event, or refused it.
void send(int code, const std::string& package) {
    sp<HostEvent> event(new HostEvent);
    event->type = code;
    event->package = package;
    if (code == BrainEvent::CHARGING) event->charging = 1;
    for (int i = 0; i < VOCABULARY; ++i) event->packageList.push_back(appName(i));
    event->hasPackageList = 1;
    const sp<HandledLatch> handled = event->handled();
    sp<BrainEvent> sent(event);
    event.reset();
    brain_main_send_data(sent);
    sent.reset();
    handled->wait();
}

// One call of the five functions. Any thread of the host's.
void callEngine(Input& input) {
    switch (input.draw(8)) {
        case 0:
            brain_main_init(nullptr);
            break;
        case 1:
            brain_main_exit();
            break;
        case 2: {
            std::vector<std::string> names;
            brain_main_app_preload_predict(names);
            break;
        }
        case 3:
            brain_main_app_clean_predict();
            break;
        default: {
            sp<BrainEvent> event(input.draw(20) == 1 ? nullptr : new BrainEvent);
            if (event) {
                event->type = input.draw(2) == 0 ? BrainEvent::APP_OPENED : input.draw(25) - 1;
                event->package = input.drawOf(NAMES);
                event->charging = static_cast<uint8_t>(input.draw(2));
            }
            brain_main_send_data(event);
            break;
        }
    }
}

class Sequence {
  public:
    Sequence(const TempDir& folder, const uint8_t* data, size_t size) : mInput(data, size) {
        if (mInput.draw(4) == 1) folder.write("AppHistory", longHistory());
    }
    ~Sequence() {
        if (mHost.joinable()) mHost.join();
        brain_main_exit();
    }

    void run() {
        while (!mInput.empty()) step();
    }

  private:
    void step() {
        switch (mInput.draw(17)) {
            case 0:
            case 1:
            case 2:
                mClock.advance(mInput.draw(8));
                mLoop.turn();
                break;
            case 3:
                mLoop.end();
                break;
            case 4:
                mClock.advance(FIVE_MINUTES);
                break;
            case 5:
            case 6:
                mWorker.act();
                break;
            case 7:
            case 8:
                callEngine(mInput);
                break;
            case 9:
                if (mInput.draw(4) == 1 && !mHost.joinable()) mHost = std::thread(hostMain, this);
                break;
            case 10:
                mNetwork.finishTraining(mInput.draw(2) == 0 ? TRAINING_SUCCESS : TRAINING_FAILED);
                break;
            case 11:
                send(BrainEvent::APP_OPENED, appName(0));
                send(BrainEvent::CHARGING, "");
                mClock.advance(FIVE_MINUTES);
                send(12, "");
                break;
            default:
                mLoop.act();
                break;
        }
    }

    static void hostMain(Sequence* self) {
        for (int i = 0; i < 10 && !self->mInput.empty(); ++i) callEngine(self->mInput);
    }

    BootClock mClock{1000};
    ScriptedZml mNetwork;
    Input mInput;
    LocalLoop mLoop{mInput};
    Worker mWorker{mInput};
    std::thread mHost;
};

size_t openDescriptors() {
    return entriesOf("/proc/self/fd").size();
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const TempDir folder;
    const size_t descriptors = openDescriptors();
    Sequence(folder, data, size).run();
    promise(Sender::sAlive == 0, "whatever was posted is released");
    promise(openDescriptors() == descriptors, "no descriptor is left open");
    for (const std::string& left : entriesOf(folder.path())) remove(folder.file(left).c_str());
    return 0;
}
