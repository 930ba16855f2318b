#include "desktop/Predictor.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "brain/BrainMainApi.h"
#include "platform/workstation/SettableEnvironment.h"
#include "tools/serve/HostEvent.h"

namespace {

constexpr size_t LIST = 30;  // names of a simple rule, as many as the engine gives

// Hands the event over and waits until the engine has handled it: what is asked next knows of it.
void deliver(sp<HostEvent>& event) {
    const sp<HandledLatch> handled = event->handled();
    sp<BrainEvent> handedOver(event);
    event.reset();
    brain_main_send_data(handedOver);
    handedOver.reset();
    handled->wait();
}

}  // namespace

EnginePredictor::EnginePredictor(const std::string& directory) {
    environment::setDataDirectory(directory);
    environment::setSync([](int descriptor) { return fsync(descriptor) == 0; });
    if (brain_main_init(nullptr) != 0) throw std::runtime_error("the engine cannot be started");
}

EnginePredictor::~EnginePredictor() {
    brain_main_exit();
}

void EnginePredictor::setInstalled(const std::vector<std::string>& names) {
    mInstalled = names;
    mInstalledChanged = true;
}

void EnginePredictor::setCharging(bool charging) {
    sp<HostEvent> event(new HostEvent);
    event->type = BrainEvent::CHARGING;
    event->charging = charging ? 1 : 0;
    deliver(event);
}

void EnginePredictor::opened(const std::string& name) {
    sp<HostEvent> event(new HostEvent);
    event->type = BrainEvent::APP_OPENED;
    event->package = name;
    if (mInstalledChanged) {
        event->packageList = mInstalled;
        event->hasPackageList = 1;
        mInstalledChanged = false;
    }
    deliver(event);
    complain();
}

void EnginePredictor::complain() {
    const std::optional<environment::StorageFailure> failure = environment::storageFailure();
    if (!failure || std::exchange(mComplained, true)) return;
    fprintf(stderr, "%s cannot be read or written: %s; the engine goes on without\n",
            failure->path.c_str(), strerror(failure->error));
}

std::vector<std::string> EnginePredictor::predict() {
    std::vector<std::string> names;
    brain_main_app_preload_predict(names);
    return names;
}

std::vector<std::string> MostUsedPredictor::predict() {
    return mStore.mostOpened(LIST);
}
