#include "brain/BrainMainApi.h"

#include <unistd.h>

#include "base/ExceptionBarrier.h"
#include "base/Logger.h"
#include "base/Mutex.h"
#include "brain/BrainMain.h"
#include "looper/LooperThread.h"
#include "looper/Message.h"
#include "preload/AppPreloadModel.h"

namespace {

constexpr char TAG[] = "BrainMainApi";
constexpr char WORKER_NAME[] = "vexa-ks";

// The state of the process's one engine. It is never destroyed, since a host's thread may still
// call in while the process ends; an engine that runs then is stopped by StopAtExit.
Mutex& gApiLock = *new Mutex(LockRank::API);
sp<LooperThread>& gLoop GUARDED_BY(gApiLock) = *new sp<LooperThread>;
sp<BrainMain>& gBrain GUARDED_BY(gApiLock) = *new sp<BrainMain>;

// Guards the model for predictions, which do not take the API lock: a prediction need not wait for
// a start or a stop in progress, but a stop waits for the prediction. Taken after the API lock.
Mutex& gModelLock = *new Mutex(LockRank::PREDICTION);
sp<AppPreloadModel>& gModel GUARDED_BY(gModelLock) = *new sp<AppPreloadModel>;

// A stop leaves this set, so that predictions asked for afterwards still leave their line in the
// log.
bool gModelMade GUARDED_BY(gModelLock) = false;

void setModel(const sp<AppPreloadModel>& model) EXCLUDES(gModelLock) {
    MutexLock lock(gModelLock);
    gModel = model;
    if (model) gModelMade = true;
}

void postLocked(const sp<BrainEvent>& event, int code) REQUIRES(gApiLock) {
    gBrain->obtainMessage(event, code)->sendToTarget();
}

// Starts the worker and its dispatcher.
int brainMainEntry() REQUIRES(gApiLock) {
    gLoop = new LooperThread;
    if (gLoop->start(WORKER_NAME, 0, 0) != 0) {
        ENGINE_LOG(LEVEL_ERROR, TAG, "brainMain thread start error!!!");
        gLoop.reset();
        gBrain.reset();
        return -1;
    }
    gBrain = new BrainMain(gLoop->getLooper());
    return 0;
}

// Ends the worker first, so that nothing runs on the dispatcher and the model when they go.
void stopLocked() REQUIRES(gApiLock) {
    if (gLoop) gLoop->requestExitAndWait();
    setModel(nullptr);
    gBrain.reset();
    gLoop.reset();
}

// Stops an engine that is still running when the process exits. Made at the first start and so
// destroyed before anything the engine uses.
class StopAtExit {
  public:
    ~StopAtExit() {
        // On the worker itself there is nobody to wait for, and a forked child has no worker but
        // shares the parent's descriptors: leave everything as it is.
        if (Looper::current() == nullptr && getpid() == mProcess) brain_main_exit();
    }

  private:
    const pid_t mProcess = getpid();
};

}  // namespace

int brain_main_init(void* respHandler) {
    return guarded("brain_main_init", [&] {
        MutexLock lock(gApiLock);
        if (gLoop && gBrain) return 0;
        static StopAtExit stopAtExit;
        stopLocked();
        if (brainMainEntry() != 0) return -1;

        sp<BrainEvent> event(new BrainEvent);
        event->responseHandler = respHandler;
        ENGINE_LOG(LEVEL_DEBUG, TAG, "brain_main_init response Handler: %p", respHandler);
        postLocked(event, BrainEvent::INIT);

        const sp<AppPreloadModel> model(new AppPreloadModel);
        setModel(model);
        sp<BrainDataListener> listener(model);
        gBrain->registerDataListener(listener);
        model->start(gLoop->getLooper());
        return 0;
    });
}

int brain_main_exit() {
    return guarded("brain_main_exit", [] {
        MutexLock lock(gApiLock);
        if (gLoop) postLocked(new BrainEvent, BrainEvent::EXIT);
        stopLocked();
        return 0;
    });
}

int brain_main_send_data(sp<BrainEvent>& event) {
    return guarded("brain_main_send_data", [&] {
        MutexLock lock(gApiLock);
        if (!gLoop) {
            ENGINE_LOG(LEVEL_INFO, TAG, "ks: send data error--gLoop is null");
            return -1;
        }
        if (!gBrain) {
            ENGINE_LOG(LEVEL_INFO, TAG, "ks: send data error--gBrain is null");
            return -1;
        }
        if (!event) return -1;
        postLocked(event, event->type);
        return 0;
    });
}

int brain_main_app_preload_predict(std::vector<std::string>& out) {
    return guarded("brain_main_app_preload_predict", [&] {
        MutexLock lock(gModelLock);
        if (!gModelMade) return 0;
        ENGINE_LOG(LEVEL_INFO, TAG, "call brain_main_app_preload_predict");
        if (gModel) out = gModel->predict();
        return 0;
    });
}

int brain_main_app_clean_predict() {
    return -1;
}
