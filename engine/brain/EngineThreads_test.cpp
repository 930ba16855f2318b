#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "brain/BrainMain.h"
#include "looper/LooperThread.h"
#include "looper/Message.h"
#include "platform/testing/TempDir.h"
#include "preload/AppPreloadModel.h"

// The engine put together as a start does it, with the five-minute work posted to the worker
// instead of waited for.

namespace {

constexpr int APPS = 40;
constexpr int HISTORY = 5000;
constexpr std::chrono::microseconds PAUSE(200);

std::string appName(int number) {
    return "com.app" + std::to_string(number % APPS);
}

// Habits that a network can learn: from each application to the next one, with some detours.
std::string makeHistory() {
    std::string history;
    for (int i = 0; i < HISTORY; ++i) history += appName(i % 7 == 0 ? i / 7 : i) + "\n";
    return history;
}

class Engine {
  public:
    Engine() {
        EXPECT_EQ(mWorker->start("vexa-ks", 0, 0), 0);
        mBrain = new BrainMain(mWorker->getLooper());
        mModel = new AppPreloadModel;
        sp<BrainDataListener> listener(mModel);
        mBrain->registerDataListener(listener);
    }
    ~Engine() { mWorker->requestExitAndWait(); }

    void send(const sp<BrainEvent>& event) {
        mBrain->obtainMessage(event, event->type)->sendToTarget();
    }
    void open(int number) {
        sp<BrainEvent> event(new BrainEvent);
        event->type = BrainEvent::APP_OPENED;
        event->package = appName(number);
        event->hasPackageList = number == 0;
        for (int i = 0; number == 0 && i < APPS; ++i) event->packageList.push_back(appName(i));
        send(event);
    }
    void charge() {
        sp<BrainEvent> event(new BrainEvent);
        event->type = BrainEvent::CHARGING;
        event->charging = 1;
        send(event);
    }
    void postUpdate() {
        mWorker->sendTask(Callback<void (*)()>(&AppPreloadModel::updateModel,
                                               UnsafeRawPtr<AppPreloadModel>(mModel.get())));
    }
    const sp<AppPreloadModel>& model() const { return mModel; }

  private:
    const sp<LooperThread> mWorker{new LooperThread};
    sp<BrainMain> mBrain;
    sp<AppPreloadModel> mModel;
};

TEST(EngineThreads, PredictDuringEventsATrainingThatEndsAndTheStop) {
    const TempDir directory;
    directory.write("AppHistory", makeHistory());
    std::atomic<bool> done{false};
    std::vector<std::thread> hosts;
    {
        Engine engine;
        engine.charge();
        engine.open(0);
        engine.open(1);
        for (int i = 0; i < 4; ++i) {
            hosts.emplace_back([&done, model = engine.model()] {
                while (!done) {
                    model->predict();
                    std::this_thread::sleep_for(PAUSE);  // the training has a low priority
                }
            });
        }
        engine.postUpdate();
        for (int i = 2; engine.model()->trainingsReady() == 0; ++i) {
            engine.open(i);
            std::this_thread::sleep_for(PAUSE);
        }
        EXPECT_EQ(engine.model()->predict().size(), 30u) << "the network answers";
    }
    done = true;
    for (std::thread& host : hosts) host.join();
    EXPECT_TRUE(directory.exists("aiPreloadApp.zml"));
}

}  // namespace
